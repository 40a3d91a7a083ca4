// SPDX-License-Identifier: GPL-3.0-or-later
// READ-DAY, READ-YEAR and STORE: the tool's store, compared with SQLite's C interface and with
// plain statements through QtSql. SCALE store: with stores of increasing size.
#include "benchmarks/benchmarkarguments.h"
#include "benchmarks/benchmarkoutput.h"
#include "benchmarks/storefile.h"
#include "storage/localstoragesqlite.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QScopeGuard>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVariant>
#include <QtSql/QSqlQuery>
#include <cmath>
#include <optional>
#include <sys/syscall.h>
#include <unistd.h>

using namespace StoreFile;

namespace {

long syncCount = 0;

} // namespace

// These replace the functions of the C library, also for SQLite, and count the calls.
extern "C" int fsync(int file)
{
    ++syncCount;
    return static_cast<int>(syscall(SYS_fsync, file));
}

extern "C" int fdatasync(int file)
{
    ++syncCount;
    return static_cast<int>(syscall(SYS_fdatasync, file));
}

namespace {

const char *const peakOption = "--peak-of";
const char *const referenceConnection = "reference";
constexpr double peakLimitMb = 260.0;

/// Reads the last @p requested of @p stored readings of a store, with the tool and without.
class StoreReader
{
public:
    StoreReader(int stored, int requested)
        : m_file(path(stored)) // creates the store before m_store is constructed
        , m_requested(requested)
        , m_from(timeOf(stored - requested))
        , m_to(timeOf(stored - 1))
    {
        if (m_file.isEmpty() || !m_store->open(m_file)
            || sqlite3_open(QFile::encodeName(m_file), &m_database) != SQLITE_OK) {
            fail("There is no store to read.");
        }
    }
    ~StoreReader()
    {
        sqlite3_close(m_database);
        m_store.reset();
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    }
    Q_DISABLE_COPY(StoreReader)

    double secondsByTool()
    {
        QVector<StoredMeasurement> found;
        const double seconds = secondsOf([&] { found = m_store->measurements(m_from, m_to, 1); });
        if (found.size() != m_requested || found.last().values.size() != typeCount) {
            fail("The tool did not read all readings.");
        }
        return seconds;
    }

    double secondsBySqlite()
    {
        ReadTotals totals;
        const double seconds = secondsOf([&] {
            totals =
                readWithSqlite(m_database, m_from.toMSecsSinceEpoch(), m_to.toMSecsSinceEpoch());
        });
        if (totals.readings != m_requested || totals.values != qint64(m_requested) * typeCount) {
            fail("SQLite did not read all rows.");
        }
        return seconds;
    }

    /// Reads the columns of the same rows with QtSql, as readWithSqlite() does, and keeps nothing.
    double secondsByQtSql()
    {
        ReadTotals totals;
        const double seconds = secondsOf([&] {
            QSqlQuery metadata = executed(selectMetadata);
            while (metadata.next()) {
                ++totals.readings;
                for (int column = 0; column < 3; ++column) {
                    totals.sum += static_cast<double>(metadata.value(column).toLongLong());
                }
            }
            QSqlQuery values = executed(selectValues);
            while (values.next()) {
                ++totals.values;
                totals.sum += static_cast<double>(values.value(0).toLongLong());
                totals.sum += values.value(1).toDouble();
                totals.sum += values.value(2).toString().size();
            }
        });
        if (totals.readings != m_requested || totals.values != qint64(m_requested) * typeCount) {
            fail("QtSql did not read all rows.");
        }
        return seconds;
    }

private:
    QSqlQuery executed(const char *statement) const
    {
        QSqlQuery query;
        query.setForwardOnly(true);
        query.prepare(QLatin1String(statement));
        query.addBindValue(1);
        query.addBindValue(m_from.toMSecsSinceEpoch());
        query.addBindValue(m_to.toMSecsSinceEpoch());
        query.exec();
        return query;
    }

    QString m_file;
    int m_requested;
    QDateTime m_from;
    QDateTime m_to;
    std::optional<LocalStorageSqlite> m_store{std::in_place};
    sqlite3 *m_database = nullptr;
};

void benchmarkReadingADay(const BenchmarkArguments &arguments)
{
    StoreReader reader(arguments.size(minutesPerYear, 2 * minutesPerDay), minutesPerDay);
    reader.secondsBySqlite();
    const std::vector<Samples> seconds = runAlternately(
        arguments.size(9, 1),
        {[&] { return reader.secondsByTool(); }, [&] { return reader.secondsBySqlite(); }});
    printRow("READ-DAY", withUnit(median(seconds[0]) * 1e3, 1, "ms"),
             withUnit(median(seconds[1]) * 1e3, 1, "ms") + ", SQLite's C interface",
             ratiosOf(seconds[0], seconds[1]), "<= 1.05");
}

/// The peak memory, in MB, of another process of this program that only reads a whole store once.
double measurePeakMemory(int minutes)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(),
                  {QLatin1String(peakOption), QString::number(minutes)});
    process.waitForFinished(-1);
    const double kilobytes = process.readAllStandardOutput().trimmed().toDouble();
    if (process.exitCode() != 0 || kilobytes <= 0) {
        fail("The peak of the memory could not be measured.");
    }
    return kilobytes / 1024;
}

/// Reads a whole store and prints the peak memory of this process, in kB.
int printPeakMemory(int minutes)
{
    StoreReader(minutes, minutes).secondsByTool();
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return 1;
    }
    const QByteArray text = status.readAll();
    const QByteArray peak = text.mid(text.indexOf("VmHWM:") + 6).trimmed();
    std::printf("%s\n", peak.left(peak.indexOf(' ')).constData());
    return 0;
}

void benchmarkReadingAYear(const BenchmarkArguments &arguments)
{
    const int minutes = arguments.size(minutesPerYear, minutesPerDay);
    std::vector<Samples> seconds;
    {
        StoreReader reader(minutes, minutes);
        reader.secondsBySqlite();
        seconds = runAlternately(arguments.size(5, 1),
                                 {[&] { return reader.secondsByTool(); },
                                  [&] { return reader.secondsBySqlite(); },
                                  [&] { return reader.secondsByQtSql(); }});
    }
    printRow("READ-YEAR time", withUnit(median(seconds[0]), 3, "s"),
             withUnit(median(seconds[1]), 3, "s")
                 + ", SQLite's C interface (QtSql, each column read: "
                 + withUnit(median(ratiosOf(seconds[2], seconds[1])), 2, "x") + ")",
             ratiosOf(seconds[0], seconds[1]), "<= 2.2");
    const double peak = measurePeakMemory(minutes);
    printRow("READ-YEAR memory", withUnit(peak, 0, "MB"), withUnit(peakLimitMb, 0, "MB"),
             peak / peakLimitMb, "<= 1");
}

QVector<MeasurementValue> reading(int number)
{
    QVector<MeasurementValue> values;
    for (int type = 0; type < typeCount; ++type) {
        values.append({QStringLiteral("type%1").arg(type), true, number * 0.01 + type});
    }
    return values;
}

/// Stores a reading with 13 statements through QtSql.
void storeWithQtSql(const QDateTime &time, const QVector<MeasurementValue> &values,
                    const QMap<QString, unsigned> &typeIds)
{
    QSqlQuery metadata(QSqlDatabase::database(QLatin1String(referenceConnection)));
    metadata.prepare(QStringLiteral("INSERT INTO measurement_metadata (timestamp, meas_state, "
                                    "device_id) VALUES (?, ?, ?)"));
    metadata.addBindValue(time.toMSecsSinceEpoch());
    metadata.addBindValue(1);
    metadata.addBindValue(1);
    metadata.exec();
    const QVariant id = metadata.lastInsertId();
    QSqlQuery query(QSqlDatabase::database(QLatin1String(referenceConnection)));
    query.prepare(QStringLiteral("INSERT INTO measurement_value (measurement_id, "
                                 "measurement_type_id, value) VALUES (?, ?, ?)"));
    for (const MeasurementValue &value : values) {
        query.addBindValue(id);
        query.addBindValue(typeIds.value(value.name));
        query.addBindValue(value.value);
        if (!query.exec()) {
            fail("A value could not be stored with QtSql.");
        }
    }
}

void benchmarkStoring(const BenchmarkArguments &arguments)
{
    const QTemporaryDir folder(StoreFile::folder() + QStringLiteral("XXXXXX"));
    const QString toolPath = folder.filePath(QStringLiteral("tool.db"));
    const QString referencePath = folder.filePath(QStringLiteral("reference.db"));
    LocalStorageSqlite storage;
    unsigned device = 0;
    if (!storage.open(toolPath) || !storage.addDevice({}, device)) {
        fail("No store could be made.");
    }
    // Adds the names of the measurements, so that the copy has them as well.
    storage.addMeasurementValues(0, reading(0));
    storage.close();
    if (!QFile::copy(toolPath, referencePath) || !storage.open(toolPath)) {
        fail("No second store could be made.");
    }
    const auto freed =
        qScopeGuard([] { QSqlDatabase::removeDatabase(QLatin1String(referenceConnection)); });
    QSqlDatabase reference =
        QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QLatin1String(referenceConnection));
    reference.setDatabaseName(referencePath);
    reference.open();
    QMap<QString, unsigned> typeIds;
    QSqlQuery types(QStringLiteral("select name, id from measurement_type"), reference);
    while (types.next()) {
        typeIds.insert(types.value(0).toString(), types.value(1).toUInt());
    }
    types.finish();

    long toolSyncs = 0;
    long referenceSyncs = 0;
    int number = 0;
    // Several readings for each run: the time of a single sync varies much.
    const int batch = arguments.size(20, 3);
    const int runs = arguments.size(11, 1);
    const auto storeBatch = [&](long &syncs, const auto &storeReading) {
        const long before = syncCount;
        double seconds = 0;
        for (int i = 0; i < batch; ++i) {
            const QDateTime time = timeOf(++number);
            const QVector<MeasurementValue> values = reading(number);
            seconds += secondsOf([&] { storeReading(time, values); });
        }
        syncs += syncCount - before;
        return seconds / batch;
    };
    const auto storeWithTool = [&](const QDateTime &time, const auto &values) {
        unsigned id = 0;
        storage.addMeasurement(device, {MeasurementState::Ready, time}, id);
        storage.addMeasurementValues(id, values);
    };
    const auto storeWithReference = [&](const QDateTime &time, const auto &values) {
        storeWithQtSql(time, values, typeIds);
    };
    const std::vector<Samples> seconds =
        runAlternately(runs,
                       {[&] { return storeBatch(toolSyncs, storeWithTool); },
                        [&] { return storeBatch(referenceSyncs, storeWithReference); }});
    if (referenceSyncs == 0) {
        fail("No sync was counted.");
    }
    printRow("STORE time", withUnit(median(seconds[0]) * 1e3, 2, "ms"),
             withUnit(median(seconds[1]) * 1e3, 2, "ms") + ", 13 statements through QtSql",
             ratiosOf(seconds[0], seconds[1]), "<= 1.05");
    const int readings = runs * batch;
    printRow("STORE syncs", withUnit(double(toolSyncs) / readings, 1, "per reading"),
             withUnit(double(referenceSyncs) / readings, 1, "per reading"),
             double(toolSyncs) / double(referenceSyncs), "<= 1");
}

/// How the time of reading a whole store grows with its size, from a day to a year.
void benchmarkStoreSizes(const BenchmarkArguments &arguments)
{
    const std::vector<int> sizes{minutesPerDay, arguments.size(minutesPerMonth, 2 * minutesPerDay),
                                 arguments.size(minutesPerYear, 3 * minutesPerDay)};
    std::vector<std::function<double()>> operations;
    for (const int minutes : sizes) {
        operations.emplace_back([minutes] {
            StoreReader reader(minutes, minutes);
            reader.secondsByTool(); // fills SQLite's cache
            return reader.secondsByTool();
        });
    }
    const std::vector<Samples> seconds = runAlternately(arguments.size(3, 1), operations);
    Samples exponents;
    for (const double growth : ratiosOf(seconds.back(), seconds.front())) {
        exponents.push_back(std::log(growth)
                            / std::log(double(sizes.back()) / double(sizes.front())));
    }
    printRow("SCALE store",
             withUnit(median(seconds[0]) * 1e3, 2, "ms a day, ")
                 + withUnit(median(seconds[1]), 3, "s a month, ")
                 + withUnit(median(seconds[2]), 2, "s a year"),
             "linear", exponents, "<= 1.05");
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    if (argc == 3 && QLatin1String(argv[1]) == QLatin1String(peakOption)) {
        return printPeakMemory(QByteArray(argv[2]).toInt());
    }
    const BenchmarkArguments arguments(argc, argv);
    arguments.run({{"READ-DAY", [&] { benchmarkReadingADay(arguments); }},
                   {"READ-YEAR", [&] { benchmarkReadingAYear(arguments); }},
                   {"SCALE", [&] { benchmarkStoreSizes(arguments); }},
                   {"STORE", [&] { benchmarkStoring(arguments); }}});
    return 0;
}
