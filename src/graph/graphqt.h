// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "graph/graphseries.h"

#include <QtCharts/QChartView>

namespace QtCharts {
class QDateTimeAxis;
class QValueAxis;
} // namespace QtCharts

/// Lines over time, drawn by Qt Charts.
///
/// Each clear() builds a new chart, so series don't have to be tracked. The view owns the chart,
/// its axes and its series.
class GraphQt : public QtCharts::QChartView
{
    Q_OBJECT

public:
    /// Shows Qt's empty chart until the first clear().
    explicit GraphQt(QWidget *parent = nullptr);
    ~GraphQt() override;

    /// Does nothing in this backend.
    void beginUpdate();

    /// Stores the bounds of the time axis; they take effect at the next clear().
    void setTimeRange(const QDateTime &from, const QDateTime &to);

    /// Stores the bounds of the value axis; they take effect at the next clear(). Equal or reversed
    /// bounds are passed on to the axis.
    void setValueRange(double minimum, double maximum);

    /// Replaces the chart with an empty one that has the stored ranges, and destroys the old one.
    void clear();

    /// Draws @p series in the current chart, with its name shown literally in the legend. Must not
    /// be called before the first clear().
    void addSeries(const GraphSeries &series);

    /// Does nothing in this backend.
    void endUpdate();

private:
    void destroyChart(QtCharts::QChart *chart);
    bool axesHaveRange() const;

    bool m_chartBuilt = false;
    QtCharts::QDateTimeAxis *m_timeAxis = nullptr;
    QtCharts::QValueAxis *m_valueAxis = nullptr;
    QtCharts::QChart *m_chart = nullptr;
    double m_minimum = 0.0;
    double m_maximum = 0.0;
    QDateTime m_from;
    QDateTime m_to;
};
