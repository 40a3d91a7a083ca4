// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fileio.h"
#include "tests/kit/recordingsqldriver.h"
#include "tests/kit/testmain.h"
#include "tests/unit/storage/sqlitestorefixture.h"

#include <QtCore/QRegularExpression>
#include <filesystem>

namespace {

constexpr unsigned initialId = 4711;
const QDateTime timestamp(QDate(2024, 3, 1), QTime(12, 0), Qt::UTC);

// The error text of a query after SQLite has rejected its statement; the reason is no longer
// available.
constexpr const char *noQueryError = "No query Unable to fetch row";

const char *const schema[] = {
    "CREATE TABLE device(id integer primary key autoincrement, model text, serial text, "
    "sw_version text, hw_version text)",
    "CREATE TABLE measurement_type(id integer primary key autoincrement, name text)",
    "CREATE TABLE measurement_metadata(id integer primary key autoincrement, timestamp integer, "
    "meas_state integer, device_id integer)",
    "CREATE TABLE measurement_value(id integer primary key autoincrement, measurement_id integer, "
    "measurement_type_id integer, value real)",
};

/// Expects the warning about one failed statement; @p error is the beginning of the error text.
void expectFailure(const QByteArray &context, const char *error = ".")
{
    const QString pattern =
        QStringLiteral("^Query failed when %1 : %2").arg(QString::fromUtf8(context), text(error));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
}

void expectDatabaseNotOpen(int count)
{
    for (int i = 0; i < count; ++i) {
        QTest::ignoreMessage(QtWarningMsg, "QSqlQuery::prepare: database not open");
    }
}

/// Whether the store's connection is open.
bool isOpen()
{
    return QSqlDatabase::database(QLatin1String(QSqlDatabase::defaultConnection), false).isOpen();
}

/// A store that fails to add measurement types.
class StoreWithoutNewTypes : public LocalStorageSqlite
{
public:
    bool addMeasurementType(const QString &name, unsigned &typeId) override
    {
        Q_UNUSED(typeId)
        requestedNames << name;
        return false;
    }
    QStringList requestedNames;
};

} // namespace

class TestLocalStorageSqliteFile : public QObject, private SqliteStoreFixture
{
    Q_OBJECT

private slots:
    void init() { createStore(); }
    void cleanup() { destroyStore(); }

    void usesTheDefaultConnectionUntilItIsDestroyed()
    {
        QCOMPARE(QSqlDatabase::connectionNames(), texts(QSqlDatabase::defaultConnection));
        QVERIFY(!isOpen());
        QVERIFY(open());
        QCOMPARE(QSqlDatabase::database().driverName(), text("QSQLITE"));
        QCOMPARE(QSqlDatabase::database().databaseName(), path());
        QVERIFY(isOpen());
        destroyStore();
        {
            LocalStorageSqlite store;
            QVERIFY(store.open(path()));
        }
        QVERIFY(!isOpen());
    }

    void createsTheFourTables()
    {
        QVERIFY(!QFile::exists(path()));
        QVERIFY(open());
        QStringList expected;
        for (const char *statement : schema) {
            expected << text(statement);
        }
        QCOMPARE(
            runSql("select sql from sqlite_master where name not like 'sqlite_%' order by rowid"),
            expected);
        // No index, no view and no schema version.
        QCOMPARE(runSql("select name from sqlite_master where type <> 'table'"), QStringList());
        QCOMPARE(runSql("pragma user_version"), texts("0"));
        QVERIFY(store().devices().isEmpty());
        QVERIFY(store().measurementMetadata(1).isEmpty());
        QVERIFY(store().measurementTypes(1).isEmpty());
        QVERIFY(store().measurements(timestamp, timestamp.addYears(100), 1).isEmpty());
    }

    void doesNotCheckTheTablesOfAnExistingFile()
    {
        QVERIFY(open());
        QVERIFY(addDevice());
        runSql("drop table measurement_value");
        recreateStore();
        QVERIFY(open());
        QCOMPARE(store().devices().size(), 1);
        // The table is not created again either.
        QCOMPARE(runSql("select name from sqlite_master where name = 'measurement_value'"),
                 QStringList());
    }

    void usesTheTypeIdsOfAnExistingFile()
    {
        QVERIFY(open());
        store().addMeasurementValues(1, {validValue("T", 1.0), validValue("H", 2.0)});
        recreateStore();
        QVERIFY(open());
        store().addMeasurementValues(2, {validValue("H", 3.0)});
        QCOMPARE(runSql("select id, name from measurement_type order by id"), texts("1,T|2,H"));
        QCOMPARE(runSql("select measurement_type_id from measurement_value order by id"),
                 texts("1|2|2"));
    }

    void opensTheSameFileAgain()
    {
        QVERIFY(open());
        store().addMeasurementValues(1, {validValue("T", 1.0)});
        QVERIFY(open());
        store().addMeasurementValues(1, {validValue("T", 2.0)});
        store().close();
        store().close();
        QVERIFY(open());
        store().addMeasurementValues(1, {validValue("T", 3.0)});
        QCOMPARE(runSql("select name from measurement_type"), texts("T"));
        QCOMPARE(runSql("select value from measurement_value order by id"), texts("1|2|3"));
    }

    void rejectsAnExistingFileWithoutTables_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addRow("empty") << QByteArray();
        QTest::addRow("text") << QByteArray("no database at all\n").repeated(500);
        QTest::addRow("one byte") << QByteArray("x");
        QTest::addRow("magic number only")
            << QByteArray("SQLite format 3\0", 16) + QByteArray(4080, '\0');
    }

    void rejectsAnExistingFileWithoutTables()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(FileIo::write(path(), bytes));
        expectFailure("reading measurement types", noQueryError);
        QVERIFY(!open());
        recreateStore();
        // The file was not changed.
        QVERIFY(QFile::exists(path()));
        QCOMPARE(FileIo::contents(path()), bytes);
    }

    void rejectsATruncatedDatabase_data()
    {
        QTest::addColumn<int>("size");
        QTest::addRow("within the header") << 50;
        QTest::addRow("within the schema") << 2000;
        QTest::addRow("after the schema") << 4096;
    }

    void rejectsATruncatedDatabase()
    {
        QFETCH(int, size);
        QVERIFY(open());
        store().addMeasurementValues(1, {validValue("T", 1.0)});
        store().close();
        QVERIFY(QFile::resize(path(), size));
        expectFailure("reading measurement types");
        QVERIFY(!open());
    }

    void rejectsAPathThatCannotBeOpened()
    {
        QVERIFY(FileIo::write(path("file"), "x"));
        QVERIFY(QDir().mkdir(path("folder")));
        for (const char *name : {"missing/measurements.db", "file/measurements.db", "folder"}) {
            QTest::ignoreMessage(QtWarningMsg,
                                 "Failed to open local database: unable to open database file "
                                 "Error opening database");
            QVERIFY2(!store().open(path(name)), name);
        }
        // The missing folder is not created.
        QVERIFY(!QFileInfo::exists(path("missing")));
    }

    void opensAnotherFileAfterAFailure()
    {
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(text("^Failed to open local database: .")));
        QVERIFY(!store().open(path("missing/measurements.db")));
        const QString empty = path("empty.db");
        QVERIFY(FileIo::write(empty, QByteArray()));
        expectFailure("reading measurement types", noQueryError);
        QVERIFY(!store().open(empty));

        QVERIFY(open());
        QVERIFY(addDevice());
        QCOMPARE(runSql("select serial from device"), texts("S1"));
        QCOMPARE(QFileInfo(empty).size(), 0);
    }

    void keepsTheTypeIdsOfThePreviousFile()
    {
        QVERIFY(open());
        store().addMeasurementValues(1, {validValue("T", 1.0)});
        QVERIFY(store().open(path("other.db")));
        store().addMeasurementValues(1, {validValue("T", 2.0), validValue("H", 3.0)});
        // "T" is stored with its id of the first file, which is the id of "H" in this one.
        DatabaseInspector other(path("other.db"));
        QCOMPARE(other.rows(text("select id, name from measurement_type")), texts("1,H"));
        QCOMPARE(other.rows(text("select measurement_type_id, value from measurement_value")),
                 texts("1,2|1,3"));
    }

    void reportsASchemaThatCannotBeCreated()
    {
        // SQLite can create the file, but not the journal that a change needs.
        const QString journal = path("measurements.db-journal");
        QVERIFY(QDir().mkdir(journal));
        expectFailure("creating device table", "unable to open database file");
        const QString line = text("Failed to create database to ") + path();
        QTest::ignoreMessage(QtWarningMsg, line.toLocal8Bit().constData());
        QVERIFY(!open());
        QVERIFY(isOpen());
        QVERIFY(QFile::exists(path()));

        // The next attempt finds a file and therefore creates no tables.
        QVERIFY(QDir().rmdir(journal));
        expectFailure("reading measurement types", noQueryError);
        QVERIFY(!open());
    }

    void stopsCreatingTablesAtTheFirstFailure_data()
    {
        QTest::addColumn<QByteArray>("context");
        QTest::addColumn<QStringList>("tables");
        QTest::addRow("device") << QByteArray("creating device table") << texts("device");
        QTest::addRow("measurement_type")
            << QByteArray("creating measurement type table") << texts("measurement_type|device");
        QTest::addRow("measurement_metadata")
            << QByteArray("creating measurement table")
            << texts("measurement_metadata|device|measurement_type");
        QTest::addRow("measurement_value")
            << QByteArray("creating measurement value table")
            << texts("measurement_value|device|measurement_type|measurement_metadata");
    }

    void stopsCreatingTablesAtTheFirstFailure()
    {
        QFETCH(QByteArray, context);
        // SQLite finds this file but Qt does not: Qt interprets a path with a leading colon as a
        // resource.
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(QFileInfo(path()).path()));
        QVERIFY(std::filesystem::create_directory(":"));
        const QString pathHiddenFromQt = text(":/measurements.db");
        DatabaseInspector inspector(pathHiddenFromQt);
        inspector.rows(QStringLiteral("create table %1(id)").arg(text(QTest::currentDataTag())));

        expectFailure(context, noQueryError);
        QTest::ignoreMessage(QtWarningMsg, "Failed to create database to :/measurements.db");
        const bool opened = store().open(pathHiddenFromQt);
        const QStringList found = inspector.tables();
        QDir::setCurrent(before);
        QVERIFY(!opened);
        QTEST(found, "tables");
    }

    void toleratesCallsWhileClosed()
    {
        QVERIFY(open());
        store().close();
        QVERIFY(!isOpen());
        expectDatabaseNotOpen(2);
        expectFailure("loading device details");
        expectFailure("loading device measurement range");
        QVERIFY(store().devices().isEmpty());

        expectDatabaseNotOpen(1);
        expectFailure("adding measurement to local database");
        unsigned id = initialId;
        QVERIFY(!store().addMeasurement(1, {}, id));
        QCOMPARE(id, initialId);

        expectDatabaseNotOpen(2);
        expectFailure("loading measurement metadatas");
        expectFailure("loading measurement values");
        QVERIFY(store().measurements(QDateTime(), QDateTime(), 1).isEmpty());
    }

    void reportsRowsThatCannotBeAdded()
    {
        QVERIFY(open());
        QVERIFY(runSqlInStore("pragma query_only = 1"));
        const char *const reason = "attempt to write a readonly database";
        expectFailure("adding device to local database", reason);
        QVERIFY(!addDevice());
        expectFailure("adding measurement to local database", reason);
        QVERIFY(!addMeasurement());
        expectFailure("adding measurement type T to local database", reason);
        unsigned id = initialId;
        QVERIFY(!store().addMeasurementType(text("T"), id));
    }

    void continuesAfterATypeThatCannotBeAdded()
    {
        QVERIFY(open());
        unsigned id = 0;
        QVERIFY(store().addMeasurementType(text("T"), id));
        runSql("create trigger no_types before insert on measurement_type "
               "begin select raise(abort, 'no more types'); end");
        for (const QByteArray &name : {QByteArray("H"), QByteArray("P")}) {
            expectFailure("adding measurement type " + name + " to local database",
                          "no more types");
            QTest::ignoreMessage(QtWarningMsg, "Failed to resolve measurement type " + name);
        }
        store().addMeasurementValues(1,
                                     {validValue("H", 1.0), validValue("T", 2.0),
                                      validValue("P", 3.0), validValue("T", 4.0)});
        QCOMPARE(runSql("select value from measurement_value order by id"), texts("2|4"));

        // The name can be added later.
        runSql("drop trigger no_types");
        store().addMeasurementValues(1, {validValue("H", 5.0)});
        QCOMPARE(runSql("select name from measurement_type order by id"), texts("T|H"));
    }

    void addsTypesThroughTheVirtualFunction()
    {
        destroyStore();
        StoreWithoutNewTypes store;
        QVERIFY(store.open(text(":memory:")));
        QTest::ignoreMessage(QtWarningMsg, "Failed to resolve measurement type T");
        store.addMeasurementValues(1, {validValue("T", 1.0), {text("H"), false, 0.0}});
        QCOMPARE(store.requestedNames, texts("T"));
    }

    void continuesAfterAValueThatCannotBeAdded()
    {
        QVERIFY(open());
        runSql("create trigger no_twos before insert on measurement_value "
               "when new.value = 2 begin select raise(abort, 'no twos'); end");
        expectFailure("adding measurement values", "no twos");
        store().addMeasurementValues(
            1, {validValue("T", 1.0), validValue("H", 2.0), validValue("P", 3.0)});
        QCOMPARE(runSql("select value from measurement_value order by id"), texts("1|3"));
    }

    void keepsAMeasurementWhoseValuesCannotBeAdded()
    {
        QVERIFY(open());
        QVERIFY(addMeasurement());
        unsigned id = 0;
        QVERIFY(store().addMeasurementType(text("T"), id));
        QVERIFY(runSqlInStore("pragma query_only = 1"));
        expectFailure("adding measurement values", "attempt to write a readonly database");
        store().addMeasurementValues(1, {validValue("T", 1.0)});
        const QVector<StoredMeasurement> found = store().measurements(timestamp, timestamp, 1);
        QCOMPARE(found.size(), 1);
        QVERIFY(found.at(0).values.isEmpty());
    }

    void returnsWhatCanBeReadIfAQueryFails()
    {
        QVERIFY(open());
        QVERIFY(addDevice());
        QVERIFY(addMeasurement());
        runSql("drop table measurement_value");
        expectFailure("loading measurement values");
        const QVector<StoredMeasurement> found = store().measurements(timestamp, timestamp, 1);
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.at(0).state, MeasurementState::Ready);
        QVERIFY(found.at(0).values.isEmpty());

        runSql("drop table measurement_type");
        expectFailure("loading measurement types");
        QVERIFY(store().measurementTypes(1).isEmpty());

        runSql("drop table measurement_metadata");
        expectFailure("loading measurement metadatas");
        QVERIFY(store().measurementMetadata(1).isEmpty());
        expectFailure("loading device measurement range");
        const QVector<StoredDevice> devices = store().devices();
        QCOMPARE(devices.size(), 1);
        QVERIFY(!devices.at(0).lastMeasurement.isValid());

        runSql("drop table device");
        expectFailure("loading device details");
        expectFailure("loading device measurement range");
        QVERIFY(store().devices().isEmpty());
    }

    void reportsALockedFile()
    {
        QVERIFY(open());
        // SQLite would otherwise wait for five seconds.
        QVERIFY(runSqlInStore("pragma busy_timeout = 1"));
        {
            DatabaseInspector locker(path());
            QCOMPARE(locker.rows(text("begin exclusive")), QStringList());
            expectFailure("adding measurement to local database", "database is locked");
            QVERIFY(!addMeasurement());
            expectFailure("loading measurement types", "database is locked");
            QVERIFY(store().measurementTypes(1).isEmpty());
            expectFailure("loading device details", "database is locked");
            expectFailure("loading device measurement range", "database is locked");
            expectFailure("adding device to local database", "database is locked");
            QVERIFY(!addDevice());
        }
        QVERIFY(addMeasurement());
        QCOMPARE(runSql("select id from measurement_metadata"), texts("1"));
    }

    void executesExactlyTheExpectedStatements()
    {
        destroyStore();
        const RecordingSqlScope driver;
        recreateStore();
        QVERIFY(open());
        addDevice();
        addMeasurement();
        store().addMeasurementValues(1, {validValue("T", 1.0)});
        store().measurementTypes(1);
        store().measurementMetadata(1);
        store().measurements(timestamp, timestamp, 1);
        destroyStore();

        const struct
        {
            const char *text;
            const char *bound;
        } expected[] = {
            {schema[0], ""},
            {schema[1], ""},
            {schema[2], ""},
            {schema[3], ""},
            {"select id, name from measurement_type", ""},
            {"SELECT id,model, serial, sw_version, hw_version from device", ""},
            {"select device_id, min(timestamp), max(timestamp) from measurement_metadata "
             "group by device_id",
             ""},
            {"INSERT INTO device (model, serial, sw_version, hw_version) "
             "VALUES (:model, :serial, :sw_version, :hw_version)",
             ":model QString, :serial QString, :sw_version QString, :hw_version QString"},
            {"INSERT INTO measurement_metadata (timestamp, meas_state, device_id) "
             "VALUES (:timestamp, :meas_state, :device_id)",
             ":timestamp qlonglong, :meas_state int, :device_id uint"},
            {"INSERT INTO measurement_type (name) VALUES (:name)", ":name QString"},
            {"INSERT INTO measurement_value (measurement_id, measurement_type_id, value) "
             "VALUES (:measurement_id, :measurement_type_id, :value)",
             ":measurement_id uint, :measurement_type_id uint, :value double"},
            {"select id, name from measurement_type where id in "
             "(select measurement_type_id from measurement_value where measurement_id in "
             "(select id from measurement_metadata where device_id = :device_id))",
             ":device_id uint"},
            {"select id, timestamp, meas_state from measurement_metadata where device_id = "
             ":device_id",
             ":device_id uint"},
            {"select id, timestamp, meas_state from measurement_metadata where device_id = "
             ":device_id and timestamp between :from and :to",
             ":device_id uint, :from qlonglong, :to qlonglong"},
            {"select measurement_metadata.id, measurement_value.value, measurement_type.name "
             "from measurement_value, measurement_type, measurement_metadata "
             "where measurement_value.measurement_id = measurement_metadata.id "
             "and measurement_type.id = measurement_value.measurement_type_id "
             "and measurement_metadata.device_id = :device_id "
             "and measurement_metadata.timestamp between :timestamp_from and :timestamp_to",
             ":device_id uint, :timestamp_from qlonglong, :timestamp_to qlonglong"},
        };
        auto statement = driver.statements.cbegin();
        for (const auto &row : expected) {
            QVERIFY(statement != driver.statements.cend());
            QCOMPARE(statement->text, text(row.text));
            QCOMPARE(statement->boundValues.join(text(", ")), text(row.bound));
            ++statement;
        }
        QVERIFY(statement == driver.statements.cend());
    }

private:
    /// Adds the device "S1"; false if that fails and leaves the id unchanged.
    bool addDevice()
    {
        unsigned id = initialId;
        return store().addDevice({{}, {}, text("S1"), {}}, id) || id != initialId;
    }

    /// Adds a measurement of the first device; false if that fails and leaves the id unchanged.
    bool addMeasurement()
    {
        unsigned id = initialId;
        return store().addMeasurement(1, {MeasurementState::Ready, timestamp}, id)
            || id != initialId;
    }
};

KV_TEST_CORE_MAIN(TestLocalStorageSqliteFile)
#include "tst_localstoragesqlitefile.moc"
