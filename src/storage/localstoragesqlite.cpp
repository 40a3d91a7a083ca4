// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/localstoragesqlite.h"

#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QSet>
#include <QtCore/QTimeZone>
#include <QtCore/QVariant>
#include <QtSql/QSqlError>
#include <QtSql/QSqlQuery>
#include <algorithm>

namespace {

struct Statement
{
    const char *text;
    const char *context; ///< what failed, for the log
};

// The schema is the file format and must not change.
constexpr Statement createStatements[] = {
    {"CREATE TABLE device(id integer primary key autoincrement, model text, serial text, "
     "sw_version text, hw_version text)",
     "creating device table"},
    {"CREATE TABLE measurement_type(id integer primary key autoincrement, name text)",
     "creating measurement type table"},
    // One row for each reading.
    {"CREATE TABLE measurement_metadata(id integer primary key autoincrement, timestamp integer, "
     "meas_state integer, device_id integer)",
     "creating measurement table"},
    {"CREATE TABLE measurement_value(id integer primary key autoincrement, measurement_id integer, "
     "measurement_type_id integer, value real)",
     "creating measurement value table"},
};

constexpr Statement insertDevice = {"INSERT INTO device (model, serial, sw_version, hw_version) "
                                    "VALUES (:model, :serial, :sw_version, :hw_version)",
                                    "adding device to local database"};
constexpr Statement insertMetadata = {
    "INSERT INTO measurement_metadata (timestamp, meas_state, device_id) "
    "VALUES (:timestamp, :meas_state, :device_id)",
    "adding measurement to local database"};
constexpr Statement insertType = {"INSERT INTO measurement_type (name) VALUES (:name)",
                                  "adding measurement type %1 to local database"};
constexpr Statement insertValue = {
    "INSERT INTO measurement_value (measurement_id, measurement_type_id, value) "
    "VALUES (:measurement_id, :measurement_type_id, :value)",
    "adding measurement values"};
constexpr Statement selectDevices = {"SELECT id,model, serial, sw_version, hw_version from device",
                                     "loading device details"};
constexpr Statement selectDeviceRanges = {
    "select device_id, min(timestamp), max(timestamp) from measurement_metadata group by device_id",
    "loading device measurement range"};
constexpr Statement selectTypes = {"select id, name from measurement_type",
                                   "reading measurement types"};
constexpr Statement selectDeviceTypes = {
    "select id, name from measurement_type where id in "
    "(select measurement_type_id from measurement_value where measurement_id in "
    "(select id from measurement_metadata where device_id = :device_id))",
    "loading measurement types"};
constexpr Statement selectDeviceMetadata = {
    "select id, timestamp, meas_state from measurement_metadata where device_id = :device_id",
    "loading measurement metadatas"};
constexpr Statement selectMetadataInRange = {
    "select id, timestamp, meas_state from measurement_metadata where device_id = :device_id "
    "and timestamp between :from and :to",
    "loading measurement metadatas"};
constexpr Statement selectValuesInRange = {
    "select measurement_metadata.id, measurement_value.value, measurement_type.name "
    "from measurement_value, measurement_type, measurement_metadata "
    "where measurement_value.measurement_id = measurement_metadata.id "
    "and measurement_type.id = measurement_value.measurement_type_id "
    "and measurement_metadata.device_id = :device_id "
    "and measurement_metadata.timestamp between :timestamp_from and :timestamp_to",
    "loading measurement values"};

/// A row of measurement_metadata, small enough to keep those of a year in memory.
struct MetadataRow
{
    qlonglong timestamp;
    unsigned id;
    MeasurementState state;
};

bool hasSmallerId(const MetadataRow &row, unsigned id) { return row.id < id; }

qlonglong toStoredTime(const QDateTime &time) { return time.toUTC().toMSecsSinceEpoch(); }

QDateTime fromStoredTime(const QVariant &milliseconds)
{
    static const QTimeZone utc = QTimeZone::utc();
    return QDateTime::fromMSecsSinceEpoch(milliseconds.toLongLong(), utc);
}

QSqlQuery prepared(const QSqlDatabase &database, const Statement &statement)
{
    QSqlQuery query(database);
    query.setForwardOnly(true);
    query.prepare(QLatin1String(statement.text));
    return query;
}

// @p name replaces %1 in the context.
bool executeOrWarn(QSqlQuery &query, const Statement &statement, const QString &name = QString())
{
    if (query.exec()) {
        return true;
    }
    const QString context =
        QString(QLatin1String(statement.context)).replace(QLatin1String("%1"), name);
    qWarning().noquote() << "Query failed when" << context << ":" << query.lastError().text();
    return false;
}

unsigned insertedId(const QSqlQuery &query) { return query.lastInsertId().toUInt(); }

QVector<MetadataRow> readMetadataRows(QSqlQuery &query)
{
    QVector<MetadataRow> rows;
    while (query.next()) {
        rows.append({query.value(1).toLongLong(), query.value(0).toUInt(),
                     measurementStateFromInt(query.value(2).toUInt())});
    }
    std::sort(rows.begin(), rows.end(),
              [](const MetadataRow &a, const MetadataRow &b) { return hasSmallerId(a, b.id); });
    return rows;
}

/// Appends the values of @p query to @p measurements; @p rows contains their ids at the same
/// indexes.
void assembleValues(QSqlQuery &query, const QVector<MetadataRow> &rows,
                    QVector<StoredMeasurement> &measurements)
{
    QSet<QString> names; // A year has millions of values: equal names share one string.
    int valueCount = 0; // of the previous measurement; the next one usually has as many
    auto row = rows.cbegin();
    while (query.next()) {
        // The type that the driver returns: a conversion with toUInt() takes 6 % of the time for a
        // year.
        const auto id = static_cast<unsigned>(query.value(0).toLongLong());
        // Nearly every value belongs to the same measurement as the previous one, or to the next.
        if (row != rows.cend() && row->id < id) {
            ++row;
        }
        if (row == rows.cend() || row->id != id) {
            row = std::lower_bound(rows.cbegin(), rows.cend(), id, hasSmallerId);
        }
        if (row == rows.cend() || row->id != id) {
            qDebug() << "Metadata" << id << "not found!";
            continue;
        }
        auto &values = measurements[static_cast<int>(row - rows.cbegin())].values;
        if (values.isEmpty()) {
            values.reserve(valueCount);
        }
        values.append({*names.insert(query.value(2).toString()), true, query.value(1).toDouble()});
        valueCount = values.size();
    }
}

} // namespace

LocalStorageSqlite::LocalStorageSqlite()
    : m_database(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"),
                                           QLatin1String(QSqlDatabase::defaultConnection)))
{ }

LocalStorageSqlite::~LocalStorageSqlite() { m_database.close(); }

bool LocalStorageSqlite::open(const QString &path)
{
    // Quirk: an existing file is assumed to have the tables, even if an earlier attempt failed.
    const bool existed = QFile::exists(path);
    m_database.setDatabaseName(path);
    if (!m_database.open() || !m_database.isValid()) {
        qWarning().noquote() << "Failed to open local database:" << m_database.lastError().text();
        return false;
    }
    if (!existed && !createTables()) {
        qWarning().noquote() << "Failed to create database to" << path;
        return false;
    }
    return readTypeIds();
}

void LocalStorageSqlite::close() { m_database.close(); }

bool LocalStorageSqlite::addDevice(const DeviceDetails &details, unsigned &id)
{
    // Quirk: the existing row of a serial number keeps its first model and versions.
    const QVector<StoredDevice> known = devices();
    for (const StoredDevice &device : known) {
        if (device.details.serialNumber == details.serialNumber) {
            id = device.id;
            return true;
        }
    }

    QSqlQuery query = prepared(m_database, insertDevice);
    query.bindValue(QStringLiteral(":model"), details.modelNumber);
    query.bindValue(QStringLiteral(":serial"), details.serialNumber);
    query.bindValue(QStringLiteral(":sw_version"), details.swVersion);
    query.bindValue(QStringLiteral(":hw_version"), details.hwVersion);
    if (!executeOrWarn(query, insertDevice)) {
        return false;
    }
    id = insertedId(query);
    return true;
}

bool LocalStorageSqlite::addMeasurement(unsigned deviceId, const MeasurementMetadata &metadata,
                                        unsigned &measurementId)
{
    QSqlQuery query = prepared(m_database, insertMetadata);
    query.bindValue(QStringLiteral(":timestamp"), toStoredTime(metadata.timestamp));
    query.bindValue(QStringLiteral(":meas_state"), static_cast<int>(metadata.state));
    query.bindValue(QStringLiteral(":device_id"), deviceId);
    if (!executeOrWarn(query, insertMetadata)) {
        return false;
    }
    measurementId = insertedId(query);
    return true;
}

bool LocalStorageSqlite::addMeasurementType(const QString &name, unsigned &typeId)
{
    QSqlQuery query = prepared(m_database, insertType);
    query.bindValue(QStringLiteral(":name"), name);
    if (!executeOrWarn(query, insertType, name)) {
        return false;
    }
    typeId = insertedId(query);
    m_typeIds.insert(name, typeId);
    return true;
}

void LocalStorageSqlite::addMeasurementValues(unsigned measurementId,
                                              const QVector<MeasurementValue> &values)
{
    // Quirk: no transaction, so the values stored before a failure remain.
    for (const MeasurementValue &value : values) {
        if (!value.valid) {
            continue;
        }
        unsigned typeId = m_typeIds.value(value.name);
        if (!m_typeIds.contains(value.name) && !addMeasurementType(value.name, typeId)) {
            qWarning().noquote() << "Failed to resolve measurement type" << value.name;
            continue;
        }
        QSqlQuery query = prepared(m_database, insertValue);
        query.bindValue(QStringLiteral(":measurement_id"), measurementId);
        query.bindValue(QStringLiteral(":measurement_type_id"), typeId);
        query.bindValue(QStringLiteral(":value"), value.value);
        executeOrWarn(query, insertValue);
    }
}

QVector<StoredDevice> LocalStorageSqlite::devices()
{
    QVector<StoredDevice> result;
    QSqlQuery deviceQuery = prepared(m_database, selectDevices);
    executeOrWarn(deviceQuery, selectDevices);
    while (deviceQuery.next()) {
        StoredDevice device;
        device.id = deviceQuery.value(0).toUInt();
        device.details.modelNumber = deviceQuery.value(1).toString();
        device.details.serialNumber = deviceQuery.value(2).toString();
        device.details.swVersion = deviceQuery.value(3).toString();
        device.details.hwVersion = deviceQuery.value(4).toString();
        result.append(device);
    }

    QSqlQuery rangeQuery = prepared(m_database, selectDeviceRanges);
    executeOrWarn(rangeQuery, selectDeviceRanges);
    while (rangeQuery.next()) {
        const unsigned id = rangeQuery.value(0).toUInt();
        for (StoredDevice &device : result) {
            if (device.id == id) {
                device.firstMeasurement = fromStoredTime(rangeQuery.value(1));
                device.lastMeasurement = fromStoredTime(rangeQuery.value(2));
            }
        }
    }

    std::sort(result.begin(), result.end(), [](const StoredDevice &a, const StoredDevice &b) {
        return b.lastMeasurement < a.lastMeasurement;
    });
    return result;
}

QMap<unsigned, MeasurementMetadata> LocalStorageSqlite::measurementMetadata(unsigned deviceId)
{
    QSqlQuery query = prepared(m_database, selectDeviceMetadata);
    query.bindValue(QStringLiteral(":device_id"), deviceId);
    executeOrWarn(query, selectDeviceMetadata);
    QMap<unsigned, MeasurementMetadata> result;
    while (query.next()) {
        MeasurementMetadata &metadata = result[query.value(0).toUInt()];
        metadata.timestamp = fromStoredTime(query.value(1));
        metadata.state = measurementStateFromInt(query.value(2).toUInt());
    }
    return result;
}

QMap<unsigned, QString> LocalStorageSqlite::measurementTypes(unsigned deviceId)
{
    QSqlQuery query = prepared(m_database, selectDeviceTypes);
    query.bindValue(QStringLiteral(":device_id"), deviceId);
    executeOrWarn(query, selectDeviceTypes);
    QMap<unsigned, QString> result;
    while (query.next()) {
        result.insert(query.value(0).toUInt(), query.value(1).toString());
    }
    return result;
}

QVector<StoredMeasurement> LocalStorageSqlite::measurements(const QDateTime &from,
                                                            const QDateTime &to, unsigned deviceId)
{
    const qlonglong first = toStoredTime(from);
    const qlonglong last = toStoredTime(to);

    QSqlQuery metadataQuery = prepared(m_database, selectMetadataInRange);
    metadataQuery.bindValue(QStringLiteral(":device_id"), deviceId);
    metadataQuery.bindValue(QStringLiteral(":from"), first);
    metadataQuery.bindValue(QStringLiteral(":to"), last);
    executeOrWarn(metadataQuery, selectMetadataInRange);
    const QVector<MetadataRow> rows = readMetadataRows(metadataQuery);

    QVector<StoredMeasurement> result;
    result.reserve(rows.size());
    for (const MetadataRow &row : rows) {
        result.append(StoredMeasurement{{row.state, fromStoredTime(row.timestamp)}, {}});
    }

    // A separate query: a single join would lose the measurements without values.
    QSqlQuery valueQuery = prepared(m_database, selectValuesInRange);
    valueQuery.bindValue(QStringLiteral(":device_id"), deviceId);
    valueQuery.bindValue(QStringLiteral(":timestamp_from"), first);
    valueQuery.bindValue(QStringLiteral(":timestamp_to"), last);
    executeOrWarn(valueQuery, selectValuesInRange);
    assembleValues(valueQuery, rows, result);
    return result;
}

bool LocalStorageSqlite::createTables()
{
    for (const Statement &statement : createStatements) {
        QSqlQuery query = prepared(m_database, statement);
        if (!executeOrWarn(query, statement)) {
            return false;
        }
    }
    return true;
}

bool LocalStorageSqlite::readTypeIds()
{
    // Quirk: the types that an earlier open() cached remain, even if it opened another file.
    QSqlQuery query = prepared(m_database, selectTypes);
    const bool read = executeOrWarn(query, selectTypes);
    while (query.next()) {
        m_typeIds.insert(query.value(1).toString(), query.value(0).toUInt());
    }
    return read;
}
