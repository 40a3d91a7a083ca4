// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/control/controllerfixture.h"

namespace {

QString updateQuestion()
{
    return text("askQuestion Are you sure? | Choosing invalid firmware or aborting firmware may "
                "render the device unusable. Are you sure you wish to continue?");
}

} // namespace

/// Firmware update, memory backup and restore.
class TestMainWindowControllerFirmware : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_firmware = m_folder.filePath(text("f.bin"));
        m_empty = m_folder.filePath(text("empty.bin"));
        ControllerFixture::writeFile(m_firmware, QByteArray("\0\x01\r\n*!.firmware", 15));
        ControllerFixture::writeFile(m_empty, QByteArray());
    }

    void updateEndsWithANo()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.window.updateFirmwareClicked();
        QCOMPARE(f.window.calls, QStringList(updateQuestion()));
        QVERIFY(f.handler.calls.isEmpty());
        QCOMPARE(f.timerIntervals(), QList<int>({60000}));
    }

    void updateOfAConnectedDeviceRebootsItFirst()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.answer = true;
        f.window.openFile = m_firmware;
        f.window.interleaved = &f.handler.calls;
        QTest::ignoreMessage(QtDebugMsg, "Updating firmware");
        emit f.window.updateFirmwareClicked();
        QCOMPARE(f.handler.calls.mid(2),
                 texts({"clearJobs", "rebootToBootloader", "updateFirmware",
                        "showWaitDialog 1 | Please wait while update starts"}));
        QCOMPARE(f.handler.firmware, f.readFile(m_firmware));
        QCOMPARE(f.settings.values[text("firmware path")].toString(), m_firmware);
    }

    void updateStopsPollingAndItStaysStopped()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.handler.dataRead(text("meas_state"), text("0"));
        QCOMPARE(f.timerIntervals(), QList<int>({60000, 300000}));
        f.window.answer = true;
        f.window.openFile = m_firmware;
        QList<int> intervalsAtClear({-1});
        f.handler.duringClearJobs = [&] { intervalsAtClear = f.timerIntervals(); };
        emit f.window.updateFirmwareClicked();
        QVERIFY(intervalsAtClear.isEmpty());
        QVERIFY(f.timerIntervals().isEmpty());
        emit f.window.waitDialogCancelled(WaitDialogReason::UpdatingFirmware);
        QVERIFY(f.timerIntervals().isEmpty());
        emit f.handler.actionFailed(SerialPortActionType::ActionFirmwareBlockTransmitted);
        QVERIFY(f.timerIntervals().isEmpty());

        // Polling starts again after a disconnect and a new connect.
        emit f.window.disconnectClicked();
        emit f.handler.connected();
        emit f.handler.allJobsDone();
        QCOMPARE(f.timerIntervals(), QList<int>({60000}));
    }

    void updateOfAnUnconnectedDeviceOpensTheSelectedPort()
    {
        ControllerFixture f;
        f.start();
        f.window.answer = true;
        f.window.openFile = m_firmware;
        f.window.port = text("/dev/ttyNEW");
        f.window.interleaved = &f.handler.calls;
        emit f.window.updateFirmwareClicked();
        QCOMPARE(f.handler.calls.mid(2),
                 texts({"clearJobs", "setSerialPort", "openPort", "updateFirmware",
                        "showWaitDialog 1 | Please reboot the device manually"}));
        QCOMPARE(f.handler.transport->portName(), text("ttyNEW"));
    }

    void updateGoesOnWhenThePortDoesNotOpen()
    {
        ControllerFixture f;
        f.start();
        f.handler.openResult = false;
        f.window.answer = true;
        f.window.openFile = m_firmware;
        f.window.port = text("/dev/ttyNEW");
        emit f.window.updateFirmwareClicked();
        QVERIFY(f.handler.calls.contains(text("updateFirmware")));
    }

    void updateWithoutAPortIsRefused()
    {
        ControllerFixture f;
        f.start();
        f.window.answer = true;
        f.window.openFile = m_firmware;
        QTest::ignoreMessage(QtDebugMsg, "Failed to open serial port \"\"");
        emit f.window.updateFirmwareClicked();
        QCOMPARE(f.window.calls.last(), text("Warning Unable to open serial port: "));
        QCOMPARE(f.handler.calls, texts({"clearJobs"}));
    }

    void fileIsReadThroughTheDialog_data()
    {
        QTest::addColumn<QString>("remembered");
        QTest::addRow("nothing remembered") << QString();
        QTest::addRow("remembered") << text("/old/path.bin");
    }

    void fileIsReadThroughTheDialog()
    {
        QFETCH(QString, remembered);
        ControllerFixture f;
        f.connectDevice();
        if (!remembered.isEmpty()) {
            f.settings.values[text("firmware path")] = remembered;
        }
        f.window.answer = true;
        emit f.window.updateFirmwareClicked();
        QCOMPARE(f.window.calls,
                 QStringList(
                     {updateQuestion(),
                      text("selectOpenFile Select firmware file | %1 | *.bin").arg(remembered)}));
        QVERIFY(f.handler.calls.isEmpty());
        QVERIFY(f.settings.writes.isEmpty());
        QCOMPARE(f.timerIntervals(), QList<int>({60000}));
    }

    void emptyFirmwareFileIsRememberedAndStopsTheUpdate()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.answer = true;
        f.window.openFile = m_empty;
        QTest::ignoreMessage(QtDebugMsg,
                             qPrintable(text("\"firmware\" file is empty \"%1\"").arg(m_empty)));
        f.settings.interleaved = &f.window.calls;
        emit f.window.updateFirmwareClicked();
        QCOMPARE(f.window.calls.mid(2),
                 texts({"Warning Selected firmware is empty!", "setting firmware path"}));
        QCOMPARE(f.settings.values[text("firmware path")].toString(), m_empty);
        QVERIFY(f.handler.calls.isEmpty());
        QCOMPARE(f.timerIntervals(), QList<int>({60000}));
    }

    void missingFirmwareFileShowsAMessage()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.answer = true;
        f.window.openFile = text("/no/such/file.bin");
        QTest::ignoreMessage(QtDebugMsg, "Unable to open file \"/no/such/file.bin\"");
        emit f.window.updateFirmwareClicked();
        QCOMPARE(f.window.calls.last(), text("Warning Unable to open firmware!"));
        QVERIFY(f.settings.writes.isEmpty());
        QVERIFY(f.handler.calls.isEmpty());
    }

    void backupAsksForItsFileThenReads()
    {
        ControllerFixture f;
        f.connectDevice();
        f.settings.values[text("eeprom filename")] = text("/old/e.dat");
        f.window.saveFile = m_folder.filePath(text("e.dat"));
        f.window.interleaved = &f.handler.calls;
        emit f.window.backupEepromClicked();
        QCOMPARE(f.handler.calls,
                 texts({"selectSaveFile Select where to write eeprom backup | /old/e.dat | "
                        "*.dat",
                        "readEeprom",
                        "showProgressWaitDialog 5 | Waiting for eeprom backup to be "
                        "created from the device"}));
        QCOMPARE(f.settings.values[text("eeprom filename")].toString(), f.window.saveFile);
        // Polling continues during the dialog.
        QCOMPARE(f.timerIntervals(), QList<int>({60000}));
    }

    void cancelledBackupDialogEmptiesTheFileName()
    {
        ControllerFixture f;
        f.connectDevice();
        const QString path = m_folder.filePath(text("kept.dat"));
        f.window.saveFile = path;
        emit f.window.backupEepromClicked();
        f.window.saveFile.clear();
        f.forget();
        emit f.window.backupEepromClicked();
        QVERIFY(f.handler.calls.isEmpty());
        QVERIFY(f.settings.writes.isEmpty());
        QCOMPARE(f.window.calls.size(), 1);
        // The name is empty now, so an image that still arrives is not written.
        QTest::ignoreMessage(QtWarningMsg, "QFSFileEngine::open: No file name specified");
        emit f.handler.actionFinished(SerialPortActionType::ActionEepromRead, QByteArray("x"));
        QVERIFY(!QFile::exists(path));
    }

    void backupBeginsWithItsLength()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.saveFile = m_folder.filePath(text("image.dat"));
        emit f.window.backupEepromClicked();
        f.forget();
        const QByteArray image(65535, 'e');
        bool existedDuringClose = true;
        f.window.onCall = [&](const QString &) {
            existedDuringClose = QFile::exists(f.window.saveFile);
        };
        emit f.handler.actionFinished(SerialPortActionType::ActionEepromRead, image);
        QCOMPARE(f.window.calls, texts({"closeWaitDialog"}));
        QVERIFY(!existedDuringClose);
        const QByteArray file = f.readFile(f.window.saveFile);
        QCOMPARE(file.size(), 65539);
        QCOMPARE(file.left(4), QByteArray("\0\0\xff\xff", 4));
        QCOMPARE(file.mid(4), image);
    }

    void backupThatCantBeWrittenShowsNoMessage()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.saveFile = text("/no/such/folder/e.dat");
        emit f.window.backupEepromClicked();
        f.forget();
        emit f.handler.actionFinished(SerialPortActionType::ActionEepromRead, QByteArray("x"));
        QCOMPARE(f.window.calls, texts({"closeWaitDialog"}));
    }

    void restoreSendsTheFileUnchanged()
    {
        ControllerFixture f;
        f.connectDevice();
        const QString path = m_folder.filePath(text("restore.dat"));
        const QByteArray contents("\0\0\0\x02xy", 6);
        f.writeFile(path, contents);
        f.window.openFile = path;
        f.window.interleaved = &f.handler.calls;
        emit f.window.restoreEepromFromBackupClicked();
        QCOMPARE(f.handler.calls,
                 texts({"selectOpenFile Select eeprom backup file |  | *.dat", "writeEeprom",
                        "showProgressWaitDialog 4 | Waiting for eeprom backup to be "
                        "written to device from file"}));
        QCOMPARE(f.handler.eeprom, contents);
        QCOMPARE(f.settings.values[text("eeprom filename")].toString(), path);
    }

    void restoreWithoutAFileDoesNothing()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.window.restoreEepromFromBackupClicked();
        QVERIFY(f.handler.calls.isEmpty());
        QCOMPARE(f.window.calls.size(), 1);
    }

    void restoreNamesItsFileFirmware()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.openFile = m_empty;
        emit f.window.restoreEepromFromBackupClicked();
        QCOMPARE(f.window.calls.last(), text("Warning Selected firmware is empty!"));
        QCOMPARE(f.settings.values[text("eeprom filename")].toString(), m_empty);
        f.window.openFile = text("/no/such/file.dat");
        emit f.window.restoreEepromFromBackupClicked();
        QCOMPARE(f.window.calls.last(), text("Warning Unable to open firmware!"));
        QCOMPARE(f.settings.values[text("eeprom filename")].toString(), m_empty);
        QVERIFY(f.handler.calls.isEmpty());
    }

private:
    QTemporaryDir m_folder;
    QString m_firmware;
    QString m_empty;
};

KV_TEST_MAIN(TestMainWindowControllerFirmware)
#include "tst_mainwindowcontrollerfirmware.moc"
