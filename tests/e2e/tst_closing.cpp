// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/e2e/dialogrows.h"
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

/// The main window is closed during every kind of activity: the program ends with 0, leaves an
/// intact store and connects to the device again at its next start.
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
        QVERIFY(startDevice({text("--fault"), fault}));
        QVERIFY(startTool());
        const int code = runProgram([&] {
            QVERIFY(click("connectButton"));
            QTRY_COMPARE(commandCount(command.constData()), 1);
            closeMainWindow();
        });
        QCOMPARE(code, 0);
        QCOMPARE(storedReadings(), 0);
        checkRestart();
    }

    void closesInTheBoxOfAnUnknownModel()
    {
        QVERIFY(startDevice({text("--fault"), text("unknown-model")}));
        QVERIFY(startTool());
        dialogs().answerDialog(text("Kv tool"), [this](QDialog *) { QVERIFY(window().close()); });
        QCOMPARE(runProgram([this] { QVERIFY(click("connectButton")); }), 0);
    }

    void closesDuringAPoll()
    {
        QVERIFY(startConnected());
        const int readings = storedReadings();
        QVERIFY(device().fault("silence@show meas"));
        forgetCommands();
        const int code = runProgram([&] {
            tool().controller.setMeasurementInterval(20);
            QTRY_COMPARE(commandCount("show meas$"), 1);
            QVERIFY(queue().currentJob());
            closeMainWindow();
        });
        QCOMPARE(code, 0);
        QCOMPARE(storedReadings(), readings);
        checkRestart();
    }

    void closesRightAfterADisconnect()
    {
        QVERIFY(startPolling());
        const int code = runProgram([&] {
            QVERIFY(click("disconnectButton"));
            closeMainWindow();
        });
        QCOMPARE(code, 0);
        checkRestart();
    }

    void closesWhileACellIsEdited()
    {
        QVERIFY(startPolling());
        const int code = runProgram([&] {
            const QTableWidgetItem *const item = setting("altitude");
            QLineEdit *const cell = editCell(editor(), item->row(), item->column());
            QVERIFY(cell != nullptr);
            QTest::keyClicks(cell, text("77"));
            closeMainWindow();
        });
        QCOMPARE(code, 0);
        checkRestart();
        // The cell loses the focus with its window, so its value may be sent.
        for (const QString &command : commands().filter(text("set altitude"))) {
            QCOMPARE(command, text("set altitude=77"));
        }
    }

    void closesWithTheGraph()
    {
        QVERIFY(startPolling());
        const int code = runProgram([&] {
            QVERIFY(click("buttonShowGraph"));
            QVERIFY(readingsArrive());
            closeMainWindow();
        });
        QCOMPARE(code, 0);
        QVERIFY(rememberedValue("graph to").isValid());
        checkRestart();
    }

    void closesAfterEscapeHidTheWaitDialog_data()
    {
        addDialogColumns();
        for (const DialogRow &row : waitDialogRows) {
            addDialogRow(row);
        }
    }

    void closesAfterEscapeHidTheWaitDialog()
    {
        QFETCH(QByteArray, button);
        QFETCH(QString, title);
        QFETCH(QByteArray, command);
        QVERIFY(
            startPolling({text("--log-rows"), text("3000"), text("--write-ms"), text("60000")}));
        forgetCommands();
        prepareAnswers(button);
        // Escape hides the dialog alone, which had blocked the main window's frame.
        dialogs().answerDialog(title, [this](QDialog *dialog) {
            QVERIFY(!closeByFrame(&window()));
            QTest::keyClick(dialog, Qt::Key_Escape);
            QVERIFY(!dialog->isVisible());
        });
        const int code = runProgram([&] {
            child<QPushButton>(button.constData())->click();
            QTRY_VERIFY(commandCount(command.constData()) > 0);
            QVERIFY(queue().currentJob());
            closeMainWindow();
        });
        QCOMPARE(code, 0);
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
        const int code = runProgram([&] {
            QVERIFY(click("updateFirmwareButton"));
            QVERIFY(queue().currentJob());
            closeMainWindow();
        });
        QCOMPARE(code, 0);
        QVERIFY(!contents(file(text("journal"))).contains("block 2000"));
        checkRestart();
    }

    void modalDialogBlocksTheFrame_data()
    {
        addDialogColumns();
        addDialogRow(waitDialogRows[0]);
        for (const DialogRow &row : otherDialogRows) {
            addDialogRow(row);
        }
    }

    void modalDialogBlocksTheFrame()
    {
        QFETCH(QByteArray, button);
        QFETCH(QString, title);
        QVERIFY(startPolling({text("--log-rows"), text("3000")}));
        dialogs().answerDialog(title, [this](QDialog *dialog) {
            QVERIFY(!closeByFrame(&window()));
            QVERIFY(dialog->isVisible());
            QVERIFY(closeByFrame(dialog));
        });
        const int code = runProgram([&] {
            child<QPushButton>(button.constData())->click();
            QVERIFY(dialogs().isSatisfied());
            QVERIFY(window().isVisible());
            closeMainWindow();
        });
        QCOMPARE(code, 0);
        checkRestart();
    }

    void closesByCodeInADialog_data()
    {
        addDialogColumns();
        addDialogRow(waitDialogRows[0]);
        addDialogRow(waitDialogRows[2]);
        for (const DialogRow &row : otherDialogRows) {
            addDialogRow(row);
        }
    }

    void closesByCodeInADialog()
    {
        QFETCH(QByteArray, button);
        QFETCH(QString, title);
        QVERIFY(startPolling({text("--log-rows"), text("300")}));
        dialogs().answerDialog(title, [&](QDialog *) { QVERIFY(window().close()); });
        QCOMPARE(runProgram([&] { child<QPushButton>(button.constData())->click(); }), 0);
        QVERIFY(dialogs().isSatisfied());
        QVERIFY(!rememberedValue("graph to").isValid());
        QVERIFY(queue().serialPort()->isOpen());
        checkState();
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
    void closeMainWindow()
    {
        QVERIFY(closeByFrame(&window()));
        QVERIFY(!window().isVisible());
    }

    /// Checks the state after the end of the program.
    void checkState()
    {
        QVERIFY(!window().isVisible());
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(!topLevel("MeasurementGraph")->isVisible());
        const QWeakPointer<SerialPortInterface> port = queue().serialPort();
        endTool();
        QVERIFY(port.isNull());
        QCOMPARE(sqlite(text("pragma integrity_check")), QStringList(text("ok")));
    }

    /// Checks the state after the end of the program, and another start with the same files and
    /// device.
    void checkRestart()
    {
        checkState();
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
