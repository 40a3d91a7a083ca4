// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtWidgets/QMessageBox>
#include <initializer_list>

namespace {

/// A button of the main window, the title of the dialog that it leads to, and for a wait dialog
/// the beginning of the command that the device then gets.
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

// One dialog of each other kind.
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

/// Every modal dialog runs an event loop of its own, in which timers and device traffic continue
/// while the code that opened the dialog is blocked. And the main window is closed during every
/// kind of activity: the program ends with 0, leaves an intact store and connects to the device
/// again at its next start.
class TestClosing : public ToolFixture
{
    Q_OBJECT

private slots:
    void closesDuringAConnect_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QByteArray>("command");
        QTest::addRow("first command") << text("silence@show swver") << QByteArray("show swver");
        QTest::addRow("model") << text("silence@show unit") << QByteArray("show unit");
        QTest::addRow("settings") << text("delay@show altitude:20000")
                                  << QByteArray("show altitude");
        QTest::addRow("clock") << text("silence@date") << QByteArray("date");
        // By its number, because the name is the beginning of another command's name.
        QTest::addRow("first reading") << text("silence@19") << QByteArray("show meas$");
    }

    void closesDuringAConnect()
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

    void closesInTheBoxOfAnUnknownModel()
    {
        QVERIFY(startDevice({text("--fault"), text("unknown-model")}) && startTool());
        dialogs().answerDialog(text("Kv tool"), [this](QDialog *) { QVERIFY(window().close()); });
        QCOMPARE(runProgram([this] { QVERIFY(click("connectButton")); }), 0);
    }

    void closesDuringAPoll()
    {
        QVERIFY(startConnected());
        const int readings = storedReadings();
        QVERIFY(device().fault("silence@show meas"));
        forgetCommands();
        closeAfter([&] {
            tool().controller.setMeasurementInterval(20);
            QTRY_COMPARE(commandCount("show meas$"), 1);
            QVERIFY(queue().currentJob());
        });
        QCOMPARE(storedReadings(), readings);
        checkRestart();
    }

    void closesRightAfterADisconnect()
    {
        QVERIFY(startPolling());
        closeAfter([&] { QVERIFY(click("disconnectButton")); });
        checkRestart();
    }

    void closesWhileACellIsEdited()
    {
        QVERIFY(startPolling());
        closeAfter([&] {
            const QTableWidgetItem *const item = setting("altitude");
            QLineEdit *const cell = editCell(editor(), item->row(), item->column());
            QVERIFY(cell != nullptr);
            QTest::keyClicks(cell, text("77"));
        });
        checkRestart();
        // The cell loses the focus with its window, so its value may be sent.
        for (const QString &command : commands().filter(text("set altitude"))) {
            QCOMPARE(command, text("set altitude=77"));
        }
    }

    void closesWithTheGraph()
    {
        QVERIFY(startPolling());
        closeAfter([&] {
            QVERIFY(click("buttonShowGraph"));
            QVERIFY(readingsArrive());
        });
        QVERIFY(rememberedValue("graph to").isValid());
        checkRestart();
    }

    void closesAfterEscapeHidTheWaitDialog_data()
    {
        addDialogRows({readLog, writeSettings, setClock, backup, restore});
    }

    void closesAfterEscapeHidTheWaitDialog()
    {
        QFETCH(DialogRow, dialog);
        QVERIFY(
            startPolling({text("--log-rows"), text("3000"), text("--write-ms"), text("60000")}));
        forgetCommands();
        prepareAnswers(dialog.button);
        // Escape hides the dialog alone, which had blocked the main window's frame.
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

    void closesAtEachStepOfAnUpdate_data()
    {
        QTest::addColumn<QString>("rebootMs");
        QTest::addColumn<int>("progress");
        QTest::addRow("before the bootloader") << text("60000") << 0;
        QTest::addRow("in the transfer") << text("3000") << 5;
    }

    void closesAtEachStepOfAnUpdate()
    {
        QFETCH(QString, rebootMs);
        QFETCH(int, progress);
        QVERIFY(startPolling({text("--reboot-ms"), rebootMs, text("--boot-wait"), text("1000")}));
        prepareAnswers("updateFirmwareButton");
        dialogs().answerDialog(text("Please wait while update starts"), [=](QDialog *dialog) {
            QTRY_COMPARE(commandCount("reboot"), 1);
            QTRY_VERIFY(progress == 0 || (bar()->maximum() == 100 && bar()->value() >= progress));
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

    void dialogBlocksTheFrameButNoReadings_data()
    {
        addDialogRows({readLog,
                       {"log file dialog", "readLogButton", "Select where to save log to", ""},
                       question,
                       fileDialog,
                       exportDialog});
    }

    void dialogBlocksTheFrameButNoReadings()
    {
        QFETCH(DialogRow, dialog);
        // Enough that the log is still being read while its dialog is answered.
        const bool duringJob = *dialog.command != 0;
        QVERIFY(startPolling({text("--log-rows"), text(duringJob ? "3000" : "300")}));
        dialogs().answerDialog(text(dialog.title), [=](QDialog *shown) {
            QVERIFY(!closeByFrame(&window()));
            // During a long operation readings wait for its end.
            QVERIFY(duringJob || readingsArrive());
            QVERIFY(shown->isVisible());
            QVERIFY(closeByFrame(shown));
        });
        closeAfter([&] {
            child<QPushButton>(dialog.button)->click();
            QVERIFY(waitForAnswers());
            QVERIFY(readingsArrive());
            QVERIFY(window().isVisible());
        });
        checkRestart();
    }

    void closesByCodeInADialog_data()
    {
        addDialogRows({readLog, setClock, question, fileDialog, exportDialog});
    }

    void closesByCodeInADialog()
    {
        QFETCH(DialogRow, dialog);
        QVERIFY(startPolling({text("--log-rows"), text("3000")}));
        dialogs().answerDialog(text(dialog.title), [&](QDialog *) { QVERIFY(window().close()); });
        QCOMPARE(runProgram([&] { child<QPushButton>(dialog.button)->click(); }), 0);
        QVERIFY(!rememberedValue("graph to").isValid());
        QVERIFY(queue().serialPort()->isOpen());
        checkEnd();
    }

    void boxFromAPollBlocksNothing()
    {
        QVERIFY(startPolling());
        bool arrived = false;
        dialogs().answerDialog(text("Kv tool"), [&](QDialog *dialog) {
            arrived = readingsArrive();
            dialog->accept();
        });
        // In the slot of the reading, so that the box nests in the delivery of the poll.
        const auto once = std::make_shared<bool>(true);
        connect(&tool().handler, &SerialPortHandlerInterface::measurementsRead, &window(), [=] {
            if (*once) {
                *once = false;
                window().showMessageBox(QMessageBox::Warning, text("In the middle of a poll"));
            }
        });
        QVERIFY(waitForAnswers());
        QVERIFY(arrived);

        QVERIFY(readingsArrive());
        // None was lost: each answer of the device is in the store.
        tool().controller.stopMeasurementPolling();
        QVERIFY(waitUntilQuiet());
        QCOMPARE(storedReadings(), commandCount("show meas$"));
    }

    void twoErrorsAreShownAboveEachOther()
    {
        QVERIFY(startPolling());
        QStringList answered;
        for (int count = 0; count < 4; ++count) {
            dialogs().answerDialog(text("Kv tool"), [&](QDialog *dialog) {
                answered.append(qobject_cast<QMessageBox *>(dialog)->text());
                QTest::keyClick(dialog, Qt::Key_Return);
            });
        }
        emit tool().queue->error(text("one"));
        emit tool().queue->error(text("two"));
        QVERIFY(waitForAnswers());
        // All are open before the first is answered, and the last one is in front.
        const QString one = text("Error occurred with serial port communication: one");
        const QString two = text("Error occurred with serial port communication: two");
        QCOMPARE(answered, QStringList({two, two, one, one}));
        QVERIFY(isConnected());
        QVERIFY(readingsArrive());
    }

    void disconnectInAWaitDialogEndsItsJob_data()
    {
        // The clock's dialog closes before the clock is written.
        addDialogRows({readLog, writeSettings, backup, restore});
    }

    void disconnectInAWaitDialogEndsItsJob()
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

        // A write continues in the device; after the other jobs it can be connected again.
        if (qstrcmp(dialog.button, writeSettings.button) != 0) {
            QVERIFY(connectByClick());
            QVERIFY(readingsArrive());
        }
    }

    void deletesObjectsWithJobsInTheQueue()
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
    /// Runs @p steps in the program's event loop, closes the main window and checks the end.
    void closeAfter(const std::function<void()> &steps)
    {
        const int code = runProgram([&] {
            steps();
            QVERIFY(closeByFrame(&window()));
            QVERIFY(!window().isVisible());
        });
        QCOMPARE(code, 0);
        checkEnd();
    }

    void checkEnd()
    {
        QVERIFY(!window().isVisible());
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(!topLevel("MeasurementGraph")->isVisible());
        const QWeakPointer<SerialPortInterface> port = queue().serialPort();
        endTool();
        QVERIFY(port.isNull());
        QCOMPARE(sqlite(text("pragma integrity_check")), QStringList(text("ok")));
    }

    /// Checks another start with the same files and device.
    void checkRestart()
    {
        device().control("fault clear");
        device().control("restart");
        QTRY_COMPARE(device().state("mode"), QByteArray("console"));
        QVERIFY(startTool());
        QVERIFY(connectByClick());
        QCOMPARE(field("serialNumber").toLatin1(), device().setting("serial"));
    }
};

KV_TEST_MAIN(TestClosing)
#include "tst_closing.moc"
