// SPDX-License-Identifier: GPL-3.0-or-later
// The graph dialog, with a store that returns readings from memory: GRAPH compared with Qwt,
// GRAPH-OPEN with a chart that is redrawn for each check box.
#include "benchmarks/benchmarkarguments.h"
#include "benchmarks/benchmarkoutput.h"
#include "benchmarks/readingtimes.h"
#include "graph/graph.h"
#include "tests/kit/fakelocalstorage.h"
#include "ui/measurementgraph.h"

#include <QtCharts/QLineSeries>
#include <QtWidgets/QApplication>
#include <QtWidgets/QListWidget>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr int linePixels = 3;

/// The names of @p count measurements for which the graph has predefined colours.
QStringList names(int count)
{
    QStringList names;
    for (int type = 0; type < count; ++type) {
        names << QStringLiteral("%1%2").arg(QLatin1Char(type < 8 ? 'A' : 'W')).arg(type % 8);
    }
    return names;
}

/// How the measured values change over time.
enum class Waveform {
    Device, ///< waves of hours and of minutes, and jitter, as those of the simulated transmitter
    Smooth ///< only a wave of hours: the line covers little area, so its segments dominate the cost
};

double valueOf(int minute, int type, Waveform waveform)
{
    constexpr double amplitude = 5.0;
    static std::minstd_rand random; // with the default seed: the same values in each run
    const double slowWave = std::sin(minute / 57.3 + type);
    if (waveform == Waveform::Smooth) {
        return 20.0 + amplitude * slowWave;
    }
    const double jitter = 2.0 * double(random() - random.min()) / double(random.max()) - 1.0;
    return 20.0
        + amplitude * (0.7 * slowWave + 0.2 * std::sin(minute * 0.8976 + type) + 0.1 * jitter);
}

/// @p minutes readings with @p types values each.
QVector<StoredMeasurement> readings(int minutes, int types, Waveform waveform)
{
    const QStringList typeNames = names(types);
    QVector<StoredMeasurement> rows(minutes);
    for (int minute = 0; minute < minutes; ++minute) {
        StoredMeasurement &row = rows[minute];
        row.timestamp = timeOf(minute);
        row.values.reserve(types);
        for (int type = 0; type < types; ++type) {
            row.values.append({typeNames.at(type), true, valueOf(minute, type, waveform)});
        }
    }
    return rows;
}

/// Detects the first time that a widget is painted after the construction of this object.
class FirstPaint : public QObject
{
public:
    explicit FirstPaint(QWidget *widget) { widget->installEventFilter(this); }

    bool eventFilter(QObject *, QEvent *event) override
    {
        m_painted = m_painted || event->type() == QEvent::Paint;
        return false;
    }

    /// Processes events until the widget has been painted.
    void waitForPaint() const
    {
        while (!m_painted) {
            QCoreApplication::processEvents();
        }
    }

private:
    bool m_painted = false;
};

/// The graph dialog, showing @p types measurements, one reading a minute for @p minutes.
struct GraphDialog
{
    GraphDialog(int minutes, int types, Waveform waveform)
    {
        storage.devicesResult.append(StoredDevice());
        storage.measurementsResult = readings(minutes, types, waveform);
        chart = graph.findChild<Graph *>();
        list = graph.findChild<QListWidget *>();
    }

    /// Opens the dialog as the main window does, with the check boxes of the measurements @p
    /// checked checked.
    void open(const QStringList &checked)
    {
        graph.setDisplayOptions({});
        graph.setFromDate(timeOf(0));
        graph.setToDate(timeOf(storage.measurementsResult.size()));
        graph.setShowLatest(false);
        graph.setLocalStorage(&storage);
        graph.beginLoading();
        graph.selectDevice(DeviceDetails());
        graph.endLoading();
        graph.applySelection(checked);
        graph.show();
    }

    QWidget *viewport() const { return chart->findChild<GraphQt *>()->viewport(); }

    FakeLocalStorage storage;
    MeasurementGraph graph{nullptr};
    Graph *chart = nullptr;
    QListWidget *list = nullptr;
};

/// The reference of GRAPH: a Qwt plot with the same lines and size as the dialog's chart.
class QwtReference
{
public:
    QwtReference(const QVector<StoredMeasurement> &rows, const GraphDialog &dialog)
        : m_rows(rows)
    {
        m_plot.resize(dialog.chart->size());
        m_plot.setAxisScale(QwtPlot::xBottom, double(startMs),
                            double(startMs + rows.size() * minuteMs));
        for (int row = 0; row < dialog.list->count(); ++row) {
            m_curves.append(new QwtPlotCurve(dialog.list->item(row)->text()));
            m_curves.last()->setPen(dialog.list->item(row)->foreground().color(), linePixels);
            m_curves.last()->setRenderHint(QwtPlotItem::RenderAntialiased);
            m_curves.last()->attach(&m_plot);
        }
        m_plot.show();
        FirstPaint(m_plot.canvas()).waitForPaint();
    }

    double secondsToDraw()
    {
        clear();
        const FirstPaint paint(m_plot.canvas());
        return secondsOf([&] {
            for (int type = 0; type < m_curves.size(); ++type) {
                QVector<QPointF> points;
                points.reserve(m_rows.size());
                for (const StoredMeasurement &row : m_rows) {
                    points.append(
                        {double(row.timestamp.toMSecsSinceEpoch()), row.values.at(type).value});
                }
                m_curves.at(type)->setSamples(points);
            }
            m_plot.replot();
            paint.waitForPaint();
        });
    }

private:
    void clear()
    {
        for (QwtPlotCurve *curve : qAsConst(m_curves)) {
            curve->setSamples(QVector<QPointF>());
        }
        m_plot.replot();
        QCoreApplication::processEvents();
    }

    const QVector<StoredMeasurement> &m_rows;
    QwtPlot m_plot;
    QVector<QwtPlotCurve *> m_curves; // owned by the plot
};

/// The time from checking the last check box until all lines have been painted.
double secondsToCheck(const GraphDialog &dialog)
{
    QListWidgetItem *last = dialog.list->item(dialog.list->count() - 1);
    last->setCheckState(Qt::Unchecked);
    QCoreApplication::processEvents();
    const FirstPaint paint(dialog.viewport());
    return secondsOf([&] {
        last->setCheckState(Qt::Checked);
        paint.waitForPaint();
    });
}

void benchmarkCheckBox(const char *name, int points, Waveform waveform, int runs,
                       const char *target)
{
    constexpr int lines = 4;
    GraphDialog dialog(points, lines, waveform);
    dialog.open(names(lines));
    FirstPaint(dialog.viewport()).waitForPaint();
    QwtReference qwt(dialog.storage.measurementsResult, dialog);
    const std::vector<Samples> seconds = runAlternately(
        runs, {[&] { return secondsToCheck(dialog); }, [&] { return qwt.secondsToDraw(); }});
    printRow(name, withUnit(median(seconds[0]) * 1e3, 1, "ms"),
             withUnit(median(seconds[1]) * 1e3, 1, "ms") + ", Qwt",
             ratiosOf(seconds[0], seconds[1]), target);
}

/// The reference of GRAPH-OPEN: the same chart, redrawn for each check box that is checked when the
/// dialog opens. Points are appended one by one, then the line is attached.
class RedrawnGraph : public GraphQt
{
public:
    explicit RedrawnGraph(const GraphDialog &dialog)
        : GraphQt(nullptr)
        , m_rows(dialog.storage.measurementsResult)
    {
        for (int row = 0; row < dialog.list->count(); ++row) {
            m_texts << dialog.list->item(row)->text();
            m_colors << dialog.list->item(row)->foreground().color();
        }
        resize(dialog.chart->size());
    }

    double secondsToOpen()
    {
        const FirstPaint paint(viewport());
        const double seconds = secondsOf([&] {
            for (int checked = 1; checked <= m_texts.size(); ++checked) {
                redraw(checked);
            }
            show();
            paint.waitForPaint();
        });
        hide();
        return seconds;
    }

private:
    /// Draws the first @p checked lines.
    void redraw(int checked)
    {
        clear();
        // As in the dialog: the maximum starts at the smallest positive number.
        double minimum = std::numeric_limits<double>::max();
        double maximum = std::numeric_limits<double>::min();
        for (const StoredMeasurement &row : m_rows) {
            for (int type = 0; type < checked; ++type) {
                minimum = std::min(minimum, row.values.at(type).value);
                maximum = std::max(maximum, row.values.at(type).value);
            }
        }
        setValueRange(minimum * 0.99, maximum * 1.01);
        setTimeRange(timeOf(0), timeOf(m_rows.size()));
        clear();
        for (int type = 0; type < checked; ++type) {
            drawLine(type);
        }
    }

    void drawLine(int type)
    {
        auto *line = new QtCharts::QLineSeries;
        line->setName(m_texts.at(type));
        for (const StoredMeasurement &row : m_rows) {
            line->append(double(row.timestamp.toMSecsSinceEpoch()), row.values.at(type).value);
        }
        QPen pen = line->pen();
        pen.setColor(m_colors.at(type));
        pen.setWidth(linePixels);
        line->setPen(pen);
        chart()->addSeries(line);
        const QList<QtCharts::QAbstractAxis *> axes = chart()->axes();
        for (QtCharts::QAbstractAxis *axis : axes) {
            line->attachAxis(axis);
        }
    }

    const QVector<StoredMeasurement> &m_rows;
    QStringList m_texts;
    QVector<QColor> m_colors;
};

QImage imageOf(QWidget &widget)
{
    // The image of a widget within a window has an alpha channel, that of a window has none.
    return widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

void benchmarkOpeningTheDialog(const BenchmarkArguments &arguments)
{
    constexpr int types = 12;
    GraphDialog dialog(arguments.size(minutesPerMonth, 200), types, Waveform::Device);
    dialog.open(names(types));
    FirstPaint(dialog.viewport()).waitForPaint();
    RedrawnGraph redrawn(dialog);
    const auto secondsToOpen = [&] {
        dialog.graph.applySelection({});
        dialog.graph.hide();
        const FirstPaint paint(dialog.viewport());
        return secondsOf([&] {
            dialog.open(names(types));
            paint.waitForPaint();
        });
    };
    const std::vector<Samples> seconds = runAlternately(
        arguments.size(5, 1), {secondsToOpen, [&] { return redrawn.secondsToOpen(); }});
    const QImage image = imageOf(*dialog.chart->findChild<GraphQt *>());
    if (image != imageOf(redrawn)) {
        fail("The dialog's chart and the redrawn one differ.");
    }
    printRow("GRAPH-OPEN", withUnit(median(seconds[0]), 3, "s"),
             withUnit(median(seconds[1]), 3, "s") + ", redrawn for each check box",
             ratiosOf(seconds[0], seconds[1]), "<= 0.3");
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const BenchmarkArguments arguments(argc, argv);
    if (arguments.isRequested("GRAPH")) {
        const int few = arguments.size(10000, 100);
        const int many = arguments.size(100000, 200);
        const int runs = arguments.size(9, 1);
        benchmarkCheckBox("GRAPH 10,000", few, Waveform::Device, runs, "<= 2");
        benchmarkCheckBox("GRAPH 100,000", many, Waveform::Device, runs, "<= 4");
        benchmarkCheckBox("GRAPH 10,000 smooth", few, Waveform::Smooth, runs, "<= 2");
        benchmarkCheckBox("GRAPH 100,000 smooth", many, Waveform::Smooth, runs, "<= 4");
    }
    if (arguments.isRequested("GRAPH-OPEN")) {
        benchmarkOpeningTheDialog(arguments);
    }
    return 0;
}
