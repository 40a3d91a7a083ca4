// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

namespace {

constexpr int backupBytes = 65535;

const QLatin1String question("Are you sure you wish to continue?");

/// The file dialog of a button, and the key under which the file is remembered.
struct FileDialog
{
    const char *button;
    const char *caption;
    const char *key;
};

constexpr FileDialog firmwareDialog{"updateFirmwareButton", "Select firmware file",
                                    "firmware path"};
constexpr FileDialog restoreDialog{"restoreEepromButton", "Select eeprom backup file",
                                   "eeprom filename"};
constexpr FileDialog backupDialog{"backupEepromButton", "Select where to write eeprom backup",
                                  "eeprom filename"};

} // namespace

/// The three risky operations: firmware update, backup and restore of the EEPROM.
class TestFirmware : public ToolFixture
{
    Q_OBJECT

private slots:
    void answeringNoChangesNothing()
    {
        QVERIFY(startPolling());
        dialogs().answerMessageBox(question, text("No"));
        QVERIFY(click("updateFirmwareButton"));
        QVERIFY(waitForReadings());
    }

    void cancelledFileDialogChangesNothing()
    {
        QVERIFY(startConnected());
        clearCommands();
        for (const FileDialog &dialog : {firmwareDialog, restoreDialog, backupDialog}) {
            if (qstrcmp(dialog.button, firmwareDialog.button) == 0) {
                dialogs().answerMessageBox(question, text("Yes"));
            }
            dialogs().answerDialog(text(dialog.caption),
                                   [](QDialog *shown) { QVERIFY(closeByFrame(shown)); });
            child<QPushButton>(dialog.button)->click();
            QVERIFY(waitForAnswers());
            QVERIFY(!savedPreference(dialog.key).isValid());
            QVERIFY(!waitDialog()->isVisible());
        }
        QVERIFY(waitUntilIdle());
        QCOMPARE(commands(), QStringList());
    }

    void emptyFileIsReportedAndRemembered()
    {
        QVERIFY(startConnected());
        clearCommands();
        for (const FileDialog &dialog : {firmwareDialog, restoreDialog}) {
            prepareAnswers(dialog.button);
            QVERIFY(write(chosenFile(), QByteArray()));
            dialogs().answerMessageBox(text("Selected firmware is empty!"), text("OK"));
            child<QPushButton>(dialog.button)->click();
            QVERIFY(waitForAnswers());
            QCOMPARE(savedPreference(dialog.key).toString(), chosenFile());
        }
        QVERIFY(waitUntilIdle());
        QCOMPARE(commands(), QStringList());
    }

    void missingFirmwareFileIsReported()
    {
        QVERIFY(startConnected());
        QVERIFY(write(imagePath(), "image"));
        dialogs().answerMessageBox(question, text("Yes"));
        dialogs().answerDialog(text("Select firmware file"), [=](QDialog *dialog) {
            childWidget<QLineEdit>(dialog, "fileNameEdit")->setText(imagePath());
            QVERIFY(QFile::remove(imagePath()));
            dialog->done(QDialog::Accepted);
        });
        dialogs().answerMessageBox(text("Unable to open firmware!"), text("OK"));
        QVERIFY(click("updateFirmwareButton"));
        QVERIFY(!savedPreference("firmware path").isValid());
        QCOMPARE(commandCount("reboot"), 0);
    }

    void connectedDeviceCanBeUpdated()
    {
        constexpr int size = 1000; // not a multiple of a block
        QVERIFY(startReceiver(size));
        prepareImage(size);
        const QSignalSpy titles(waitDialog(), &QWidget::windowTitleChanged);
        const QSignalSpy progress(progressBar(), &QProgressBar::valueChanged);
        dialogs().answerMessageBox(text("Firmware updated"), text("OK"));
        QVERIFY(click("updateFirmwareButton"));
        QTRY_VERIFY(!isConnected());
        QCOMPARE(titles.size(), 2);
        QCOMPARE(titles.at(0).first().toString(), text("Please wait while update starts"));
        QCOMPARE(titles.at(1).first().toString(), text("Updating firmware, please wait."));
        QVERIFY(progress.size() > 10);
        QVERIFY(!waitDialog()->isVisible());
        QTRY_COMPARE(received(), FileIo::pseudoRandomBytes(size));
        QTRY_VERIFY(!queue().serialPort()->isOpen());

        QTRY_COMPARE(device().state("mode"), QByteArray("console"));
        QVERIFY(connectByClick());
    }

    void deviceCanBeUpdatedWithoutConnection()
    {
        constexpr int size = 64;
        QVERIFY(startDevice({text("--image-size"), QString::number(size), text("--image"),
                             file(text("received.bin")), text("--boot-wait"), text("2000")}));
        QVERIFY(startTool());
        prepareImage(size);
        // The user switches the device off and on.
        dialogs().answerDialog(text("Please reboot the device manually"),
                               [this](QDialog *) { device().control("restart"); });
        dialogs().answerMessageBox(text("Firmware updated"), text("OK"));
        QVERIFY(click("updateFirmwareButton"));
        QTRY_COMPARE(received(), FileIo::pseudoRandomBytes(size));
        QVERIFY(waitForAnswers());
    }

    void connectAndUpdateOpenNothingWithoutPort()
    {
        QVERIFY(startTool());
        child<QComboBox>("serialPorts")->clear();
        QTest::ignoreMessage(QtDebugMsg, "Unable to connect with empty port name");
        QVERIFY(click("connectButton"));
        QVERIFY(queue().serialPort().isNull());

        prepareImage(16);
        dialogs().answerMessageBox(text("Unable to open serial port: "), text("OK"));
        QVERIFY(click("updateFirmwareButton"));
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(queue().serialPort().isNull());
    }

    void asteriskAfterLastBlockKeepsDialogOpen()
    {
        QVERIFY(startReceiver(160));
        QVERIFY(device().fault("final-star"));
        prepareImage(160);
        // The device doesn't report the end, so the dialog stays at 100 % until the user cancels.
        bool dialogStayedOpen = false;
        const auto connection = atProgress(100, [&] {
            QTRY_COMPARE(received(), FileIo::pseudoRandomBytes(160));
            QVERIFY(waitUntilIdle());
            dialogStayedOpen = waitDialog()->isVisible();
            QVERIFY(press(cancelButton()));
        });
        QVERIFY(click("updateFirmwareButton"));
        disconnect(connection);
        QVERIFY(dialogStayedOpen);
        QVERIFY(isConnected());
    }

    void unfinishedUpdateStopsPollingUntilNextConnect_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<int>("lastBlock");
        QTest::addRow("after a cancel") << QByteArray() << 499;
        QTest::addRow("after a rejected block") << QByteArray("block-rejected@9") << 9;
        QTest::addRow("after an unanswered block") << QByteArray("block-unanswered@2") << 2;
    }

    void unfinishedUpdateStopsPollingUntilNextConnect()
    {
        QFETCH(QByteArray, fault);
        QFETCH(int, lastBlock);
        QVERIFY(startReceiver(8000));
        tool().controller.setMeasurementInterval(10);
        QVERIFY(waitForReadings());
        prepareImage(8000);
        if (!fault.isEmpty()) {
            QVERIFY(device().fault(fault));
            dialogs().answerMessageBox(text("Firmware update failed due to unknown reason"),
                                       text("OK"));
        }
        atProgress(20, [] { QVERIFY(closeByFrame(waitDialog())); });
        QVERIFY(click("updateFirmwareButton"));
        QVERIFY(waitForAnswers());
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(isIdle());
        const QByteArray next = "block " + QByteArray::number(lastBlock + 1);
        QVERIFY(!contents(file(text("journal"))).contains(next));
        QVERIFY(isConnected());

        const QSignalSpy startedPolls(&tool().controller,
                                      &MainWindowController::measurementPollStarted);
        QTRY_COMPARE(device().state("mode"), QByteArray("console"));
        QVERIFY(click("synchronizeButton"));
        QVERIFY(waitUntilIdle());
        QVERIFY(startedPolls.isEmpty());

        QVERIFY(disconnectByClick());
        QVERIFY(connectByClick());
        QTRY_VERIFY(startedPolls.size() > 2);
    }

    void eepromIsBackedUpToFile()
    {
        QVERIFY(startConnected());
        QVERIFY(!isVisible("backupEepromButton"));
        const QSignalSpy cancels(&window(), &MainWindow::waitDialogCancelled);
        prepareAnswers("backupEepromButton");
        child<QPushButton>("backupEepromButton")->click();
        QTRY_COMPARE(contents(chosenFile()).size(), 4 + backupBytes);
        QVERIFY(!waitDialog()->isVisible());
        // The signal of the last block closes the dialog, which cancels the job that emits it.
        QCOMPARE(cancels.size(), 1);
        QVERIFY(waitUntilIdle());
        QCOMPARE(commandCount("eeprom --read_block"), 1024);
        QCOMPARE(contents(chosenFile()).left(4), QByteArray("\x00\x00\xff\xff", 4));

        // Each block is stored at the offset of its number, over all but the first byte of the one
        // before.
        const QByteArray eeprom = deviceEeprom();
        QByteArray image(backupBytes, '\0');
        for (int block = 0; block < 1024; ++block) {
            image.replace(block, 64, eeprom.mid(block * 64, 64));
        }
        QCOMPARE(contents(chosenFile()).mid(4), image);
        QVERIFY(click("synchronizeButton"));
        QVERIFY(waitUntilIdle());
        QVERIFY(isConnected());
    }

    void restoreWritesFileIncludingLengthPrefix()
    {
        QVERIFY(startConnected());
        const QByteArray image =
            QByteArray("\x00\x00\xff\xff", 4) + FileIo::pseudoRandomBytes(backupBytes);
        prepareAnswers("restoreEepromButton");
        QVERIFY(write(chosenFile(), image));
        child<QPushButton>("restoreEepromButton")->click();
        QTRY_VERIFY(!waitDialog()->isVisible());
        QVERIFY(waitUntilIdle());
        QCOMPARE(commandCount("eeprom --write_block"), 1024);
        QVERIFY(deviceEeprom() == image.left(65536));
    }

private:
    /// Connects to a device that receives an image of @p size bytes. It takes longer to restart,
    /// and waits longer for the image, than a busy machine delays the tool.
    bool startReceiver(int size)
    {
        return startConnected({text("--image-size"), QString::number(size), text("--image"),
                               file(text("received.bin")), text("--reboot-ms"), text("300"),
                               text("--boot-wait"), text("1000")});
    }

    void prepareImage(int size)
    {
        dialogs().answerMessageBox(question, text("Yes"));
        dialogs().answerFileDialog(text("Select firmware file"), imagePath());
        QVERIFY(write(imagePath(), FileIo::pseudoRandomBytes(size)));
    }

    QString imagePath() const { return file(text("image.bin")); }
    QByteArray received() { return contents(file(text("received.bin"))); }
    QByteArray deviceEeprom() { return QByteArray::fromHex(device().control("memory").join()); }
};

KV_TEST_MAIN(TestFirmware)
#include "tst_firmware.moc"
