// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtWidgets/QHeaderView>
#include <QtWidgets/QMessageBox>

namespace {

constexpr int aliasColumn = 1;
constexpr int valueColumn = 2;

const QLatin1String portError("Error occurred with serial port communication: ");
const QLatin1String imageCaption("Select firmware file");
const QLatin1String backupCaption("Select eeprom backup file");

} // namespace

/// Each control of the main window, by every kind of mouse and keyboard input that it accepts, and
/// the texts that only rare events show.
class TestMainWindowControls : public ToolFixture
{
    Q_OBJECT

private slots:
    void portIsChosenInTheList()
    {
        QVERIFY(startDevice());
        QVERIFY(startTool());
        auto *const ports = child<QComboBox>("serialPorts");
        window().addPort(text("Nowhere"), text("/dev/pts/there-is-none"));
        QVERIFY(choose(ports, ports->count() - 1));
        dialogs().answerBox(portError + text("Unable to open port!"), text("OK"));
        QVERIFY(click("connectButton"));
        QVERIFY(dialogs().isSatisfied());
        QVERIFY(!isConnected());
        QVERIFY(isIdle());
        QVERIFY(choose(ports, ports->findData(device().port())));
        QVERIFY(connectByClick());
    }

    void unitsAreChosenInTheirLists()
    {
        QVERIFY(startConnected());
        QVERIFY(choose(child<QComboBox>("unit"), 1));
        QVERIFY(choose(child<QComboBox>("unitTemperature"), 1));
        QVERIFY(shownValues().value(text("A2")).endsWith(text("µg/m³")));
        QVERIFY(shownValues().value(text("W0")).endsWith(text("°F")));
        QVERIFY(choose(child<QComboBox>("unit"), 0));
        QVERIFY(choose(child<QComboBox>("unitTemperature"), 0));
        QVERIFY(shownValues().value(text("A2")).endsWith(text("ppm")));
        QVERIFY(shownValues().value(text("W0")).endsWith(text("°C")));
        QCOMPARE(rememberedValue("pollutant unit").toInt(), 0);
    }

    void keysAloneConnectAndDisconnect()
    {
        const auto moveFocus = [this](Qt::Key key, const char *name) {
            for (int step = 0; step < 20; ++step) {
                QWidget *const focus = QApplication::focusWidget();
                if (focus == child<QWidget>(name)) {
                    return true;
                }
                QTest::keyClick(focus == nullptr ? &window() : focus, key);
            }
            return false;
        };
        QVERIFY(startDevice());
        QVERIFY(startTool());
        QVERIFY(moveFocus(Qt::Key_Tab, "connectButton"));
        QTest::keyClick(child<QPushButton>("connectButton"), Qt::Key_Space);
        QTRY_COMPARE(storedReadings(), 1);
        // The button that had the focus is hidden, and the next one has the focus.
        QVERIFY(moveFocus(Qt::Key_Backtab, "disconnectButton"));
        QTest::keyClick(child<QPushButton>("disconnectButton"), Qt::Key_Space);
        QTRY_VERIFY(!queue().serialPort()->isOpen());
    }

    void loadSettingsButtonSendsNothing()
    {
        QVERIFY(startConnected());
        forgetCommands();
        QVERIFY(click("loadSettingsButton"));
        QVERIFY(waitUntilQuiet());
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QCOMPARE(commands(), QStringList());
    }

    void cellIsEdited_data()
    {
        QTest::addColumn<QByteArray>("how");
        for (const char *how : {"double click", "second click", "edit key", "any key"}) {
            QTest::addRow("%s", how) << QByteArray(how);
        }
    }

    void cellIsEdited()
    {
        QFETCH(QByteArray, how);
        QVERIFY(startConnected());
        forgetCommands();
        openCellEditor(how, "altitude");
        QTRY_VERIFY(cellEditor() != nullptr);
        if (how != "any key") {
            QCOMPARE(cellEditor()->text(), text("120"));
            QTest::keyClick(cellEditor(), Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(cellEditor(), text("4"));
        }
        QTest::keyClicks(cellEditor(), text("56"));
        QTest::keyClick(cellEditor(), Qt::Key_Return);
        QTRY_COMPARE(device().setting("altitude"), QByteArray("456"));
        QCOMPARE(setting("altitude")->text(), text("456"));
        QVERIFY(waitUntilQuiet());
        QCOMPARE(commands(), QStringList(text("set altitude=456")));
    }

    void escapeInACellKeepsItsValue()
    {
        QVERIFY(startConnected());
        forgetCommands();
        QVERIFY(editCell(editor(), rowOf("altitude"), valueColumn) != nullptr);
        QTest::keyClicks(cellEditor(), text("999"));
        QTest::keyClick(cellEditor(), Qt::Key_Escape);
        QTRY_VERIFY(cellEditor() == nullptr);
        QCOMPARE(setting("altitude")->text(), text("120"));
        QVERIFY(waitUntilQuiet());
        QCOMPARE(commands(), QStringList());
    }

    void namesAndAliasesAreNotEdited()
    {
        QVERIFY(startConnected());
        for (int column = 0; column < valueColumn; ++column) {
            QVERIFY(editCell(editor(), 0, column) == nullptr);
            QTest::keyClick(editor(), Qt::Key_F2);
            QVERIFY(cellEditor() == nullptr);
        }
    }

    void editorSortedByItsHeaderSendsTheRightSetting()
    {
        QVERIFY(startConnected());
        const auto values = [this] {
            QMap<QString, QString> all;
            for (int row = 0; row < editor()->rowCount(); ++row) {
                all.insert(editor()->item(row, aliasColumn)->text(),
                           editor()->item(row, valueColumn)->text());
            }
            return all;
        };
        QMap<QString, QString> expected = values();
        auto *const header = editor()->horizontalHeader();
        const auto clickSection = [=](int column) {
            QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier,
                              QPoint(header->sectionViewportPosition(column) + 10, 5));
        };
        forgetCommands();
        clickSection(valueColumn);
        const int before = rowOf("altitude");
        clickSection(valueColumn);
        QVERIFY(rowOf("altitude") != before);

        // Its row moves with the value.
        QVERIFY(typeSetting("altitude", text("9")));
        QTRY_COMPARE(device().setting("altitude"), QByteArray("9"));
        expected[text("altitude")] = text("9");
        QCOMPARE(values(), expected);
        QVERIFY(click("synchronizeButton"));
        QVERIFY(waitUntilQuiet());
        QCOMPARE(values(), expected);
        QCOMPARE(commands().filter(text("set ")), QStringList(text("set altitude=9")));
    }

    void measurementsAreReadOnly()
    {
        QVERIFY(startConnected());
        const QMap<QString, QString> shown = shownValues();
        QVERIFY(editCell(table(), 0, 1) == nullptr);
        QTest::keyClick(table(), Qt::Key_F2);
        QTest::keyClick(table(), Qt::Key_5);
        QTest::mouseClick(table()->horizontalHeader()->viewport(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(10, 5));
        QVERIFY(table()->findChild<QLineEdit *>() == nullptr);
        QCOMPARE(shownValues(), shown);
    }

    void stateIsShown_data()
    {
        QTest::addColumn<int>("state");
        const char *const texts[] = {"Device is warming up", "Device is ready for measurements",
                                     "Device temperature is over the specified range",
                                     "Device has not stabilized yet", "Device has hardware error"};
        int state = 0;
        for (const char *shown : texts) {
            QTest::addRow("%s", shown) << state++;
        }
    }

    void stateIsShown()
    {
        QFETCH(int, state);
        QVERIFY(startConnected());
        device().control("meas-state " + QByteArray::number(state));
        QVERIFY(click("synchronizeButton"));
        QVERIFY(waitUntilQuiet());
        const auto *const bar = child<QStatusBar>("statusBar");
        QCOMPARE(bar->currentMessage(), text(QTest::currentDataTag()));
        QCOMPARE(bar->styleSheet().contains(text("green")), state == 1);
    }

    void missingHealthIsShown()
    {
        QVERIFY(startConnected());
        QCOMPARE(field("deviceHealth"), text("98%"));
        device().control("health ");
        QVERIFY(click("synchronizeButton"));
        QTRY_COMPARE(field("deviceHealth"), text("N/A"));
    }

    void rareFailureIsShown_data()
    {
        QTest::addColumn<int>("job");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, SerialPortJobType job, const QString &message) {
            QTest::addRow("%s", name) << static_cast<int>(job) << message;
        };
        row("model", SerialPortJobType::JobReadModel,
            portError + text("Unable to determine connected device type"));
        row("memory read", SerialPortJobType::JobReadEepromBlock,
            text("Failed to read device firmware"));
        row("memory written", SerialPortJobType::JobWriteEepromBlock,
            text("Failed to write device firmware"));
        row("restart", SerialPortJobType::JobReboot,
            text("Unable to reboot device to begin firmware update"));
    }

    void rareFailureIsShown()
    {
        QFETCH(int, job);
        QFETCH(QString, message);
        QVERIFY(startConnected());
        dialogs().answerBox(message, text("OK"));
        // The queue never reports these jobs as failed, and the handler reports no failed restart.
        if (job == static_cast<int>(SerialPortJobType::JobReboot)) {
            emit tool().handler.actionFailed(SerialPortActionType::ActionRebootForFirmware);
        } else {
            emit queue().jobFailed(static_cast<SerialPortJobType>(job));
        }
        QVERIFY(waitForAnswers());
        QVERIFY(isConnected());
        tool().controller.setMeasurementInterval(10);
        const int readings = storedReadings();
        QTRY_VERIFY(storedReadings() > readings);
    }

    void missingTimeIsReported()
    {
        QVERIFY(startConnected());
        forgetCommands();
        const QString message = portError
            + text("Set device clock failed: Unable to set time, invalid timestamp given:");
        // Each error of the queue is shown twice.
        dialogs().answerBox(message, text("OK"));
        dialogs().answerBox(message, text("OK"));
        // The window always sends the current time.
        tool().handler.setDate(QDateTime());
        QVERIFY(waitForAnswers());
        QVERIFY(waitUntilQuiet());
        QCOMPARE(commands(), QStringList());
    }

    void boxClosesByEachInput_data()
    {
        QTest::addColumn<int>("key");
        QTest::addRow("Return") << int(Qt::Key_Return);
        QTest::addRow("Space") << int(Qt::Key_Space);
        QTest::addRow("Escape") << int(Qt::Key_Escape);
        QTest::addRow("frame") << 0;
    }

    void boxClosesByEachInput()
    {
        QFETCH(int, key);
        QVERIFY(startConnected());
        const auto answer = [=](QDialog *box) {
            // It blocks the main window's frame.
            QVERIFY(!closeByFrame(&window()));
            if (key == 0) {
                QVERIFY(closeByFrame(box));
            } else {
                const bool focused =
                    waitFor([=] { return box->isAncestorOf(QApplication::focusWidget()); });
                if (!focused) {
                    box->reject();
                }
                QVERIFY(focused);
                QTest::keyClick(QApplication::focusWidget(), static_cast<Qt::Key>(key));
            }
        };
        dialogs().answerDialog(text("Clear log"), answer);
        QVERIFY(click("eraseLogButton"));
        dialogs().answerDialog(text("Kv tool"), answer);
        window().showMessageBox(QMessageBox::Warning, text("Something to know"));
        QVERIFY(dialogs().isSatisfied());
        QVERIFY(waitUntilQuiet());
        QVERIFY(window().isVisible());
        // Yes is the first button and has the focus.
        const bool agreed = key == Qt::Key_Return || key == Qt::Key_Space;
        QCOMPARE(device().state("log"), QByteArray(agreed ? "0" : "5"));
    }

    void cancelledFileDialogChangesNothing_data()
    {
        QTest::addColumn<QByteArray>("button");
        QTest::addColumn<QString>("caption");
        QTest::addRow("firmware") << QByteArray("updateFirmwareButton") << QString(imageCaption);
        QTest::addRow("restore") << QByteArray("restoreEepromButton") << QString(backupCaption);
        QTest::addRow("backup") << QByteArray("backupEepromButton")
                                << text("Select where to write eeprom backup");
    }

    void cancelledFileDialogChangesNothing()
    {
        QFETCH(QByteArray, button);
        QFETCH(QString, caption);
        QVERIFY(startConnected());
        forgetCommands();
        if (caption == imageCaption) {
            dialogs().answerBox(text("Are you sure you wish to continue?"), text("Yes"));
        }
        dialogs().answerDialog(caption, [](QDialog *dialog) { QVERIFY(closeByFrame(dialog)); });
        child<QPushButton>(button.constData())->click();
        QVERIFY(dialogs().isSatisfied());
        QVERIFY(waitUntilQuiet());
        QCOMPARE(commands(), QStringList());
        QVERIFY(!rememberedValue("firmware path").isValid());
        QVERIFY(!rememberedValue("eeprom filename").isValid());
        QVERIFY(!waitDialog()->isVisible());
    }

    void emptyBackupFileIsReported()
    {
        QVERIFY(startConnected());
        forgetCommands();
        const QString path = file(text("backup.dat"));
        QVERIFY(write(path, QByteArray()));
        dialogs().answerFileDialog(backupCaption, path);
        dialogs().answerBox(text("Selected firmware is empty!"), text("OK"));
        child<QPushButton>("restoreEepromButton")->click();
        QVERIFY(dialogs().isSatisfied());
        QCOMPARE(rememberedValue("eeprom filename").toString(), path);
        QCOMPARE(commands(), QStringList());
    }

private:
    int rowOf(const char *alias) { return setting(alias)->row(); }
    QLineEdit *cellEditor() { return editor()->findChild<QLineEdit *>(); }

    void openCellEditor(const QByteArray &how, const char *alias)
    {
        QWidget *const cells = editor()->viewport();
        editor()->scrollToItem(setting(alias));
        const QPoint place = editor()->visualItemRect(setting(alias)).center();
        QTest::mouseClick(cells, Qt::LeftButton, Qt::NoModifier, place);
        if (how == "double click") {
            QTest::mouseDClick(cells, Qt::LeftButton, Qt::NoModifier, place);
        } else if (how == "second click") {
            QTest::mouseClick(cells, Qt::LeftButton, Qt::NoModifier, place);
        } else if (how == "edit key") {
            QTest::keyClick(editor(), Qt::Key_F2);
        } else {
            QTest::keyClick(editor(), Qt::Key_4);
        }
    }
};

KV_TEST_MAIN(TestMainWindowControls)
#include "tst_mainwindowcontrols.moc"
