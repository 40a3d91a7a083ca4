// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QStringList>

/// What the graph dialog opens with and gives back when it closes. Times are in UTC.
struct GraphSettings
{
    QDateTime from;
    QDateTime to;
    QStringList measurementTypes; ///< raw names of the ticked measurements
    bool manualRange = false;
    bool showLatest = true;
    double minimum = 0.0;
    double maximum = 0.0;
};
