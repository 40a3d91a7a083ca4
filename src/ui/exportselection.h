// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QString>

/// What the user chose to export. Times are in UTC.
struct ExportSelection
{
    QDateTime from; ///< start of the period, included
    QDateTime to; ///< end of the period, included
    unsigned deviceId = 0; ///< the store's id of the device
    QMap<unsigned, QString> measurementTypes; ///< from type id to raw name
};
