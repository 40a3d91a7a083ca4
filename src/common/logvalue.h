// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QMetaType>
#include <QtCore/QVector>

/// One row of the device's log or of a measurement export.
struct LogValue
{
    QVector<double> values; ///< the row's numbers, in the order of the columns
    QDateTime time; ///< the row's timestamp
};

Q_DECLARE_METATYPE(LogValue)
