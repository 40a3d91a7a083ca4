// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "graph/graphseries.h"

#include <QtCharts/QChartView>
#include <QtCharts/QDateTimeAxis>
#include <QtCharts/QValueAxis>
#include <QtCore/QDateTime>

/// Lines over time, drawn by Qt's charts.
///
/// Each clear() builds a whole new chart, so that nobody keeps books of the series; the chart, its
/// axes and its series belong to this view.
class GraphQt : public QtCharts::QChartView
{
    Q_OBJECT

public:
    explicit GraphQt(QWidget *parent = nullptr);
    ~GraphQt() override;

    /// Nothing to do for this back end.
    void beginUpdate();

    /// Stores the bounds of the time axis; they take effect at the next clear().
    void setTimeRange(const QDateTime &from, const QDateTime &to);

    /// Stores the bounds of the value axis; they take effect at the next clear(). What becomes of
    /// equal or crossed bounds is left to the axis.
    void setValueRange(double minimum, double maximum);

    /// Puts a new chart with the stored ranges in place of the present one, which is destroyed.
    void clear();

    /// Draws @p series in the present chart; to be called after the first clear().
    void addSeries(const GraphSeries &series);

    /// Nothing to do for this back end.
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
