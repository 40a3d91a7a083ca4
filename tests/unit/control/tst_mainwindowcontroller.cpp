// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/control/controllerfixture.h"

#include <QtCore/QAbstractEventDispatcher>

using Value = SerialPortValueType;

namespace {

/// Whether such a single-shot timer is registered in the event dispatcher.
bool singleShotIsPending(int intervalMs, Qt::TimerType type)
{
    auto *const dispatcher = QAbstractEventDispatcher::instance();
    for (QObject *child : dispatcher->children()) {
        for (const auto &timer : dispatcher->registeredTimers(child)) {
            if (timer.interval == intervalMs && timer.timerType == type) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

class TestMainWindowController : public QObject
{
    Q_OBJECT

private slots:
    // Connecting.
    void emptyPortNameDoesNothing()
    {
        ControllerFixture f;
        f.start();
        f.handler.currentPortName.clear();
        QTest::ignoreMessage(QtDebugMsg, "Unable to connect with empty port name");
        emit f.window.connectClicked(QString());
        QVERIFY(f.handler.calls.isEmpty());
        QVERIFY(f.window.calls.isEmpty());
    }

    void newPortNameMakesATransport()
    {
        ControllerFixture f;
        f.start();
        emit f.window.connectClicked(text("/dev/ttyNEW"));
        QCOMPARE(f.handler.calls, texts({"setSerialPort", "connectToDevice"}));
        QCOMPARE(f.handler.transport->portName(), text("ttyNEW"));
        QVERIFY(!f.handler.transport->isOpen());
        QVERIFY(f.window.calls.isEmpty());
    }

    void samePortNameUsesTheSameTransport()
    {
        ControllerFixture f;
        f.start();
        QTest::ignoreMessage(QtDebugMsg, "Port already opened, trying again to read sw version");
        emit f.window.connectClicked(text("ttyOLD"));
        QCOMPARE(f.handler.calls, texts({"connectToDevice"}));
    }

    void connectedAsksForEverythingInOrder()
    {
        ControllerFixture f;
        f.start();
        f.window.names = texts({"one", "two"});
        f.settings.interleaved = &f.handler.calls;
        emit f.handler.connected();
        QCOMPARE(f.handler.calls,
                 texts({"setValue debug=0", "readModel",
                        "readValues hwver swver serial model meas_state health one two", "readDate",
                        "setting serial port"}));
        QCOMPARE(f.settings.values[text("serial port")].toString(), text("ttyOLD"));
        QVERIFY(f.window.calls.isEmpty());
    }

    void failedConnectLeavesTheRememberedPort()
    {
        ControllerFixture f;
        f.start();
        emit f.window.connectClicked(text("/dev/ttyNEW"));
        emit f.handler.error(text("Unable to open port!"));
        QVERIFY(f.settings.writes.isEmpty());
    }

    void knownModelBecomesTheCurrentModel()
    {
        ControllerFixture f;
        f.start();
        QTest::ignoreMessage(QtDebugMsg, "Got model: \"KVT-2\"");
        emit f.handler.valueRead(Value::ValueDeviceModel, text("KVT-2"));
        QCOMPARE(f.window.calls, texts({"setMeasurementItems", "setConfiguration"}));
        QCOMPARE(f.window.configuration.configurationItems.first().alias, text("two"));
        QCOMPARE(f.window.items.first().name, text("T"));
    }

    void modelInAnotherCaseIsNotSupported()
    {
        ControllerFixture f;
        f.connectDevice();
        QTest::ignoreMessage(QtDebugMsg, "Got model: \"kvt-1\"");
        QTest::ignoreMessage(QtDebugMsg,
                             "Model not supported, supported models are: (\"KVT-1\", \"KVT-2\")");
        emit f.handler.valueRead(Value::ValueDeviceModel, text("kvt-1"));
        QCOMPARE(f.window.calls,
                 texts({"Critical Device kvt-1 not supported. Please update "
                        "KV Tool."}));
        QVERIFY(f.handler.calls.isEmpty());
        QCOMPARE(f.window.configuration.configurationItems.first().alias, text("one"));
    }

    void identityGoesToTheWindowAndTheStore()
    {
        ControllerFixture f;
        f.start();
        emit f.handler.connected();
        emit f.handler.dataRead(text("hwver"), text("H1"));
        emit f.handler.dataRead(text("swver"), text("S1"));
        emit f.handler.dataRead(text("serial"), text("N1"));
        emit f.handler.dataRead(text("model"), text("M1"));
        QCOMPARE(f.window.calls,
                 texts({"setHwVersion H1", "setSwVersion S1", "setSerialNumber N1",
                        "setModelNumber M1"}));
        emit f.handler.allJobsDone();
        QCOMPARE(f.storage.addedDevices.size(), 1);
        const DeviceDetails device = f.storage.addedDevices.first();
        QCOMPARE(device.hwVersion, text("H1"));
        QCOMPARE(device.swVersion, text("S1"));
        QCOMPARE(device.serialNumber, text("N1"));
        QCOMPARE(device.modelNumber, text("M1"));
    }

    void otherNamesAreSettings()
    {
        ControllerFixture f;
        f.start();
        emit f.handler.dataRead(text("one"), text("7"));
        emit f.handler.dataRead(text("Health"), text("7"));
        QCOMPARE(f.window.calls,
                 texts({"setConfigurationValue one=7", "setConfigurationValue Health=7"}));
    }

    void healthIsBounded_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<int>("shown");
        QTest::addRow("percent") << text("98%") << 98;
        QTest::addRow("plain") << text("0") << 0;
        QTest::addRow("above") << text("135%") << 100;
        QTest::addRow("below") << text("-5%") << 0;
        QTest::addRow("many signs") << text("%4%2%") << 42;
        QTest::addRow("no number") << text("good") << 0;
        QTest::addRow("sign alone") << text("%") << 0;
        QTest::addRow("empty") << text("") << -1;
        QTest::addRow("unknown to the device") << QString() << -1;
    }

    void healthIsBounded()
    {
        QFETCH(QString, reply);
        QFETCH(int, shown);
        ControllerFixture f;
        f.start();
        emit f.handler.dataRead(text("health"), reply);
        QCOMPARE(f.window.calls, QStringList(text("setHealth %1").arg(shown)));
    }

    void stateGoesToTheWindow_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<int>("state");
        QTest::addRow("0") << text("0") << 0;
        QTest::addRow("1") << text("1") << 1;
        QTest::addRow("2") << text("2") << 2;
        QTest::addRow("3") << text("3") << 3;
        QTest::addRow("4") << text("4") << 4;
        QTest::addRow("5") << text("5") << 0;
        QTest::addRow("negative") << text("-1") << 0;
        QTest::addRow("word") << text("ready") << 0;
        QTest::addRow("unknown to the device") << QString() << 0;
    }

    void stateGoesToTheWindow()
    {
        QFETCH(QString, reply);
        QFETCH(int, state);
        ControllerFixture f;
        f.start();
        emit f.handler.dataRead(text("meas_state"), reply);
        QCOMPARE(f.window.calls, QStringList(text("setMeasurementState %1").arg(state)));
    }

    void availabilityIsPolledWhileTheDeviceIsNotReady()
    {
        ControllerFixture f;
        f.start();
        f.controller.setMeasurementAvailabilityInterval(1);
        QSignalSpy polls(&f.controller, &MainWindowController::measurementAvailabilityPollStarted);
        emit f.handler.dataRead(text("meas_state"), text("3"));
        QTRY_VERIFY(polls.size() >= 2);
        QCOMPARE(f.handler.calls.first(), text("readValue meas_state"));

        emit f.handler.dataRead(text("meas_state"), text("1"));
        const int pollsWhenReady = polls.size();
        QVERIFY(!polls.wait(50));
        QCOMPARE(polls.size(), pollsWhenReady);
    }

    void eachNotReadyReplyStartsTheWaitAnew()
    {
        ControllerFixture f;
        f.start();
        emit f.handler.dataRead(text("meas_state"), text("not a number"));
        QCOMPARE(f.timerIntervals(), QList<int>({300000}));
        // A shorter wait, as the event loop rounds long ones.
        f.controller.setMeasurementAvailabilityInterval(10000);
        QTimer *const timer = f.runningTimer();
        QTRY_VERIFY(timer->remainingTime() < 9500);
        emit f.handler.dataRead(text("meas_state"), text("2"));
        QVERIFY(timer->remainingTime() > 9500);
    }

    void readyDoesNotChangeTheMeasurementTimer()
    {
        ControllerFixture f;
        QVERIFY(f.timerIntervals().isEmpty());
        f.start();
        emit f.handler.dataRead(text("meas_state"), text("1"));
        QVERIFY(f.timerIntervals().isEmpty());
        f.connectDevice();
        emit f.handler.dataRead(text("meas_state"), text("0"));
        QCOMPARE(f.timerIntervals(), QList<int>({60000, 300000}));

        // A shorter wait, as the event loop rounds long ones.
        f.controller.setMeasurementInterval(10000);
        QTimer *const timer = f.runningTimer();
        QTRY_VERIFY(timer->remainingTime() < 9500);
        emit f.handler.dataRead(text("meas_state"), text("1"));
        QVERIFY(timer->remainingTime() < 9500);
        QCOMPARE(f.timerIntervals(), QList<int>({10000}));
    }

    void clockReplyStartsTheClockAndClosesTheDialog()
    {
        ControllerFixture f;
        f.start();
        const QDateTime time(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
        emit f.handler.valueRead(Value::ValueDeviceDate, time);
        QCOMPARE(f.window.calls,
                 texts({"setDeviceClock 2026-01-02T03:04:05Z", "setDeviceClockRunning 1",
                        "closeWaitDialog"}));
    }

    void missingLogOptionClosesTheDialogAndWarns()
    {
        ControllerFixture f;
        f.start();
        emit f.handler.valueRead(Value::ValueLogOption, false);
        QCOMPARE(f.window.calls,
                 texts({"closeWaitDialog",
                        "Warning No LOG option installed to device, unable to read or clear "
                        "log."}));
    }

    void presentLogOptionAndLogCountDoNothing()
    {
        ControllerFixture f;
        f.start();
        emit f.handler.valueRead(Value::ValueLogOption, true);
        emit f.handler.valueRead(Value::ValueLogCount, 3);
        QVERIFY(f.window.calls.isEmpty());
        QVERIFY(f.handler.calls.isEmpty());
    }

    void endOfTheFirstReadsStartsPolling()
    {
        ControllerFixture f;
        f.start();
        emit f.handler.connected();
        f.forget();
        QStringList order;
        QObject::connect(&f.controller, &MainWindowController::measurementPollStarted,
                         [&] { order = f.window.calls + f.handler.calls + f.storage.calls; });
        emit f.handler.allJobsDone();
        // At the first poll the window is connected and the store has not been called.
        QCOMPARE(order, texts({"setConnected 1", "readMeasurements"}));
        QCOMPARE(f.storage.calls, texts({"addDevice"}));
    }

    void editsAreSentOnceTheWindowIsConnected()
    {
        ControllerFixture f;
        f.start();
        emit f.handler.connected();
        f.forget();
        f.window.onCall = [&f](const QString &) {
            emit f.window.valueChanged(text("one"), text("5"));
        };
        emit f.handler.allJobsDone();
        QCOMPARE(f.handler.calls, texts({"setValue one=5", "readMeasurements"}));
    }

    void laterEndsOfJobsAreIgnored()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.handler.allJobsDone();
        QVERIFY(f.window.calls.isEmpty());
        QVERIFY(f.handler.calls.isEmpty());
        QVERIFY(f.storage.calls.isEmpty());
    }

    // Measuring.
    void measurementTimerPolls()
    {
        ControllerFixture f;
        f.start();
        f.controller.setMeasurementInterval(1);
        QSignalSpy polls(&f.controller, &MainWindowController::measurementPollStarted);
        QVERIFY(!polls.wait(20));
        emit f.handler.connected();
        f.forget();
        emit f.handler.allJobsDone();
        QCOMPARE(polls.size(), 1);
        QTRY_VERIFY(polls.size() >= 3);
        QCOMPARE(f.handler.calls.count(text("readMeasurements")), polls.size());

        f.controller.stopMeasurementPolling();
        const int pollsWhenStopped = polls.size();
        QVERIFY(!polls.wait(50));
        QCOMPARE(polls.size(), pollsWhenStopped);
    }

    void measurementGoesToTheWindowThenToTheStore()
    {
        ControllerFixture f;
        f.storage.addDeviceId = 7;
        f.storage.addMeasurementId = 70;
        f.connectDevice();
        const QDateTime time(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
        f.window.onCall = [&f](const QString &) { QVERIFY(f.storage.calls.isEmpty()); };
        emit f.handler.measurementsRead(
            time, {{text("T"), text("21.5")}, {text("O3"), text("N")}, {text("RH"), text("40")}});
        QCOMPARE(f.window.calls, texts({"addMeasurement"}));
        QCOMPARE(f.window.metadata.timestamp, time);
        QCOMPARE(f.window.metadata.state, MeasurementState::Ready);
        QCOMPARE(f.window.values.size(), 3);
        QCOMPARE(f.window.values.at(0).name, text("O3"));
        QCOMPARE(f.window.values.at(0).valid, false);
        QCOMPARE(f.window.values.at(0).value, 0.0);
        QCOMPARE(f.window.values.at(1).name, text("RH"));
        QCOMPARE(f.window.values.at(2).value, 21.5);
        QCOMPARE(f.storage.calls, texts({"addMeasurement", "addMeasurementValues"}));
        QCOMPARE(f.storage.addedMeasurements.last().deviceId, 7U);
        QCOMPARE(f.storage.addedMeasurements.last().metadata.timestamp, time);
        QCOMPARE(f.storage.addedValues.last().measurementId, 70U);
        QCOMPARE(f.storage.addedValues.last().values.size(), 3);
    }

    void measurementCarriesTheStateOfItsMoment()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.handler.dataRead(text("meas_state"), text("4"));
        emit f.handler.measurementsRead(QDateTime::currentDateTimeUtc(), {{text("T"), text("1")}});
        QCOMPARE(f.window.metadata.state, MeasurementState::HardwareError);
        QCOMPARE(f.storage.addedMeasurements.last().metadata.state,
                 MeasurementState::HardwareError);
    }

    void notAvailableIsExactlyTheLetterN_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<double>("value");
        QTest::addRow("N") << text("N") << false << 0.0;
        QTest::addRow("n") << text("n") << true << 0.0;
        QTest::addRow("NA") << text("NA") << true << 0.0;
        QTest::addRow("empty") << text("") << true << 0.0;
        QTest::addRow("zero") << text("0") << true << 0.0;
        QTest::addRow("negative") << text("-1.5e2") << true << -150.0;
    }

    void notAvailableIsExactlyTheLetterN()
    {
        QFETCH(QString, reply);
        QFETCH(bool, valid);
        QFETCH(double, value);
        ControllerFixture f;
        f.connectDevice();
        emit f.handler.measurementsRead(QDateTime::currentDateTimeUtc(), {{text("T"), reply}});
        QCOMPARE(f.window.values.first().valid, valid);
        QCOMPARE(f.window.values.first().value, value);
    }

    void measurementBeforeTheDeviceIsKnownIsShownOnly()
    {
        ControllerFixture f;
        f.start();
        QTest::ignoreMessage(QtWarningMsg,
                             "Device details not set yet, can't add measurements yet");
        emit f.handler.measurementsRead(QDateTime::currentDateTimeUtc(), {{text("T"), text("1")}});
        QCOMPARE(f.window.calls, texts({"addMeasurement"}));
        QVERIFY(f.storage.calls.isEmpty());
    }

    // Disconnecting.
    void disconnectKeepsItsOrderAndDelay()
    {
        ControllerFixture f;
        f.connectDevice();
        QSignalSpy polls(&f.controller, &MainWindowController::measurementPollStarted);
        f.controller.setMeasurementInterval(1);
        QList<int> intervalsDuringFirstCall{-1};
        f.window.onCall = [&](const QString &call) {
            if (call == text("setDeviceClockRunning 0")) {
                intervalsDuringFirstCall = f.timerIntervals();
            }
        };
        emit f.window.disconnectClicked();
        QVERIFY(intervalsDuringFirstCall.isEmpty());
        QCOMPARE(f.window.calls, texts({"setDeviceClockRunning 0", "setConnected 0"}));
        QVERIFY(f.handler.calls.isEmpty());
        QVERIFY(singleShotIsPending(100, Qt::CoarseTimer));
        f.window.interleaved = &f.handler.calls;
        QTRY_COMPARE(f.handler.calls, texts({"setConnectEnabled 1", "disconnectFromDevice"}));
        QVERIFY(polls.isEmpty());

        // The identity was cleared with the connection.
        emit f.window.showGraphClicked();
        QVERIFY(f.window.device.serialNumber.isEmpty());
    }

    void disconnectDuringTheReadsLeavesSynchronizingOn()
    {
        ControllerFixture f;
        f.start();
        emit f.handler.connected();
        emit f.window.disconnectClicked();
        f.forget();
        emit f.window.valueChanged(text("one"), text("3"));
        QVERIFY(f.handler.calls.isEmpty());

        emit f.handler.connected();
        emit f.handler.allJobsDone();
        f.forget();
        emit f.window.valueChanged(text("one"), text("3"));
        QCOMPARE(f.handler.calls, texts({"setValue one=3"}));
    }

    void disconnectLeavesTheAvailabilityTimerRunning()
    {
        ControllerFixture f;
        f.connectDevice();
        f.controller.setMeasurementAvailabilityInterval(1);
        QSignalSpy polls(&f.controller, &MainWindowController::measurementAvailabilityPollStarted);
        emit f.handler.dataRead(text("meas_state"), text("0"));
        emit f.window.disconnectClicked();
        QTRY_VERIFY(f.handler.calls.contains(text("disconnectFromDevice")));
        const int pollsAtDisconnect = polls.size();
        QTRY_VERIFY(polls.size() > pollsAtDisconnect);
    }

    // Small operations.
    void intervalsAndDetailsCanBeSet()
    {
        ControllerFixture f;
        f.connectDevice();
        f.controller.clearDeviceDetails();
        emit f.window.showGraphClicked();
        QVERIFY(f.window.device.serialNumber.isEmpty());

        f.controller.setSynchronizing(true);
        emit f.window.valueChanged(text("one"), text("3"));
        QVERIFY(f.handler.calls.isEmpty());
        f.controller.setSynchronizing(false);
        emit f.window.valueChanged(text("one"), text("3"));
        QCOMPARE(f.handler.calls, texts({"setValue one=3"}));
    }
};

KV_TEST_MAIN(TestMainWindowController)
#include "tst_mainwindowcontroller.moc"
