// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graphqt.h"

#include <QtCharts/QChart>
#include <QtCharts/QDateTimeAxis>
#include <QtCharts/QLegend>
#include <QtCharts/QLegendMarker>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <QtCore/QPointF>
#include <QtGui/QPainter>
#include <QtGui/QPen>
#include <QtWidgets/QGraphicsLayout>

constexpr int timeAxisTicks = 10;
constexpr int timeLabelsAngle = -90;
constexpr int linePixels = 3;
constexpr int chartMargin = 6;

// More than a legend can show. Eliding a name takes quadratic time.
constexpr int maximumLegendCharacters = 200;

static QVector<QPointF> chartPoints(const QVector<GraphPoint> &points)
{
    QVector<QPointF> result;
    result.reserve(points.size());
    for (const GraphPoint &point : points) {
        result.append(QPointF(static_cast<double>(point.time.toMSecsSinceEpoch()), point.value));
    }
    return result;
}

// The label with which the legend shows @p name literally.
static QString legendText(const QString &name)
{
    const QString shown = name.size() > maximumLegendCharacters
        ? name.left(maximumLegendCharacters) + QChar(0x2026)
        : name;
    return shown.toHtmlEscaped().replace(QLatin1String("  "), QLatin1String("&nbsp;&nbsp;"));
}

GraphQt::GraphQt(QWidget *parent)
    : QtCharts::QChartView(parent)
{
    setRenderHint(QPainter::Antialiasing);
    // The chart has no keyboard input, so the Tab key skips it.
    setFocusPolicy(Qt::NoFocus);
}

GraphQt::~GraphQt() { destroyChart(m_chart); }

void GraphQt::beginUpdate() { }

void GraphQt::setTimeRange(const QDateTime &from, const QDateTime &to)
{
    m_from = from;
    m_to = to;
}

void GraphQt::setValueRange(double minimum, double maximum)
{
    m_minimum = minimum;
    m_maximum = maximum;
}

void GraphQt::clear()
{
    // At first this is the chart that the view was constructed with; setChart() gives up its
    // ownership too.
    QtCharts::QChart *oldChart = chart();
    m_chart = new QtCharts::QChart;
    m_chart->layout()->setContentsMargins(0, 0, 0, 0);
    m_chart->setMargins(QMargins(chartMargin, chartMargin, chartMargin, chartMargin));

    m_timeAxis = new QtCharts::QDateTimeAxis;
    m_timeAxis->setTickCount(timeAxisTicks);
    m_timeAxis->setLabelsAngle(timeLabelsAngle);
    m_timeAxis->setFormat(QStringLiteral("dd.MM.yyyy hh:mm"));
    m_timeAxis->setTitleText(tr("Date"));
    m_chart->addAxis(m_timeAxis, Qt::AlignBottom);

    m_valueAxis = new QtCharts::QValueAxis;
    m_valueAxis->setTitleText(tr("Value"));
    m_timeAxis->setRange(m_from, m_to);
    m_valueAxis->setRange(m_minimum, m_maximum);
    m_chart->addAxis(m_valueAxis, Qt::AlignLeft);

    setChart(m_chart);
    destroyChart(oldChart);
    m_chartBuilt = true;
}

void GraphQt::addSeries(const GraphSeries &series)
{
    auto *line = new QtCharts::QLineSeries;
    QPen pen = line->pen();
    pen.setColor(series.color);
    pen.setWidth(linePixels);
    line->setPen(pen);

    // Each step below redraws a line that has points, so the points are added last. Only an axis
    // without a range needs them first: it takes its range from the line.
    const bool pointsLast = axesHaveRange();
    if (!pointsLast) {
        line->replace(chartPoints(series.points));
    }
    m_chart->addSeries(line);
    // The legend interprets a name as HTML, so its text is set before the line has a name.
    m_chart->legend()->markers(line).constFirst()->setLabel(legendText(series.name));
    line->setName(series.name);
    line->attachAxis(m_timeAxis);
    line->attachAxis(m_valueAxis);
    if (pointsLast) {
        if (m_chart->series().size() == 1) {
            // The first name in the legend moves the plot. Afterwards, that would draw every line
            // again.
            m_chart->layout()->activate();
        }
        line->replace(chartPoints(series.points));
    }
}

void GraphQt::endUpdate() { }

void GraphQt::destroyChart(QtCharts::QChart *chart)
{
    if (m_chartBuilt) {
        const QList<QtCharts::QAbstractAxis *> axes = chart->axes(Qt::Horizontal | Qt::Vertical);
        for (QtCharts::QAbstractAxis *axis : axes) {
            chart->removeAxis(axis);
            delete axis;
        }
        chart->removeAllSeries();
    }
    delete chart;
}

bool GraphQt::axesHaveRange() const
{
    return m_timeAxis->min() != m_timeAxis->max()
        && !qFuzzyCompare(m_valueAxis->min(), m_valueAxis->max());
}
