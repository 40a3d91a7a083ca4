// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtWidgets/QMessageBox>
#include <initializer_list>

namespace {

/// A button of the main window, the title of a dialog that it opens, and for a wait dialog the
/// beginning of the command that is then sent to the device.
struct DialogRow
{
    const char *name;
    const char *button;
    const char *title;
    const char *command;
};

constexpr DialogRow readLog{"log", "readLogButton", "Reading log, please wait", "log --read="};
constexpr DialogRow writeSettings{"write", "writeToEepromButton",
                                  "Writing data to eeprom, please wait", "write --really"};
constexpr DialogRow setClock{"clock", "syncClockButton", "Setting device clock, please wait",
                             "date 2"};
constexpr DialogRow backup{"backup", "backupEepromButton",
                           "Waiting for eeprom backup to be created from the device",
                           "eeprom --read_block"};
constexpr DialogRow restore{"restore", "restoreEepromButton",
                            "Waiting for eeprom backup to be written to device from file",
                            "eeprom --write_block"};

// Examples of the other kinds of dialogs.
constexpr DialogRow question{"question", "eraseLogButton", "Clear log", ""};
constexpr DialogRow fileDialog{"file dialog", "backupEepromButton",
                               "Select where to write eeprom backup", ""};
constexpr DialogRow exportDialog{"export dialog", "exportLocalMeasurementsButton",
                                 "Select measurements to export", ""};

} // namespace

Q_DECLARE_METATYPE(DialogRow)

namespace {

void addDialogRows(std::initializer_list<DialogRow> rows)
{
    QTest::addColumn<DialogRow>("dialog");
    for (const DialogRow &row : rows) {
        QTest::addRow("%s", row.name) << row;
    }
}

} // namespace

/// Closes the main window during every kind of activity: the program exits with code 0, the
/// database is intact, and after the next start the tool can connect to the device again. In
/// particular while a modal dialog is open: it runs its own event loop, in which timers and device
/// traffic continue while the code that opened it is blocked.
class TestCloseWindow : public ToolFixture
{
    Q_OBJECT

private slots:
    void canBeClosedWhileConnecting_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QByteArray>("command");
        QTest::addRow("first command") << text("silence@show swver") << QByteArray("show swver");
        QTest::addRow("model") << text("silence@show unit") << QByteArray("show unit");
        QTest::addRow("settings") << text("delay@show altitude:20000")
                                  << QByteArray("show altitude");
        QTest::addRow("clock") << text("silence@date") << QByteArray("date");
        // The 19th command: "show meas" would also be the beginning of "show meas_state".
        QTest::addRow("first reading") << text("silence@19") << QByteArray("show meas$");
    }

    void canBeClosedWhileConnecting()
    {
        QFETCH(QString, fault);
        QFETCH(QByteArray, command);
        QVERIFY(startDevice({text("--fault"), fault}) && startTool());
        closeAfter([&] {
            QVERIFY(click("connectButton"));
            QTRY_COMPARE(commandCount(command.constData()), 1);
        });
        QCOMPARE(storedReadings(), 0);
        checkRestart();
    }

    void canBeClosedWhileUnknownModelBoxIsOpen()
    {
        QVERIFY(startDevice({text("--fault"), text("unknown-model")}) && startTool());
        dialogs().answerDialog(text("Kv tool"), [this](QDialog *) { QVERIFY(window().close()); });
        QCOMPARE(runEventLoop([this] { QVERIFY(click("connectButton")); }), 0);
    }

    void canBeClosedDuringPoll()
    {
        QVERIFY(startConnected());
        const int readings = storedReadings();
        QVERIFY(device().fault("silence@show meas"));
        clearCommands();
        closeAfter([&] {
            tool().controller.setMeasurementInterval(20);
            QTRY_COMPARE(commandCount("show meas$"), 1);
            QVERIFY(queue().currentJob());
        });
        QCOMPARE(storedReadings(), readings);
        checkRestart();
    }

    void canBeClosedRightAfterDisconnect()
    {
        QVERIFY(startPolling());
        closeAfter([&] { QVERIFY(click("disconnectButton")); });
        checkRestart();
    }

    void canBeClosedWhileCellIsEdited()
    {
        QVERIFY(startPolling());
        closeAfter([&] {
            const QTableWidgetItem *const item = setting("altitude");
            QLineEdit *const cell = editCell(editor(), item->row(), item->column());
            QVERIFY(cell != nullptr);
            QTest::keyClicks(cell, text("77"));
        });
        checkRestart();
        // Closing the window takes the focus from the cell, so its value may be sent.
        for (const QString &command : commands().filter(text("set altitude"))) {
            QCOMPARE(command, text("set altitude=77"));
        }
    }

    void canBeClosedWhileGraphIsOpen()
    {
        QVERIFY(startPolling());
        closeAfter([&] {
            QVERIFY(click("buttonShowGraph"));
            QVERIFY(waitForReadings());
        });
        QVERIFY(savedPreference("graph to").isValid());
        checkRestart();
    }

    void canBeClosedAfterEscapeHidWaitDialog_data()
    {
        addDialogRows({readLog, writeSettings, setClock, backup, restore});
    }

    void canBeClosedAfterEscapeHidWaitDialog()
    {
        QFETCH(DialogRow, dialog);
        QVERIFY(
            startPolling({text("--log-rows"), text("3000"), text("--write-ms"), text("60000")}));
        clearCommands();
        prepareAnswers(dialog.button);
        // The dialog blocks the main window's frame until Escape hides it.
        dialogs().answerDialog(text(dialog.title), [this](QDialog *shown) {
            QVERIFY(!closeByFrame(&window()));
            QTest::keyClick(shown, Qt::Key_Escape);
            QVERIFY(!shown->isVisible());
        });
        closeAfter([&] {
            child<QPushButton>(dialog.button)->click();
            QTRY_VERIFY(commandCount(dialog.command) > 0);
            QVERIFY(queue().currentJob());
        });
        checkRestart();
    }

    void canBeClosedDuringFirmwareUpdate_data()
    {
        QTest::addColumn<QString>("rebootMs");
        QTest::addColumn<int>("progress");
        QTest::addRow("before the bootloader") << text("60000") << 0;
        QTest::addRow("during the transfer") << text("3000") << 5;
    }

    void canBeClosedDuringFirmwareUpdate()
    {
        QFETCH(QString, rebootMs);
        QFETCH(int, progress);
        QVERIFY(startPolling({text("--reboot-ms"), rebootMs, text("--boot-wait"), text("1000")}));
        prepareAnswers("updateFirmwareButton");
        dialogs().answerDialog(text("Please wait while update starts"), [=](QDialog *dialog) {
            QTRY_COMPARE(commandCount("reboot"), 1);
            QTRY_VERIFY(progress == 0
                        || (progressBar()->maximum() == 100 && progressBar()->value() >= progress));
            QVERIFY(!closeByFrame(&window()));
            QTest::keyClick(dialog, Qt::Key_Escape);
        });
        closeAfter([&] {
            QVERIFY(click("updateFirmwareButton"));
            QVERIFY(queue().currentJob());
        });
        QVERIFY(!contents(file(text("journal"))).contains("block 2000"));
        checkRestart();
    }

    void dialogBlocksMainWindowButNotReadings_data()
    {
        addDialogRows({readLog,
                       {"log file dialog", "readLogButton", "Select where to save log to", ""},
                       question,
                       fileDialog,
                       exportDialog});
    }

    void dialogBlocksMainWindowButNotReadings()
    {
        QFETCH(DialogRow, dialog);
        // Enough rows that the log is still being read while the dialog is answered.
        const bool duringJob = *dialog.command != 0;
        QVERIFY(startPolling({text("--log-rows"), text(duringJob ? "3000" : "300")}));
        dialogs().answerDialog(text(dialog.title), [=](QDialog *shown) {
            QVERIFY(!closeByFrame(&window()));
            // During a long operation, readings wait until it has finished. The log is cancelled
            // while its rows are read: earlier, a number of rows in the event queue would start
            // the reading again.
            if (duringJob) {
                QTRY_VERIFY(progressBar()->value() > 0);
            } else {
                QVERIFY(waitForReadings());
            }
            QVERIFY(shown->isVisible());
            QVERIFY(closeByFrame(shown));
        });
        closeAfter([&] {
            child<QPushButton>(dialog.button)->click();
            QVERIFY(waitForAnswers());
            QVERIFY(waitForReadings());
            QVERIFY(window().isVisible());
        });
        checkRestart();
    }

    void canBeClosedByCodeWhileDialogIsOpen_data()
    {
        addDialogRows({readLog, setClock, question, fileDialog, exportDialog});
    }

    void canBeClosedByCodeWhileDialogIsOpen()
    {
        QFETCH(DialogRow, dialog);
        QVERIFY(startPolling({text("--log-rows"), text("3000")}));
        dialogs().answerDialog(text(dialog.title), [&](QDialog *) { QVERIFY(window().close()); });
        QCOMPARE(runEventLoop([&] { child<QPushButton>(dialog.button)->click(); }), 0);
        QVERIFY(!savedPreference("graph to").isValid());
        QVERIFY(queue().serialPort()->isOpen());
        checkExit();
    }

    void messageBoxDuringPollBlocksNoReadings()
    {
        QVERIFY(startPolling());
        bool readingsArrived = false;
        dialogs().answerDialog(text("Kv tool"), [&](QDialog *dialog) {
            readingsArrived = waitForReadings();
            dialog->accept();
        });
        // Opened in a slot of the reading's signal, so that its event loop runs inside the
        // emission.
        const auto isFirst = std::make_shared<bool>(true);
        connect(&tool().handler, &SerialPortHandlerInterface::measurementsRead, &window(), [=] {
            if (*isFirst) {
                *isFirst = false;
                window().showMessageBox(QMessageBox::Warning, text("In the middle of a poll"));
            }
        });
        QVERIFY(waitForAnswers());
        QVERIFY(readingsArrived);

        QVERIFY(waitForReadings());
        // No reading was lost: each reply of the device is in the database.
        tool().controller.stopMeasurementPolling();
        QVERIFY(waitUntilIdle());
        QCOMPARE(storedReadings(), commandCount("show meas$"));
    }

    void messageBoxesOfTwoErrorsAreNested()
    {
        QVERIFY(startPolling());
        QStringList answeredTexts;
        for (int count = 0; count < 4; ++count) {
            dialogs().answerDialog(text("Kv tool"), [&](QDialog *dialog) {
                answeredTexts.append(qobject_cast<QMessageBox *>(dialog)->text());
                QTest::keyClick(dialog, Qt::Key_Return);
            });
        }
        emit tool().queue->error(text("one"));
        emit tool().queue->error(text("two"));
        QVERIFY(waitForAnswers());
        // All are open before the first is answered, and the last one is in front.
        const QString one = text("Error occurred with serial port communication: one");
        const QString two = text("Error occurred with serial port communication: two");
        QCOMPARE(answeredTexts, QStringList({two, two, one, one}));
        QVERIFY(isConnected());
        QVERIFY(waitForReadings());
    }

    void disconnectDuringWaitDialogRemovesItsJobs_data()
    {
        // Not setClock: its dialog closes before the clock is written.
        addDialogRows({readLog, writeSettings, backup, restore});
    }

    void disconnectDuringWaitDialogRemovesItsJobs()
    {
        QFETCH(DialogRow, dialog);
        QVERIFY(
            startPolling({text("--log-rows"), text("3000"), text("--write-ms"), text("60000")}));
        dialogs().answerDialog(text(dialog.title), [=](QDialog *shown) {
            QTRY_VERIFY(commandCount(dialog.command) > 0);
            // The dialog blocks the button, but the end of a firmware update, for example,
            // disconnects.
            QVERIFY(!click("disconnectButton"));
            emit window().disconnectClicked();
            QTRY_VERIFY(!queue().serialPort()->isOpen());
            QVERIFY(!queue().currentJob());
            QVERIFY(queue().jobs().isEmpty());
            QVERIFY(shown->isVisible());
            QVERIFY(press(cancelButton()));
        });
        prepareAnswers(dialog.button);
        child<QPushButton>(dialog.button)->click();
        QVERIFY(waitForAnswers());
        QVERIFY(!isConnected());
        QVERIFY(isVisible("connectButton"));
        QVERIFY(qstrcmp(dialog.button, backup.button) != 0 || !QFile::exists(chosenFile()));

        // The device continues to write settings; in the other cases it can be connected again.
        if (qstrcmp(dialog.button, writeSettings.button) != 0) {
            QVERIFY(connectByClick());
            QVERIFY(waitForReadings());
        }
    }

    void canBeDeletedWithJobsInQueue()
    {
        QVERIFY(startPolling({text("--fault"), text("silence@show health")}));
        QVERIFY(click("synchronizeButton"));
        QVERIFY(queue().currentJob());
        QVERIFY(!queue().jobs().isEmpty());
        const QWeakPointer<SerialPortJobInterface> running = queue().currentJob();
        m_tool.reset();
        QVERIFY(running.isNull());
    }

private:
    /// Runs @p steps in the program's event loop, closes the main window and checks the exit.
    void closeAfter(const std::function<void()> &steps)
    {
        const int code = runEventLoop([&] {
            steps();
            QVERIFY(closeByFrame(&window()));
            QVERIFY(!window().isVisible());
        });
        QCOMPARE(code, 0);
        checkExit();
    }

    void checkExit()
    {
        QVERIFY(!window().isVisible());
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(!topLevelWidget("MeasurementGraph")->isVisible());
        const QWeakPointer<SerialPortInterface> port = queue().serialPort();
        deleteTool();
        QVERIFY(port.isNull());
        QCOMPARE(sqliteOutput(text("pragma integrity_check")), QStringList(text("ok")));
    }

    /// Checks that the tool starts again with the same files and connects to the same device.
    void checkRestart()
    {
        device().control("fault clear");
        device().control("restart");
        QTRY_COMPARE(device().state("mode"), QByteArray("console"));
        QVERIFY(startTool());
        QVERIFY(connectByClick());
        QCOMPARE(fieldText("serialNumber").toLatin1(), device().setting("serial"));
    }
};

KV_TEST_MAIN(TestCloseWindow)
#include "tst_closewindow.moc"
