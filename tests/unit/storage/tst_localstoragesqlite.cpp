// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/loggedmessages.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"
#include "tests/unit/storage/sqlitestorefixture.h"

#include <QtCore/QTimeZone>
#include <limits>

namespace {

constexpr unsigned largestId = std::numeric_limits<unsigned>::max();

QDateTime utcTime(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
}

MeasurementValue unavailableValue(const char *name) { return {text(name), false, 0.0}; }

} // namespace

class TestLocalStorageSqlite : public QObject, private SqliteStoreFixture
{
    Q_OBJECT

private slots:
    void init()
    {
        createStore();
        QVERIFY(open());
        // Makes hundreds of commits faster; they need not reach the disk.
        QVERIFY(runSqlInStore("pragma synchronous = off"));
    }

    void cleanup() { destroyStore(); }

    void identifiesDevicesByExactSerialNumber()
    {
        unsigned id = 0;
        for (const char *serial : {"Ab1", "aB1", "Ab1 ", "Ab", "Ab%", ""}) {
            ++id;
            QCOMPARE(addDevice(serial), id);
            QCOMPARE(addDevice(serial), id);
        }
        // The row of a known device is not changed.
        QVERIFY(store().addDevice({text("sw2"), text("hw2"), text("Ab1"), text("new")}, id));
        QCOMPARE(id, 1U);
        QCOMPARE(runSql("select id, model, serial, sw_version, hw_version from device"),
                 texts("1,model,Ab1,sw,hw|2,model,aB1,sw,hw|3,model,Ab1 ,sw,hw|4,model,Ab,sw,hw|"
                       "5,model,Ab%,sw,hw|6,model,,sw,hw"));
    }

    void keepsDevicesAfterARestart()
    {
        addDevice("S1");
        QCOMPARE(addDevice("S2"), 2U);
        recreateStore();
        QVERIFY(open());
        QCOMPARE(addDevice("S2"), 2U);
        QCOMPARE(addDevice("S3"), 3U);
    }

    void storesTextUnchanged()
    {
        const char *const serial = "'); drop table device; -- µ€\n:serial";
        QCOMPARE(addDevice(serial), 1U);
        QCOMPARE(addDevice(serial), 1U);
        QCOMPARE(store().devices().at(0).details.serialNumber, text(serial));
        addMeasurement(0, {validValue(serial, 1.0)});
        QCOMPARE(store().measurementTypes(1).value(1), text(serial));
    }

    void storesTimeStateAndDeviceIdAsIntegers()
    {
        unsigned id = 0;
        for (int state = 0; state <= 4; ++state) {
            QVERIFY(store().addMeasurement(7, {MeasurementState(state), utcTime(state - 1)}, id));
            QCOMPARE(id, unsigned(state + 1));
            const MeasurementMetadata read = store().measurementMetadata(7).value(id);
            QCOMPARE(static_cast<int>(read.state), state);
            QCOMPARE(read.timestamp, utcTime(state - 1));
        }
        QCOMPARE(runSql("select timestamp, meas_state, device_id from measurement_metadata"),
                 texts("-1,0,7|0,1,7|1,2,7|2,3,7|3,4,7"));
        QCOMPARE(runSql("select distinct typeof(timestamp), typeof(meas_state), typeof(device_id) "
                        "from measurement_metadata"),
                 texts("integer,integer,integer"));
    }

    void storesTheLargestId()
    {
        unsigned id = 0;
        QVERIFY(store().addMeasurement(largestId, {MeasurementState::Ready, utcTime(1)}, id));
        store().addMeasurementValues(largestId, {validValue("T", 1.0)});
        QCOMPARE(runSql("select device_id from measurement_metadata"), texts("4294967295"));
        QCOMPARE(runSql("select measurement_id from measurement_value"), texts("4294967295"));
        QCOMPARE(store().measurements(utcTime(0), utcTime(2), largestId).size(), 1);
    }

    void addMeasurementTypeAddsARowAtEachCall()
    {
        unsigned id = 0;
        QVERIFY(store().addMeasurementType(text("T"), id));
        QCOMPARE(id, 1U);
        QVERIFY(store().addMeasurementType(text("T"), id));
        QCOMPARE(id, 2U);
        // New values are stored with the newest id.
        addMeasurement(0, {validValue("T", 1.0)});
        QCOMPARE(runSql("select measurement_type_id from measurement_value"), texts("2"));
        QCOMPARE(runSql("select name from measurement_type"), texts("T|T"));
    }

    void storesValidValuesInOrder()
    {
        addMeasurement(0,
                       {validValue("T", 1.5), validValue("H", 2.0), unavailableValue("P"),
                        validValue("t", -3.0)});
        addMeasurement(1, {validValue("t", 4.0), validValue("P", 5.0), validValue("T", 6.0)});
        QCOMPARE(runSql("select id, name from measurement_type"), texts("1,T|2,H|3,t|4,P"));
        QCOMPARE(runSql("select id, measurement_id, measurement_type_id, value, typeof(value) "
                        "from measurement_value order by id"),
                 texts("1,1,1,1.5,real|2,1,2,2,real|3,1,3,-3,real|4,2,3,4,real|5,2,4,5,real|"
                       "6,2,1,6,real"));
    }

    void storesValuesWithFullPrecision()
    {
        using Limits = std::numeric_limits<double>;
        const double numbers[] = {1.0 / 3.0, Limits::max(), Limits::denorm_min(), 123456789012.0,
                                  -Limits::infinity()};
        for (const double number : numbers) {
            addMeasurement(0, {validValue("T", number)});
            QVERIFY(store().measurements(utcTime(0), utcTime(0), 1).last().values.at(0).value
                    == number);
        }
    }

    void listsDeviceWithNewestMeasurementFirst()
    {
        for (const char *serial : {"old", "none", "newest", "new"}) {
            addDevice(serial);
        }
        addMeasurement(1000, {}, 1);
        addMeasurement(9000, {}, 3);
        for (const int time : {5000, 500, 6000, 4000}) {
            addMeasurement(time, {}, 4);
        }
        addMeasurement(9999, {}, 99); // of an unknown device

        QStringList found;
        for (const StoredDevice &device : store().devices()) {
            const DeviceDetails &details = device.details;
            found << QStringLiteral("%1 %2 %3 %4 %5 %6 to %7")
                         .arg(device.id)
                         .arg(details.serialNumber, details.modelNumber, details.swVersion,
                              details.hwVersion)
                         .arg(device.firstMeasurement.toMSecsSinceEpoch())
                         .arg(device.lastMeasurement.toMSecsSinceEpoch());
            if (device.lastMeasurement.isValid()) {
                QCOMPARE(device.firstMeasurement.timeZone(), QTimeZone::utc());
                QCOMPARE(device.lastMeasurement.timeZone(), QTimeZone::utc());
            }
        }
        // A device without measurements is sorted as if its last one were at the epoch, which is
        // how QDateTime compares an invalid time.
        QCOMPARE(found,
                 texts("3 newest model sw hw 9000 to 9000|4 new model sw hw 500 to 6000|"
                       "1 old model sw hw 1000 to 1000|2 none model sw hw 0 to 0"));
    }

    void listsDevicesWithoutMeasurements()
    {
        addDevice("S1");
        addDevice("S2");
        const QVector<StoredDevice> devices = store().devices();
        QCOMPARE(devices.size(), 2);
        QVERIFY(devices.at(0).id != devices.at(1).id);
        for (const StoredDevice &device : devices) {
            QVERIFY(!device.firstMeasurement.isValid());
            QVERIFY(!device.lastMeasurement.isValid());
        }
    }

    void readsTheMetadataOfADevice()
    {
        addMeasurement(3000, {validValue("T", 1.0)}, 1);
        addMeasurement(2000, {}, 2);
        addMeasurement(1000, {}, 1);
        const QMap<unsigned, MeasurementMetadata> found = store().measurementMetadata(1);
        QCOMPARE(found.keys(), (QList<unsigned>{1, 3}));
        QCOMPARE(found.value(1).timestamp, utcTime(3000));
        QCOMPARE(found.value(3).timestamp, utcTime(1000));
        QCOMPARE(found.value(3).timestamp.timeZone(), QTimeZone::utc());
        QCOMPARE(found.value(3).state, MeasurementState::Ready);
        QVERIFY(store().measurementMetadata(3).isEmpty());
    }

    void treatsAnUnknownStateAsWarmingUp()
    {
        addMeasurement(0, {});
        for (const int number : {5, -1, 1000000}) {
            runSql("update measurement_metadata set meas_state = " + QByteArray::number(number));
            QCOMPARE(store().measurementMetadata(1).value(1).state, MeasurementState::WarmingUp);
            QCOMPARE(store().measurements(utcTime(0), utcTime(0), 1).at(0).state,
                     MeasurementState::WarmingUp);
        }
    }

    void readsTheTypesOfADevice()
    {
        addMeasurement(0, {validValue("T", 1.0), validValue("H", 1.0)}, 1);
        addMeasurement(0, {validValue("P", 1.0), validValue("T", 1.0)}, 2);
        addMeasurement(0, {unavailableValue("H")}, 3);
        QCOMPARE(store().measurementTypes(1),
                 (QMap<unsigned, QString>{{1, text("T")}, {2, text("H")}}));
        QCOMPARE(store().measurementTypes(2),
                 (QMap<unsigned, QString>{{1, text("T")}, {3, text("P")}}));
        QVERIFY(store().measurementTypes(3).isEmpty());
        QVERIFY(store().measurementTypes(4).isEmpty());
    }

    void includesBothEndsOfTheRange()
    {
        for (const int time : {1000, 2000, 3000}) {
            addMeasurement(time, {validValue("T", time)});
        }
        QCOMPARE(measurements(1000, 3000), texts("1000: T=1000|2000: T=2000|3000: T=3000"));
        QCOMPARE(measurements(2000, 2000), texts("2000: T=2000"));
        QCOMPARE(measurements(1001, 2999), texts("2000: T=2000"));
        QCOMPARE(measurements(1001, 1999), QStringList());
        QCOMPARE(measurements(3000, 1000), QStringList());
    }

    void storesAndComparesTimesInUtc_data()
    {
        QTest::addColumn<QByteArray>("zone");
        for (const char *zone : {"UTC", "Asia/Kathmandu", "Europe/Helsinki", "America/New_York"}) {
            QTest::newRow(zone) << QByteArray(zone);
        }
    }

    void storesAndComparesTimesInUtc()
    {
        QFETCH(QByteArray, zone);
        const TimeZoneScope scope(zone.constData());
        const QDateTime noon(QDate(2023, 7, 1), QTime(12, 0, 0, 123), Qt::UTC);
        const QVector<QDateTime> times{noon, noon.toLocalTime(), noon.toOffsetFromUtc(-3600),
                                       noon.toTimeZone(QTimeZone("Asia/Kathmandu"))};
        unsigned id = 0;
        for (const QDateTime &time : times) {
            QVERIFY(store().addMeasurement(1, {MeasurementState::Ready, time}, id));
        }
        QCOMPARE(runSql("select distinct timestamp from measurement_metadata"),
                 texts("1688212800123"));
        for (const QDateTime &time : times) {
            const auto found = store().measurements(time, time, 1);
            QCOMPARE(found.size(), times.size());
            QCOMPARE(found.at(0).timestamp, noon);
            QCOMPARE(found.at(0).timestamp.timeZone(), QTimeZone::utc());
            QVERIFY(store().measurements(time.addMSecs(1), time.addSecs(7200), 1).isEmpty());
        }
    }

    void distinguishesTheTwoOccurrencesOfARepeatedHour()
    {
        const TimeZoneScope scope("Europe/Helsinki");
        const QDateTime first = QDateTime(QDate(2023, 10, 29), QTime(0, 30), Qt::UTC).toLocalTime();
        const QDateTime second = first.toUTC().addSecs(3600).toLocalTime();
        QCOMPARE(first.time(), second.time());
        unsigned id = 0;
        QVERIFY(store().addMeasurement(1, {MeasurementState::Ready, first}, id));
        QVERIFY(store().addMeasurement(1, {MeasurementState::Ready, second}, id));
        const auto found = store().measurements(second, second, 1);
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.at(0).timestamp, second);
    }

    void returnsMeasurementsInInsertionOrder()
    {
        for (const int time : {3000, 1000, 2000}) {
            addMeasurement(time, {validValue("T", time)});
        }
        const QStringList expected = texts("3000: T=3000|1000: T=1000|2000: T=2000");
        QCOMPARE(measurements(0, 9000), expected);
        // Also if an index lets SQLite return the rows in the order of their times.
        runSql("create index by_time on measurement_metadata(device_id, timestamp)");
        QCOMPARE(measurements(0, 9000), expected);
    }

    void returnsOnlyMeasurementsOfTheGivenDevice()
    {
        addMeasurement(1000, {validValue("T", 1.0)}, 1);
        addMeasurement(1000, {validValue("T", 2.0)}, 2);
        QCOMPARE(measurements(0, 9000, 2), texts("1000: T=2"));
        QCOMPARE(measurements(0, 9000, 3), QStringList());
    }

    void returnsMeasurementsWithMissingValues()
    {
        addMeasurement(1, {validValue("T", 1.0), validValue("H", 2.0)});
        addMeasurement(2, {unavailableValue("T"), validValue("H", 3.0)});
        addMeasurement(3, {unavailableValue("P"), unavailableValue("H")});
        addMeasurement(4, {});
        addMeasurement(5, {validValue("T", 4.0), unavailableValue("H")});
        QCOMPARE(measurements(0, 9), texts("1: T=1 H=2|2: H=3|3:|4:|5: T=4"));
        QCOMPARE(runSql("select name from measurement_type"), texts("T|H"));
        QCOMPARE(runSql("select count(*) from measurement_value"), texts("4"));
    }

    void returnsValuesInInsertionOrder()
    {
        // Sorted neither by name nor by type.
        addMeasurement(1, {validValue("c", 1.0), validValue("a", 2.0), validValue("b", 3.0)});
        addMeasurement(2, {validValue("b", 4.0), validValue("c", 5.0), validValue("a", 6.0)});
        QCOMPARE(measurements(0, 9), texts("1: c=1 a=2 b=3|2: b=4 c=5 a=6"));
    }

    void assignsEachValueToItsMeasurement()
    {
        // The values are stored after all measurements: in order, in reverse order and in large
        // steps.
        constexpr int count = 50;
        for (int index = 0; index < count; ++index) {
            addMeasurement(index, {}, index % 3 == 0 ? 2 : 1);
        }
        for (const int step : {1, -1, 7}) {
            for (int position = 0; position < count; ++position) {
                const int index = ((position * step) % count + count) % count;
                store().addMeasurementValues(unsigned(index + 1),
                                             {validValue("T", 100 * step + index)});
            }
        }
        QStringList expected;
        for (int index = 0; index < count; ++index) {
            if (index % 3 != 0) {
                expected << QStringLiteral("%1: T=%2 T=%3 T=%4")
                                .arg(index)
                                .arg(100 + index)
                                .arg(index - 100)
                                .arg(700 + index);
            }
        }
        QCOMPARE(measurements(0, count), expected);
    }

    void dropsValuesWithoutAType()
    {
        addMeasurement(1, {validValue("T", 1.0), validValue("H", 2.0)});
        runSql("delete from measurement_type where name = 'T'");
        QCOMPARE(measurements(0, 9), texts("1: H=2"));
    }

    void equalNamesShareTheirCharacters()
    {
        addMeasurement(1, {validValue("T", 1.0)});
        addMeasurement(2, {validValue("T", 2.0)});
        const auto found = store().measurements(utcTime(0), utcTime(9), 1);
        QCOMPARE(found.size(), 2);
        QVERIFY(found.at(0).values.at(0).name.constData()
                == found.at(1).values.at(0).name.constData());
    }

    void dropsValuesOfMeasurementsThatTheFirstQueryDidNotReturn()
    {
        // A view with different rows in each query simulates rows that arrive between the two
        // queries. With so many attempts, the first and the last row are among them.
        constexpr int count = 20;
        constexpr int attempts = 100;
        for (int index = 1; index <= count; ++index) {
            addMeasurement(index, {validValue("T", index)});
        }
        runSql("alter table measurement_metadata rename to all_metadata");
        runSql("create view measurement_metadata as select * from all_metadata where abs(random()) "
               "% 2 = 0");

        QStringList allLogged;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            QStringList found;
            const QStringList logged = messagesLoggedBy([&] { found = measurements(0, count); });
            allLogged << logged;

            // Each row is returned with its value, returned without it, or only logged.
            const QStringList results = found + logged;
            int counted = 0;
            for (int id = 1; id <= count; ++id) {
                const int times = results.count(QStringLiteral("%1: T=%1").arg(id))
                    + results.count(QStringLiteral("%1:").arg(id))
                    + results.count(QStringLiteral("Metadata %1 not found!").arg(id));
                QVERIFY(times <= 1);
                counted += times;
            }
            QCOMPARE(counted, results.size());
        }
        QVERIFY(allLogged.contains(text("Metadata 1 not found!")));
        QVERIFY(allLogged.contains(QStringLiteral("Metadata %1 not found!").arg(count)));
    }

    void ignoresTheDecimalCommaOfTheLocale()
    {
        const QLocale before;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        addMeasurement(1, {validValue("T", 1234.5)});
        const auto found = store().measurements(utcTime(0), utcTime(9), 1);
        QLocale::setDefault(before);
        QCOMPARE(runSql("select value * 2 from measurement_value"), texts("2469"));
        QCOMPARE(found.at(0).values.at(0).value, 1234.5);
    }

private:
    unsigned addDevice(const char *serial)
    {
        unsigned id = largestId;
        store().addDevice({text("sw"), text("hw"), text(serial), text("model")}, id);
        return id;
    }

    void addMeasurement(qint64 milliseconds, const QVector<MeasurementValue> &values,
                        unsigned deviceId = 1)
    {
        unsigned id = largestId;
        QVERIFY(
            store().addMeasurement(deviceId, {MeasurementState::Ready, utcTime(milliseconds)}, id));
        store().addMeasurementValues(id, values);
    }

    /// The measurements from @p from to @p to, in ms since the epoch, each as "100: T=1 H=2".
    QStringList measurements(qint64 from, qint64 to, unsigned deviceId = 1)
    {
        QStringList result;
        for (const StoredMeasurement &found :
             store().measurements(utcTime(from), utcTime(to), deviceId)) {
            QString line = QStringLiteral("%1:").arg(found.timestamp.toMSecsSinceEpoch());
            for (const MeasurementValue &value : found.values) {
                line += QStringLiteral(" %1=%2").arg(value.name).arg(value.value)
                    + (value.valid ? QString() : text("!"));
            }
            result << line;
        }
        return result;
    }
};

KV_TEST_CORE_MAIN(TestLocalStorageSqlite)
#include "tst_localstoragesqlite.moc"
