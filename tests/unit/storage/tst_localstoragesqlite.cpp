// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/loggedlines.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"
#include "tests/unit/storage/sqlitestorefixture.h"

#include <QtCore/QTimeZone>
#include <limits>

namespace {

constexpr unsigned largestId = std::numeric_limits<unsigned>::max();

QDateTime at(qint64 milliseconds) { return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC); }

MeasurementValue notAvailable(const char *name) { return {text(name), false, 0.0}; }

} // namespace

class TestLocalStorageSqlite : public QObject, private SqliteStoreFixture
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        QVERIFY(open());
        // Hundreds of commits need not reach the disk one by one.
        QVERIFY(runInside("pragma synchronous = off"));
    }

    void cleanup() { end(); }

    void knowsADeviceByItsExactSerial()
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
        QCOMPARE(rows("select id, model, serial, sw_version, hw_version from device"),
                 texts("1,model,Ab1,sw,hw|2,model,aB1,sw,hw|3,model,Ab1 ,sw,hw|4,model,Ab,sw,hw|"
                       "5,model,Ab%,sw,hw|6,model,,sw,hw"));
    }

    void keepsDevicesOverARestart()
    {
        addDevice("S1");
        QCOMPARE(addDevice("S2"), 2U);
        restart();
        QVERIFY(open());
        QCOMPARE(addDevice("S2"), 2U);
        QCOMPARE(addDevice("S3"), 3U);
    }

    void storesAnyTextAsItIs()
    {
        const char *const serial = "'); drop table device; -- µ€\n:serial";
        QCOMPARE(addDevice(serial), 1U);
        QCOMPARE(addDevice(serial), 1U);
        QCOMPARE(store().devices().at(0).details.serialNumber, text(serial));
        addMeasurement(0, {valid(serial, 1.0)});
        QCOMPARE(store().measurementTypes(1).value(1), text(serial));
    }

    void storesTimeStateAndDeviceAsNumbers()
    {
        unsigned id = 0;
        for (int state = 0; state <= 4; ++state) {
            QVERIFY(store().addMeasurement(7, {MeasurementState(state), at(state - 1)}, id));
            QCOMPARE(id, unsigned(state + 1));
            const MeasurementMetadata read = store().measurementMetadata(7).value(id);
            QCOMPARE(static_cast<int>(read.state), state);
            QCOMPARE(read.timestamp, at(state - 1));
        }
        QCOMPARE(rows("select timestamp, meas_state, device_id from measurement_metadata"),
                 texts("-1,0,7|0,1,7|1,2,7|2,3,7|3,4,7"));
        QCOMPARE(rows("select distinct typeof(timestamp), typeof(meas_state), typeof(device_id) "
                      "from measurement_metadata"),
                 texts("integer,integer,integer"));
    }

    void storesTheLargestId()
    {
        unsigned id = 0;
        QVERIFY(store().addMeasurement(largestId, {MeasurementState::Ready, at(1)}, id));
        store().addMeasurementValues(largestId, {valid("T", 1.0)});
        QCOMPARE(rows("select device_id from measurement_metadata"), texts("4294967295"));
        QCOMPARE(rows("select measurement_id from measurement_value"), texts("4294967295"));
        QCOMPARE(store().measurements(at(0), at(2), largestId).size(), 1);
    }

    void addsATypeEachTimeItIsAsked()
    {
        unsigned id = 0;
        QVERIFY(store().addMeasurementType(text("T"), id));
        QCOMPARE(id, 1U);
        QVERIFY(store().addMeasurementType(text("T"), id));
        QCOMPARE(id, 2U);
        // The newest id is the one remembered.
        addMeasurement(0, {valid("T", 1.0)});
        QCOMPARE(rows("select measurement_type_id from measurement_value"), texts("2"));
        QCOMPARE(rows("select name from measurement_type"), texts("T|T"));
    }

    void storesValidValuesInOrder()
    {
        addMeasurement(0, {valid("T", 1.5), valid("H", 2.0), notAvailable("P"), valid("t", -3.0)});
        addMeasurement(1, {valid("t", 4.0), valid("P", 5.0), valid("T", 6.0)});
        QCOMPARE(rows("select id, name from measurement_type"), texts("1,T|2,H|3,t|4,P"));
        QCOMPARE(rows("select id, measurement_id, measurement_type_id, value, typeof(value) "
                      "from measurement_value order by id"),
                 texts("1,1,1,1.5,real|2,1,2,2,real|3,1,3,-3,real|4,2,3,4,real|5,2,4,5,real|"
                       "6,2,1,6,real"));
    }

    void storesValuesUnrounded()
    {
        using Limits = std::numeric_limits<double>;
        const double numbers[] = {1.0 / 3.0, Limits::max(), Limits::denorm_min(), 123456789012.0,
                                  -Limits::infinity()};
        for (const double number : numbers) {
            addMeasurement(0, {valid("T", number)});
            QVERIFY(store().measurements(at(0), at(0), 1).last().values.at(0).value == number);
        }
    }

    void listsDevicesByTheirNewestMeasurement()
    {
        for (const char *serial : {"old", "none", "newest", "new"}) {
            addDevice(serial);
        }
        addMeasurement(1000, {}, 1);
        addMeasurement(9000, {}, 3);
        for (const int time : {5000, 500, 6000, 4000}) {
            addMeasurement(time, {}, 4);
        }
        addMeasurement(9999, {}, 99); // of no known device

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
        // One without measurements is sorted as operator< sorts an invalid time: at the epoch.
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
        addMeasurement(3000, {valid("T", 1.0)}, 1);
        addMeasurement(2000, {}, 2);
        addMeasurement(1000, {}, 1);
        const QMap<unsigned, MeasurementMetadata> found = store().measurementMetadata(1);
        QCOMPARE(found.keys(), (QList<unsigned>{1, 3}));
        QCOMPARE(found.value(1).timestamp, at(3000));
        QCOMPARE(found.value(3).timestamp, at(1000));
        QCOMPARE(found.value(3).timestamp.timeZone(), QTimeZone::utc());
        QCOMPARE(found.value(3).state, MeasurementState::Ready);
        QVERIFY(store().measurementMetadata(3).isEmpty());
    }

    void treatsAnUnknownStateAsWarmingUp()
    {
        addMeasurement(0, {});
        for (const int number : {5, -1, 1000000}) {
            rows("update measurement_metadata set meas_state = " + QByteArray::number(number));
            QCOMPARE(store().measurementMetadata(1).value(1).state, MeasurementState::WarmingUp);
            QCOMPARE(store().measurements(at(0), at(0), 1).at(0).state,
                     MeasurementState::WarmingUp);
        }
    }

    void readsTheTypesOfADevice()
    {
        addMeasurement(0, {valid("T", 1.0), valid("H", 1.0)}, 1);
        addMeasurement(0, {valid("P", 1.0), valid("T", 1.0)}, 2);
        addMeasurement(0, {notAvailable("H")}, 3);
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
            addMeasurement(time, {valid("T", time)});
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
        QCOMPARE(rows("select distinct timestamp from measurement_metadata"),
                 texts("1688212800123"));
        for (const QDateTime &time : times) {
            const auto found = store().measurements(time, time, 1);
            QCOMPARE(found.size(), times.size());
            QCOMPARE(found.at(0).timestamp, noon);
            QCOMPARE(found.at(0).timestamp.timeZone(), QTimeZone::utc());
            QVERIFY(store().measurements(time.addMSecs(1), time.addSecs(7200), 1).isEmpty());
        }
    }

    void distinguishesTheRepeatedHour()
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

    void returnsMeasurementsInTheOrderOfStoring()
    {
        for (const int time : {3000, 1000, 2000}) {
            addMeasurement(time, {valid("T", time)});
        }
        const QStringList expected = texts("3000: T=3000|1000: T=1000|2000: T=2000");
        QCOMPARE(measurements(0, 9000), expected);
        // Also where an index lets the engine deliver them by time.
        rows("create index by_time on measurement_metadata(device_id, timestamp)");
        QCOMPARE(measurements(0, 9000), expected);
    }

    void returnsOnlyTheDeviceAskedFor()
    {
        addMeasurement(1000, {valid("T", 1.0)}, 1);
        addMeasurement(1000, {valid("T", 2.0)}, 2);
        QCOMPARE(measurements(0, 9000, 2), texts("1000: T=2"));
        QCOMPARE(measurements(0, 9000, 3), QStringList());
    }

    void keepsMeasurementsWithMissingValues()
    {
        addMeasurement(1, {valid("T", 1.0), valid("H", 2.0)});
        addMeasurement(2, {notAvailable("T"), valid("H", 3.0)});
        addMeasurement(3, {notAvailable("P"), notAvailable("H")});
        addMeasurement(4, {});
        addMeasurement(5, {valid("T", 4.0), notAvailable("H")});
        QCOMPARE(measurements(0, 9), texts("1: T=1 H=2|2: H=3|3:|4:|5: T=4"));
        QCOMPARE(rows("select name from measurement_type"), texts("T|H"));
        QCOMPARE(rows("select count(*) from measurement_value"), texts("4"));
    }

    void keepsTheOrderOfValues()
    {
        // Neither by name nor by type, but as they were stored.
        addMeasurement(1, {valid("c", 1.0), valid("a", 2.0), valid("b", 3.0)});
        addMeasurement(2, {valid("b", 4.0), valid("c", 5.0), valid("a", 6.0)});
        QCOMPARE(measurements(0, 9), texts("1: c=1 a=2 b=3|2: b=4 c=5 a=6"));
    }

    void findsTheMeasurementOfEachValue()
    {
        // Values stored far from their neighbours: forwards, backwards and across.
        constexpr int count = 50;
        for (int index = 0; index < count; ++index) {
            addMeasurement(index, {}, index % 3 == 0 ? 2 : 1);
        }
        for (const int step : {1, -1, 7}) {
            for (int turn = 0; turn < count; ++turn) {
                const int index = ((turn * step) % count + count) % count;
                store().addMeasurementValues(unsigned(index + 1), {valid("T", 100 * step + index)});
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
        addMeasurement(1, {valid("T", 1.0), valid("H", 2.0)});
        rows("delete from measurement_type where name = 'T'");
        QCOMPARE(measurements(0, 9), texts("1: H=2"));
    }

    void sharesEqualNames()
    {
        addMeasurement(1, {valid("T", 1.0)});
        addMeasurement(2, {valid("T", 2.0)});
        const auto found = store().measurements(at(0), at(9), 1);
        QCOMPARE(found.size(), 2);
        QVERIFY(found.at(0).values.at(0).name.constData()
                == found.at(1).values.at(0).name.constData());
    }

    void dropsValuesOfAMeasurementThatWasNotThere()
    {
        // A view with different rows in each query simulates rows that arrive between the two
        // queries. With so many readings the first and the last row are among them.
        constexpr int count = 20;
        constexpr int readings = 100;
        for (int index = 1; index <= count; ++index) {
            addMeasurement(index, {valid("T", index)});
        }
        rows("alter table measurement_metadata rename to kept");
        rows("create view measurement_metadata as select * from kept where abs(random()) % 2 = 0");

        QStringList allLogged;
        for (int reading = 0; reading < readings; ++reading) {
            QStringList found;
            const QStringList logged = linesLoggedBy([&] { found = measurements(0, count); });
            allLogged << logged;

            // A row is with its value, without it, or only in the log.
            const QStringList shown = found + logged;
            int accounted = 0;
            for (int id = 1; id <= count; ++id) {
                const int times = shown.count(QStringLiteral("%1: T=%1").arg(id))
                    + shown.count(QStringLiteral("%1:").arg(id))
                    + shown.count(QStringLiteral("Metadata %1 not found!").arg(id));
                QVERIFY(times <= 1);
                accounted += times;
            }
            QCOMPARE(accounted, shown.size());
        }
        QVERIFY(allLogged.contains(text("Metadata 1 not found!")));
        QVERIFY(allLogged.contains(QStringLiteral("Metadata %1 not found!").arg(count)));
    }

    void isNotDisturbedByADecimalComma()
    {
        const QLocale before;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        addMeasurement(1, {valid("T", 1234.5)});
        const auto found = store().measurements(at(0), at(9), 1);
        QLocale::setDefault(before);
        QCOMPARE(rows("select value * 2 from measurement_value"), texts("2469"));
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
        QVERIFY(store().addMeasurement(deviceId, {MeasurementState::Ready, at(milliseconds)}, id));
        store().addMeasurementValues(id, values);
    }

    /// "100: T=1 H=2" for each measurement between two times in milliseconds.
    QStringList measurements(qint64 from, qint64 to, unsigned deviceId = 1)
    {
        QStringList result;
        for (const StoredMeasurement &found : store().measurements(at(from), at(to), deviceId)) {
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
