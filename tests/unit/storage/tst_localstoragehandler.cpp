// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/localstoragehandler.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"

#include <limits>

namespace {

constexpr unsigned noId = std::numeric_limits<unsigned>::max();
constexpr const char *noDeviceWarning = "Device details not set yet, can't add measurements yet";
const QDateTime timestamp(QDate(2024, 3, 1), QTime(12, 0), Qt::UTC);
const MeasurementMetadata metadata{MeasurementState::NotStabilized, timestamp};
const QVector<MeasurementValue> values{{text("T"), true, 1.5}, {text("H"), false, 0.0}};

/// Sets a device with the serial number @p serial and expects the debug message with the id @p id.
void setDevice(LocalStorageHandler &handler, const char *serial, unsigned id)
{
    const QString line = text("void LocalStorageHandler::setDevice(const DeviceDetails&) "
                              "Device database id is %1 current device \"%2\"");
    QTest::ignoreMessage(QtDebugMsg, line.arg(id).arg(text(serial)).toLatin1().constData());
    handler.setDevice({text("1.2"), text("A"), text(serial), text("M1")});
}

} // namespace

class TestLocalStorageHandler : public QObject
{
    Q_OBJECT

private slots:
    void opensTheStore()
    {
        for (const bool result : {true, false}) {
            FakeLocalStorage store;
            store.openResult = result;
            LocalStorageHandler handler(&store);
            QCOMPARE(handler.open(text("/a/measurements.db")), result);
            QCOMPARE(store.openedPaths, texts("/a/measurements.db"));
            QCOMPARE(store.calls, texts("open"));
        }
    }

    void forwardsQueriesOfMeasurements()
    {
        FakeLocalStorage store;
        store.measurementsResult.resize(2);
        store.measurementsResult[1].state = MeasurementState::HardwareError;
        LocalStorageHandler handler(&store);

        // Readings of any device can be queried, even before a device is set.
        const QVector<StoredMeasurement> found =
            handler.measurements(timestamp, timestamp.addSecs(10), 7);

        QCOMPARE(found.size(), 2);
        QCOMPARE(found.at(1).state, MeasurementState::HardwareError);
        QCOMPARE(store.measurementsCalls.size(), 1);
        QCOMPARE(store.measurementsCalls.at(0).from, timestamp);
        QCOMPARE(store.measurementsCalls.at(0).to, timestamp.addSecs(10));
        QCOMPARE(store.measurementsCalls.at(0).deviceId, 7U);
    }

    void addsTheDeviceToTheStore()
    {
        FakeLocalStorage store;
        LocalStorageHandler handler(&store);
        setDevice(handler, "S1", 1);
        QVERIFY(handler.hasDevice());
        QCOMPARE(store.calls, texts("addDevice"));
        QCOMPARE(store.addedDevices.at(0).serialNumber, text("S1"));
        QCOMPARE(store.addedDevices.at(0).modelNumber, text("M1"));
        QCOMPARE(store.addedDevices.at(0).swVersion, text("1.2"));
        QCOMPARE(store.addedDevices.at(0).hwVersion, text("A"));
    }

    void dropsReadingsBeforeADeviceIsSet()
    {
        FakeLocalStorage store;
        LocalStorageHandler handler(&store);
        QVERIFY(!handler.hasDevice());
        QCOMPARE(handler.localStorage(), &store);
        QTest::ignoreMessage(QtWarningMsg, noDeviceWarning);
        handler.addMeasurements(metadata, values);
        // Dropped, not queued.
        setDevice(handler, "S1", 1);
        QCOMPARE(store.calls, texts("addDevice"));
    }

    void storesReadingsUnderTheIdOfTheDevice()
    {
        FakeLocalStorage store;
        store.addDeviceId = 3;
        store.addMeasurementId = 44;
        LocalStorageHandler handler(&store);
        setDevice(handler, "S1", 3);
        handler.addMeasurements(metadata, values);

        QCOMPARE(store.calls, texts("addDevice|addMeasurement|addMeasurementValues"));
        const auto &added = store.addedMeasurements.at(0);
        QCOMPARE(added.deviceId, 3U);
        QCOMPARE(added.metadata.state, MeasurementState::NotStabilized);
        QCOMPARE(added.metadata.timestamp, timestamp);
        QCOMPARE(added.idPassedIn, noId);
        // Values that are not available are passed unchanged; the store skips them.
        const auto &passed = store.addedValues.at(0);
        QCOMPARE(passed.measurementId, 44U);
        QCOMPARE(passed.values.size(), 2);
        QCOMPARE(passed.values.at(0).name, text("T"));
        QCOMPARE(passed.values.at(0).value, 1.5);
        QVERIFY(passed.values.at(0).valid);
        QCOMPARE(passed.values.at(1).name, text("H"));
        QVERIFY(!passed.values.at(1).valid);

        handler.addMeasurements(metadata, {});
        QCOMPARE(store.addedMeasurements.size(), 2);
        QVERIFY(store.addedValues.at(1).values.isEmpty());
    }

    void storesNoValuesIfAddMeasurementFails()
    {
        FakeLocalStorage store;
        store.addMeasurementResult = false;
        LocalStorageHandler handler(&store);
        setDevice(handler, "S1", 1);
        for (int reading = 1; reading <= 2; ++reading) {
            QTest::ignoreMessage(QtWarningMsg, "Failed to add measurements to local database");
            handler.addMeasurements(metadata, values);
            // The next reading is still passed to the store.
            QCOMPARE(store.count(text("addMeasurement")), reading);
        }
        QCOMPARE(store.count(text("addMeasurementValues")), 0);
    }

    void usesIdOfLatestDevice()
    {
        FakeLocalStorage store;
        LocalStorageHandler handler(&store);
        const struct
        {
            const char *serial;
            unsigned id;
        } devices[] = {{"S1", 5}, {"S2", 0}, {"S1", 5}};
        for (const auto &device : devices) {
            store.addDeviceId = device.id;
            setDevice(handler, device.serial, device.id);
            handler.addMeasurements(metadata, {});
            QCOMPARE(store.addedMeasurements.last().deviceId, device.id);
        }
    }

    void hasNoDeviceIfAddDeviceSetsNoId()
    {
        for (const bool result : {false, true}) {
            FakeLocalStorage store;
            LocalStorageHandler handler(&store);
            setDevice(handler, "S1", 1);
            store.addDeviceWritesId = false;
            store.addDeviceResult = result;
            if (!result) {
                QTest::ignoreMessage(QtWarningMsg, "Failed to add device to local database");
            }
            setDevice(handler, "S2", noId);

            // No reading of S2 is stored under S1.
            QVERIFY(!handler.hasDevice());
            for (int reading = 0; reading < 2; ++reading) {
                QTest::ignoreMessage(QtWarningMsg, noDeviceWarning);
                handler.addMeasurements(metadata, values);
            }
            QCOMPARE(store.count(text("addMeasurement")), 0);
        }
    }

    void keepsIdSetByFailedAddDevice()
    {
        FakeLocalStorage store;
        store.addDeviceResult = false;
        store.addDeviceId = 9;
        LocalStorageHandler handler(&store);
        QTest::ignoreMessage(QtWarningMsg, "Failed to add device to local database");
        setDevice(handler, "S1", 9);
        QVERIFY(handler.hasDevice());
    }
};

KV_TEST_CORE_MAIN(TestLocalStorageHandler)
#include "tst_localstoragehandler.moc"
