// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/localstoragehandler.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/testmain.h"

#include <limits>

namespace {

constexpr unsigned noId = std::numeric_limits<unsigned>::max();

DeviceDetails device(const char *serial)
{
    return {QStringLiteral("1.2"), QStringLiteral("A"), QString::fromLatin1(serial),
            QStringLiteral("M1")};
}

MeasurementMetadata metadataAt(qint64 seconds)
{
    return {MeasurementState::NotStabilized, QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC)};
}

void expectDevice(unsigned id, const char *serial)
{
    const QString line = QStringLiteral("void LocalStorageHandler::setDevice(const DeviceDetails&) "
                                        "Device database id is %1 current device \"%2\"")
                             .arg(id)
                             .arg(QString::fromLatin1(serial));
    QTest::ignoreMessage(QtDebugMsg, line.toLatin1().constData());
}

void expectWarning(const char *words)
{
    QTest::ignoreMessage(QtWarningMsg, words);
}

} // namespace

class TestLocalStorageHandler : public QObject
{
    Q_OBJECT

private slots:
    void opensTheStore_data()
    {
        QTest::addColumn<bool>("result");
        QTest::addRow("opened") << true;
        QTest::addRow("refused") << false;
    }

    void opensTheStore()
    {
        QFETCH(bool, result);
        FakeLocalStorage store;
        store.openResult = result;
        LocalStorageHandler handler(&store);
        QCOMPARE(handler.open(QStringLiteral("/a/measurements.db")), result);
        QCOMPARE(store.openedPaths, QStringList{QStringLiteral("/a/measurements.db")});
        QCOMPARE(store.calls, QStringList{QStringLiteral("open")});
    }

    void forwardsMeasurements()
    {
        FakeLocalStorage store;
        store.measurementsResult.resize(2);
        store.measurementsResult[1].state = MeasurementState::HardwareError;
        LocalStorageHandler handler(&store);
        const QDateTime from = QDateTime::fromSecsSinceEpoch(10, Qt::UTC);
        const QDateTime to = QDateTime::fromSecsSinceEpoch(20, Qt::UTC);

        // Measurements of any device can be read, also before one is connected.
        const QVector<StoredMeasurement> found = handler.measurements(from, to, 7);

        QCOMPARE(found.size(), 2);
        QCOMPARE(found.at(1).state, MeasurementState::HardwareError);
        QCOMPARE(store.measurementsAsks.size(), 1);
        QCOMPARE(store.measurementsAsks.at(0).from, from);
        QCOMPARE(store.measurementsAsks.at(0).to, to);
        QCOMPARE(store.measurementsAsks.at(0).deviceId, 7U);
    }

    void registersTheDevice()
    {
        FakeLocalStorage store;
        store.addDeviceId = 12;
        LocalStorageHandler handler(&store);
        expectDevice(12, "S1");
        handler.setDevice(device("S1"));
        QVERIFY(handler.hasDevice());
        QCOMPARE(store.calls, QStringList{QStringLiteral("addDevice")});
        QCOMPARE(store.addedDevices.at(0).serialNumber, QStringLiteral("S1"));
        QCOMPARE(store.addedDevices.at(0).modelNumber, QStringLiteral("M1"));
        QCOMPARE(store.addedDevices.at(0).swVersion, QStringLiteral("1.2"));
        QCOMPARE(store.addedDevices.at(0).hwVersion, QStringLiteral("A"));
    }

    void dropsAMeasurementBeforeTheDeviceIsKnown()
    {
        FakeLocalStorage store;
        LocalStorageHandler handler(&store);
        QVERIFY(!handler.hasDevice());
        QCOMPARE(handler.localStorage(), &store);
        expectWarning("Device details not set yet, can't add measurements yet");
        handler.addMeasurements(metadataAt(1), {{QStringLiteral("T"), true, 1.0}});
        QCOMPARE(store.calls, QStringList());

        // Dropped, not queued.
        expectDevice(1, "S1");
        handler.setDevice(device("S1"));
        QCOMPARE(store.calls, QStringList{QStringLiteral("addDevice")});
    }

    void storesAMeasurementUnderTheDevice()
    {
        FakeLocalStorage store;
        store.addDeviceId = 3;
        store.addMeasurementId = 44;
        LocalStorageHandler handler(&store);
        expectDevice(3, "S1");
        handler.setDevice(device("S1"));
        store.calls.clear();

        handler.addMeasurements(
            metadataAt(1), {{QStringLiteral("T"), true, 1.5}, {QStringLiteral("H"), false, 0.0}});

        QCOMPARE(store.calls,
                 (QStringList{QStringLiteral("addMeasurement"),
                              QStringLiteral("addMeasurementValues")}));
        const auto &added = store.addedMeasurements.at(0);
        QCOMPARE(added.deviceId, 3U);
        QCOMPARE(added.metadata.state, MeasurementState::NotStabilized);
        QCOMPARE(added.metadata.timestamp, metadataAt(1).timestamp);
        QCOMPARE(added.idBefore, noId);
        const auto &values = store.addedValues.at(0);
        QCOMPARE(values.measurementId, 44U);
        // Values that are not available are passed unchanged; the store skips them.
        QCOMPARE(values.values.size(), 2);
        QCOMPARE(values.values.at(0).name, QStringLiteral("T"));
        QCOMPARE(values.values.at(0).value, 1.5);
        QVERIFY(values.values.at(0).valid);
        QCOMPARE(values.values.at(1).name, QStringLiteral("H"));
        QVERIFY(!values.values.at(1).valid);

        handler.addMeasurements(metadataAt(2), {});
        QCOMPARE(store.addedMeasurements.size(), 2);
        QVERIFY(store.addedValues.at(1).values.isEmpty());
    }

    void storesNoValuesWithoutTheirMeasurement()
    {
        FakeLocalStorage store;
        store.addMeasurementResult = false;
        LocalStorageHandler handler(&store);
        expectDevice(1, "S1");
        handler.setDevice(device("S1"));
        for (int reply = 1; reply <= 2; ++reply) {
            expectWarning("Failed to add measurements to local database");
            handler.addMeasurements(metadataAt(reply), {{QStringLiteral("T"), true, 1.0}});
            // The next reply is stored nevertheless.
            QCOMPARE(store.count(QStringLiteral("addMeasurement")), reply);
        }
        QCOMPARE(store.count(QStringLiteral("addMeasurementValues")), 0);
    }

    void followsAChangeOfDevice()
    {
        FakeLocalStorage store;
        LocalStorageHandler handler(&store);
        const struct
        {
            const char *serial;
            unsigned id;
        } devices[] = {{"S1", 5}, {"S2", 0}, {"S1", 5}};
        for (const auto &connected : devices) {
            store.addDeviceId = connected.id;
            expectDevice(connected.id, connected.serial);
            handler.setDevice(device(connected.serial));
            handler.addMeasurements(metadataAt(1), {});
            QCOMPARE(store.addedMeasurements.last().deviceId, connected.id);
        }
    }

    void hasNoDeviceWhenAddingFails()
    {
        FakeLocalStorage store;
        LocalStorageHandler handler(&store);
        expectDevice(1, "S1");
        handler.setDevice(device("S1"));

        store.addDeviceResult = false;
        store.addDeviceWritesId = false;
        expectWarning("Failed to add device to local database");
        expectDevice(noId, "S2");
        handler.setDevice(device("S2"));

        // Nothing of S2 is stored as S1's.
        QVERIFY(!handler.hasDevice());
        for (int reply = 0; reply < 2; ++reply) {
            expectWarning("Device details not set yet, can't add measurements yet");
            handler.addMeasurements(metadataAt(reply), {{QStringLiteral("T"), true, 1.0}});
        }
        QCOMPARE(store.count(QStringLiteral("addMeasurement")), 0);
    }

    void keepsTheIdThatAFailingStoreWrote()
    {
        FakeLocalStorage store;
        store.addDeviceResult = false;
        store.addDeviceId = 9;
        LocalStorageHandler handler(&store);
        expectWarning("Failed to add device to local database");
        expectDevice(9, "S1");
        handler.setDevice(device("S1"));
        QVERIFY(handler.hasDevice());
    }

    void startsEachRegistrationFromNoId()
    {
        FakeLocalStorage store;
        LocalStorageHandler handler(&store);
        expectDevice(1, "S1");
        handler.setDevice(device("S1"));
        // A store that succeeds without an id does not keep that of the previous device.
        store.addDeviceWritesId = false;
        expectDevice(noId, "S2");
        handler.setDevice(device("S2"));
        QVERIFY(!handler.hasDevice());
    }
};

KV_TEST_CORE_MAIN(TestLocalStorageHandler)
#include "tst_localstoragehandler.moc"
