// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/utils.h"
#include "storage/localstoragesqlite.h"

#include <benchmark/benchmark.h>
#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVariant>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlError>
#include <QtSql/QSqlQuery>

namespace {

constexpr int minutesPerDay = 1440;
constexpr int minutesPerMonth = 30 * minutesPerDay;
constexpr int minutesPerYear = 365 * minutesPerDay;
constexpr int typeCount = 12;
constexpr qint64 startMs = 1672531200000; // 2023-01-01T00:00:00Z
constexpr qint64 minuteMs = 60000;
constexpr unsigned deviceId = 1;

bool run(const QString &sql)
{
    QSqlQuery query(QSqlDatabase::database());
    if (query.exec(sql)) {
        return true;
    }
    qWarning() << "Failed to fill the store:" << query.lastError().text();
    return false;
}

/// One device with a measurement a minute, through plain SQL in one transaction.
bool fill(int minutes)
{
    return run(QStringLiteral("begin"))
        && run(QStringLiteral("insert into device(model, serial) values ('M', 'S1')"))
        && run(QStringLiteral("with recursive n(i) as (select 1 union all select i + 1 from n "
                              "where i < %1) insert into measurement_type(name) "
                              "select 'type' || i from n")
                   .arg(typeCount))
        && run(QStringLiteral("with recursive n(i) as (select 0 union all select i + 1 from n "
                              "where i + 1 < %1) insert into measurement_metadata(timestamp, "
                              "meas_state, device_id) select %2 + i * %3, 1, 1 from n")
                   .arg(minutes)
                   .arg(startMs)
                   .arg(minuteMs))
        && run(QStringLiteral("insert into measurement_value(measurement_id, measurement_type_id, "
                              "value) select m.id, t.id, m.id * 0.01 + t.id "
                              "from measurement_metadata m cross join measurement_type t "
                              "order by m.id, t.id"))
        && run(QStringLiteral("commit"));
}

/// The folder of the store files, gone at the end of the program.
QTemporaryDir &folder()
{
    static QTemporaryDir dir;
    return dir;
}

/// Opens the store of @p minutes, which is made at its first use.
bool openStore(LocalStorageSqlite &store, int minutes)
{
    const QString path = folder().filePath(QStringLiteral("%1.db").arg(minutes));
    const bool existed = QFile::exists(path);
    return store.open(path) && (existed || (fill(minutes) && store.open(path)));
}

/// Reads the last range(1) minutes of a store of range(0) minutes.
void readMeasurements(benchmark::State &state)
{
    const auto stored = static_cast<int>(state.range(0));
    const auto asked = static_cast<int>(state.range(1));
    {
        LocalStorageSqlite store;
        if (!openStore(store, stored)) {
            state.SkipWithError("no store");
        }
        const QDateTime to =
            QDateTime::fromMSecsSinceEpoch(startMs + (stored - 1) * minuteMs, Qt::UTC);
        const QDateTime from = to.addMSecs(-(asked - 1) * minuteMs);
        for (auto _ : state) {
            const QVector<StoredMeasurement> found = store.measurements(from, to, deviceId);
            if (found.size() != asked || found.last().values.size() != typeCount) {
                state.SkipWithError("measurements are missing");
            }
        }
        state.SetItemsProcessed(state.iterations() * asked);
    }
    QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
}

void writeCsv(benchmark::State &state)
{
    const auto minutes = static_cast<int>(state.range(0));
    QStringList titles{QStringLiteral("Timestamp")};
    for (int type = 1; type <= typeCount; ++type) {
        titles << QStringLiteral("type%1").arg(type);
    }
    QVector<LogValue> rows(minutes);
    for (int minute = 0; minute < minutes; ++minute) {
        LogValue &row = rows[minute];
        row.time = QDateTime::fromMSecsSinceEpoch(startMs + minute * minuteMs, Qt::UTC);
        row.values.reserve(typeCount);
        for (int type = 1; type <= typeCount; ++type) {
            row.values.append(minute * 0.01 + type);
        }
    }
    const QString path = folder().filePath(QStringLiteral("export.csv"));
    QString error;
    for (auto _ : state) {
        if (!saveToCsv(path, titles, rows, error)) {
            state.SkipWithError("no file");
        }
    }
    state.SetItemsProcessed(state.iterations() * minutes);
}

} // namespace

BENCHMARK(readMeasurements)
    ->ArgNames({"stored", "read"})
    ->Args({minutesPerDay, minutesPerDay})
    ->Args({minutesPerMonth, minutesPerMonth})
    ->Args({minutesPerYear, minutesPerDay})
    ->Args({minutesPerYear, minutesPerMonth})
    ->Args({minutesPerYear, minutesPerYear})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(writeCsv)
    ->ArgName("rows")
    ->Arg(minutesPerDay)
    ->Arg(minutesPerMonth)
    ->Arg(minutesPerYear)
    ->Unit(benchmark::kMillisecond);

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
