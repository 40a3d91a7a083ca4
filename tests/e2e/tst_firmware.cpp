// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

namespace {

constexpr int memoryBytes = 65535;

const QLatin1String question("Are you sure you wish to continue?");
const QLatin1String startTitle("Please wait while update starts");
const QLatin1String manualTitle("Please reboot the device manually");
const QLatin1String transferTitle("Updating firmware, please wait.");
const QLatin1String failure("Firmware update failed due to unknown reason");

/// Options of a device that receives an image of @p size bytes, whose reset and wait for the
/// image are longer than the delays of a busy machine.
QStringList forImage(int size)
{
    return {text("--image-size"), QString::number(size), text("--reboot-ms"),
            text("300"),          text("--boot-wait"),   text("1000")};
}

} // namespace

/// The three risky jobs: firmware, backup of the device's memory, and its restore.
class TestFirmware : public ToolFixture
{
    Q_OBJECT

private slots:
    void refusedQuestionChangesNothing()
    {
        QVERIFY(startConnected());
        tool().controller.setMeasurementInterval(10);
        dialogs().answerBox(question, text("No"));
        QVERIFY(click("updateFirmwareButton"));
        const int readings = storedReadings();
        QTRY_VERIFY(storedReadings() > readings);
    }

    void emptyImageIsReportedAndRemembered()
    {
        QVERIFY(startConnected());
        const QString path = imageFile(0);
        chooseImage(path);
        dialogs().answerBox(text("Selected firmware is empty!"), text("OK"));
        QVERIFY(click("updateFirmwareButton"));
        QCOMPARE(rememberedValue("firmware path").toString(), path);
        QCOMPARE(commandCount("reboot"), 0);
    }

    void missingImageIsReported()
    {
        QVERIFY(startConnected());
        const QString path = imageFile(16);
        dialogs().answerBox(question, text("Yes"));
        dialogs().answerDialog(text("Select firmware file"), [=](QDialog *dialog) {
            dialog->findChild<QLineEdit *>(text("fileNameEdit"))->setText(path);
            QVERIFY(QFile::remove(path));
            dialog->done(QDialog::Accepted);
        });
        dialogs().answerBox(text("Unable to open firmware!"), text("OK"));
        QVERIFY(click("updateFirmwareButton"));
        QVERIFY(!rememberedValue("firmware path").isValid());
        QCOMPARE(commandCount("reboot"), 0);
    }

    void connectedDeviceIsUpdated()
    {
        constexpr int size = 1000; // not a multiple of a block
        QVERIFY(startConnected(forImage(size)
                               + QStringList{text("--image"), file(text("received.bin"))}));
        chooseImage(imageFile(size));
        QStringList titles;
        connect(waitDialog(), &QWidget::windowTitleChanged, this,
                [&](const QString &title) { titles.append(title); });
        QList<int> progress;
        connect(bar(), &QProgressBar::valueChanged, this,
                [&](int value) { progress.append(value); });
        dialogs().answerBox(text("Firmware updated"), text("OK"));
        QVERIFY(click("updateFirmwareButton"));
        QTRY_VERIFY(!isConnected());
        QCOMPARE(titles, QStringList({QString(startTitle), QString(transferTitle)}));
        QVERIFY(progress.size() > 10);
        QVERIFY(!waitDialog()->isVisible());
        QTRY_COMPARE(received(), files::pseudoRandomBytes(size));
        QTRY_VERIFY(!queue().serialPort()->isOpen());

        QTRY_COMPARE(device().state("mode"), QByteArray("console"));
        QVERIFY(connectByClick());
    }

    void waitingDeviceIsUpdatedWithoutAConnect()
    {
        constexpr int size = 64;
        QVERIFY(startDevice({text("--image-size"), QString::number(size), text("--image"),
                             file(text("received.bin")), text("--boot-wait"), text("2000")}));
        QVERIFY(startTool());
        chooseImage(imageFile(size));
        // The user switches the device off and on.
        dialogs().answerDialog(manualTitle, [this](QDialog *) { device().control("restart"); });
        dialogs().answerBox(text("Firmware updated"), text("OK"));
        QVERIFY(click("updateFirmwareButton"));
        QTRY_COMPARE(received(), files::pseudoRandomBytes(size));
        QVERIFY(waitForAnswers());
    }

    void withoutAPortNothingIsOpened()
    {
        QVERIFY(startTool());
        child<QComboBox>("serialPorts")->clear();
        chooseImage(imageFile(16));
        dialogs().answerBox(text("Unable to open serial port: "), text("OK"));
        QVERIFY(click("updateFirmwareButton"));
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(queue().serialPort().isNull());
    }

    void failedBlockEndsTheUpdate_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<int>("block");
        QTest::addRow("refused") << text("block-refused@3") << 3;
        QTest::addRow("unanswered") << text("block-unanswered@2") << 2;
    }

    void failedBlockEndsTheUpdate()
    {
        QFETCH(QString, fault);
        QFETCH(int, block);
        QVERIFY(startConnected(forImage(400) + QStringList{text("--fault"), fault}));
        chooseImage(imageFile(400));
        dialogs().answerBox(failure, text("OK"));
        QVERIFY(click("updateFirmwareButton"));
        QVERIFY(waitForAnswers());
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(isIdle());
        const QByteArray journal = contents(file(text("journal")));
        QVERIFY(journal.contains("block " + QByteArray::number(block) + ", 16 bytes"));
        QVERIFY(!journal.contains("block " + QByteArray::number(block + 1)));
        QVERIFY(isConnected());
    }

    void starAfterTheLastBlockKeepsTheDialogOpen()
    {
        constexpr int size = 160;
        QVERIFY(startConnected(forImage(size)
                               + QStringList{text("--image"), file(text("received.bin")),
                                             text("--fault"), text("final-star")}));
        chooseImage(imageFile(size));
        // No reply reports the end: the full bar stays until the user cancels.
        bool stayed = false;
        const auto watch = atProgress(100, [&] {
            QTRY_COMPARE(received(), files::pseudoRandomBytes(size));
            QVERIFY(waitUntilQuiet());
            stayed = waitDialog()->isVisible();
            QVERIFY(press(cancelButton()));
        });
        QVERIFY(click("updateFirmwareButton"));
        disconnect(watch);
        QVERIFY(stayed);
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(isConnected());
    }

    void cancelledWaitForTheBootloaderEndsTheUpdate()
    {
        QVERIFY(startConnected({text("--reboot-ms"), text("60000")}));
        chooseImage(imageFile(400));
        dialogs().answerDialog(startTitle, [this](QDialog *) {
            QTRY_COMPARE(queue().jobs().size(), 25);
            QVERIFY(press(cancelButton()));
        });
        QVERIFY(click("updateFirmwareButton"));
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(isIdle());
        QVERIFY(isConnected());
    }

    void cancelledTransferEndsTheUpdate()
    {
        QVERIFY(startConnected(forImage(8000)));
        chooseImage(imageFile(16 * 500));
        const auto watch = atProgress(20, [] { QVERIFY(closeByFrame(waitDialog())); });
        QVERIFY(click("updateFirmwareButton"));
        disconnect(watch);
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(isIdle());
        QVERIFY(!contents(file(text("journal"))).contains("block 500"));
    }

    void pollingStopsUntilTheNextConnect_data()
    {
        QTest::addColumn<bool>("refused");
        QTest::addRow("after a cancel") << false;
        QTest::addRow("after a failure") << true;
    }

    void pollingStopsUntilTheNextConnect()
    {
        QFETCH(bool, refused);
        QVERIFY(startDevice(forImage(8000)));
        QVERIFY(startTool());
        tool().controller.setMeasurementInterval(10);
        QVERIFY(connectByClick());
        QTRY_VERIFY(storedReadings() > 2);
        chooseImage(imageFile(16 * 500));
        if (refused) {
            QVERIFY(device().fault("block-refused@9"));
            dialogs().answerBox(failure, text("OK"));
        }
        const auto watch = atProgress(20, [this] { QVERIFY(press(cancelButton())); });
        QVERIFY(click("updateFirmwareButton"));
        disconnect(watch);
        QVERIFY(waitForAnswers());

        QSignalSpy polls(&tool().controller, &MainWindowController::measurementPollStarted);
        QTRY_COMPARE(device().state("mode"), QByteArray("console"));
        QVERIFY(click("synchronizeButton"));
        QVERIFY(waitUntilQuiet());
        QVERIFY(polls.isEmpty());

        QVERIFY(disconnectByClick());
        QVERIFY(connectByClick());
        QTRY_VERIFY(polls.size() > 2);
    }

    void waitsForADeviceAtAPortThatDoesNotOpen()
    {
        QVERIFY(startTool());
        choosePort(text("/dev/pts/there-is-none"));
        chooseImage(imageFile(100));
        dialogs().answerBox(text("Unable to open port!"), text("OK"));
        dialogs().answerDialog(manualTitle, [this](QDialog *) {
            QVERIFY(queue().currentJob());
            QVERIFY(press(cancelButton()));
        });
        QVERIFY(click("updateFirmwareButton"));
        QVERIFY(isIdle());
    }

    void updateAfterADisconnectUsesTheClosedPort()
    {
        QVERIFY(startConnected());
        QVERIFY(disconnectByClick());
        chooseImage(imageFile(100));
        QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QSerialPort): device not open");
        // The tool only checks that it was connected once.
        dialogs().answerDialog(startTitle, [this](QDialog *) { QVERIFY(press(cancelButton())); });
        QVERIFY(click("updateFirmwareButton"));
        QVERIFY(queue().jobs().isEmpty());
        // The cancel leaves the restart waiting for its answer; the next connect removes it.
        QCOMPARE(queue().currentJob()->type(), SerialPortJobType::JobReboot);
        QVERIFY(connectByClick());
        QCOMPARE(commandCount("reboot"), 0);
    }

    void memoryIsBackedUpIntoAFile()
    {
        QVERIFY(startConnected());
        const QString path = file(text("backup.dat"));
        QVERIFY(!hiddenButton("backupEepromButton")->isVisible());
        QSignalSpy cancels(&window(), &MainWindow::waitDialogCancelled);
        dialogs().answerFileDialog(text("Select where to write eeprom backup"), path);
        hiddenButton("backupEepromButton")->click();
        QTRY_COMPARE(contents(path).size(), 4 + memoryBytes);
        QVERIFY(!waitDialog()->isVisible());
        // The report of the last block closes the dialog, which cancels the job that reports.
        QCOMPARE(cancels.size(), 1);
        QVERIFY(waitUntilQuiet());
        QCOMPARE(commandCount("eeprom --read_block"), 1024);
        QCOMPARE(contents(path).left(4), QByteArray("\x00\x00\xff\xff", 4));

        // Each block is stored at the offset of its number, over all but the first byte of the one
        // before.
        const QByteArray memory = deviceMemory();
        QByteArray image(memoryBytes, '\0');
        for (int block = 0; block < 1024; ++block) {
            image.replace(block, 64, memory.mid(block * 64, 64));
        }
        QCOMPARE(contents(path).mid(4), image);
        QVERIFY(click("synchronizeButton"));
        QVERIFY(waitUntilQuiet());
        QVERIFY(isConnected());
    }

    void cancelledBackupLeavesNoFile()
    {
        QVERIFY(startConnected());
        const QString path = file(text("backup.dat"));
        dialogs().answerFileDialog(text("Select where to write eeprom backup"), path);
        const auto watch = atProgress(10, [this] { QVERIFY(press(cancelButton())); });
        hiddenButton("backupEepromButton")->click();
        disconnect(watch);
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(waitUntilQuiet());
        QVERIFY(!QFile::exists(path));
        QCOMPARE(rememberedValue("eeprom filename").toString(), path);
        QVERIFY(commandCount("eeprom --read_block") < 1024);
    }

    void fileIsRestoredIncludingItsLength()
    {
        QVERIFY(startConnected());
        const QString path = file(text("backup.dat"));
        const QByteArray image =
            QByteArray("\x00\x00\xff\xff", 4) + files::pseudoRandomBytes(memoryBytes);
        QVERIFY(write(path, image));
        dialogs().answerFileDialog(text("Select eeprom backup file"), path);
        hiddenButton("restoreEepromButton")->click();
        QTRY_VERIFY(!waitDialog()->isVisible());
        QVERIFY(waitUntilQuiet());
        QCOMPARE(commandCount("eeprom --write_block"), 1024);
        QCOMPARE(deviceMemory().size(), 65536);
        QVERIFY(deviceMemory() == image.left(65536));
    }

    void cancelledRestoreStopsHalfWay()
    {
        QVERIFY(startConnected());
        const QString path = file(text("backup.dat"));
        const QByteArray image = files::pseudoRandomBytes(65536);
        QVERIFY(write(path, image));
        dialogs().answerFileDialog(text("Select eeprom backup file"), path);
        const auto watch = atProgress(10, [] { QVERIFY(closeByFrame(waitDialog())); });
        hiddenButton("restoreEepromButton")->click();
        disconnect(watch);
        QVERIFY(waitUntilQuiet());
        QVERIFY(commandCount("eeprom --write_block") < 1024);
        QVERIFY(deviceMemory().left(64 * 64) == image.left(64 * 64));
        QVERIFY(deviceMemory() != image);
    }

private:
    QString imageFile(int size)
    {
        const QString path = file(text("image.bin"));
        return write(path, files::pseudoRandomBytes(size)) ? path : QString();
    }

    void chooseImage(const QString &path)
    {
        dialogs().answerBox(question, text("Yes"));
        dialogs().answerFileDialog(text("Select firmware file"), path);
    }

    QByteArray received() { return contents(file(text("received.bin"))); }

    QByteArray deviceMemory() { return QByteArray::fromHex(device().control("memory").join()); }

    QPushButton *hiddenButton(const char *name) { return child<QPushButton>(name); }
};

KV_TEST_MAIN(TestFirmware)
#include "tst_firmware.moc"
