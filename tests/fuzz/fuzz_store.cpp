// SPDX-License-Identifier: GPL-3.0-or-later
// The measurement store with an arbitrary database file: the input is the contents of the file.
#include "storage/localstoragehandler.h"
#include "storage/localstoragesqlite.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/kit/databaseinspector.h"
#include "tests/kit/fileio.h"

#include <QtCore/QTemporaryDir>
#include <limits>

namespace {

constexpr unsigned noDevice = std::numeric_limits<unsigned>::max();

// Larger ids don't fit into the interface's type; the tool never reaches them.
constexpr unsigned highestId = 0x7fffffff;

const QDateTime now = QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59, 999), Qt::UTC);

DeviceDetails details()
{
    DeviceDetails result;
    result.serialNumber = QStringLiteral("S-1");
    result.modelNumber = QStringLiteral("KVT-1");
    return result;
}

QVector<MeasurementValue> values()
{
    return {{QStringLiteral("T"), true, 21.5},
            {QStringLiteral("gone"), false, 0.0},
            {QStringLiteral("new"), true, -1.25}};
}

// Whether the file is intact and contains only the tables that the tool creates.
bool isIntactDatabase(const QString &path)
{
    static const QStringList tables{
        QStringLiteral("CREATE TABLE device(id integer primary key autoincrement, model text, "
                       "serial text, sw_version text, hw_version text)"),
        QStringLiteral("CREATE TABLE measurement_metadata(id integer primary key autoincrement, "
                       "timestamp integer, meas_state integer, device_id integer)"),
        QStringLiteral("CREATE TABLE measurement_type(id integer primary key autoincrement, "
                       "name text)"),
        QStringLiteral("CREATE TABLE measurement_value(id integer primary key autoincrement, "
                       "measurement_id integer, measurement_type_id integer, value real)"),
        QStringLiteral("CREATE TABLE sqlite_sequence(name,seq)")};
    DatabaseInspector inspector(path);
    return inspector.rows(QStringLiteral("select sql from sqlite_master order by sql")) == tables
        && inspector.integrity() == QLatin1String("ok");
}

// The limits of the period apply only if the database is intact: SQLite compares times that are
// stored as text as text.
void checkMeasurements(LocalStorageSqlite &store, const QDateTime &from, const QDateTime &to,
                       unsigned deviceId, bool intact)
{
    const QVector<StoredMeasurement> measurements = store.measurements(from, to, deviceId);
    for (const StoredMeasurement &measurement : measurements) {
        FUZZ_ASSERT(!intact || (measurement.timestamp >= from && measurement.timestamp <= to));
        FUZZ_ASSERT(measurement.timestamp.timeSpec() != Qt::LocalTime);
        FUZZ_ASSERT(measurement.state <= MeasurementState::HardwareError);
        for (const MeasurementValue &value : measurement.values) {
            FUZZ_ASSERT(value.valid);
        }
    }
}

void readDatabase(LocalStorageSqlite &store, bool intact)
{
    QDateTime newest;
    QVector<StoredDevice> devices = store.devices();
    for (const StoredDevice &device : qAsConst(devices)) {
        FUZZ_ASSERT(device.firstMeasurement.isValid() == device.lastMeasurement.isValid());
        FUZZ_ASSERT(newest.isNull() || !(newest < device.lastMeasurement));
        newest = device.lastMeasurement;
        // The queries that the dialogs use; two devices are enough.
        if (&device - devices.constData() < 2) {
            store.measurementMetadata(device.id);
            store.measurementTypes(device.id);
            checkMeasurements(store, device.firstMeasurement, device.lastMeasurement, device.id,
                              intact);
        }
    }
    checkMeasurements(store, QDateTime::fromMSecsSinceEpoch(0, Qt::UTC), now, 1, intact);
}

// Stores a reading as the controller does.
void storeReading(LocalStorageSqlite &store, bool intact)
{
    LocalStorageHandler handler(&store);
    handler.setDevice(details());
    handler.addMeasurements({MeasurementState::Ready, now}, values());
    unsigned deviceId = noDevice;
    const bool known = store.addDevice(details(), deviceId);
    FUZZ_ASSERT(!handler.hasDevice() || !intact || known);
    unsigned id = 0;
    const bool added = known && store.addMeasurement(deviceId, {MeasurementState::Ready, now}, id);
    if (!added || !intact || deviceId > highestId || id > highestId) {
        return;
    }
    store.addMeasurementValues(id, values());
    const QVector<StoredMeasurement> found = store.measurements(now, now, deviceId);
    FUZZ_ASSERT(!found.isEmpty());
    FUZZ_ASSERT(found.last().timestamp == now);
    FUZZ_ASSERT(found.last().state == MeasurementState::Ready);
    FUZZ_ASSERT(store.measurementMetadata(deviceId).contains(id));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("measurements.db"));
    FUZZ_ASSERT(FileIo::write(path, Fuzzing::bytesOf(data, size)));
    {
        LocalStorageSqlite store;
        const bool opened = store.open(path);
        const bool intact = opened && isIntactDatabase(path);
        readDatabase(store, intact);
        storeReading(store, intact);
        store.close();
        FUZZ_ASSERT(store.open(path) || !intact);
        readDatabase(store, intact);
    }
    QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    for (const char *suffix : {"-journal", "-wal", "-shm"}) {
        QFile::remove(path + QLatin1String(suffix));
    }
    return 0;
}
