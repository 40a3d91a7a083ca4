// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/control/controllerfixture.h"

namespace {

const char question[] =
    "askQuestion Are you sure?; Choosing invalid firmware or aborting firmware may render the "
    "device unusable. Are you sure you wish to continue?";

QDateTime timeAtMinute(int number)
{
    return QDateTime(QDate(2026, 1, 2), QTime(10, number), Qt::LocalTime).toUTC();
}

StoredMeasurement storedReading(int minute, const QVector<MeasurementValue> &values)
{
    StoredMeasurement measurement;
    measurement.timestamp = timeAtMinute(minute);
    measurement.values = values;
    return measurement;
}

MeasurementValue value(const char *name, double number, bool valid = true)
{
    return {text(name), valid, number};
}

const QVector<LogValue> logRows{{{0.1, 1234567.0}, timeAtMinute(0)}, {{}, timeAtMinute(1)}};

/// A connected fixture whose dialogs choose two measurements and the file @p path for an export.
struct ExportingController : ConnectedController
{
    explicit ExportingController(const QString &path)
    {
        window.dialogResult = true;
        window.saveFile = path;
        window.exportSelection.measurementTypes = {{1, text("T")}, {2, text("P")}};
        storage.measurementsResult = {storedReading(0, {value("T", 5, false)})};
    }
};

} // namespace

/// Log, export of measurements, firmware update, EEPROM backup and restore.
class TestMainWindowControllerFiles : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(FileIo::write(m_image, QByteArray("\0\0\0\x02\r\n*!.firmware", 17)));
        QVERIFY(FileIo::write(m_empty, QByteArray()));
    }

    void readingTheLogShowsAProgressDialog()
    {
        ConnectedController f;
        emit f.window.startReadingLogClicked();
        emit f.handler.logReadProgress(37);
        QCOMPARE(f.takeCalls(),
                 text("setReadLogEnabled 0|readLog|"
                      "showProgressWaitDialog 0; Reading log, please wait|"
                      "setWaitDialogProgress 37"));
    }

    void emptyLogShowsAMessage()
    {
        ConnectedController f;
        emit f.handler.logRead(texts("Time"), {});
        QCOMPARE(f.takeCalls(),
                 text("closeWaitDialog|setReadLogEnabled 1|Information Log is empty"));
    }

    void logIsWrittenToTheChosenFile()
    {
        ConnectedController f;
        emit f.window.pollutantUnitIndexChanged(1);
        f.calls.clear();
        const QString dialog =
            text("closeWaitDialog|setReadLogEnabled 1|"
                 "selectSaveFile Select where to save log to; %1; CSV files (*.csv)");
        emit f.handler.logRead(texts("Time|O3|a,b"), logRows);
        QCOMPARE(f.takeCalls(), dialog.arg(text("log.csv")));

        f.window.saveFile = m_csv;
        emit f.handler.logRead(texts("Time|O3|a,b"), logRows);
        QCOMPARE(f.takeCalls(),
                 dialog.arg(text("log.csv"))
                     + text("|setting log filename=%1|log Saving log to \"%1\"").arg(m_csv));
        // Unquoted titles, six significant digits, local time, and a row without values.
        QCOMPARE(FileIo::contents(m_csv),
                 QByteArray("Time,O3,a,b\n2026-01-02T10:00:00,0.1,1.23457e+06\n"
                            "2026-01-02T10:01:00,\n"));

        f.window.saveFile = text("/no/%2/log.csv");
        emit f.handler.logRead(texts("Time"), logRows);
        QCOMPARE(f.takeCalls(),
                 dialog.arg(m_csv)
                     + text("|setting log filename=/no/%2/log.csv|"
                            "log Saving log to \"/no/%2/log.csv\"|"
                            "log Failed to open file \"/no/%2/log.csv\" "
                            "\"No such file or directory\"|"
                            "Critical Unable to save log to file /no/%2/log.csv: "
                            "No such file or directory"));
    }

    void logIsClearedOnlyAfterAYes()
    {
        ConnectedController f;
        const QString confirmation =
            text("askQuestion Clear log; Are you sure you want to clear the log?");
        emit f.window.eraseLogClicked();
        QCOMPARE(f.takeCalls(), confirmation);
        f.window.dialogResult = true;
        emit f.window.eraseLogClicked();
        QCOMPARE(f.takeCalls(), confirmation + text("|eraseLog"));
    }

    void exportDialogGetsTheDeviceAndABlankSelection()
    {
        ConnectedController f;
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.takeCalls(), text("showExportDialog"));
        QCOMPARE(f.window.device.serialNumber, text("S-1"));
        QCOMPARE(f.window.storage, static_cast<LocalStorage *>(&f.storage));
        QCOMPARE(f.window.items.size(), 2);
        QVERIFY(f.window.initialSelection.measurementTypes.isEmpty());
        QCOMPARE(f.window.initialSelection.deviceId, 0U);
    }

    void exportReadsThePeriodOfTheSelectedDevice()
    {
        ExportingController f(QString{});
        f.window.exportSelection.from = timeAtMinute(1);
        f.window.exportSelection.to = timeAtMinute(9);
        f.window.exportSelection.deviceId = 42;
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.storage.measurementsCalls.size(), 1);
        QCOMPARE(f.storage.measurementsCalls.first().from, timeAtMinute(1));
        QCOMPARE(f.storage.measurementsCalls.first().to, timeAtMinute(9));
        QCOMPARE(f.storage.measurementsCalls.first().deviceId, 42U);
    }

    void exportWithoutRowsOrTypesShowsAMessage()
    {
        ExportingController f(m_csv);
        const QString calls = text("showExportDialog|store measurements|"
                                   "log No measurements found from given time period|"
                                   "Information No measurements found from given time period");
        f.window.exportSelection.measurementTypes.clear();
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.takeCalls(), calls);
        f.window.exportSelection.measurementTypes = {{1, text("T")}};
        f.storage.measurementsResult.clear();
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.takeCalls(), calls);
    }

    void exportFileNameIsSavedAndProposedAgain()
    {
        ExportingController f(QString{});
        const QString dialogs =
            text("showExportDialog|store measurements|"
                 "selectSaveFile Select where to save measurements to; %1; CSV files (*.csv)");
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.takeCalls(), dialogs.arg(text("measurements.csv")));

        f.window.saveFile = m_csv;
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.takeCalls(),
                 dialogs.arg(text("measurements.csv"))
                     + text("|setting measurement export filename=%1").arg(m_csv));

        f.window.saveFile = text("/no/such/folder/m.csv");
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(f.takeCalls(),
                 dialogs.arg(m_csv)
                     + text("|setting measurement export filename=/no/such/folder/m.csv|"
                            "log Failed to open file \"/no/such/folder/m.csv\" \"%1\"|"
                            "log \"%2 %1\"|Critical %2 %1")
                           .arg(text("No such file or directory"),
                                text("Unable to save measurements to file "
                                     "/no/such/folder/m.csv:")));
    }

    void exportConvertsValuesAndUsesDisplayNames()
    {
        ExportingController f(m_csv);
        emit f.window.temperatureUnitIndexChanged(1);
        f.window.exportSelection.measurementTypes = {
            {1, text("T")}, {2, text("O3")}, {3, text("other")}};
        f.storage.measurementsResult = {
            storedReading(
                0, {value("T", 100), value("skipped", 5), value("O3", 4), value("other", 7)}),
            storedReading(1,
                          {value("T", 0), value("skipped", 6), value("O3", 8), value("other", 9)})};
        emit f.window.exportLocalMeasurementsToCsvClicked();
        // The factor of O3 applies to the conversion from ppb to ppm, too. A measurement of another
        // model keeps its raw name.
        QCOMPARE(FileIo::contents(m_csv),
                 QByteArray("Timestamp,Temperature,Ozone,other\n2026-01-02T10:00:00,212,2,7\n"
                            "2026-01-02T10:01:00,32,4,9\n"));
    }

    void exportTakesItsColumnsFromTheFirstRow()
    {
        const struct
        {
            MeasurementValue value;
            QByteArray lines;
        } firstRows[] = {
            // An invalid value has a column like any other.
            {value("T", 5, false), "Timestamp,Temperature\n2026-01-02T10:00:00,5\n"},
            {value("O3", 1), "Timestamp\n2026-01-02T10:00:00,\n"},
        };
        for (const auto &first : firstRows) {
            ExportingController f(m_csv);
            f.storage.measurementsResult = {
                storedReading(0, {first.value}), storedReading(1, {value("T", 2), value("P", 3)}),
                storedReading(2, {}), storedReading(3, {value("P", 4)})};
            emit f.window.exportLocalMeasurementsToCsvClicked();
            QCOMPARE(FileIo::contents(m_csv),
                     first.lines
                         + "2026-01-02T10:01:00,2,3\n2026-01-02T10:02:00,\n"
                           "2026-01-02T10:03:00,4\n");
        }
    }

    void displayNamesApplyToEveryColumnHeading()
    {
        ExportingController f(m_csv);
        QVERIFY(f.writeModels(
            "<Device name='A'><Measurements><Measurement name='Timestamp' "
            "displayName='Moment' type='extra' unit='extra'/></Measurements></Device>"));
        QVERIFY(f.controller.start());
        emit f.window.exportLocalMeasurementsToCsvClicked();
        QCOMPARE(FileIo::contents(m_csv), QByteArray("Moment,T\n2026-01-02T10:00:00,5\n"));
    }

    void updateStopsAfterANo()
    {
        ConnectedController f;
        emit f.window.updateFirmwareClicked();
        QCOMPARE(f.takeCalls(), text(question));
        QCOMPARE(f.timerIntervals(), QList<int>({60000}));
    }

    void updateRejectsUnusableFiles()
    {
        ConnectedController f;
        f.window.dialogResult = true;
        checkUnusableFiles(f, &FakeMainWindow::updateFirmwareClicked,
                           text(question) + text("|selectOpenFile Select firmware file; %1; *.bin"),
                           text("firmware path"));
        QCOMPARE(f.timerIntervals(), QList<int>({60000}));
    }

    void updateOfAConnectedDeviceStopsPollingAndRebootsItFirst()
    {
        ConnectedController f;
        emit f.handler.dataRead(text("meas_state"), text("0"));
        f.calls.clear();
        f.window.dialogResult = true;
        f.window.openFile = m_image;
        QList<int> intervalsAtClear({-1});
        f.duringCall = [&](const QString &call) {
            if (call == text("clearJobs")) {
                intervalsAtClear = f.timerIntervals();
            }
        };
        emit f.window.updateFirmwareClicked();
        QCOMPARE(f.takeCalls(),
                 text(question)
                     + text("|selectOpenFile Select firmware file; ; *.bin|"
                            "setting firmware path=%1|log Updating firmware|clearJobs|"
                            "rebootToBootloader|updateFirmware|"
                            "showWaitDialog 1; Please wait while update starts")
                           .arg(m_image));
        QVERIFY(intervalsAtClear.isEmpty());
        QCOMPARE(f.handler.firmware, FileIo::contents(m_image));

        // Polling starts again after a disconnect and a new connect.
        emit f.window.waitDialogCancelled(WaitDialogReason::UpdatingFirmware);
        emit f.handler.actionFailed(SerialPortActionType::ActionFirmwareBlockTransmitted);
        emit f.window.disconnectClicked();
        QVERIFY(f.timerIntervals().isEmpty());
        emit f.handler.connected();
        emit f.handler.allJobsDone();
        QCOMPARE(f.timerIntervals(), QList<int>({60000}));
    }

    void updateOfAnUnconnectedDeviceOpensTheSelectedPort()
    {
        for (const bool opens : {true, false}) {
            StartedController f;
            f.handler.openResult = opens;
            f.window.dialogResult = true;
            f.window.openFile = m_image;
            f.window.port = text("/dev/ttyNEW");
            emit f.window.updateFirmwareClicked();
            QCOMPARE(f.calls.mid(f.calls.indexOf(text("clearJobs"))),
                     texts("clearJobs|setSerialPort ttyNEW|openPort|updateFirmware|"
                           "showWaitDialog 1; Please reboot the device manually"));
        }
    }

    void updateWithoutAPortIsRefused()
    {
        StartedController f;
        f.window.dialogResult = true;
        f.window.openFile = m_image;
        emit f.window.updateFirmwareClicked();
        QCOMPARE(f.calls.mid(f.calls.indexOf(text("clearJobs"))),
                 texts("clearJobs|log Unable to connect with empty port name|"
                       "log Failed to open serial port \"\"|Warning Unable to open serial port: "));
    }

    void backupAsksForAFileThenReads()
    {
        ConnectedController f;
        f.window.saveFile = m_backup;
        for (const QString &proposed : {QString(), m_backup}) {
            emit f.window.backupEepromClicked();
            QCOMPARE(f.takeCalls(),
                     text("selectSaveFile Select where to write eeprom backup; %1; *.dat|"
                          "setting eeprom filename=%2|readEeprom|showProgressWaitDialog 5; "
                          "Waiting for eeprom backup to be created from the device")
                         .arg(proposed, m_backup));
        }
        QCOMPARE(f.timerIntervals(), QList<int>({60000}));
    }

    void cancelledBackupDialogClearsTheFileName()
    {
        ConnectedController f;
        f.window.saveFile = m_backup;
        emit f.window.backupEepromClicked();
        f.window.saveFile.clear();
        f.calls.clear();
        emit f.window.backupEepromClicked();
        QCOMPARE(f.calls.size(), 1);
        QTest::ignoreMessage(QtWarningMsg, "QFSFileEngine::open: No file name specified");
        emit f.handler.actionFinished(SerialPortActionType::ActionEepromRead, QByteArray("x"));
        QVERIFY(!QFile::exists(m_backup));
    }

    void backupBeginsWithItsLength()
    {
        ConnectedController f;
        f.window.saveFile = m_backup;
        emit f.window.backupEepromClicked();
        f.calls.clear();
        const QByteArray image(65535, 'e');
        bool existedDuringClose = true;
        f.duringCall = [&](const QString &) { existedDuringClose = QFile::exists(m_backup); };
        emit f.handler.actionFinished(SerialPortActionType::ActionEepromRead, image);
        QCOMPARE(f.takeCalls(), text("closeWaitDialog"));
        QVERIFY(!existedDuringClose);
        QCOMPARE(FileIo::contents(m_backup), QByteArray("\0\0\xff\xff", 4) + image);
    }

    void backupThatCantBeWrittenShowsNoMessage()
    {
        ConnectedController f;
        f.window.saveFile = text("/no/such/folder/e.dat");
        emit f.window.backupEepromClicked();
        f.calls.clear();
        emit f.handler.actionFinished(SerialPortActionType::ActionEepromRead, QByteArray("x"));
        QCOMPARE(f.takeCalls(), text("closeWaitDialog"));
    }

    void restoreSendsTheFileUnchanged()
    {
        ConnectedController f;
        f.window.openFile = m_image;
        emit f.window.restoreEepromFromBackupClicked();
        QCOMPARE(f.takeCalls(),
                 text("selectOpenFile Select eeprom backup file; ; *.dat|"
                      "setting eeprom filename=%1|writeEeprom|showProgressWaitDialog 4; "
                      "Waiting for eeprom backup to be written to device from file")
                     .arg(m_image));
        QCOMPARE(f.handler.eeprom, FileIo::contents(m_image));
    }

    void restoreMessagesCallTheFileFirmware()
    {
        ConnectedController f;
        checkUnusableFiles(f, &FakeMainWindow::restoreEepromFromBackupClicked,
                           text("selectOpenFile Select eeprom backup file; %1; *.dat"),
                           text("eeprom filename"));
    }

    void cleanup()
    {
        QFile::remove(m_csv);
        QFile::remove(m_backup);
    }

private:
    /// Chooses no file, an empty one and one that can't be opened. @p dialogs are the calls that
    /// open the file dialog with the path %1; @p key is the setting of the path.
    void checkUnusableFiles(ConnectedController &f, void (FakeMainWindow::*signal)(),
                            const QString &dialogs, const QString &key)
    {
        emit(f.window.*signal)();
        QCOMPARE(f.takeCalls(), dialogs.arg(QString()));

        f.window.openFile = m_empty;
        emit(f.window.*signal)();
        QCOMPARE(f.takeCalls(),
                 dialogs.arg(QString())
                     + text("|log \"firmware\" file is empty \"%1\"|"
                            "Warning Selected firmware is empty!|setting %2=%1")
                           .arg(m_empty, key));

        f.window.openFile = text("/no/such/file");
        emit(f.window.*signal)();
        QCOMPARE(f.takeCalls(),
                 dialogs.arg(m_empty)
                     + text("|log Unable to open file \"/no/such/file\"|"
                            "Warning Unable to open firmware!"));
    }

    // In the working folder.
    const QString m_csv = text("out.csv");
    const QString m_image = text("image.bin");
    const QString m_empty = text("empty.bin");
    const QString m_backup = text("backup.dat");
};

KV_TEST_MAIN(TestMainWindowControllerFiles)
#include "tst_mainwindowcontrollerfiles.moc"
