// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graphqt.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"

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

/// Starts an empty chart of one day.
void startChart(GraphQt &graph, double minimum, double maximum)
{
    graph.setTimeRange(from, to);
    graph.setValueRange(minimum, maximum);
    graph.clear();
}

GraphSeries sawtooth(const QString &name, double lowest)
{
    GraphSeries series{name, orange, {}};
    for (int hour = 0; hour <= 24; ++hour) {
        series.points.append({from.addSecs(hour * 3600), lowest + hour % 7});
    }
    return series;
}

/// The image of a chart whose lines get their points before they are added to it.
QImage imageWithPointsAddedFirst(double minimum, double maximum, const QVector<GraphSeries> &lines,
                                 const QSize &size)
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
    QChart *defaultChart = view.chart();
    view.setChart(chart);
    delete defaultChart;
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
    void isAntialiasedAndHasNoAxesBeforeTheFirstClear()
    {
        const GraphQt graph;
        QVERIFY(graph.renderHints().testFlag(QPainter::Antialiasing));
        QVERIFY(graph.chart()->axes().isEmpty());
    }

    void buildsATimeAxisAndAValueAxis()
    {
        GraphQt graph;
        startChart(graph, 9.9, 20.2);

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

    void rangesTakeEffectOnlyAtTheNextClear()
    {
        GraphQt graph;
        startChart(graph, 1.0, 2.0);
        graph.setTimeRange(from.addDays(1), to.addDays(2));
        graph.setValueRange(3.0, 4.0);
        QCOMPARE(timeAxis(graph)->min(), from);
        QCOMPARE(valueAxis(graph)->max(), 2.0);

        for (int clear = 0; clear < 2; ++clear) {
            graph.clear();
            QCOMPARE(timeAxis(graph)->min(), from.addDays(1));
            QCOMPARE(timeAxis(graph)->max(), to.addDays(2));
            QCOMPARE(valueAxis(graph)->min(), 3.0);
            QCOMPARE(valueAxis(graph)->max(), 4.0);
        }
    }

    void linesHaveNameColourPointsAndAxes()
    {
        GraphQt graph;
        startChart(graph, 0.0, 10.0);
        graph.addSeries({text("first"), orange, {{from, 1.5}, {to, -2.5}}});
        graph.addSeries({text("second"), QColor(Qt::black), {{to, 7.0}}});
        graph.addSeries({text("third"), QColor(Qt::red), {}});

        QCOMPARE(graph.chart()->series().size(), 3);
        QLineSeries *const line = lineAt(graph, 0);
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
        QVERIFY(line->attachedAxes().contains(timeAxis(graph)));
        QVERIFY(line->attachedAxes().contains(valueAxis(graph)));
    }

    void legendShortensNamesLongerThan200Characters()
    {
        GraphQt graph;
        graph.clear();
        const QString longest(200, QLatin1Char('n'));
        for (const QString &name : {longest, longest + QLatin1Char('n')}) {
            graph.addSeries({name, orange, {}});
        }
        const QList<QtCharts::QLegendMarker *> markers = graph.chart()->legend()->markers();
        QCOMPARE(markers.at(0)->label(), longest);
        QCOMPARE(markers.at(1)->label(), longest + text("…"));
    }

    void clearAndDestructorDestroyChartAxesAndLines()
    {
        QVector<QPointer<QObject>> parts;
        {
            GraphQt graph;
            parts << graph.chart();
            for (int clear = 0; clear < 2; ++clear) {
                graph.clear();
                for (const QPointer<QObject> &part : qAsConst(parts)) {
                    QVERIFY(part.isNull());
                }
                QVERIFY(graph.chart()->series().isEmpty());
                graph.addSeries(sawtooth(text("line"), 1.0));
                parts << graph.chart() << timeAxis(graph) << valueAxis(graph) << lineAt(graph, 0);
            }
        }
        for (const QPointer<QObject> &part : qAsConst(parts)) {
            QVERIFY(part.isNull());
        }
    }

    void repeatedClearLeaksNoObjects()
    {
        GraphQt graph;
        startChart(graph, 0.0, 10.0);
        graph.addSeries(sawtooth(text("line"), 1.0));
        const int items = graph.scene()->items().size();
        const int objects = graph.findChildren<QObject *>().size();

        for (int i = 0; i < 100; ++i) {
            graph.clear();
            graph.addSeries(sawtooth(text("line"), 1.0));
        }

        QCOMPARE(graph.scene()->items().size(), items);
        QCOMPARE(graph.findChildren<QObject *>().size(), objects);
    }

    void imageIsTheSameIfPointsAreAddedFirst_data()
    {
        QTest::addColumn<double>("minimum");
        QTest::addColumn<double>("maximum");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QSize>("size");
        const auto addRangeRow = [](const char *name, double minimum, double maximum) {
            QTest::addRow("%s", name) << minimum << maximum << texts("low|high") << QSize(700, 400);
        };
        addRangeRow("lines inside the range", 0.0, 20.0);
        addRangeRow("lines partly outside the range", 3.0, 9.0);
        addRangeRow("lines outside the range", 1000.0, 2000.0);
        addRangeRow("both bounds 0", 0.0, 0.0);
        addRangeRow("equal bounds", 5.0, 5.0);
        addRangeRow("reversed bounds", 9.0, 3.0);
        addRangeRow("maximum just above 0", -4.95, std::numeric_limits<double>::min());

        const auto addNamesRow = [](const char *name, const QStringList &names, const QSize &size) {
            QTest::addRow("%s", name) << 0.0 << 20.0 << names << size;
        };
        const QStringList twelveNames(QVector<QString>(12, text("A0 ppm")).toList());
        const QSize portrait(467, 640);
        addNamesRow("one line", texts("low"), QSize(700, 400));
        addNamesRow("empty names", texts("|"), QSize(700, 400));
        addNamesRow("twelve lines", twelveNames, portrait);
        addNamesRow("wide", twelveNames, QSize(1600, 200));
        addNamesRow("small", twelveNames, QSize(240, 200));
        addNamesRow("long last name", {text("low"), QString(300, QLatin1Char('w'))}, portrait);
        addNamesRow("HTML in the last name", texts("low|two<br>lines<br>or three"), portrait);
        addNamesRow("HTML in the first name", texts("two<br>lines<br>or three|low"), portrait);
    }

    void imageIsTheSameIfPointsAreAddedFirst()
    {
        QFETCH(double, minimum);
        QFETCH(double, maximum);
        QFETCH(QStringList, names);
        QFETCH(QSize, size);
        QVector<GraphSeries> lines;
        for (const QString &name : names) {
            lines.append(sawtooth(name, 1.0 + lines.size() * 7 % 10));
        }
        for (const bool isShown : {false, true}) {
            GraphQt graph;
            if (isShown) {
                graph.resize(size);
                graph.show();
                QVERIFY(QTest::qWaitForWindowExposed(&graph));
            }
            // A visible chart is filled twice, as by a refresh of the graph dialog.
            for (int fill = 0; fill < (isShown ? 2 : 1); ++fill) {
                startChart(graph, minimum, maximum);
                for (const GraphSeries &series : qAsConst(lines)) {
                    graph.addSeries(series);
                }
                if (isShown) {
                    QCoreApplication::processEvents();
                }
            }
            graph.resize(size);
            QCOMPARE(graph.grab().toImage(),
                     imageWithPointsAddedFirst(minimum, maximum, lines, size));
        }
    }

    void toleratesRangesThatTheAxesReject()
    {
        using Limits = std::numeric_limits<double>;
        const struct
        {
            QDateTime from;
            QDateTime to;
            double minimum;
            double maximum;
        } ranges[] = {{{}, {}, 0.0, 1.0},
                      {to, from, 0.0, 1.0},
                      {from, from, 0.0, 1.0},
                      {from, to, 2.0, 1.0},
                      {from, to, 0.0, Limits::min()},
                      {from, to, Limits::lowest(), Limits::max()}};
        for (const auto &range : ranges) {
            GraphQt graph;
            graph.setTimeRange(range.from, range.to);
            graph.setValueRange(range.minimum, range.maximum);
            for (int clear = 0; clear < 2; ++clear) {
                graph.clear();
                graph.addSeries(sawtooth(text("line"), 1.0));
                QCOMPARE(graph.chart()->series().size(), 1);
            }
        }
    }

    void keepsEveryPointOfAYear()
    {
        constexpr int minutesOfYear = 365 * 24 * 60;
        GraphSeries series{text("year"), orange, {}};
        for (int minute = 0; minute < minutesOfYear; ++minute) {
            series.points.append({from.addSecs(minute * 60), minute % 50 + 0.25});
        }
        GraphQt graph;
        startChart(graph, 0.0, 60.0);
        graph.addSeries(series);
        QCOMPARE(lineAt(graph, 0)->count(), minutesOfYear);
    }
};

KV_TEST_MAIN(TestGraphQt)
#include "tst_graphqt.moc"
