// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/toolfixture.h"
#include "tests/kit/testmain.h"

namespace {

constexpr int memoryBytes = 65536;
constexpr int imageBytes = 16 * 2000;

const QLatin1String questionOfWrite("Are you sure you want to write settings to EEPROM?");
const QLatin1String questionOfFirmware("Are you sure you wish to continue?");

} // namespace

/// The main window is closed by its frame in the middle of everything that it can be closed in: the
/// program ends with 0, leaves a whole store behind and finds the device again at its next start.
class TestClosing : public ToolFixture
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareApplication(); }
    void init() { beginCase(); }
    void cleanup() { endCase(); }

    void duringAConnect_data();
    void duringAConnect();
    void duringAPoll();
    void rightAfterADisconnect();
    void whileACellIsEdited();
    void whileTheGraphIsOpen();
    void behindAHiddenWaitDialog_data();
    void behindAHiddenWaitDialog();
    void atEachStepOfAnUpdate_data();
    void atEachStepOfAnUpdate();
    void notBehindAModalDialog_data();
    void notBehindAModalDialog();

private:
    bool startPolling(const QStringList &options = QStringList());
    void closeMainWindow();
    void checkWhatIsLeft();
    void prepare(const QByteArray &button);
};

bool TestClosing::startPolling(const QStringList &options)
{
    if (!startDevice(options) || !startTool()) {
        return false;
    }
    tool().controller.setMeasurementInterval(20);
    return connectByClick();
}

void TestClosing::closeMainWindow()
{
    QVERIFY(closeByFrame(&window()));
    QVERIFY(!window().isVisible());
}

/// The rest of main, and another start on the same files with the same device.
void TestClosing::checkWhatIsLeft()
{
    QVERIFY(!window().isVisible());
    QVERIFY(!waitDialog()->isVisible());
    QVERIFY(!topLevel("MeasurementGraph")->isVisible());
    const QWeakPointer<SerialPortInterface> port = queue().serialPort();
    m_tool.reset();
    QVERIFY(port.isNull());
    QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    QCOMPARE(sqlite(text("pragma integrity_check")), QStringList(text("ok")));

    device().control("fault clear");
    device().control("restart");
    QTRY_COMPARE(device().state("mode"), QByteArray("console"));
    QVERIFY(startTool());
    QVERIFY(connectByClick());
    QCOMPARE(field("serialNumber").toLatin1(), device().setting("serial"));
}

/// What opens and has to be answered on the way to the wait dialog of @p button.
void TestClosing::prepare(const QByteArray &button)
{
    const QString path = file(text("memory.dat"));
    if (button == "writeToEepromButton") {
        dialogs().answerBox(questionOfWrite, text("Yes"));
    } else if (button == "backupEepromButton") {
        dialogs().answerFileDialog(text("Select where to write eeprom backup"), path);
    } else if (button == "restoreEepromButton") {
        QVERIFY(write(path, QByteArray(memoryBytes, 'm')));
        dialogs().answerFileDialog(text("Select eeprom backup file"), path);
    } else if (button == "updateFirmwareButton") {
        QVERIFY(write(path, QByteArray(imageBytes, 'f')));
        dialogs().answerBox(questionOfFirmware, text("Yes"));
        dialogs().answerFileDialog(text("Select firmware file"), path);
    }
}

void TestClosing::duringAConnect_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<QByteArray>("command");
    QTest::addRow("first command") << QByteArray("silence@show swver") << QByteArray("show swver");
    QTest::addRow("model") << QByteArray("silence@show unit") << QByteArray("show unit");
    QTest::addRow("settings") << QByteArray("delay@show altitude:20000")
                              << QByteArray("show altitude");
    QTest::addRow("clock") << QByteArray("silence@date") << QByteArray("date");
    // Not by its name, which the state's begins with too.
    QTest::addRow("first reading") << QByteArray("silence@19") << QByteArray("show meas$");
}

void TestClosing::duringAConnect()
{
    QFETCH(QByteArray, fault);
    QFETCH(QByteArray, command);
    QVERIFY(startDevice({text("--fault"), QString::fromLatin1(fault)}));
    QVERIFY(startTool());
    const int code = runProgram([&] {
        QVERIFY(click("connectButton"));
        QTRY_COMPARE(commandCount(command.constData()), 1);
        closeMainWindow();
    });
    QCOMPARE(code, 0);
    QCOMPARE(storedReadings(), 0);
    checkWhatIsLeft();
}

void TestClosing::duringAPoll()
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
    checkWhatIsLeft();
}

void TestClosing::rightAfterADisconnect()
{
    QVERIFY(startPolling());
    const int code = runProgram([&] {
        QVERIFY(click("disconnectButton"));
        closeMainWindow();
    });
    QCOMPARE(code, 0);
    checkWhatIsLeft();
}

void TestClosing::whileACellIsEdited()
{
    QVERIFY(startPolling());
    const int code = runProgram([&] {
        const QPoint cell = editor()->visualItemRect(setting("altitude")).center();
        QTest::mouseClick(editor()->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
        QTest::mouseDClick(editor()->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
        auto *const line = editor()->findChild<QLineEdit *>();
        QVERIFY(line != nullptr);
        QTest::keyClicks(line, text("77"));
        closeMainWindow();
    });
    QCOMPARE(code, 0);
    checkWhatIsLeft();
    // The cell loses the focus with its window, and so its value is sent where there is time to.
    for (const QString &command : commands().filter(text("set altitude"))) {
        QCOMPARE(command, text("set altitude=77"));
    }
}

void TestClosing::whileTheGraphIsOpen()
{
    QVERIFY(startPolling());
    const int code = runProgram([&] {
        QVERIFY(click("buttonShowGraph"));
        const int readings = storedReadings();
        QTRY_VERIFY(storedReadings() > readings);
        closeMainWindow();
    });
    QCOMPARE(code, 0);
    QVERIFY(rememberedValue("graph to").isValid());
    checkWhatIsLeft();
}

void TestClosing::behindAHiddenWaitDialog_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QByteArray>("running");
    QTest::addRow("log") << QByteArray("readLogButton") << text("Reading log, please wait")
                         << QByteArray("log --read=");
    QTest::addRow("write") << QByteArray("writeToEepromButton")
                           << text("Writing data to eeprom, please wait")
                           << QByteArray("write --really");
    QTest::addRow("clock") << QByteArray("syncClockButton")
                           << text("Setting device clock, please wait") << QByteArray("date 2");
    QTest::addRow("backup") << QByteArray("backupEepromButton")
                            << text("Waiting for eeprom backup to be created from the device")
                            << QByteArray("eeprom --read_block");
    QTest::addRow("restore") << QByteArray("restoreEepromButton")
                             << text("Waiting for eeprom backup to be written to device from file")
                             << QByteArray("eeprom --write_block");
}

void TestClosing::behindAHiddenWaitDialog()
{
    QFETCH(QByteArray, button);
    QFETCH(QString, title);
    QFETCH(QByteArray, running);
    QVERIFY(startPolling({text("--log-rows"), text("3000"), text("--write-ms"), text("60000")}));
    forgetCommands();
    prepare(button);
    // Escape takes the dialog alone away, and with it what keeps the main window's frame shut.
    dialogs().answerDialog(title, [this](QDialog *dialog) {
        QVERIFY(!closeByFrame(&window()));
        QTest::keyClick(dialog, Qt::Key_Escape);
        QVERIFY(!dialog->isVisible());
    });
    const int code = runProgram([&] {
        child<QPushButton>(button.constData())->click();
        QTRY_VERIFY(commandCount(running.constData()) > 0);
        QVERIFY(queue().currentJob());
        closeMainWindow();
    });
    QCOMPARE(code, 0);
    checkWhatIsLeft();
}

void TestClosing::atEachStepOfAnUpdate_data()
{
    QTest::addColumn<QByteArray>("rebootMs");
    QTest::addColumn<int>("progress");
    QTest::addRow("before the bootloader") << QByteArray("60000") << 0;
    QTest::addRow("in the transfer") << QByteArray("3000") << 5;
}

void TestClosing::atEachStepOfAnUpdate()
{
    QFETCH(QByteArray, rebootMs);
    QFETCH(int, progress);
    QVERIFY(startPolling(
        {text("--reboot-ms"), QString::fromLatin1(rebootMs), text("--boot-wait"), text("1000")}));
    prepare("updateFirmwareButton");
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
    checkWhatIsLeft();
}

void TestClosing::notBehindAModalDialog_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<QString>("title");
    QTest::addRow("wait dialog") << QByteArray("readLogButton") << text("Reading log, please wait");
    QTest::addRow("question") << QByteArray("eraseLogButton") << text("Clear log");
    QTest::addRow("file dialog") << QByteArray("backupEepromButton")
                                 << text("Select where to write eeprom backup");
    QTest::addRow("export dialog")
        << QByteArray("exportLocalMeasurementsButton") << text("Select measurements to export");
}

void TestClosing::notBehindAModalDialog()
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
    checkWhatIsLeft();
}

KV_TEST_MAIN(TestClosing)
#include "tst_closing.moc"
