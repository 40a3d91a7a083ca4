// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/recordingsqldriver.h"
#include "tests/kit/testmain.h"
#include "tests/unit/storage/sqlitestorefixture.h"

#include <QtCore/QRegularExpression>
#include <filesystem>

namespace {

constexpr unsigned untouched = 4711;

// QtSql's text for a statement that the engine did not accept: the reason is no longer available.
constexpr const char *noQuery = "No query Unable to fetch row";

const char *const schema[] = {
    "CREATE TABLE device(id integer primary key autoincrement, model text, serial text, "
    "sw_version text, hw_version text)",
    "CREATE TABLE measurement_type(id integer primary key autoincrement, name text)",
    "CREATE TABLE measurement_metadata(id integer primary key autoincrement, timestamp integer, "
    "meas_state integer, device_id integer)",
    "CREATE TABLE measurement_value(id integer primary key autoincrement, measurement_id integer, "
    "measurement_type_id integer, value real)",
};

/// Expects the one warning of a failed statement; @p error is the beginning of the engine's text.
void expectFailure(const char *context, const char *error = ".")
{
    const QString pattern = QStringLiteral("^Query failed when %1 : %2")
                                .arg(QString::fromUtf8(context), QString::fromUtf8(error));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
}

void expectNoDatabase(int times)
{
    for (int time = 0; time < times; ++time) {
        QTest::ignoreMessage(QtWarningMsg, "QSqlQuery::prepare: database not open");
    }
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/// A store that never gets a new measurement type.
class StoreWithoutNewTypes : public LocalStorageSqlite
{
public:
    bool addMeasurementType(const QString &name, unsigned &typeId) override
    {
        Q_UNUSED(typeId)
        asked << name;
        return false;
    }
    QStringList asked;
};

} // namespace

class TestLocalStorageSqliteFile : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture.reset(new SqliteStoreFixture); }
    void cleanup() { m_fixture.reset(); }

    void usesTheDefaultConnectionWhileItLives()
    {
        QCOMPARE(QSqlDatabase::connectionNames(),
                 QStringList{QLatin1String(QSqlDatabase::defaultConnection)});
        QVERIFY(!QSqlDatabase::database(QLatin1String(QSqlDatabase::defaultConnection), false)
                     .isOpen());
        QVERIFY(m_fixture->open());
        QCOMPARE(QSqlDatabase::database().driverName(), QStringLiteral("QSQLITE"));
        QCOMPARE(QSqlDatabase::database().databaseName(), m_fixture->path());
        QVERIFY(QSqlDatabase::database().isOpen());
    }

    void closesTheDatabaseWhenItEnds()
    {
        QVERIFY(m_fixture->open());
        const QSqlDatabase connection = QSqlDatabase::database();
        QVERIFY(connection.isOpen());
        m_fixture->end();
        QVERIFY(!connection.isOpen());
    }

    void createsTheFourTables()
    {
        QVERIFY(!QFile::exists(m_fixture->path()));
        QVERIFY(m_fixture->open());
        QStringList expected;
        for (const char *statement : schema) {
            expected << QLatin1String(statement);
        }
        QCOMPARE(m_fixture->rows("select sql from sqlite_master where name not like 'sqlite_%' "
                                 "order by rowid"),
                 expected);
        // Neither index, view nor version.
        QCOMPARE(m_fixture->rows("select name from sqlite_master where type <> 'table'"),
                 QStringList());
        QCOMPARE(m_fixture->rows("pragma user_version"), texts({"0"}));
    }

    void startsEmpty()
    {
        QVERIFY(m_fixture->open());
        for (const char *table :
             {"device", "measurement_type", "measurement_metadata", "measurement_value"}) {
            const QByteArray sql = QByteArray("select count(*) from ") + table;
            QCOMPARE(m_fixture->rows(sql.constData()), texts({"0"}));
        }
        QVERIFY(store().devices().isEmpty());
        QVERIFY(store().measurementMetadata(1).isEmpty());
        QVERIFY(store().measurementTypes(1).isEmpty());
        const QDateTime now = QDateTime::currentDateTimeUtc();
        QVERIFY(store().measurements(QDateTime::fromSecsSinceEpoch(0), now, 1).isEmpty());
    }

    void doesNotCheckAnExistingFile()
    {
        QVERIFY(m_fixture->open());
        unsigned id = 0;
        QVERIFY(store().addDevice({{}, {}, QStringLiteral("S1"), {}}, id));
        m_fixture->rows("drop table measurement_value");
        m_fixture->restart();
        // No check, no repair.
        QVERIFY(m_fixture->open());
        QCOMPARE(store().devices().size(), 1);
        QCOMPARE(
            m_fixture->rows("select count(*) from sqlite_master where name='measurement_value'"),
            texts({"0"}));
    }

    void knowsTheTypesOfAnExistingFile()
    {
        QVERIFY(m_fixture->open());
        store().addMeasurementValues(1, {valid("T", 1.0), valid("H", 2.0)});
        m_fixture->restart();
        QVERIFY(m_fixture->open());
        store().addMeasurementValues(2, {valid("H", 3.0)});
        QCOMPARE(m_fixture->rows("select id, name from measurement_type order by id"),
                 texts({"1|T", "2|H"}));
        QCOMPARE(m_fixture->rows("select measurement_type_id from measurement_value order by id"),
                 texts({"1", "2", "2"}));
    }

    void opensTheSameFileTwice()
    {
        QVERIFY(m_fixture->open());
        store().addMeasurementValues(1, {valid("T", 1.0)});
        QVERIFY(m_fixture->open());
        store().addMeasurementValues(1, {valid("T", 2.0)});
        QCOMPARE(m_fixture->rows("select name from measurement_type"), texts({"T"}));
        QCOMPARE(m_fixture->rows("select value from measurement_value order by id"),
                 texts({"1", "2"}));
    }

    void refusesAFileThatIsNoStore_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addRow("zero length") << QByteArray();
        QTest::addRow("text") << QByteArray("no database at all\n").repeated(500);
        QTest::addRow("one byte") << QByteArray("x");
        QTest::addRow("the magic alone")
            << QByteArray("SQLite format 3\0", 16) + QByteArray(4080, '\0');
    }

    void refusesAFileThatIsNoStore()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(writeFile(m_fixture->path(), bytes));
        expectFailure("reading measurement types", noQuery);
        QVERIFY(!m_fixture->open());
        m_fixture->restart();
        // The file was not changed.
        QFile file(m_fixture->path());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), bytes);
    }

    void refusesATruncatedStore_data()
    {
        QTest::addColumn<int>("size");
        QTest::addRow("within the header") << 50;
        QTest::addRow("within the schema") << 2000;
        QTest::addRow("after the schema") << 4096;
    }

    void refusesATruncatedStore()
    {
        QFETCH(int, size);
        QVERIFY(m_fixture->open());
        store().addMeasurementValues(1, {valid("T", 1.0)});
        store().close();
        QVERIFY(QFile::resize(m_fixture->path(), size));
        expectFailure("reading measurement types");
        QVERIFY(!m_fixture->open());
    }

    void refusesAPathThatCannotBeOpened_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addRow("folder missing") << QStringLiteral("missing/measurements.db");
        QTest::addRow("folder is a file") << QStringLiteral("file/measurements.db");
        QTest::addRow("a folder itself") << QStringLiteral("folder");
    }

    void refusesAPathThatCannotBeOpened()
    {
        QFETCH(QString, name);
        QVERIFY(writeFile(m_fixture->path(QStringLiteral("file")), "x"));
        QVERIFY(QDir().mkdir(m_fixture->path(QStringLiteral("folder"))));
        QTest::ignoreMessage(QtWarningMsg,
                             "Failed to open local database: unable to open database file "
                             "Error opening database");
        QVERIFY(!store().open(m_fixture->path(name)));
        // No folder is made for the store.
        QVERIFY(!QFileInfo::exists(m_fixture->path(QStringLiteral("missing"))));
    }

    void opensAnotherFileAfterAFailure()
    {
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("^Failed to open local database: .")));
        QVERIFY(!store().open(m_fixture->path(QStringLiteral("missing/measurements.db"))));

        const QString empty = m_fixture->path(QStringLiteral("empty.db"));
        QVERIFY(writeFile(empty, QByteArray()));
        expectFailure("reading measurement types", noQuery);
        QVERIFY(!store().open(empty));

        QVERIFY(m_fixture->open());
        unsigned id = 0;
        QVERIFY(store().addDevice({{}, {}, QStringLiteral("S1"), {}}, id));
        QCOMPARE(m_fixture->rows("select serial from device"), texts({"S1"}));
        QCOMPARE(QFileInfo(empty).size(), 0);
    }

    void keepsTheTypesOfTheFileBefore()
    {
        QVERIFY(m_fixture->open());
        store().addMeasurementValues(1, {valid("T", 1.0)});
        const QString other = m_fixture->path(QStringLiteral("other.db"));
        QVERIFY(store().open(other));
        store().addMeasurementValues(1, {valid("T", 2.0), valid("H", 3.0)});
        // "T" is stored under its id of the first file, which is that of "H" in this one.
        QCOMPARE(SqliteStoreFixture::rowsOf(other,
                                            QStringLiteral("select id, name "
                                                           "from measurement_type")),
                 texts({"1|H"}));
        QCOMPARE(
            SqliteStoreFixture::rowsOf(
                other, QStringLiteral("select measurement_type_id, value from measurement_value")),
            texts({"1|2", "1|3"}));
    }

    void reportsASchemaThatCannotBeCreated()
    {
        // The engine can create the file, but not the journal that a change needs.
        const QString journal = m_fixture->path() + QStringLiteral("-journal");
        QVERIFY(QDir().mkdir(journal));
        expectFailure("creating device table", "unable to open database file");
        const QString line = QStringLiteral("Failed to create database to ") + m_fixture->path();
        QTest::ignoreMessage(QtWarningMsg, line.toLocal8Bit().constData());
        QVERIFY(!m_fixture->open());
        QVERIFY(QSqlDatabase::database().isOpen());
        QVERIFY(QFile::exists(m_fixture->path()));

        // The next attempt finds a file, and so creates nothing.
        QVERIFY(QDir().rmdir(journal));
        expectFailure("reading measurement types", noQuery);
        QVERIFY(!m_fixture->open());
    }

    void stopsCreatingAtTheFirstFailure_data()
    {
        QTest::addColumn<QString>("inTheWay");
        QTest::addColumn<QByteArray>("context");
        QTest::addColumn<QStringList>("tables");
        const QString device = QStringLiteral("device");
        const QString type = QStringLiteral("measurement_type");
        const QString metadata = QStringLiteral("measurement_metadata");
        const QString value = QStringLiteral("measurement_value");
        QTest::addRow("first") << device << QByteArray("creating device table")
                               << QStringList{device};
        QTest::addRow("second") << type << QByteArray("creating measurement type table")
                                << QStringList{type, device};
        QTest::addRow("third") << metadata << QByteArray("creating measurement table")
                               << QStringList{metadata, device, type};
        QTest::addRow("fourth") << value << QByteArray("creating measurement value table")
                                << QStringList{value, device, type, metadata};
    }

    void stopsCreatingAtTheFirstFailure()
    {
        QFETCH(QString, inTheWay);
        QFETCH(QByteArray, context);
        QFETCH(QStringList, tables);
        // A file that the engine finds and Qt does not: Qt interprets a path with a leading colon
        // as one of its resources.
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(m_fixture->folder()));
        QVERIFY(std::filesystem::create_directory(":"));
        const QString hidden = QStringLiteral(":/measurements.db");
        SqliteStoreFixture::rowsOf(hidden, QStringLiteral("create table %1(id)").arg(inTheWay));

        expectFailure(context.constData(), noQuery);
        QTest::ignoreMessage(QtWarningMsg, "Failed to create database to :/measurements.db");
        const bool opened = store().open(hidden);
        const QStringList found = SqliteStoreFixture::rowsOf(
            hidden,
            QStringLiteral("select name from sqlite_master where name not like 'sqlite_%' "
                           "order by rowid"));
        QDir::setCurrent(before);
        QVERIFY(!opened);
        QCOMPARE(found, tables);
    }

    void toleratesCallsWhileClosed()
    {
        QVERIFY(m_fixture->open());
        store().close();
        QVERIFY(!QSqlDatabase::database(QLatin1String(QSqlDatabase::defaultConnection), false)
                     .isOpen());
        unsigned id = untouched;

        expectNoDatabase(2);
        expectFailure("loading device details");
        expectFailure("loading device measurement range");
        QVERIFY(store().devices().isEmpty());

        expectNoDatabase(1);
        expectFailure("adding measurement to local database");
        QVERIFY(!store().addMeasurement(1, {}, id));

        expectNoDatabase(2);
        expectFailure("loading measurement metadatas");
        expectFailure("loading measurement values");
        QVERIFY(store().measurements(QDateTime(), QDateTime(), 1).isEmpty());
        QCOMPARE(id, untouched);
    }

    void opensAgainAfterClose()
    {
        QVERIFY(m_fixture->open());
        store().addMeasurementValues(1, {valid("T", 1.0)});
        store().close();
        store().close();
        QVERIFY(m_fixture->open());
        QCOMPARE(m_fixture->rows("select count(*) from measurement_value"), texts({"1"}));
    }

    void reportsThatAddingFails_data()
    {
        QTest::addColumn<QByteArray>("operation");
        QTest::addColumn<QByteArray>("context");
        QTest::addRow("device") << QByteArray("device")
                                << QByteArray("adding device to local database");
        QTest::addRow("measurement")
            << QByteArray("measurement") << QByteArray("adding measurement to local database");
        QTest::addRow("type") << QByteArray("type")
                              << QByteArray("adding measurement type T to local database");
    }

    void reportsThatAddingFails()
    {
        QFETCH(QByteArray, operation);
        QFETCH(QByteArray, context);
        QVERIFY(m_fixture->open());
        QVERIFY(SqliteStoreFixture::runInside("pragma query_only = 1"));
        expectFailure(context.constData(), "attempt to write a readonly database");
        unsigned id = untouched;
        bool added = true;
        if (operation == "device") {
            added = store().addDevice({{}, {}, QStringLiteral("S1"), {}}, id);
        } else if (operation == "measurement") {
            added = store().addMeasurement(1, {}, id);
        } else {
            added = store().addMeasurementType(QStringLiteral("T"), id);
        }
        QVERIFY(!added);
    }

    void goesOnAfterATypeThatCannotBeAdded()
    {
        QVERIFY(m_fixture->open());
        unsigned id = 0;
        QVERIFY(store().addMeasurementType(QStringLiteral("T"), id));
        m_fixture->rows("create trigger no_types before insert on measurement_type "
                        "begin select raise(abort, 'no more types'); end");
        for (const char *name : {"H", "P"}) {
            const QByteArray context =
                QByteArray("adding measurement type ") + name + " to local database";
            expectFailure(context.constData(), "no more types");
            const QByteArray line = QByteArray("Failed to resolve measurement type ") + name;
            QTest::ignoreMessage(QtWarningMsg, line.constData());
        }
        store().addMeasurementValues(
            1, {valid("H", 1.0), valid("T", 2.0), valid("P", 3.0), valid("T", 4.0)});
        QCOMPARE(m_fixture->rows("select value from measurement_value order by id"),
                 texts({"2", "4"}));

        // A name that failed is not remembered.
        m_fixture->rows("drop trigger no_types");
        store().addMeasurementValues(1, {valid("H", 5.0)});
        QCOMPARE(m_fixture->rows("select name from measurement_type order by id"),
                 texts({"T", "H"}));
    }

    void asksForNewTypesThroughTheInterface()
    {
        m_fixture.reset();
        {
            StoreWithoutNewTypes store;
            QVERIFY(store.open(QStringLiteral(":memory:")));
            QTest::ignoreMessage(QtWarningMsg, "Failed to resolve measurement type T");
            store.addMeasurementValues(1, {valid("T", 1.0), {QStringLiteral("H"), false, 0.0}});
            QCOMPARE(store.asked, texts({"T"}));
        }
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    }

    void goesOnAfterAValueThatCannotBeAdded()
    {
        QVERIFY(m_fixture->open());
        m_fixture->rows("create trigger no_twos before insert on measurement_value "
                        "when new.value = 2 begin select raise(abort, 'no twos'); end");
        expectFailure("adding measurement values", "no twos");
        store().addMeasurementValues(1, {valid("T", 1.0), valid("H", 2.0), valid("P", 3.0)});
        QCOMPARE(m_fixture->rows("select value from measurement_value order by id"),
                 texts({"1", "3"}));
    }

    void keepsTheMeasurementWhoseValuesFailed()
    {
        QVERIFY(m_fixture->open());
        const QDateTime time = QDateTime::fromSecsSinceEpoch(100, Qt::UTC);
        unsigned id = 0;
        QVERIFY(store().addMeasurement(1, {MeasurementState::Ready, time}, id));
        unsigned typeId = 0;
        QVERIFY(store().addMeasurementType(QStringLiteral("T"), typeId));
        QVERIFY(SqliteStoreFixture::runInside("pragma query_only = 1"));
        expectFailure("adding measurement values", "attempt to write a readonly database");
        store().addMeasurementValues(id, {valid("T", 1.0)});
        const QVector<StoredMeasurement> found = store().measurements(time, time, 1);
        QCOMPARE(found.size(), 1);
        QVERIFY(found.at(0).values.isEmpty());
    }

    void returnsTheDevicesWithoutTheirRanges()
    {
        QVERIFY(m_fixture->open());
        unsigned id = 0;
        QVERIFY(store().addDevice({{}, {}, QStringLiteral("S1"), {}}, id));
        m_fixture->rows("drop table measurement_metadata");
        expectFailure("loading device measurement range");
        const QVector<StoredDevice> devices = store().devices();
        QCOMPARE(devices.size(), 1);
        QVERIFY(!devices.at(0).lastMeasurement.isValid());
    }

    void returnsNothingForAQueryThatFails_data()
    {
        QTest::addColumn<QByteArray>("missing");
        QTest::addColumn<QByteArray>("context");
        QTest::addRow("devices") << QByteArray("device") << QByteArray("loading device details");
        QTest::addRow("metadata") << QByteArray("measurement_metadata")
                                  << QByteArray("loading measurement metadatas");
        QTest::addRow("types") << QByteArray("measurement_type")
                               << QByteArray("loading measurement types");
    }

    void returnsNothingForAQueryThatFails()
    {
        QFETCH(QByteArray, missing);
        QFETCH(QByteArray, context);
        QVERIFY(m_fixture->open());
        m_fixture->rows(QByteArray("drop table " + missing).constData());
        expectFailure(context.constData());
        if (missing == "device") {
            QVERIFY(store().devices().isEmpty());
        } else if (missing == "measurement_metadata") {
            QVERIFY(store().measurementMetadata(1).isEmpty());
        } else {
            QVERIFY(store().measurementTypes(1).isEmpty());
        }
    }

    void returnsMeasurementsWithoutTheirValues()
    {
        QVERIFY(m_fixture->open());
        const QDateTime time = QDateTime::fromSecsSinceEpoch(100, Qt::UTC);
        unsigned id = 0;
        QVERIFY(store().addMeasurement(1, {MeasurementState::Ready, time}, id));
        m_fixture->rows("drop table measurement_value");
        expectFailure("loading measurement values");
        const QVector<StoredMeasurement> found = store().measurements(time, time, 1);
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.at(0).state, MeasurementState::Ready);
        QVERIFY(found.at(0).values.isEmpty());
    }

    void reportsALockedFile()
    {
        QVERIFY(m_fixture->open());
        // The engine would wait for five seconds; the test shortens that.
        QVERIFY(SqliteStoreFixture::runInside("pragma busy_timeout = 1"));
        const QString name = QStringLiteral("locker");
        {
            QSqlDatabase locker = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
            locker.setDatabaseName(m_fixture->path());
            QVERIFY(locker.open());
            QVERIFY(locker.exec(QStringLiteral("begin exclusive")).isActive());

            unsigned id = untouched;
            expectFailure("adding measurement to local database", "database is locked");
            QVERIFY(!store().addMeasurement(1, {}, id));
            expectFailure("loading measurement types", "database is locked");
            QVERIFY(store().measurementTypes(1).isEmpty());
            expectFailure("loading device details", "database is locked");
            expectFailure("loading device measurement range", "database is locked");
            expectFailure("adding device to local database", "database is locked");
            QVERIFY(!store().addDevice({{}, {}, QStringLiteral("S1"), {}}, id));
            QCOMPARE(id, untouched);
            locker.close();
        }
        QSqlDatabase::removeDatabase(name);

        unsigned id = untouched;
        QVERIFY(store().addMeasurement(1, {}, id));
        QCOMPARE(id, 1U);
    }

    void sendsEachStatementExactly_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("bound");
        int index = 0;
        const auto add = [&index](const char *text, const char *bound) {
            QTest::addRow("%s", text) << index++ << QString::fromLatin1(bound);
        };
        for (const char *statement : schema) {
            add(statement, "");
        }
        add("select id, name from measurement_type", "");
        add("SELECT id,model, serial, sw_version, hw_version from device", "");
        add("select device_id, min(timestamp), max(timestamp) from measurement_metadata "
            "group by device_id",
            "");
        add("INSERT INTO device (model, serial, sw_version, hw_version) "
            "VALUES (:model, :serial, :sw_version, :hw_version)",
            ":model QString, :serial QString, :sw_version QString, :hw_version QString");
        add("INSERT INTO measurement_metadata (timestamp, meas_state, device_id) "
            "VALUES (:timestamp, :meas_state, :device_id)",
            ":timestamp qlonglong, :meas_state int, :device_id uint");
        add("INSERT INTO measurement_type (name) VALUES (:name)", ":name QString");
        add("INSERT INTO measurement_value (measurement_id, measurement_type_id, value) "
            "VALUES (:measurement_id, :measurement_type_id, :value)",
            ":measurement_id uint, :measurement_type_id uint, :value double");
        add("select id, name from measurement_type where id in "
            "(select measurement_type_id from measurement_value where measurement_id in "
            "(select id from measurement_metadata where device_id = :device_id))",
            ":device_id uint");
        add("select id, timestamp, meas_state from measurement_metadata where device_id = "
            ":device_id",
            ":device_id uint");
        add("select id, timestamp, meas_state from measurement_metadata where device_id = "
            ":device_id "
            "and timestamp between :from and :to",
            ":device_id uint, :from qlonglong, :to qlonglong");
        add("select measurement_metadata.id, measurement_value.value, measurement_type.name "
            "from measurement_value, measurement_type, measurement_metadata "
            "where measurement_value.measurement_id = measurement_metadata.id "
            "and measurement_type.id = measurement_value.measurement_type_id "
            "and measurement_metadata.device_id = :device_id "
            "and measurement_metadata.timestamp between :timestamp_from and :timestamp_to",
            ":device_id uint, :timestamp_from qlonglong, :timestamp_to qlonglong");
    }

    void sendsEachStatementExactly()
    {
        QFETCH(int, index);
        QFETCH(QString, bound);
        m_fixture.reset();
        const RecordingSqlScope engine;
        m_fixture.reset(new SqliteStoreFixture);
        unsigned id = 0;
        const QDateTime now = QDateTime::currentDateTime();
        QVERIFY(m_fixture->open());
        store().addDevice(DeviceDetails(), id);
        store().addMeasurement(1, {MeasurementState::Ready, now}, id);
        store().addMeasurementValues(1, {valid("T", 1.0)});
        store().measurementTypes(1);
        store().measurementMetadata(1);
        store().measurements(now, now, 1);
        m_fixture.reset();

        QCOMPARE(engine.statements.size(), 15);
        QCOMPARE(engine.statements.at(index).text, QString::fromLatin1(QTest::currentDataTag()));
        QCOMPARE(engine.statements.at(index).bound.join(QLatin1String(", ")), bound);
    }

private:
    LocalStorageSqlite &store() { return m_fixture->store(); }

    QScopedPointer<SqliteStoreFixture> m_fixture;
};

KV_TEST_CORE_MAIN(TestLocalStorageSqliteFile)
#include "tst_localstoragesqlitefile.moc"
