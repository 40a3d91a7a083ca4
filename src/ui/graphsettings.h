// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QStringList>

/// The settings that the graph dialog receives when it opens and returns when it closes. Times are
/// in UTC.
struct GraphSettings
{
    QDateTime from; ///< start of the period
    QDateTime to; ///< end of the period
    QStringList measurementTypes; ///< raw names of the checked measurements
    bool manualRange = false; ///< whether minimum and maximum apply
    bool showLatest = true; ///< whether the period ends at the current time
    double minimum = 0.0; ///< lower bound of the value axis, in the unit shown
    double maximum = 0.0; ///< upper bound of the value axis, in the unit shown
};
