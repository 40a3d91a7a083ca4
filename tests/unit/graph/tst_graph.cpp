// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graph.h"
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"

#include <QtCharts/QDateTimeAxis>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <QtWidgets/QHBoxLayout>

namespace {

const QDateTime from(QDate(2024, 3, 1), QTime(0, 0), Qt::UTC);
const QDateTime to(QDate(2024, 3, 2), QTime(0, 0), Qt::UTC);

GraphQt *chartOf(const Graph &graph)
{
    return graph.findChild<GraphQt *>();
}

} // namespace

class TestGraph : public QObject
{
    Q_OBJECT

private slots:
    void placesTheChartInARowOfItsOwn()
    {
        Graph graph;
        QCOMPARE(graph.findChildren<GraphQt *>().size(), 1);
        auto *layout = qobject_cast<QHBoxLayout *>(graph.layout());
        QVERIFY(layout != nullptr);
        QCOMPARE(layout->count(), 1);
        QCOMPARE(layout->itemAt(0)->widget(), chartOf(graph));
        QCOMPARE(layout->contentsMargins(), QMargins());
        // The keyboard passes over a chart, which nothing can be typed into.
        QCOMPARE(chartOf(graph)->focusPolicy(), Qt::NoFocus);
    }

    void forwardsTheRangesWithTheNextClear()
    {
        Graph graph;
        graph.setTimeRange(from, to);
        graph.setValueRange(1.0, 2.0);
        graph.clear();

        const QtCharts::QChart *chart = chartOf(graph)->chart();
        auto *time = qobject_cast<QtCharts::QDateTimeAxis *>(chart->axes(Qt::Horizontal).value(0));
        auto *value = qobject_cast<QtCharts::QValueAxis *>(chart->axes(Qt::Vertical).value(0));
        QVERIFY(time != nullptr);
        QVERIFY(value != nullptr);
        QCOMPARE(time->min(), from);
        QCOMPARE(time->max(), to);
        QCOMPARE(value->min(), 1.0);
        QCOMPARE(value->max(), 2.0);
    }

    void forwardsSeries()
    {
        Graph graph;
        graph.setTimeRange(from, to);
        graph.setValueRange(0.0, 10.0);
        graph.clear();
        graph.addSeries({text("NO2 (ppm)"), QColor(1, 2, 3), {{from, 4.0}, {to, 5.0}}});

        const auto series = chartOf(graph)->chart()->series();
        QCOMPARE(series.size(), 1);
        QCOMPARE(series.first()->name(), text("NO2 (ppm)"));
        QCOMPARE(qobject_cast<QtCharts::QLineSeries *>(series.first())->count(), 2);
    }

    void beginAndEndOfAnUpdateChangeNothing()
    {
        Graph graph;
        graph.clear();
        const QtCharts::QChart *chart = chartOf(graph)->chart();

        graph.beginUpdate();
        graph.endUpdate();

        QCOMPARE(chartOf(graph)->chart(), chart);
        QVERIFY(chart->series().isEmpty());
    }
};

KV_TEST_MAIN(TestGraph)
#include "tst_graph.moc"
