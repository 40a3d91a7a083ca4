// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QString>

/// What the user chose to export. Times are in UTC.
struct ExportSelection
{
    /// The period, both ends included, and the store's number for the device.
    QDateTime from;
    QDateTime to;
    unsigned deviceId = 0;
    QMap<unsigned, QString> measurementTypes; ///< type id to raw name
};
