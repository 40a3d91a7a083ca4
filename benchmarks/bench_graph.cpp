// SPDX-License-Identifier: GPL-3.0-or-later
// The graph dialog on a day, a month and a year of one measurement a minute with 12 values each.
// The store answers from memory, so that its reading (bench_storage) is left out.
#include "graph/graph.h"
#include "tests/fakes/fakelocalstorage.h"
#include "ui/measurementgraph.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <QtGui/QPixmap>
#include <QtWidgets/QApplication>

namespace {

constexpr int minutesPerDay = 1440;
constexpr int typeCount = 12;
constexpr qint64 startMs = 1672531200000; // 2023-01-01T00:00:00Z
constexpr qint64 minuteMs = 60000;

QDateTime timeOf(qint64 minute)
{
    return QDateTime::fromMSecsSinceEpoch(startMs + minute * minuteMs, Qt::UTC);
}

QStringList typeNames()
{
    QStringList names;
    for (int type = 0; type < typeCount; ++type) {
        names.append(QStringLiteral("type%1").arg(type));
    }
    return names;
}

QVector<StoredMeasurement> history(int minutes)
{
    const QStringList names = typeNames();
    QVector<StoredMeasurement> rows;
    rows.reserve(minutes);
    for (int minute = 0; minute < minutes; ++minute) {
        StoredMeasurement row;
        row.timestamp = timeOf(minute);
        row.values.reserve(typeCount);
        for (int type = 0; type < typeCount; ++type) {
            row.values.append(
                {names.at(type), true, 20.0 + std::sin(minute / 200.0 + type) * type});
        }
        rows.append(row);
    }
    return rows;
}

/// A dialog on @p minutes of history, filled but with nothing ticked.
struct OpenedGraph
{
    explicit OpenedGraph(int minutes)
    {
        storage.devicesResult.append(StoredDevice());
        storage.measurementsResult = history(minutes);
        graph.setFromDate(timeOf(0));
        graph.setToDate(timeOf(minutes));
        graph.setShowLatest(false);
        graph.setLocalStorage(&storage);
        graph.beginLoading();
        graph.endLoading();
        graph.show();
        QCoreApplication::processEvents();
    }

    FakeLocalStorage storage;
    MeasurementGraph graph{nullptr};
};

void tickAndDraw(benchmark::State &state)
{
    OpenedGraph opened(static_cast<int>(state.range(0)));
    const QStringList names = typeNames().mid(0, static_cast<int>(state.range(1)));
    for (auto iteration : state) {
        opened.graph.applySelection(names);
        benchmark::DoNotOptimize(opened.graph.grab());
        state.PauseTiming();
        opened.graph.applySelection(QStringList());
        state.ResumeTiming();
    }
}

void refreshAndDraw(benchmark::State &state)
{
    OpenedGraph opened(static_cast<int>(state.range(0)));
    opened.graph.applySelection(typeNames().mid(0, static_cast<int>(state.range(1))));
    for (auto iteration : state) {
        opened.graph.refresh();
        benchmark::DoNotOptimize(opened.graph.grab());
    }
}

/// The chart's own share: the same lines, ready made, on the chart widget alone.
void chartAlone(benchmark::State &state)
{
    const int minutes = static_cast<int>(state.range(0));
    QVector<GraphSeries> lines;
    for (int type = 0; type < state.range(1); ++type) {
        lines.append({typeNames().at(type), Qt::blue, {}});
    }
    for (const StoredMeasurement &row : history(minutes)) {
        for (int type = 0; type < lines.size(); ++type) {
            lines[type].points.append({row.timestamp, row.values.at(type).value});
        }
    }
    Graph chart(nullptr);
    chart.resize(480, 580);
    chart.show();
    for (auto iteration : state) {
        chart.clear();
        chart.setTimeRange(timeOf(0), timeOf(minutes));
        chart.setValueRange(0.0, 35.0);
        chart.clear();
        for (const GraphSeries &line : qAsConst(lines)) {
            chart.addSeries(line);
        }
        benchmark::DoNotOptimize(chart.grab());
    }
}

void sizes(benchmark::internal::Benchmark *bench)
{
    bench->ArgNames({"minutes", "types"})->Unit(benchmark::kMillisecond);
    for (const int days : {1, 30, 365}) {
        for (const int types : {1, typeCount}) {
            bench->Args({days * minutesPerDay, types});
        }
    }
}

BENCHMARK(tickAndDraw)->Apply(sizes);
BENCHMARK(refreshAndDraw)->Apply(sizes);
BENCHMARK(chartAlone)->Apply(sizes);

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
