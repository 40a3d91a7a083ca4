// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QStringList>

/// What the graph dialog opens with and gives back when it closes. Times are in UTC.
struct GraphSettings
{
    /// The period.
    QDateTime from;
    QDateTime to;
    QStringList measurementTypes; ///< raw names of the ticked measurements

    /// Whether the bounds below are in force, and whether the period ends at the present moment.
    bool manualRange = false;
    bool showLatest = true;

    /// The bounds of the value axis, in the unit shown.
    double minimum = 0.0;
    double maximum = 0.0;
};
