// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/control/controllerfixture.h"

using Action = SerialPortActionType;
using Reason = WaitDialogReason;

namespace {

QStringList *callsAndLog = nullptr;

void appendToCalls(QtMsgType, const QMessageLogContext &, const QString &message)
{
    callsAndLog->append(text("log ") + message);
}

} // namespace

/// The controller's reactions to the handler's reports and to a cancelled wait dialog.
class TestMainWindowControllerActions : public QObject
{
    Q_OBJECT

private slots:
    void errorIsShown()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.handler.dataRead(text("meas_state"), text("0"));
        f.forget();
        emit f.handler.error(text("Unable to open port!"));
        QCOMPARE(f.timerIntervals(), QList<int>({60000, 300000}));
        QCOMPARE(f.window.calls,
                 texts({"Critical Error occurred with serial port communication: Unable to "
                        "open port!"}));
        QVERIFY(f.handler.calls.isEmpty());
    }

    void finishedActionsHaveTheirEffect_data()
    {
        QTest::addColumn<int>("action");
        QTest::addColumn<QVariant>("result");
        QTest::addColumn<QStringList>("windowCalls");
        QTest::addColumn<QStringList>("handlerCalls");
        QTest::addColumn<QByteArray>("log");
        const auto row = [](const char *name, Action action, const QVariant &result,
                            const QStringList &windowCalls, const QStringList &handlerCalls,
                            const char *log) {
            QTest::addRow("%s", name) << static_cast<int>(action) << result << windowCalls
                                      << handlerCalls << QByteArray(log);
        };
        const QStringList none;
        const QStringList close(text("closeWaitDialog"));
        row("ActionWriteToEeprom", Action::ActionWriteToEeprom, QVariant(), close, none, "");
        row("ActionSetDate", Action::ActionSetDate, QDateTime::currentDateTimeUtc(), none,
            {text("writeToEeprom"), text("readDate")}, "");
        row("ActionEraseLog", Action::ActionEraseLog, QVariant(), none, none, "Log erased");
        row("ActionReboot", Action::ActionReboot, QVariant(), none, none, "Device restarted");
        row("ActionRebootForFirmware", Action::ActionRebootForFirmware, QVariant(), none, none,
            "Preparing to reboot");
        row("ActionFirmwareBlockTransmitted", Action::ActionFirmwareBlockTransmitted, 42.9,
            {text("setWaitDialogProgress 42")}, none, "Firmware block transmitted: 42.9 %");
        row("ActionBootloaderEntered", Action::ActionBootloaderEntered, QVariant(),
            {text("setWaitDialogProgress 0"),
             text("showProgressWaitDialog 1 | Updating firmware, please wait.")},
            none, "Shown with progressbar");
        row("ActionEepromWritten", Action::ActionEepromWritten, QVariant(), close, none, "");
        row("ActionEepromBlockRead", Action::ActionEepromBlockRead, 50,
            {text("setWaitDialogProgress 50")}, none, "");
        row("ActionEepromBlockWritten", Action::ActionEepromBlockWritten, 51,
            {text("setWaitDialogProgress 51")}, none, "");
    }

    void finishedActionsHaveTheirEffect()
    {
        QFETCH(int, action);
        QFETCH(QVariant, result);
        QFETCH(QStringList, windowCalls);
        QFETCH(QStringList, handlerCalls);
        QFETCH(QByteArray, log);
        ControllerFixture f;
        f.connectDevice();
        if (!log.isEmpty()) {
            QTest::ignoreMessage(QtDebugMsg, log.constData());
        }
        emit f.handler.actionFinished(static_cast<Action>(action), result);
        QCOMPARE(f.window.calls, windowCalls);
        QCOMPARE(f.handler.calls, handlerCalls);
    }

    void firmwareTransmittedEndsInADisconnect()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.handler.actionFinished(Action::ActionFirmwareTransmitted, 100);
        QCOMPARE(f.window.calls,
                 texts({"closeWaitDialog", "Information Firmware updated",
                        "setDeviceClockRunning 0", "setConnected 0"}));
        QTRY_COMPARE(f.handler.calls, texts({"disconnectFromDevice"}));
    }

    void failedActionsCloseTheDialogAndWarn_data()
    {
        QTest::addColumn<int>("action");
        QTest::addColumn<QString>("box");
        QTest::addColumn<QByteArray>("log");
        const QString reboot = text("Unable to reboot device to begin firmware update");
        const QString transfer = text("Firmware update failed due to unknown reason");
        const QString read = text("Failed to read device firmware");
        const QString write = text("Failed to write device firmware");
        const QByteArray rebootLog("Failed to reboot device for firmware update");
        const QByteArray transferLog("Failed to transfer firmware");
        const auto row = [](const char *name, Action action, const QString &box,
                            const QByteArray &log) {
            QTest::addRow("%s", name) << static_cast<int>(action) << box << log;
        };
        row("ActionRebootForFirmware", Action::ActionRebootForFirmware, reboot, rebootLog);
        row("ActionFirmwareBlockTransmitted", Action::ActionFirmwareBlockTransmitted, transfer,
            transferLog);
        row("ActionBootloaderEntered", Action::ActionBootloaderEntered, transfer, transferLog);
        row("ActionFirmwareTransmitted", Action::ActionFirmwareTransmitted, transfer, transferLog);
        row("ActionEepromRead", Action::ActionEepromRead, read, "");
        row("ActionEepromBlockRead", Action::ActionEepromBlockRead, read, "");
        row("ActionEepromWritten", Action::ActionEepromWritten, write, "");
        row("ActionEepromBlockWritten", Action::ActionEepromBlockWritten, write, "");
        row("ActionWriteToEeprom", Action::ActionWriteToEeprom, QString(), "");
        row("ActionSetDate", Action::ActionSetDate, QString(), "");
        row("ActionEraseLog", Action::ActionEraseLog, QString(), "");
        row("ActionReboot", Action::ActionReboot, QString(), "");
    }

    void failedActionsCloseTheDialogAndWarn()
    {
        QFETCH(int, action);
        QFETCH(QString, box);
        QFETCH(QByteArray, log);
        ControllerFixture f;
        f.connectDevice();
        if (!log.isEmpty()) {
            QTest::ignoreMessage(QtDebugMsg, log.constData());
        }
        emit f.handler.actionFailed(static_cast<Action>(action));
        QCOMPARE(f.window.calls,
                 box.isEmpty() ? QStringList()
                               : QStringList({text("closeWaitDialog"), text("Warning ") + box}));
        QVERIFY(f.handler.calls.isEmpty());
    }

    void cancelOfTheWaitDialogFollowsItsReason_data()
    {
        QTest::addColumn<int>("reason");
        QTest::addColumn<QStringList>("calls");
        const auto row = [](const char *name, Reason reason, const QStringList &calls) {
            QTest::addRow("%s", name) << static_cast<int>(reason) << calls;
        };
        row("ReadingLog", Reason::ReadingLog,
            {text("setReadLogEnabled 1"), text("closeWaitDialog"), text("cancelLogRead")});
        row("UpdatingFirmware", Reason::UpdatingFirmware,
            {text("cancelFirmwareUpdate"), text("closeWaitDialog")});
        row("WritingToEeprom", Reason::WritingToEeprom, {text("closeWaitDialog")});
        row("SettingDeviceClock", Reason::SettingDeviceClock, {text("closeWaitDialog")});
        row("RestoringEeprom", Reason::RestoringEeprom,
            {text("closeWaitDialog"), text("cancelEepromWrite")});
        row("BackingUpEeprom", Reason::BackingUpEeprom,
            {text("closeWaitDialog"), text("cancelEepromRead")});
        row("NoReason", Reason::NoReason, {text("closeWaitDialog")});
    }

    void cancelOfTheWaitDialogFollowsItsReason()
    {
        QFETCH(int, reason);
        QFETCH(QStringList, calls);
        ControllerFixture f;
        f.start();
        // One list for both, so that the order between window and handler is recorded.
        f.window.interleaved = &f.handler.calls;
        emit f.window.waitDialogCancelled(static_cast<Reason>(reason));
        QCOMPARE(f.handler.calls, calls);
    }

    void messageBoxesAndLogLinesKeepTheirOrder()
    {
        ControllerFixture f;
        f.connectDevice();
        callsAndLog = &f.window.calls;
        const QtMessageHandler before = qInstallMessageHandler(appendToCalls);
        emit f.handler.valueRead(SerialPortValueType::ValueDeviceModel, text("X"));
        emit f.handler.actionFinished(Action::ActionBootloaderEntered, QVariant());
        emit f.handler.actionFailed(Action::ActionRebootForFirmware);
        qInstallMessageHandler(before);
        QCOMPARE(
            f.window.calls,
            QStringList(
                {text("log Got model: \"X\""),
                 text("Critical Device X not supported. Please update KV Tool."),
                 text("log Model not supported, supported models are: (\"KVT-1\", \"KVT-2\")"),
                 text("setWaitDialogProgress 0"),
                 text("showProgressWaitDialog 1 | Updating firmware, please wait."),
                 text("log Shown with progressbar"),
                 text("log Failed to reboot device for firmware update"), text("closeWaitDialog"),
                 text("Warning Unable to reboot device to begin firmware update")}));
    }

    void eventsDuringAMessageBoxAreHandled()
    {
        ControllerFixture f;
        f.connectDevice();
        int boxes = 0;
        f.window.onCall = [&](const QString &call) {
            if (call.startsWith(text("Critical")) && ++boxes == 1) {
                emit f.handler.error(text("second"));
                emit f.handler.measurementsRead(QDateTime::currentDateTimeUtc(),
                                                {{text("T"), text("1")}});
                emit f.window.disconnectClicked();
            }
        };
        emit f.handler.error(text("first"));
        QCOMPARE(boxes, 2);
        QCOMPARE(f.storage.addedValues.size(), 1);
        QTRY_VERIFY(f.handler.calls.contains(text("disconnectFromDevice")));
    }
};

KV_TEST_MAIN(TestMainWindowControllerActions)
#include "tst_mainwindowcontrolleractions.moc"
