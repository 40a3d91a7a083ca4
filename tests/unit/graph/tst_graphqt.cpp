// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graphqt.h"
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"

#include <QtCharts/QDateTimeAxis>
#include <QtCharts/QLegendMarker>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <QtCore/QPointer>
#include <QtWidgets/QGraphicsLayout>
#include <QtWidgets/QGraphicsScene>
#include <limits>

using QtCharts::QChart;
using QtCharts::QDateTimeAxis;
using QtCharts::QLineSeries;
using QtCharts::QValueAxis;

namespace {

const QDateTime from(QDate(2024, 3, 1), QTime(0, 0), Qt::UTC);
const QDateTime to(QDate(2024, 3, 2), QTime(0, 0), Qt::UTC);
const QColor orange(255, 150, 0);

QDateTimeAxis *timeAxis(const GraphQt &graph)
{
    return qobject_cast<QDateTimeAxis *>(graph.chart()->axes(Qt::Horizontal).value(0));
}

QValueAxis *valueAxis(const GraphQt &graph)
{
    return qobject_cast<QValueAxis *>(graph.chart()->axes(Qt::Vertical).value(0));
}

QLineSeries *lineAt(const GraphQt &graph, int index)
{
    return qobject_cast<QLineSeries *>(graph.chart()->series().value(index));
}

GraphSeries wave(const QString &name, double lowest)
{
    GraphSeries series{name, orange, {}};
    for (int hour = 0; hour <= 24; ++hour) {
        series.points.append({from.addSecs(hour * 3600), lowest + hour % 7});
    }
    return series;
}

/// The picture that a chart gives when its lines get their points before they are added.
QImage pictureWithPointsFirst(double minimum, double maximum, const QVector<GraphSeries> &lines,
                              const QSize &size = QSize(700, 400))
{
    QtCharts::QChartView view;
    view.setRenderHint(QPainter::Antialiasing);
    auto *chart = new QChart;
    chart->layout()->setContentsMargins(0, 0, 0, 0);
    chart->setMargins(QMargins(6, 6, 6, 6));
    auto *time = new QDateTimeAxis;
    time->setTickCount(10);
    time->setLabelsAngle(-90);
    time->setFormat(text("dd.MM.yyyy hh:mm"));
    time->setTitleText(text("Date"));
    time->setRange(from, to);
    chart->addAxis(time, Qt::AlignBottom);
    auto *value = new QValueAxis;
    value->setTitleText(text("Value"));
    value->setRange(minimum, maximum);
    chart->addAxis(value, Qt::AlignLeft);
    QChart *first = view.chart();
    view.setChart(chart);
    delete first;
    for (const GraphSeries &series : lines) {
        auto *line = new QLineSeries;
        line->setName(series.name.toHtmlEscaped());
        for (const GraphPoint &point : series.points) {
            line->append(static_cast<double>(point.time.toMSecsSinceEpoch()), point.value);
        }
        QPen pen = line->pen();
        pen.setColor(series.color);
        pen.setWidth(3);
        line->setPen(pen);
        chart->addSeries(line);
        line->attachAxis(time);
        line->attachAxis(value);
    }
    view.resize(size);
    return view.grab().toImage();
}

} // namespace

class TestGraphQt : public QObject
{
    Q_OBJECT

private slots:
    void drawsWithAntialiasing()
    {
        QVERIFY(GraphQt().renderHints().testFlag(QPainter::Antialiasing));
    }

    void hasNoAxesBeforeTheFirstClear()
    {
        GraphQt graph;
        QVERIFY(graph.chart()->axes().isEmpty());
    }

    void buildsATimeAxisAndAValueAxis()
    {
        GraphQt graph;
        graph.setTimeRange(from, to);
        graph.setValueRange(9.9, 20.2);
        graph.clear();

        QCOMPARE(graph.chart()->axes().size(), 2);
        QVERIFY(timeAxis(graph) != nullptr);
        QCOMPARE(timeAxis(graph)->alignment(), Qt::AlignBottom);
        QCOMPARE(timeAxis(graph)->tickCount(), 10);
        QCOMPARE(timeAxis(graph)->format(), text("dd.MM.yyyy hh:mm"));
        QCOMPARE(timeAxis(graph)->labelsAngle(), -90);
        QCOMPARE(timeAxis(graph)->titleText(), text("Date"));
        QCOMPARE(timeAxis(graph)->min(), from);
        QCOMPARE(timeAxis(graph)->max(), to);
        QVERIFY(valueAxis(graph) != nullptr);
        QCOMPARE(valueAxis(graph)->alignment(), Qt::AlignLeft);
        QCOMPARE(valueAxis(graph)->titleText(), text("Value"));
        QCOMPARE(valueAxis(graph)->min(), 9.9);
        QCOMPARE(valueAxis(graph)->max(), 20.2);
    }

    void rangesTakeEffectAtTheNextClearOnly()
    {
        GraphQt graph;
        graph.setTimeRange(from, to);
        graph.setValueRange(1.0, 2.0);
        graph.clear();

        graph.setTimeRange(from.addDays(1), to.addDays(1));
        graph.setValueRange(3.0, 4.0);
        QCOMPARE(timeAxis(graph)->min(), from);
        QCOMPARE(valueAxis(graph)->max(), 2.0);

        graph.clear();
        QCOMPARE(timeAxis(graph)->min(), from.addDays(1));
        QCOMPARE(timeAxis(graph)->max(), to.addDays(1));
        QCOMPARE(valueAxis(graph)->min(), 3.0);
        QCOMPARE(valueAxis(graph)->max(), 4.0);
        graph.clear();
        QCOMPARE(timeAxis(graph)->max(), to.addDays(1));
        QCOMPARE(valueAxis(graph)->max(), 4.0);
    }

    void linesHaveNameColourPointsAndAxes()
    {
        GraphQt graph;
        graph.setTimeRange(from, to);
        graph.setValueRange(0.0, 10.0);
        graph.clear();
        graph.addSeries({text("first"), orange, {{from, 1.5}, {to, -2.5}}});
        graph.addSeries({text("second"), QColor(Qt::black), {{to, 7.0}}});
        graph.addSeries({text("third"), QColor(Qt::red), {}});

        QCOMPARE(graph.chart()->series().size(), 3);
        const QLineSeries *line = lineAt(graph, 0);
        QVERIFY(line != nullptr);
        QCOMPARE(line->name(), text("first"));
        QCOMPARE(line->pen().color(), orange);
        QCOMPARE(line->pen().width(), 3);
        const QVector<QPointF> expected{{static_cast<double>(from.toMSecsSinceEpoch()), 1.5},
                                        {static_cast<double>(to.toMSecsSinceEpoch()), -2.5}};
        QCOMPARE(line->pointsVector(), expected);
        QCOMPARE(lineAt(graph, 1)->name(), text("second"));
        QCOMPARE(lineAt(graph, 1)->count(), 1);
        QCOMPARE(lineAt(graph, 2)->count(), 0);
        QVERIFY(lineAt(graph, 0)->attachedAxes().contains(timeAxis(graph)));
        QVERIFY(lineAt(graph, 0)->attachedAxes().contains(valueAxis(graph)));
    }

    void legendShortensNamesOfMoreThan200Characters()
    {
        GraphQt graph;
        graph.clear();
        const QString longest(200, QLatin1Char('n'));
        for (const QString &name : {longest, longest + QLatin1Char('n')}) {
            graph.addSeries({name, orange, {}});
        }
        const QList<QtCharts::QLegendMarker *> markers = graph.chart()->legend()->markers();
        QCOMPARE(markers.at(0)->label(), longest);
        QCOMPARE(markers.at(1)->label(), longest + QChar(0x2026));
    }

    void clearDestroysTheOldChartWithAxesAndLines()
    {
        GraphQt graph;
        graph.clear();
        graph.addSeries(wave(text("line"), 1.0));
        const QPointer<QObject> chart = graph.chart();
        const QPointer<QObject> time = timeAxis(graph);
        const QPointer<QObject> value = valueAxis(graph);
        const QPointer<QObject> line = lineAt(graph, 0);

        graph.clear();

        QVERIFY(chart.isNull());
        QVERIFY(time.isNull());
        QVERIFY(value.isNull());
        QVERIFY(line.isNull());
        QVERIFY(graph.chart()->series().isEmpty());
    }

    void clearDestroysTheInitialChart()
    {
        GraphQt graph;
        const QPointer<QObject> chart = graph.chart();
        graph.clear();
        QVERIFY(chart.isNull());
    }

    void destructorDestroysChartAxesAndLines()
    {
        QVector<QPointer<QObject>> parts;
        {
            GraphQt graph;
            graph.clear();
            graph.addSeries(wave(text("line"), 1.0));
            parts << graph.chart() << timeAxis(graph) << valueAxis(graph) << lineAt(graph, 0);
        }
        for (const QPointer<QObject> &part : qAsConst(parts)) {
            QVERIFY(part.isNull());
        }
    }

    void manyClearsLeaveOneChart()
    {
        GraphQt graph;
        graph.setTimeRange(from, to);
        graph.setValueRange(0.0, 10.0);
        graph.clear();
        graph.addSeries(wave(text("line"), 1.0));
        const int items = graph.scene()->items().size();
        const int objects = graph.findChildren<QObject *>().size();

        for (int i = 0; i < 100; ++i) {
            graph.clear();
            graph.addSeries(wave(text("line"), 1.0));
        }

        QCOMPARE(graph.scene()->items().size(), items);
        QCOMPARE(graph.findChildren<QObject *>().size(), objects);
        int charts = 0;
        const auto all = graph.scene()->items();
        for (QGraphicsItem *item : all) {
            charts += dynamic_cast<QChart *>(item) != nullptr ? 1 : 0;
        }
        QCOMPARE(charts, 1);
    }

    void pictureDoesNotDependOnTheOrderOfFilling_data()
    {
        QTest::addColumn<double>("minimum");
        QTest::addColumn<double>("maximum");

        QTest::addRow("lines inside") << 0.0 << 20.0;
        QTest::addRow("lines partly outside") << 3.0 << 9.0;
        QTest::addRow("lines outside") << 1000.0 << 2000.0;
        QTest::addRow("no range") << 0.0 << 0.0;
        QTest::addRow("equal bounds") << 5.0 << 5.0;
        QTest::addRow("crossed bounds") << 9.0 << 3.0;
        QTest::addRow("practically nothing above") << -4.95 << std::numeric_limits<double>::min();
    }

    void pictureDoesNotDependOnTheOrderOfFilling()
    {
        QFETCH(double, minimum);
        QFETCH(double, maximum);
        const QVector<GraphSeries> lines{wave(text("low"), 1.0), wave(text("high"), 8.0)};

        GraphQt graph;
        graph.setTimeRange(from, to);
        graph.setValueRange(minimum, maximum);
        graph.clear();
        for (const GraphSeries &series : lines) {
            graph.addSeries(series);
        }
        graph.resize(700, 400);

        const QImage picture = graph.grab().toImage();
        QCOMPARE(picture, pictureWithPointsFirst(minimum, maximum, lines));
    }

    void pictureInAShownWindowDoesNotDependOnTheOrderOfFilling_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QStringList>("names");

        const QStringList short12(QVector<QString>(12, text("A0 ppm")).toList());
        QTest::addRow("one line") << QSize(700, 400) << texts("low");
        QTest::addRow("empty names") << QSize(700, 400) << texts("|");
        QTest::addRow("twelve lines") << QSize(467, 640) << short12;
        QTest::addRow("wide") << QSize(1600, 200) << short12;
        QTest::addRow("small") << QSize(240, 200) << short12;
        QTest::addRow("a long name last")
            << QSize(467, 640) << QStringList{text("low"), QString(300, QLatin1Char('w'))};
        QTest::addRow("HTML in the last name")
            << QSize(467, 640) << texts("low|two<br>lines<br>or three");
        QTest::addRow("HTML in the first name")
            << QSize(467, 640) << texts("two<br>lines<br>or three|low");
    }

    void pictureInAShownWindowDoesNotDependOnTheOrderOfFilling()
    {
        QFETCH(QSize, size);
        QFETCH(QStringList, names);
        QVector<GraphSeries> lines;
        for (const QString &name : names) {
            lines.append(wave(name, lines.size()));
        }

        GraphQt graph;
        graph.setTimeRange(from, to);
        graph.setValueRange(0.0, 20.0);
        graph.resize(size);
        graph.show();
        QVERIFY(QTest::qWaitForWindowExposed(&graph));
        // Twice, as at a reload.
        for (int reload = 0; reload < 2; ++reload) {
            graph.clear();
            for (const GraphSeries &series : qAsConst(lines)) {
                graph.addSeries(series);
            }
            QCoreApplication::processEvents();
        }

        QCOMPARE(graph.grab().toImage(), pictureWithPointsFirst(0.0, 20.0, lines, size));
    }

    void toleratesARangeThatTheAxisRejects_data()
    {
        QTest::addColumn<QDateTime>("start");
        QTest::addColumn<QDateTime>("end");
        QTest::addColumn<double>("minimum");
        QTest::addColumn<double>("maximum");
        const double highest = std::numeric_limits<double>::max();

        QTest::addRow("no times") << QDateTime() << QDateTime() << 0.0 << 1.0;
        QTest::addRow("crossed times") << to << from << 0.0 << 1.0;
        QTest::addRow("equal times") << from << from << 0.0 << 1.0;
        QTest::addRow("crossed values") << from << to << 2.0 << 1.0;
        QTest::addRow("smallest normal double")
            << from << to << 0.0 << std::numeric_limits<double>::min();
        QTest::addRow("widest") << from << to << -highest << highest;
    }

    void toleratesARangeThatTheAxisRejects()
    {
        QFETCH(QDateTime, start);
        QFETCH(QDateTime, end);
        QFETCH(double, minimum);
        QFETCH(double, maximum);

        GraphQt graph;
        graph.setTimeRange(start, end);
        graph.setValueRange(minimum, maximum);
        graph.clear();
        graph.addSeries(wave(text("line"), 1.0));
        graph.clear();
        graph.addSeries(wave(text("line"), 1.0));

        QCOMPARE(graph.chart()->series().size(), 1);
    }

    void aYearOfPointsKeepsEveryPoint()
    {
        constexpr int minutesOfYear = 365 * 24 * 60;
        GraphSeries series{text("year"), orange, {}};
        series.points.reserve(minutesOfYear);
        for (int minute = 0; minute < minutesOfYear; ++minute) {
            series.points.append({from.addSecs(minute * 60), minute % 50 + 0.25});
        }
        GraphQt graph;
        graph.setTimeRange(from, from.addDays(365));
        graph.setValueRange(0.0, 60.0);
        graph.clear();
        graph.addSeries(series);

        QCOMPARE(lineAt(graph, 0)->count(), minutesOfYear);
        QCOMPARE(lineAt(graph, 0)->at(minutesOfYear - 1),
                 QPointF(static_cast<double>(series.points.last().time.toMSecsSinceEpoch()),
                         series.points.last().value));
    }
};

KV_TEST_MAIN(TestGraphQt)
#include "tst_graphqt.moc"
