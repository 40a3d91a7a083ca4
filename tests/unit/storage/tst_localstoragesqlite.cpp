// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"
#include "tests/unit/storage/sqlitestorefixture.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QTimeZone>
#include <limits>

Q_DECLARE_METATYPE(MeasurementState)

namespace {

constexpr unsigned largestId = std::numeric_limits<unsigned>::max();

DeviceDetails device(const char *serial, const char *swVersion = "1.0")
{
    return {QString::fromUtf8(swVersion), QStringLiteral("hw"), QString::fromUtf8(serial),
            QStringLiteral("model")};
}

QDateTime at(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
}

MeasurementValue notAvailable(const char *name)
{
    return {QString::fromUtf8(name), false, 0.0};
}

/// "T=1 H=2": names and values in their order.
QString textOf(const QVector<MeasurementValue> &values)
{
    QStringList texts;
    for (const MeasurementValue &value : values) {
        texts << QStringLiteral("%1=%2%3").arg(value.name, QString::number(value.value),
                                               value.valid ? QString() : QStringLiteral("!"));
    }
    return texts.join(QLatin1Char(' '));
}

/// "100: T=1 H=2" for each measurement.
QStringList textOf(const QVector<StoredMeasurement> &measurements)
{
    QStringList texts;
    for (const StoredMeasurement &measurement : measurements) {
        texts << QString::number(measurement.timestamp.toMSecsSinceEpoch()) + QLatin1String(": ")
                + textOf(measurement.values);
    }
    return texts;
}

QStringList caughtDebugLines;

void catchDebugLine(QtMsgType type, const QMessageLogContext &context, const QString &line)
{
    Q_UNUSED(context)
    if (type == QtDebugMsg) {
        caughtDebugLines << line;
    } else {
        fprintf(stderr, "QWARN  : %s\n", qPrintable(line));
    }
}

} // namespace

class TestLocalStorageSqlite : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture.reset(new SqliteStoreFixture);
        QVERIFY(m_fixture->open());
        // Hundreds of commits need not reach the disk one by one.
        QVERIFY(SqliteStoreFixture::runInside("pragma synchronous = off"));
    }
    void cleanup() { m_fixture.reset(); }

    void addsADeviceOnce()
    {
        unsigned id = largestId;
        QVERIFY(store().addDevice(
            {QStringLiteral("sw"), QStringLiteral("hw"), QStringLiteral("S1"), QStringLiteral("M")},
            id));
        QCOMPARE(id, 1U);
        QCOMPARE(addDevice("S2"), 2U);
        QCOMPARE(addDevice("S1"), 1U);
        QCOMPARE(addDevice("S2"), 2U);
        QCOMPARE(m_fixture->rows("select id, model, serial, sw_version, hw_version from device"),
                 texts({"1|M|S1|sw|hw", "2|model|S2|1.0|hw"}));
    }

    void knowsADeviceByItsExactSerial_data()
    {
        QTest::addColumn<QByteArray>("serial");
        QTest::addColumn<bool>("known");
        QTest::addRow("same") << QByteArray("Ab1") << true;
        QTest::addRow("other case") << QByteArray("aB1") << false;
        QTest::addRow("trailing space") << QByteArray("Ab1 ") << false;
        QTest::addRow("beginning") << QByteArray("Ab") << false;
        QTest::addRow("pattern") << QByteArray("Ab%") << false;
        QTest::addRow("empty") << QByteArray("") << false;
    }

    void knowsADeviceByItsExactSerial()
    {
        QFETCH(QByteArray, serial);
        QFETCH(bool, known);
        QCOMPARE(addDevice("Ab1"), 1U);
        QCOMPARE(addDevice(serial.constData()), known ? 1U : 2U);
        QCOMPARE(addDevice(serial.constData()), known ? 1U : 2U);
    }

    void leavesTheRowOfAKnownDevice()
    {
        QCOMPARE(addDevice("S1"), 1U);
        unsigned id = largestId;
        QVERIFY(store().addDevice({QStringLiteral("2.0"), QStringLiteral("new"),
                                   QStringLiteral("S1"), QStringLiteral("new")},
                                  id));
        QCOMPARE(id, 1U);
        QCOMPARE(m_fixture->rows("select model, serial, sw_version, hw_version from device"),
                 texts({"model|S1|1.0|hw"}));
    }

    void keepsDevicesOverARestart()
    {
        addDevice("S1");
        QCOMPARE(addDevice("S2"), 2U);
        m_fixture->restart();
        QVERIFY(m_fixture->open());
        QCOMPARE(addDevice("S2"), 2U);
        QCOMPARE(addDevice("S3"), 3U);
    }

    void storesAnyTextAsItIs()
    {
        const char *const serial = "'); drop table device; -- \u00B5\u20AC\n:serial";
        QCOMPARE(addDevice(serial), 1U);
        QCOMPARE(addDevice(serial), 1U);
        QCOMPARE(store().devices().at(0).details.serialNumber, QString::fromUtf8(serial));
        addMeasurement(0, {valid(serial, 1.0)});
        QCOMPARE(store().measurementTypes(1).value(1), QString::fromUtf8(serial));
    }

    void storesTimeStateAndDevice_data()
    {
        QTest::addColumn<MeasurementState>("state");
        QTest::addColumn<QDateTime>("time");
        QTest::addColumn<QString>("row");
        const QDateTime noon(QDate(2023, 7, 1), QTime(12, 0, 0, 123), Qt::UTC);
        QTest::addRow("warming up")
            << MeasurementState::WarmingUp << at(0) << QStringLiteral("0|0|7");
        QTest::addRow("ready") << MeasurementState::Ready << noon
                               << QStringLiteral("1688212800123|1|7");
        QTest::addRow("over range")
            << MeasurementState::TemperatureOverRange << at(1) << QStringLiteral("1|2|7");
        QTest::addRow("not stabilized")
            << MeasurementState::NotStabilized << at(2) << QStringLiteral("2|3|7");
        QTest::addRow("error") << MeasurementState::HardwareError << at(3)
                               << QStringLiteral("3|4|7");
        QTest::addRow("before the epoch")
            << MeasurementState::Ready << at(-1500) << QStringLiteral("-1500|1|7");
        QTest::addRow("offset") << MeasurementState::Ready << noon.toOffsetFromUtc(7200)
                                << QStringLiteral("1688212800123|1|7");
        QTest::addRow("time zone")
            << MeasurementState::Ready << noon.toTimeZone(QTimeZone("Asia/Kathmandu"))
            << QStringLiteral("1688212800123|1|7");
    }

    void storesTimeStateAndDevice()
    {
        QFETCH(MeasurementState, state);
        QFETCH(QDateTime, time);
        QFETCH(QString, row);
        unsigned id = largestId;
        QVERIFY(store().addMeasurement(7, {state, time}, id));
        QCOMPARE(id, 1U);
        QCOMPARE(
            m_fixture->rows("select timestamp, meas_state, device_id from measurement_metadata"),
            QStringList{row});
        QCOMPARE(m_fixture->rows("select typeof(timestamp), typeof(meas_state), typeof(device_id) "
                                 "from measurement_metadata"),
                 texts({"integer|integer|integer"}));
        const MeasurementMetadata read = store().measurementMetadata(7).value(1);
        QCOMPARE(read.state, state);
        QCOMPARE(read.timestamp, time);
        QCOMPARE(read.timestamp.offsetFromUtc(), 0);
    }

    void storesTheLargestId()
    {
        unsigned id = 0;
        QVERIFY(store().addMeasurement(largestId, {MeasurementState::Ready, at(1)}, id));
        store().addMeasurementValues(largestId, {valid("T", 1.0)});
        QCOMPARE(m_fixture->rows("select device_id from measurement_metadata"),
                 texts({"4294967295"}));
        QCOMPARE(m_fixture->rows("select measurement_id from measurement_value"),
                 texts({"4294967295"}));
        QCOMPARE(store().measurements(at(0), at(2), largestId).size(), 1);
    }

    void countsMeasurements()
    {
        for (unsigned expected = 1; expected <= 3; ++expected) {
            QCOMPARE(addMeasurement(0, {}), expected);
        }
    }

    void addsATypeEachTimeItIsAsked()
    {
        unsigned id = largestId;
        QVERIFY(store().addMeasurementType(QStringLiteral("T"), id));
        QCOMPARE(id, 1U);
        QVERIFY(store().addMeasurementType(QStringLiteral("T"), id));
        QCOMPARE(id, 2U);
        // The newest id is the one remembered.
        addMeasurement(0, {valid("T", 1.0)});
        QCOMPARE(m_fixture->rows("select measurement_type_id from measurement_value"),
                 texts({"2"}));
        QCOMPARE(m_fixture->rows("select name from measurement_type"), texts({"T", "T"}));
    }

    void storesValidValuesInOrder()
    {
        addMeasurement(0,
                       {valid("T", 1.5), valid("H", 2.0), notAvailable("P"), valid("NO2", -3.0)});
        addMeasurement(1, {valid("NO2", 4.0), valid("P", 5.0), valid("T", 6.0)});
        QCOMPARE(m_fixture->rows("select id, name from measurement_type order by id"),
                 texts({"1|T", "2|H", "3|NO2", "4|P"}));
        QCOMPARE(
            m_fixture->rows("select id, measurement_id, measurement_type_id, value, typeof(value) "
                            "from measurement_value order by id"),
            texts({"1|1|1|1.5|real", "2|1|2|2|real", "3|1|3|-3|real", "4|2|3|4|real",
                   "5|2|4|5|real", "6|2|1|6|real"}));
    }

    void storesNothingForWhatIsNotAvailable()
    {
        addMeasurement(5, {notAvailable("T"), notAvailable("H")});
        QCOMPARE(m_fixture->rows("select count(*) from measurement_value"), texts({"0"}));
        QCOMPARE(m_fixture->rows("select count(*) from measurement_type"), texts({"0"}));
        QCOMPARE(textOf(store().measurements(at(5), at(5), 1)), texts({"5: "}));
    }

    void distinguishesNamesByCase()
    {
        addMeasurement(0, {valid("no2", 1.0), valid("NO2", 2.0), valid("no2", 3.0)});
        QCOMPARE(m_fixture->rows("select id, name from measurement_type order by id"),
                 texts({"1|no2", "2|NO2"}));
        QCOMPARE(m_fixture->rows("select measurement_type_id from measurement_value order by id"),
                 texts({"1", "2", "1"}));
    }

    void storesValuesUnrounded_data()
    {
        QTest::addColumn<double>("value");
        QTest::addRow("a third") << 1.0 / 3.0;
        QTest::addRow("largest") << std::numeric_limits<double>::max();
        QTest::addRow("smallest") << std::numeric_limits<double>::denorm_min();
        QTest::addRow("whole") << 123456789012.0;
        QTest::addRow("infinite") << -std::numeric_limits<double>::infinity();
    }

    void storesValuesUnrounded()
    {
        QFETCH(double, value);
        addMeasurement(0, {valid("T", value)});
        const auto read = store().measurements(at(0), at(0), 1);
        QCOMPARE(read.size(), 1);
        QVERIFY(read.at(0).values.at(0).value == value);
    }

    void commitsEachStatement()
    {
        // Visible to other connections at once: there is no open transaction.
        unsigned id = largestId;
        QVERIFY(store().addMeasurement(1, {MeasurementState::Ready, at(0)}, id));
        QCOMPARE(m_fixture->rows("select count(*) from measurement_metadata"), texts({"1"}));
        store().addMeasurementValues(id, {valid("T", 1.0)});
        QCOMPARE(m_fixture->rows("select count(*) from measurement_value"), texts({"1"}));
    }

    void listsDevicesWithTheirRanges()
    {
        unsigned id = 0;
        QVERIFY(store().addDevice(
            {QStringLiteral("sw"), QStringLiteral("hw"), QStringLiteral("S1"), QStringLiteral("M")},
            id));
        for (const qint64 time : {5000, 1000, 9000, 4000}) {
            addMeasurement(time, {});
        }
        const QVector<StoredDevice> devices = store().devices();
        QCOMPARE(devices.size(), 1);
        QCOMPARE(devices.at(0).id, 1U);
        QCOMPARE(devices.at(0).details.modelNumber, QStringLiteral("M"));
        QCOMPARE(devices.at(0).details.serialNumber, QStringLiteral("S1"));
        QCOMPARE(devices.at(0).details.swVersion, QStringLiteral("sw"));
        QCOMPARE(devices.at(0).details.hwVersion, QStringLiteral("hw"));
        QCOMPARE(devices.at(0).firstMeasurement, at(1000));
        QCOMPARE(devices.at(0).lastMeasurement, at(9000));
        QCOMPARE(devices.at(0).firstMeasurement.timeZone(), QTimeZone::utc());
        QCOMPARE(devices.at(0).lastMeasurement.timeZone(), QTimeZone::utc());
    }

    void listsDevicesWithoutMeasurements()
    {
        addDevice("S1");
        addDevice("S2");
        const QVector<StoredDevice> devices = store().devices();
        QCOMPARE(devices.size(), 2);
        QSet<QString> serials;
        for (const StoredDevice &found : devices) {
            serials.insert(found.details.serialNumber);
            QVERIFY(!found.firstMeasurement.isValid());
            QVERIFY(!found.lastMeasurement.isValid());
        }
        QCOMPARE(serials.size(), 2);
    }

    void sortsDevicesByTheirNewestMeasurement()
    {
        for (const char *serial : {"old", "none", "newest", "new"}) {
            addDevice(serial);
        }
        addMeasurement(1000, {}, 1);
        addMeasurement(9000, {}, 3);
        addMeasurement(500, {}, 4);
        addMeasurement(5000, {}, 4);
        QStringList serials;
        for (const StoredDevice &found : store().devices()) {
            serials << found.details.serialNumber;
        }
        // One without measurements is sorted as operator< sorts an invalid time: at the epoch.
        QCOMPARE(serials, texts({"newest", "new", "old", "none"}));
    }

    void ignoresRangesOfUnknownDevices()
    {
        addDevice("S1");
        addMeasurement(1000, {}, 1);
        addMeasurement(9000, {}, 99);
        const QVector<StoredDevice> devices = store().devices();
        QCOMPARE(devices.size(), 1);
        QCOMPARE(devices.at(0).lastMeasurement, at(1000));
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

    void treatsAnUnknownStateAsWarmingUp_data()
    {
        QTest::addColumn<int>("number");
        QTest::addRow("5") << 5;
        QTest::addRow("-1") << -1;
        QTest::addRow("large") << 1000000;
    }

    void treatsAnUnknownStateAsWarmingUp()
    {
        QFETCH(int, number);
        addMeasurement(0, {});
        const QByteArray sql =
            "update measurement_metadata set meas_state = " + QByteArray::number(number);
        m_fixture->rows(sql.constData());
        QCOMPARE(store().measurementMetadata(1).value(1).state, MeasurementState::WarmingUp);
        QCOMPARE(store().measurements(at(0), at(0), 1).at(0).state, MeasurementState::WarmingUp);
    }

    void readsTheTypesOfADevice()
    {
        addMeasurement(0, {valid("T", 1.0), valid("H", 1.0)}, 1);
        addMeasurement(0, {valid("P", 1.0), valid("T", 1.0)}, 2);
        addMeasurement(0, {notAvailable("H")}, 3);
        QCOMPARE(store().measurementTypes(1),
                 (QMap<unsigned, QString>{{1, QStringLiteral("T")}, {2, QStringLiteral("H")}}));
        QCOMPARE(store().measurementTypes(2),
                 (QMap<unsigned, QString>{{1, QStringLiteral("T")}, {3, QStringLiteral("P")}}));
        QVERIFY(store().measurementTypes(3).isEmpty());
        QVERIFY(store().measurementTypes(4).isEmpty());
    }

    void includesBothEndsOfTheRange_data()
    {
        QTest::addColumn<qint64>("from");
        QTest::addColumn<qint64>("to");
        QTest::addColumn<QStringList>("found");
        QTest::addRow("all") << qint64(1000) << qint64(3000)
                             << texts({"1000: T=1", "2000: T=2", "3000: T=3"});
        QTest::addRow("one moment") << qint64(2000) << qint64(2000) << texts({"2000: T=2"});
        QTest::addRow("a millisecond short of both")
            << qint64(1001) << qint64(2999) << texts({"2000: T=2"});
        QTest::addRow("none between") << qint64(1001) << qint64(1999) << QStringList();
        QTest::addRow("ends crossed") << qint64(3000) << qint64(1000) << QStringList();
    }

    void includesBothEndsOfTheRange()
    {
        QFETCH(qint64, from);
        QFETCH(qint64, to);
        QFETCH(QStringList, found);
        for (int step = 1; step <= 3; ++step) {
            addMeasurement(1000 * step, {valid("T", step)});
        }
        QCOMPARE(textOf(store().measurements(at(from), at(to), 1)), found);
    }

    void comparesTimesInUtc_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addRow("UTC") << QByteArray("UTC");
        QTest::addRow("quarter hours") << QByteArray("Asia/Kathmandu");
        QTest::addRow("summer time") << QByteArray("Europe/Helsinki");
        QTest::addRow("west") << QByteArray("America/New_York");
    }

    void comparesTimesInUtc()
    {
        QFETCH(QByteArray, zone);
        const TimeZoneScope scope(zone.constData());
        const QDateTime noon(QDate(2023, 7, 1), QTime(12, 0), Qt::UTC);
        unsigned id = 0;
        QVERIFY(store().addMeasurement(1, {MeasurementState::Ready, noon.toLocalTime()}, id));
        QCOMPARE(m_fixture->rows("select timestamp from measurement_metadata"),
                 texts({"1688212800000"}));
        for (const QDateTime &time : {noon, noon.toLocalTime(), noon.toOffsetFromUtc(-3600),
                                      noon.toTimeZone(QTimeZone("Asia/Kathmandu"))}) {
            const auto found = store().measurements(time, time, 1);
            QCOMPARE(found.size(), 1);
            QCOMPARE(found.at(0).timestamp, noon);
            QCOMPARE(found.at(0).timestamp.timeZone(), QTimeZone::utc());
            QVERIFY(store().measurements(time.addMSecs(1), time.addSecs(7200), 1).isEmpty());
        }
    }

    void distinguishesTheRepeatedHour()
    {
        const TimeZoneScope scope("Europe/Helsinki");
        const QDateTime first(QDate(2023, 10, 29), QTime(0, 30), Qt::UTC);
        const QDateTime second = first.addSecs(3600);
        // The same local time.
        QCOMPARE(first.toLocalTime().time(), second.toLocalTime().time());
        unsigned id = 0;
        QVERIFY(store().addMeasurement(1, {MeasurementState::Ready, first.toLocalTime()}, id));
        QVERIFY(store().addMeasurement(1, {MeasurementState::Ready, second.toLocalTime()}, id));
        const auto found = store().measurements(second.toLocalTime(), second.toLocalTime(), 1);
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.at(0).timestamp, second);
    }

    void returnsMeasurementsInTheOrderOfStoring()
    {
        for (const int time : {3000, 1000, 2000}) {
            addMeasurement(time, {valid("T", time)});
        }
        QCOMPARE(textOf(store().measurements(at(0), at(9000), 1)),
                 texts({"3000: T=3000", "1000: T=1000", "2000: T=2000"}));

        // Also where an index lets the engine deliver them by time.
        m_fixture->rows("create index by_time on measurement_metadata(device_id, timestamp)");
        QCOMPARE(textOf(store().measurements(at(0), at(9000), 1)),
                 texts({"3000: T=3000", "1000: T=1000", "2000: T=2000"}));
    }

    void returnsOnlyTheDeviceAskedFor()
    {
        addMeasurement(1000, {valid("T", 1.0)}, 1);
        addMeasurement(1000, {valid("T", 2.0)}, 2);
        QCOMPARE(textOf(store().measurements(at(0), at(9000), 2)), texts({"1000: T=2"}));
        QVERIFY(store().measurements(at(0), at(9000), 3).isEmpty());
    }

    void keepsMeasurementsWithMissingValues()
    {
        addMeasurement(1, {valid("T", 1.0), valid("H", 2.0)});
        addMeasurement(2, {notAvailable("T"), valid("H", 3.0)});
        addMeasurement(3, {});
        addMeasurement(4, {valid("T", 4.0), notAvailable("H")});
        QCOMPARE(textOf(store().measurements(at(0), at(9), 1)),
                 texts({"1: T=1 H=2", "2: H=3", "3: ", "4: T=4"}));
    }

    void keepsTheOrderOfValues()
    {
        // Neither by name nor by type, but as they were stored.
        addMeasurement(1, {valid("c", 1.0), valid("a", 2.0), valid("b", 3.0)});
        addMeasurement(2, {valid("b", 4.0), valid("c", 5.0), valid("a", 6.0)});
        QCOMPARE(textOf(store().measurements(at(0), at(9), 1)),
                 texts({"1: c=1 a=2 b=3", "2: b=4 c=5 a=6"}));
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
        const auto found = store().measurements(at(0), at(count), 1);
        QCOMPARE(found.size(), count - 17);
        for (const StoredMeasurement &measurement : found) {
            const int index = int(measurement.timestamp.toMSecsSinceEpoch());
            QCOMPARE(textOf(measurement.values),
                     QStringLiteral("T=%1 T=%2 T=%3")
                         .arg(100 + index)
                         .arg(index - 100)
                         .arg(700 + index));
        }
    }

    void dropsValuesWithoutAType()
    {
        addMeasurement(1, {valid("T", 1.0), valid("H", 2.0)});
        m_fixture->rows("delete from measurement_type where name = 'T'");
        QCOMPARE(textOf(store().measurements(at(0), at(9), 1)), texts({"1: H=2"}));
    }

    void sharesEqualNames()
    {
        addMeasurement(1, {valid("T", 1.0), valid("H", 2.0)});
        addMeasurement(2, {valid("T", 3.0), valid("H", 4.0)});
        const auto found = store().measurements(at(0), at(9), 1);
        QCOMPARE(found.size(), 2);
        for (int index = 0; index < 2; ++index) {
            QVERIFY(found.at(0).values.at(index).name.constData()
                    == found.at(1).values.at(index).name.constData());
        }
    }

    void dropsValuesOfAMeasurementThatWasNotThere()
    {
        // A view with different rows in each query simulates rows that arrive between the two
        // queries. With so many readings the last rows are among them.
        constexpr int count = 20;
        constexpr int readings = 100;
        for (int index = 1; index <= count; ++index) {
            addMeasurement(index, {valid("T", index)});
        }
        m_fixture->rows("alter table measurement_metadata rename to kept");
        m_fixture->rows("create view measurement_metadata as select * from kept "
                        "where abs(random()) % 2 = 0");

        QSet<QString> caughtIds;
        for (int reading = 0; reading < readings; ++reading) {
            readFlickeringMeasurements(count, caughtIds);
        }
        QVERIFY(caughtIds.contains(QStringLiteral("1")));
        QVERIFY(caughtIds.contains(QString::number(count)));
    }

    void isNotDisturbedByADecimalComma()
    {
        const QLocale before;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        addMeasurement(1, {valid("T", 1234.5)});
        const auto found = store().measurements(at(0), at(9), 1);
        QLocale::setDefault(before);
        QCOMPARE(m_fixture->rows("select value * 2 from measurement_value"), texts({"2469"}));
        QCOMPARE(found.at(0).values.at(0).value, 1234.5);
    }

private:
    LocalStorageSqlite &store() { return m_fixture->store(); }

    unsigned addDevice(const char *serial)
    {
        unsigned id = largestId;
        return store().addDevice(device(serial), id) ? id : largestId;
    }

    unsigned addMeasurement(qint64 milliseconds, const QVector<MeasurementValue> &values,
                            unsigned deviceId = 1)
    {
        unsigned id = largestId;
        if (store().addMeasurement(deviceId, {MeasurementState::Ready, at(milliseconds)}, id)) {
            store().addMeasurementValues(id, values);
        }
        return id;
    }

    /// Adds the ids of the values that were dropped, and checks that all others are where they
    /// belong.
    void readFlickeringMeasurements(int count, QSet<QString> &caughtIds)
    {
        caughtDebugLines.clear();
        const QtMessageHandler before = qInstallMessageHandler(catchDebugLine);
        const auto found = store().measurements(at(0), at(count), 1);
        qInstallMessageHandler(before);

        QSet<QString> foundIds;
        for (const StoredMeasurement &measurement : found) {
            const qint64 id = measurement.timestamp.toMSecsSinceEpoch();
            foundIds.insert(QString::number(id));
            if (!measurement.values.isEmpty()) {
                QCOMPARE(textOf(measurement.values), QStringLiteral("T=%1").arg(id));
            }
        }
        const QRegularExpression line(QStringLiteral("^Metadata ([0-9]+) not found!$"));
        for (const QString &caught : qAsConst(caughtDebugLines)) {
            const QRegularExpressionMatch match = line.match(caught);
            QVERIFY2(match.hasMatch(), qPrintable(caught));
            QVERIFY(!foundIds.contains(match.captured(1)));
            caughtIds.insert(match.captured(1));
        }
    }

    QScopedPointer<SqliteStoreFixture> m_fixture;
};

KV_TEST_CORE_MAIN(TestLocalStorageSqlite)
#include "tst_localstoragesqlite.moc"
