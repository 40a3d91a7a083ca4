// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graph.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"

#include <QtCharts/QDateTimeAxis>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <QtWidgets/QHBoxLayout>

class TestGraph : public QObject
{
    Q_OBJECT

private slots:
    void chartIsOnlyItemInLayout()
    {
        Graph graph;
        QCOMPARE(graph.findChildren<GraphQt *>().size(), 1);
        auto *const chart = graph.findChild<GraphQt *>();
        auto *const layout = qobject_cast<QHBoxLayout *>(graph.layout());
        QVERIFY(layout != nullptr);
        QCOMPARE(layout->count(), 1);
        QCOMPARE(layout->itemAt(0)->widget(), chart);
        QCOMPARE(layout->contentsMargins(), QMargins());
        // The Tab key skips the chart, because it has no keyboard input.
        QCOMPARE(chart->focusPolicy(), Qt::NoFocus);
    }

    void forwardsRangesAndSeries()
    {
        const QDateTime from(QDate(2024, 3, 1), QTime(0, 0), Qt::UTC);
        const QDateTime to = from.addDays(1);
        Graph graph;
        graph.setTimeRange(from, to);
        graph.setValueRange(1.0, 2.0);
        graph.clear();
        graph.addSeries({text("NO2 (ppm)"), QColor(1, 2, 3), {{from, 4.0}, {to, 5.0}}});

        const QtCharts::QChart *const chart = graph.findChild<GraphQt *>()->chart();
        auto *const time =
            qobject_cast<QtCharts::QDateTimeAxis *>(chart->axes(Qt::Horizontal).value(0));
        auto *const value =
            qobject_cast<QtCharts::QValueAxis *>(chart->axes(Qt::Vertical).value(0));
        QVERIFY(time != nullptr);
        QCOMPARE(time->min(), from);
        QCOMPARE(time->max(), to);
        QVERIFY(value != nullptr);
        QCOMPARE(value->min(), 1.0);
        QCOMPARE(value->max(), 2.0);
        QCOMPARE(chart->series().size(), 1);
        QCOMPARE(chart->series().at(0)->name(), text("NO2 (ppm)"));
        QCOMPARE(qobject_cast<QtCharts::QLineSeries *>(chart->series().at(0))->count(), 2);

        // beginUpdate() and endUpdate() have no effect.
        graph.beginUpdate();
        graph.endUpdate();
        QCOMPARE(graph.findChild<GraphQt *>()->chart(), chart);
        QCOMPARE(chart->series().size(), 1);
    }
};

KV_TEST_MAIN(TestGraph)
#include "tst_graph.moc"
