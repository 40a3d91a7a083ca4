// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/control/controllerfixture.h"

#include <QtCore/QAbstractEventDispatcher>

using Action = SerialPortActionType;
using Reason = WaitDialogReason;
using Value = SerialPortValueType;

namespace {

const QDateTime deviceTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);

/// Whether a timer with this interval and type is registered in the event dispatcher.
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

/// Connecting, replies, polling, requests of the user and disconnecting; everything without files.
class TestMainWindowController : public QObject
{
    Q_OBJECT

private slots:
    void connectWithAnEmptyPortNameDoesNothing()
    {
        StartedController f;
        f.handler.currentPortName.clear();
        emit f.window.connectClicked(QString());
        QCOMPARE(f.takeCalls(), text("log Unable to connect with empty port name"));
    }

    void newPortNameCreatesATransport()
    {
        StartedController f;
        emit f.window.connectClicked(text("/dev/ttyNEW"));
        QCOMPARE(f.takeCalls(), text("setSerialPort ttyNEW|connectToDevice"));
        QVERIFY(!f.handler.transport->isOpen());
    }

    void samePortNameKeepsTheTransport()
    {
        StartedController f;
        emit f.window.connectClicked(text("ttyOLD"));
        QCOMPARE(f.takeCalls(),
                 text("log Port already opened, trying again to read sw version|connectToDevice"));
    }

    void connectedRequestsAllValuesInOrder()
    {
        StartedController f;
        f.window.names = texts("one|two");
        emit f.handler.connected();
        QCOMPARE(f.takeCalls(),
                 text("setValue debug=0|readModel|"
                      "readValues hwver swver serial model meas_state health one two|readDate|"
                      "setting serial port=ttyOLD"));
    }

    void errorIsShownAndChangesNothing()
    {
        ConnectedController f;
        emit f.handler.dataRead(text("meas_state"), text("0"));
        f.calls.clear();
        emit f.handler.error(text("Unable to open port!"));
        QCOMPARE(f.takeCalls(),
                 text("Critical Error occurred with serial port communication: Unable to open "
                      "port!"));
        QCOMPARE(f.timerIntervals(), QList<int>({60000, 300000}));
    }

    void knownModelBecomesTheCurrentModel()
    {
        StartedController f;
        emit f.handler.valueRead(Value::ValueDeviceModel, text("KVT-2"));
        QCOMPARE(f.takeCalls(),
                 text("log Got model: \"KVT-2\"|setMeasurementItems|setConfiguration"));
        QCOMPARE(f.window.configuration.configurationItems.first().alias, text("two"));
        QCOMPARE(f.window.items.first().name, text("T"));
    }

    void modelInAnotherCaseIsNotSupported()
    {
        ConnectedController f;
        emit f.handler.valueRead(Value::ValueDeviceModel, text("kvt-1"));
        QCOMPARE(f.takeCalls(),
                 text("log Got model: \"kvt-1\"|"
                      "Critical Device kvt-1 not supported. Please update KV Tool.|"
                      "log Model not supported, supported models are: (\"KVT-1\", \"KVT-2\")"));
    }

    void handlesRepliesWithClockAndLogOption()
    {
        StartedController f;
        const struct
        {
            Value type;
            QVariant value;
            const char *calls;
        } replies[] = {
            {Value::ValueDeviceDate, deviceTime,
             "setDeviceClock 2026-01-02T03:04:05Z|setDeviceClockRunning 1|closeWaitDialog"},
            {Value::ValueLogOption, false,
             "closeWaitDialog|"
             "Warning No LOG option installed to device, unable to read or clear log."},
            {Value::ValueLogOption, true, ""},
            {Value::ValueLogCount, 3, ""},
        };
        for (const auto &reply : replies) {
            emit f.handler.valueRead(reply.type, reply.value);
            QCOMPARE(f.takeCalls(), text(reply.calls));
        }
    }

    void eachNamedValueIsShown()
    {
        StartedController f;
        const struct
        {
            const char *name;
            const char *value; ///< null: unknown to the device
            const char *call;
        } replies[] = {
            {"hwver", "H1", "setHwVersion H1"},
            {"swver", "S1", "setSwVersion S1"},
            {"serial", "N1", "setSerialNumber N1"},
            {"model", "M1", "setModelNumber M1"},
            {"one", "7", "setConfigurationValue one=7"},
            {"Health", "7", "setConfigurationValue Health=7"},
            {"health", "98%", "setHealth 98"},
            {"health", "0", "setHealth 0"},
            {"health", "135%", "setHealth 100"},
            {"health", "-5%", "setHealth 0"},
            {"health", "%4%2%", "setHealth 42"},
            {"health", "good", "setHealth 0"},
            {"health", "%", "setHealth 0"},
            {"health", "", "setHealth -1"},
            {"health", nullptr, "setHealth -1"},
            {"meas_state", "0", "setMeasurementState 0"},
            {"meas_state", "1", "setMeasurementState 1"},
            {"meas_state", "2", "setMeasurementState 2"},
            {"meas_state", "3", "setMeasurementState 3"},
            {"meas_state", "4", "setMeasurementState 4"},
            {"meas_state", "5", "setMeasurementState 0"},
            {"meas_state", "-1", "setMeasurementState 0"},
            {"meas_state", "ready", "setMeasurementState 0"},
            {"meas_state", nullptr, "setMeasurementState 0"},
        };
        for (const auto &reply : replies) {
            emit f.handler.dataRead(text(reply.name), text(reply.value));
            QCOMPARE(f.takeCalls(), text(reply.call));
        }
    }

    void firstAllJobsDoneStoresTheDeviceAndStartsPolling()
    {
        StartedController f;
        emit f.handler.connected();
        for (const char *name : {"hwver", "swver", "serial", "model"}) {
            emit f.handler.dataRead(text(name), text("the ") + text(name));
        }
        f.calls.clear();
        QString callsAtPoll;
        QObject::connect(&f.controller, &MainWindowController::measurementPollStarted,
                         [&] { callsAtPoll = f.takeCalls(); });
        emit f.handler.allJobsDone();
        QCOMPARE(callsAtPoll, text("setConnected 1|readMeasurements"));
        QVERIFY(f.takeCalls().startsWith(text("store addDevice|")));
        const DeviceDetails device = f.storage.addedDevices.value(0);
        QCOMPARE(QStringList(
                     {device.hwVersion, device.swVersion, device.serialNumber, device.modelNumber}),
                 texts("the hwver|the swver|the serial|the model"));
        QCOMPARE(f.timerIntervals(), QList<int>({60000}));

        // Each later poll ends with the same signal.
        emit f.handler.allJobsDone();
        QCOMPARE(f.takeCalls(), QString());
    }

    void editsAreSentOnlyAfterTheFirstReads()
    {
        StartedController f;
        const auto callsOfAnEdit = [&f] {
            f.calls.clear();
            emit f.window.valueChanged(text("one"), text("3"));
            return f.takeCalls();
        };
        QCOMPARE(callsOfAnEdit(), QString());
        emit f.handler.connected();
        QCOMPARE(callsOfAnEdit(), QString());
        emit f.window.disconnectClicked();
        QCOMPARE(callsOfAnEdit(), QString());
        emit f.handler.connected();
        emit f.handler.allJobsDone();
        QCOMPARE(callsOfAnEdit(), text("setValue one=3"));
        emit f.window.synchronizeClicked();
        QCOMPARE(callsOfAnEdit(), text("setValue one=3"));
        f.controller.setSynchronizing(true);
        QCOMPARE(callsOfAnEdit(), QString());
        f.controller.setSynchronizing(false);
        QCOMPARE(callsOfAnEdit(), text("setValue one=3"));
        emit f.handler.connected();
        QCOMPARE(callsOfAnEdit(), QString());
    }

    void editsAreSentAsSoonAsTheWindowIsConnected()
    {
        StartedController f;
        emit f.handler.connected();
        f.calls.clear();
        f.duringCall = [&f](const QString &call) {
            if (call == text("setConnected 1")) {
                emit f.window.valueChanged(text("one"), text("5"));
            }
        };
        emit f.handler.allJobsDone();
        QVERIFY(f.takeCalls().startsWith(text("setConnected 1|setValue one=5|readMeasurements|")));
    }

    void measurementTimerPollsUntilItIsStopped()
    {
        StartedController f;
        f.controller.setMeasurementInterval(1);
        QVERIFY(f.timerIntervals().isEmpty());
        QSignalSpy polls(&f.controller, &MainWindowController::measurementPollStarted);
        emit f.handler.connected();
        emit f.handler.allJobsDone();
        QCOMPARE(polls.size(), 1);
        QTRY_VERIFY(polls.size() >= 3);
        QCOMPARE(f.calls.count(text("readMeasurements")), polls.size());
        f.controller.stopMeasurementPolling();
        QVERIFY(f.timerIntervals().isEmpty());
    }

    void stateIsPolledUntilTheDeviceIsReady()
    {
        StartedController f;
        f.controller.setMeasurementAvailabilityInterval(1);
        int polls = 0;
        QObject::connect(&f.controller, &MainWindowController::measurementAvailabilityPollStarted,
                         [&] {
                             ++polls;
                             QCOMPARE(f.calls.count(text("readValue meas_state")), polls);
                         });
        emit f.handler.dataRead(text("meas_state"), text("3"));
        QTRY_VERIFY(polls >= 2);
        emit f.handler.dataRead(text("meas_state"), text("1"));
        QVERIFY(f.timerIntervals().isEmpty());
    }

    void eachReplyWithAnotherStateRestartsTheStateTimer()
    {
        ConnectedController f;
        emit f.handler.dataRead(text("meas_state"), text("not a number"));
        QCOMPARE(f.timerIntervals(), QList<int>({60000, 300000}));
        // Shorter intervals, because the event loop rounds long ones.
        f.controller.setMeasurementInterval(3000);
        f.controller.setMeasurementAvailabilityInterval(3000);
        const QTimer &measurementTimer = *f.runningTimers().at(0);
        const QTimer &stateTimer = *f.runningTimers().at(1);
        QTRY_VERIFY(measurementTimer.remainingTime() < 2700 && stateTimer.remainingTime() < 2700);
        emit f.handler.dataRead(text("meas_state"), text("2"));
        QVERIFY(stateTimer.remainingTime() > 2700);
        emit f.handler.dataRead(text("meas_state"), text("1"));
        QVERIFY(!stateTimer.isActive());
        QVERIFY(measurementTimer.remainingTime() < 2700);
    }

    void readingIsShownAndThenStored()
    {
        ConnectedController f;
        emit f.handler.dataRead(text("meas_state"), text("4"));
        f.calls.clear();
        f.storage.addMeasurementId = 70;
        emit f.handler.measurementsRead(deviceTime,
                                        {{text("A"), text("21.5")},
                                         {text("B"), text("N")},
                                         {text("C"), text("n")},
                                         {text("D"), text("NA")},
                                         {text("E"), text("")},
                                         {text("F"), text("-1.5e2")}});
        QCOMPARE(f.takeCalls(),
                 text("addMeasurement|store addMeasurement|store addMeasurementValues"));
        const FakeLocalStorage::AddedMeasurement added = f.storage.addedMeasurements.last();
        QCOMPARE(added.deviceId, f.storage.addDeviceId);
        QCOMPARE(f.storage.addedValues.last().measurementId, 70U);
        for (const MeasurementMetadata &metadata : {f.window.metadata, added.metadata}) {
            QCOMPARE(metadata.timestamp, deviceTime);
            QCOMPARE(metadata.state, MeasurementState::HardwareError);
        }
        for (const auto &values : {f.window.values, f.storage.addedValues.last().values}) {
            QStringList shown;
            for (const MeasurementValue &value : values) {
                shown += value.name + QString::number(value.value)
                    + (value.valid ? QString() : text(" not valid"));
            }
            QCOMPARE(shown, texts("A21.5|B0 not valid|C0|D0|E0|F-150"));
        }
    }

    void readingBeforeTheDeviceIsKnownIsOnlyShown()
    {
        StartedController f;
        QTest::ignoreMessage(QtWarningMsg,
                             "Device details not set yet, can't add measurements yet");
        emit f.handler.measurementsRead(deviceTime, {{text("T"), text("1")}});
        QCOMPARE(f.takeCalls(), text("addMeasurement"));
    }

    void disconnectStopsPollingAndClosesThePortAfterADelay()
    {
        ConnectedController f;
        emit f.handler.dataRead(text("meas_state"), text("0"));
        f.calls.clear();
        QList<int> intervalsDuringFirstCall;
        f.duringCall = [&](const QString &call) {
            if (call == text("setDeviceClockRunning 0")) {
                intervalsDuringFirstCall = f.timerIntervals();
            }
        };
        emit f.window.disconnectClicked();
        QCOMPARE(f.takeCalls(), text("setDeviceClockRunning 0|setConnected 0"));
        // The state of a device that is not ready is still polled.
        QCOMPARE(intervalsDuringFirstCall, QList<int>({300000}));
        QVERIFY(singleShotIsPending(100, Qt::CoarseTimer));
        QTRY_COMPARE(f.calls, texts("setConnectEnabled 1|disconnectFromDevice"));
        QCOMPARE(f.timerIntervals(), QList<int>({300000}));
        emit f.window.showGraphClicked();
        QVERIFY(f.window.device.serialNumber.isEmpty());
    }

    void handlesEachFinishedAction()
    {
        ConnectedController f;
        const struct
        {
            Action action;
            QVariant result;
            const char *calls;
        } reports[] = {
            {Action::ActionWriteToEeprom, QVariant(), "closeWaitDialog"},
            {Action::ActionSetDate, deviceTime, "writeToEeprom|readDate"},
            {Action::ActionEraseLog, QVariant(), "log Log erased"},
            {Action::ActionReboot, QVariant(), "log Device restarted"},
            {Action::ActionRebootForFirmware, QVariant(), "log Preparing to reboot"},
            {Action::ActionFirmwareBlockTransmitted, 42.9,
             "log Firmware block transmitted: 42.9 %|setWaitDialogProgress 42"},
            {Action::ActionBootloaderEntered, QVariant(),
             "setWaitDialogProgress 0|showProgressWaitDialog 1; Updating firmware, please wait.|"
             "log Shown with progressbar"},
            {Action::ActionEepromWritten, QVariant(), "closeWaitDialog"},
            {Action::ActionEepromBlockRead, 50, "setWaitDialogProgress 50"},
            {Action::ActionEepromBlockWritten, 51, "setWaitDialogProgress 51"},
            {Action::ActionFirmwareTransmitted, 100,
             "closeWaitDialog|Information Firmware updated|"
             "setDeviceClockRunning 0|setConnected 0"},
        };
        for (const auto &report : reports) {
            emit f.handler.actionFinished(report.action, report.result);
            QCOMPARE(f.takeCalls(), text(report.calls));
        }
        QTRY_COMPARE(f.calls, texts("setConnectEnabled 1|disconnectFromDevice"));
    }

    void failedActionsCloseTheDialogAndWarn()
    {
        ConnectedController f;
        const char *const transfer = "log Failed to transfer firmware|closeWaitDialog|"
                                     "Warning Firmware update failed due to unknown reason";
        const char *const read = "closeWaitDialog|Warning Failed to read device firmware";
        const char *const write = "closeWaitDialog|Warning Failed to write device firmware";
        const struct
        {
            Action action;
            const char *calls;
        } reports[] = {
            {Action::ActionRebootForFirmware,
             "log Failed to reboot device for firmware update|closeWaitDialog|"
             "Warning Unable to reboot device to begin firmware update"},
            {Action::ActionFirmwareBlockTransmitted, transfer},
            {Action::ActionBootloaderEntered, transfer},
            {Action::ActionFirmwareTransmitted, transfer},
            {Action::ActionEepromRead, read},
            {Action::ActionEepromBlockRead, read},
            {Action::ActionEepromWritten, write},
            {Action::ActionEepromBlockWritten, write},
            {Action::ActionWriteToEeprom, ""},
            {Action::ActionSetDate, ""},
            {Action::ActionEraseLog, ""},
            {Action::ActionReboot, ""},
        };
        for (const auto &report : reports) {
            emit f.handler.actionFailed(report.action);
            QCOMPARE(f.takeCalls(), text(report.calls));
        }
    }

    void cancelDependsOnTheReasonOfTheWaitDialog()
    {
        ConnectedController f;
        const struct
        {
            Reason reason;
            const char *calls;
        } dialogs[] = {
            {Reason::ReadingLog, "setReadLogEnabled 1|closeWaitDialog|cancelLogRead"},
            {Reason::UpdatingFirmware, "cancelFirmwareUpdate|closeWaitDialog"},
            {Reason::WritingToEeprom, "closeWaitDialog"},
            {Reason::SettingDeviceClock, "closeWaitDialog"},
            {Reason::RestoringEeprom, "closeWaitDialog|cancelEepromWrite"},
            {Reason::BackingUpEeprom, "closeWaitDialog|cancelEepromRead"},
            {Reason::NoReason, "closeWaitDialog"},
        };
        for (const auto &dialog : dialogs) {
            emit f.window.waitDialogCancelled(dialog.reason);
            QCOMPARE(f.takeCalls(), text(dialog.calls));
        }
    }

    void eventsDuringAMessageBoxAreHandled()
    {
        ConnectedController f;
        f.duringCall = [&](const QString &call) {
            if (call.endsWith(text("first"))) {
                emit f.handler.error(text("second"));
                emit f.handler.measurementsRead(deviceTime, {{text("T"), text("1")}});
                emit f.window.disconnectClicked();
            }
        };
        emit f.handler.error(text("first"));
        QCOMPARE(f.window.calls.filter(text("Critical")).size(), 2);
        QCOMPARE(f.storage.addedValues.size(), 1);
        QTRY_VERIFY(f.calls.contains(text("disconnectFromDevice")));
    }

    void synchronizeReadsAllValuesAgain()
    {
        ConnectedController f;
        f.window.names = texts("one|two");
        emit f.window.synchronizeClicked();
        QCOMPARE(f.takeCalls(),
                 text("readValues hwver swver serial model meas_state health one two|readDate"));
    }

    void settingsAreWrittenOnlyAfterAYes()
    {
        ConnectedController f;
        const QString question = text("askQuestion Write data to EEPROM; Are you sure you want to "
                                      "write settings to EEPROM?");
        emit f.window.writeToEepromClicked();
        QCOMPARE(f.takeCalls(), question);
        f.window.dialogResult = true;
        emit f.window.writeToEepromClicked();
        QCOMPARE(f.takeCalls(),
                 question
                     + text("|writeToEeprom|"
                            "showWaitDialog 2; Writing data to eeprom, please wait"));
    }

    void loadSettingsDoesNothing()
    {
        ConnectedController f;
        emit f.window.loadSettingsClicked();
        QCOMPARE(f.takeCalls(), QString());
    }

    void clockIsWrittenAfterTheDialogHasClosed()
    {
        ConnectedController f;
        const QDateTime before = QDateTime::currentDateTimeUtc();
        emit f.window.synchronizeClockClicked();
        QCOMPARE(f.takeCalls(),
                 text("showWaitDialog 3; Setting device clock, please wait|setDate"));
        QCOMPARE(f.handler.date.timeSpec(), Qt::UTC);
        QVERIFY(f.handler.date >= before);
        QVERIFY(f.handler.date <= QDateTime::currentDateTimeUtc());
    }

    void unitIndexSetsTheDisplayOption()
    {
        StartedController f;
        for (const int index : {0, 1, 2, -1}) {
            emit f.window.pollutantUnitIndexChanged(index);
            QCOMPARE(f.takeCalls(), text("setting pollutant unit=%1|setDisplayOptions").arg(index));
            QCOMPARE(f.window.options.pollutantInPpm, index == 0);
            QVERIFY(f.window.options.temperatureInCelsius);
        }
        for (const int index : {0, 1, 2, -1}) {
            emit f.window.temperatureUnitIndexChanged(index);
            QCOMPARE(f.takeCalls(),
                     text("setting temperature unit=%1|setDisplayOptions").arg(index));
            QCOMPARE(f.window.options.temperatureInCelsius, index == 0);
            QVERIFY(!f.window.options.pollutantInPpm);
        }
        QVERIFY(f.window.options.hideUndefinedUnit);
    }

    void graphInitiallyOpensWithDefaults()
    {
        ConnectedController f;
        emit f.window.temperatureUnitIndexChanged(1);
        f.calls.clear();
        QStringList reads;
        // Each end of the period reads the current time separately.
        f.settings.onRead = [&reads](const QString &key) {
            reads += key;
            const QDateTime now = QDateTime::currentDateTimeUtc();
            QTRY_VERIFY(QDateTime::currentDateTimeUtc() > now);
        };
        const QDateTime before = QDateTime::currentDateTimeUtc();
        emit f.window.showGraphClicked();
        const QDateTime after = QDateTime::currentDateTimeUtc();
        QCOMPARE(f.takeCalls(), text("showGraph"));
        QCOMPARE(reads,
                 texts("graph from|graph to|graph measurement types|graph range manual|"
                       "graph maximum range|graph minimum range|graph show latest measurements"));
        const GraphSettings graph = f.window.graph;
        QVERIFY(graph.from >= before && graph.from < graph.to && graph.to <= after);
        QCOMPARE(graph.from.timeSpec(), Qt::UTC);
        QCOMPARE(graph.to.timeSpec(), Qt::UTC);
        QVERIFY(graph.measurementTypes.isEmpty());
        QVERIFY(!graph.manualRange);
        QVERIFY(graph.showLatest);
        QCOMPARE(graph.minimum, 0.0);
        QCOMPARE(graph.maximum, 0.0);
        QCOMPARE(f.window.device.serialNumber, text("S-1"));
        QCOMPARE(f.window.storage, static_cast<LocalStorage *>(&f.storage));
        QCOMPARE(f.window.items.size(), 2);
        QVERIFY(!f.window.options.temperatureInCelsius);

        f.controller.clearDeviceDetails();
        emit f.window.showGraphClicked();
        QVERIFY(f.window.device.serialNumber.isEmpty());
    }

    void graphSettingsAreStoredUnderTheirKeysAndUsedAgain()
    {
        StartedController f;
        f.settings.values.clear();
        GraphSettings graph;
        graph.from = deviceTime;
        graph.to = deviceTime.addDays(32);
        graph.measurementTypes = texts("T|O3");
        graph.manualRange = true;
        graph.showLatest = false;
        graph.minimum = -3.5;
        graph.maximum = 20.5;
        f.window.graph = graph;
        emit f.window.graphDialogClosed();
        QCOMPARE(f.takeCalls(),
                 text("graphSettings|setting graph from=2026-01-02T03:04:05.000Z|"
                      "setting graph to=2026-02-03T03:04:05.000Z|setting graph range manual=true|"
                      "setting graph maximum range=20.5|setting graph minimum range=-3.5|"
                      "setting graph measurement types=|"
                      "setting graph show latest measurements=false"));
        const QVariantMap stored{{text("graph from"), graph.from},
                                 {text("graph to"), graph.to},
                                 {text("graph measurement types"), graph.measurementTypes},
                                 {text("graph range manual"), true},
                                 {text("graph maximum range"), 20.5},
                                 {text("graph minimum range"), -3.5},
                                 {text("graph show latest measurements"), false}};
        QCOMPARE(f.settings.values, stored);

        f.window.graph = GraphSettings();
        emit f.window.showGraphClicked();
        QCOMPARE(f.window.graph.from, graph.from);
        QCOMPARE(f.window.graph.to, graph.to);
        QCOMPARE(f.window.graph.measurementTypes, graph.measurementTypes);
        QVERIFY(f.window.graph.manualRange);
        QVERIFY(!f.window.graph.showLatest);
        QCOMPARE(f.window.graph.minimum, -3.5);
        QCOMPARE(f.window.graph.maximum, 20.5);
    }
};

KV_TEST_MAIN(TestMainWindowController)
#include "tst_mainwindowcontroller.moc"
