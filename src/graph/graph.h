// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "graph/graphqt.h"
#include "graph/graphseries.h"

#include <QtWidgets/QWidget>

/// The chart widget that forms use; forwards all calls to its GraphQt.
class Graph : public QWidget
{
    Q_OBJECT

public:
    /// The GraphQt fills the whole widget.
    explicit Graph(QWidget *parent = nullptr);

    /// Begins a series of changes. Has no effect with GraphQt; another charting backend may need
    /// it.
    void beginUpdate();

    /// Stores the bounds of the time axis for the next clear().
    void setTimeRange(const QDateTime &from, const QDateTime &to);

    /// Stores the bounds of the value axis, in the unit of the values, for the next clear().
    void setValueRange(double minimum, double maximum);

    /// Replaces the chart with an empty one that has the stored ranges.
    void clear();

    /// Draws @p series in the current chart; must not be called before the first clear().
    void addSeries(const GraphSeries &series);

    /// Ends a series of changes, see beginUpdate().
    void endUpdate();

private:
    GraphQt m_graphQt;
};
