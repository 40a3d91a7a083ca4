// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/toolfixture.h"
#include "tests/kit/testmain.h"

#include <QtWidgets/QMessageBox>

namespace {

const QLatin1String portError("Error occurred with serial port communication: ");

} // namespace

/// Every modal dialog runs an event loop of its own, in which timers and device traffic go on and
/// the code that opened the dialog stands still.
class TestNestedLoops : public ToolFixture
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareApplication(); }
    void init() { beginCase(); }
    void cleanup() { endCase(); }

    void readingsGoOnUnderADialog_data();
    void readingsGoOnUnderADialog();
    void boxFromAPollHoldsUpNothing();
    void twoErrorsStandOnTopOfEachOther();
    void closingTheWindowEndsTheProgram_data();
    void closingTheWindowEndsTheProgram();
    void closingDuringTheReadsOfAConnect();
    void disconnectInTheMiddleOfEverything_data();
    void disconnectInTheMiddleOfEverything();
    void replyBehindTheDisconnectAsksTheClosedPort();
    void objectsGoWithJobsInTheQueue();

private:
    bool startPolling(const QStringList &options = QStringList());
    bool readingsArrive();
};

bool TestNestedLoops::startPolling(const QStringList &options)
{
    if (!startDevice(options) || !startTool()) {
        return false;
    }
    tool().controller.setMeasurementInterval(20);
    return connectByClick();
}

/// Whether readings reach the store, and the table shows the last one, while this is called.
bool TestNestedLoops::readingsArrive()
{
    table()->item(0, 1)->setText(QString());
    const int readings = storedReadings();
    return waitFor([=] { return storedReadings() >= readings + 2; })
        && !table()->item(0, 1)->text().isEmpty();
}

void TestNestedLoops::readingsGoOnUnderADialog_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<QString>("title");
    QTest::addRow("question") << QByteArray("eraseLogButton") << text("Clear log");
    QTest::addRow("file dialog") << QByteArray("readLogButton")
                                 << text("Select where to save log to");
    QTest::addRow("export dialog")
        << QByteArray("exportLocalMeasurementsButton") << text("Select measurements to export");
}

void TestNestedLoops::readingsGoOnUnderADialog()
{
    QFETCH(QByteArray, button);
    QFETCH(QString, title);
    QVERIFY(startPolling());
    bool arrived = false;
    dialogs().answerDialog(title, [&](QDialog *dialog) {
        arrived = readingsArrive();
        dialog->reject();
    });
    QVERIFY(click(button.constData()));
    QVERIFY(waitFor([this] { return dialogs().isSatisfied(); }));
    QVERIFY(arrived);
    QVERIFY(readingsArrive());
}

void TestNestedLoops::boxFromAPollHoldsUpNothing()
{
    QVERIFY(startPolling());
    bool arrived = false;
    dialogs().answerDialog(text("Kv tool"), [&](QDialog *dialog) {
        arrived = readingsArrive();
        dialog->accept();
    });
    // In the slot of the reading itself, so that the box nests in the delivery of the poll.
    const auto once = std::make_shared<bool>(true);
    connect(&tool().handler, &SerialPortHandlerInterface::measurementsRead, &window(), [=] {
        if (*once) {
            *once = false;
            window().showMessageBox(QMessageBox::Warning, text("In the middle of a poll"));
        }
    });
    QVERIFY(waitFor([this] { return dialogs().isSatisfied(); }));
    QVERIFY(arrived);

    QVERIFY(readingsArrive());
    // None was lost on the way: each answer of the device stands in the store.
    tool().controller.stopMeasurementPolling();
    QVERIFY(waitUntilQuiet());
    QCOMPARE(storedReadings(), commandCount("show meas$"));
}

void TestNestedLoops::twoErrorsStandOnTopOfEachOther()
{
    QVERIFY(startPolling());
    QStringList answered;
    int highest = 0;
    for (int count = 0; count < 4; ++count) {
        dialogs().answerDialog(text("Kv tool"), [&](QDialog *dialog) {
            int open = 0;
            const auto widgets = QApplication::topLevelWidgets();
            for (QWidget *widget : widgets) {
                open += qobject_cast<QMessageBox *>(widget) && widget->isVisible() ? 1 : 0;
            }
            highest = qMax(highest, open);
            answered.append(qobject_cast<QMessageBox *>(dialog)->text());
            QTest::keyClick(dialog, Qt::Key_Return);
        });
    }
    emit tool().queue->error(text("one"));
    emit tool().queue->error(text("two"));
    QVERIFY(waitFor([this] { return dialogs().isSatisfied(); }));
    QCOMPARE(highest, 4);
    // The last one to come lies on top.
    QCOMPARE(answered,
             QStringList({portError + text("two"), portError + text("two"), portError + text("one"),
                          portError + text("one")}));
    QVERIFY(readingsArrive());
}

void TestNestedLoops::closingTheWindowEndsTheProgram_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<QString>("dialog");
    QTest::addRow("nothing open") << QByteArray() << QString();
    QTest::addRow("wait dialog") << QByteArray("readLogButton") << text("Reading log, please wait");
    QTest::addRow("question") << QByteArray("eraseLogButton") << text("Clear log");
    QTest::addRow("file dialog") << QByteArray("backupEepromButton")
                                 << text("Select where to write eeprom backup");
    QTest::addRow("export dialog")
        << QByteArray("exportLocalMeasurementsButton") << text("Select measurements to export");
    QTest::addRow("graph") << QByteArray("buttonShowGraph") << QString();
    QTest::addRow("clock") << QByteArray("syncClockButton")
                           << text("Setting device clock, please wait");
}

void TestNestedLoops::closingTheWindowEndsTheProgram()
{
    QFETCH(QByteArray, button);
    QFETCH(QString, dialog);
    QVERIFY(startPolling({text("--log-rows"), text("300")}));
    bool met = dialog.isEmpty();
    if (!dialog.isEmpty()) {
        dialogs().answerDialog(dialog, [&](QDialog *) {
            met = true;
            QVERIFY(window().close());
        });
    }
    const int code = runProgram([&] {
        if (!button.isEmpty()) {
            child<QPushButton>(button.constData())->click();
        }
        if (dialog.isEmpty()) {
            QVERIFY(readingsArrive());
            QVERIFY(window().close());
        }
    });
    QCOMPARE(code, 0);
    QVERIFY(met);
    QVERIFY(!window().isVisible());
    QVERIFY(!waitDialog()->isVisible());
    QVERIFY(!topLevel("MeasurementGraph")->isVisible());
    QCOMPARE(rememberedValue("graph to").isValid(), button == "buttonShowGraph");

    // The rest of main: everything goes while the port is open, and jobs may wait.
    const QWeakPointer<SerialPortInterface> port = queue().serialPort();
    QVERIFY(port.toStrongRef()->isOpen());
    m_tool.reset();
    QVERIFY(port.isNull());
    QCOMPARE(sqlite(text("pragma integrity_check")), QStringList(text("ok")));
}

void TestNestedLoops::closingDuringTheReadsOfAConnect()
{
    QVERIFY(startDevice({text("--fault"), text("unknown-model")}));
    QVERIFY(startTool());
    dialogs().answerDialog(text("Kv tool"), [this](QDialog *) { QVERIFY(window().close()); });
    const int code = runProgram([this] { QVERIFY(click("connectButton")); });
    QCOMPARE(code, 0);
    m_tool.reset();
}

void TestNestedLoops::disconnectInTheMiddleOfEverything_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QByteArray>("running");
    QTest::addRow("log") << QByteArray("readLogButton") << text("Reading log, please wait")
                         << QByteArray("log --read=");
    QTest::addRow("write") << QByteArray("writeToEepromButton")
                           << text("Writing data to eeprom, please wait")
                           << QByteArray("write --really");
    QTest::addRow("backup") << QByteArray("backupEepromButton")
                            << text("Waiting for eeprom backup to be created from the device")
                            << QByteArray("eeprom --read_block");
}

void TestNestedLoops::disconnectInTheMiddleOfEverything()
{
    QFETCH(QByteArray, button);
    QFETCH(QString, title);
    QFETCH(QByteArray, running);
    QVERIFY(startPolling({text("--log-rows"), text("3000"), text("--write-ms"), text("60000")}));
    dialogs().answerDialog(title, [=](QDialog *dialog) {
        QTRY_VERIFY(commandCount(running.constData()) > 0);
        // Behind the dialog no hand reaches the button; the end of a firmware update and the like
        // do.
        QVERIFY(!click("disconnectButton"));
        emit window().disconnectClicked();
        QTRY_VERIFY(!queue().serialPort()->isOpen());
        QVERIFY(!queue().currentJob());
        QVERIFY(queue().jobs().isEmpty());
        QVERIFY(dialog->isVisible());
        QVERIFY(press(cancelButton()));
    });
    if (button == "writeToEepromButton") {
        dialogs().answerBox(text("write settings to EEPROM"), text("Yes"));
    } else if (button == "backupEepromButton") {
        dialogs().answerFileDialog(text("Select where to write eeprom backup"),
                                   file(text("backup.dat")));
    }
    child<QPushButton>(button.constData())->click();
    QVERIFY(waitFor([this] { return dialogs().isSatisfied(); }));
    QVERIFY(!isConnected());
    QVERIFY(isVisible("connectButton"));
    QVERIFY(!QFile::exists(file(text("backup.dat"))));

    // A write that the device is at goes on there; the others leave it free to be connected anew.
    if (button != "writeToEepromButton") {
        QVERIFY(connectByClick());
        QVERIFY(readingsArrive());
    }
}

void TestNestedLoops::replyBehindTheDisconnectAsksTheClosedPort()
{
    QVERIFY(startPolling());
    QVERIFY(disconnectByClick());
    // The handler stays connected for its life: a count that was on its way asks for the rows.
    QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QSerialPort): device not open");
    emit queue().valueRead(SerialPortValueType::ValueLogCount, 3);
    QCoreApplication::sendPostedEvents();
    QVERIFY(queue().currentJob());
    QCOMPARE(queue().jobs().size(), 3);
    // Before the first of them is sent again.
    tool().handler.cancelLogRead();

    forgetCommands();
    QVERIFY(connectByClick());
    QVERIFY(readingsArrive());
    QCOMPARE(commandCount("log"), 0);
}

void TestNestedLoops::objectsGoWithJobsInTheQueue()
{
    QVERIFY(startPolling({text("--fault"), text("silence@show health")}));
    QVERIFY(click("synchronizeButton"));
    QVERIFY(queue().currentJob());
    QVERIFY(!queue().jobs().isEmpty());
    const QWeakPointer<SerialPortJobInterface> running = queue().currentJob();
    m_tool.reset();
    QVERIFY(running.isNull());
}

KV_TEST_MAIN(TestNestedLoops)
#include "tst_nestedloops.moc"
