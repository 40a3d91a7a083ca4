// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMessageBox>

namespace {

constexpr int aliasColumn = 1;
constexpr int valueColumn = 2;
constexpr Qt::Key noKey{}; ///< the window frame is used instead of a key

const QLatin1String portError("Error occurred with serial port communication: ");

} // namespace

/// Uses each control of the main window by every kind of mouse and keyboard input that it accepts,
/// and causes the messages that only rare events show.
class TestMainWindowControls : public ToolFixture
{
    Q_OBJECT

private slots:
    /// Sends only keys (Tab, arrows, Space, Return, Escape, letters), to the window with the focus.
    void mainTasksCanBeDoneWithKeyboardOnly()
    {
        constexpr int imageBytes = 1000;
        const QString received = file(text("received.bin"));
        QVERIFY(startDevice({text("--image-size"), QString::number(imageBytes), text("--image"),
                             received, text("--reboot-ms"), text("300"), text("--boot-wait"),
                             text("1000")}));
        QVERIFY(startTool());

        QVERIFY(pressWithKeyboard("connectButton"));
        QTRY_COMPARE(storedReadings(), 1);
        // "Connect", which had the focus, is now hidden; another widget has the focus.
        QVERIFY(pressWithKeyboard("disconnectButton"));
        QTRY_VERIFY(!queue().serialPort()->isOpen());
        QVERIFY(pressWithKeyboard("connectButton"));
        QTRY_COMPARE(storedReadings(), 2);

        changeSettingWithKeyboard("altitude", text("456"));
        QTRY_COMPARE(device().setting("altitude"), QByteArray("456"));
        QVERIFY(waitUntilIdle());

        const QString log = file(text("log.csv"));
        answerFileDialogWithKeyboard(text("Select where to save log to"), log);
        QVERIFY(pressWithKeyboard("readLogButton"));
        QTRY_VERIFY(QFile::exists(log));

        showGraphWithKeyboard();
        exportWithKeyboard(file(text("measurements.csv")));
        QVERIFY(!QTest::currentTestFailed());

        const QString image = file(text("image.bin"));
        const QByteArray bytes(imageBytes, 'k');
        QVERIFY(write(image, bytes));
        // Yes has the focus.
        answerWithKeyboard(text("Are you sure?"), [](QDialog *) { key(Qt::Key_Return); });
        answerFileDialogWithKeyboard(text("Select firmware file"), image);
        answerWithKeyboard(text("Kv tool"), [](QDialog *) { key(Qt::Key_Return); });
        QVERIFY(pressWithKeyboard("updateFirmwareButton"));
        QVERIFY(waitForAnswers());
        QTRY_COMPARE(contents(received), bytes);
        QTRY_VERIFY(!queue().serialPort()->isOpen());
    }

    void selectedPortIsOpened()
    {
        QVERIFY(startDevice() && startTool());
        auto *const ports = child<QComboBox>("serialPorts");
        window().addPort(text("Nowhere"), text("/dev/pts/there-is-none"));
        QVERIFY(choose(ports, ports->count() - 1));
        dialogs().answerMessageBox(portError + text("Unable to open port!"), text("OK"));
        QVERIFY(click("connectButton"));
        QVERIFY(!isConnected());
        QVERIFY(isIdle());
        QVERIFY(choose(ports, ports->findData(device().port())));
        QVERIFY(connectByClick());
    }

    void selectedUnitsAreAppliedAndRemembered()
    {
        const QString settings = QSettings(text("Orvanta"), text("Kv tool")).fileName();
        const char *const pollutantUnits[] = {"ppm", "µg/m³"};
        const char *const temperatureUnits[] = {"°C", "°F"};
        QVERIFY(startConnected());
        QCOMPARE(savedPreference("pollutant unit"), QVariant(0));
        QCOMPARE(savedPreference("temperature unit"), QVariant(0));
        clearCommands();
        for (const int unit : {1, 0, 1}) {
            QVERIFY(choose(child<QComboBox>("unit"), unit));
            QVERIFY(choose(child<QComboBox>("unitTemperature"), unit));
            QVERIFY(shownValues().value(text("A2")).endsWith(text(pollutantUnits[unit])));
            QVERIFY(shownValues().value(text("W0")).endsWith(text(temperatureUnits[unit])));
            const QByteArray number = QByteArray::number(unit);
            QTRY_VERIFY(contents(settings).contains("pollutant%20unit=" + number));
            QTRY_VERIFY(contents(settings).contains("temperature%20unit=" + number));
        }
        // Units change only the display.
        QCOMPARE(commands(), QStringList());

        deleteTool();
        QVERIFY(startTool());
        QCOMPARE(child<QComboBox>("unit")->currentIndex(), 1);
        QCOMPARE(child<QComboBox>("unitTemperature")->currentIndex(), 1);
        QVERIFY(connectByClick());
        QVERIFY(shownValues().value(text("A2")).endsWith(text("µg/m³")));
        QVERIFY(shownValues().value(text("W0")).endsWith(text("°F")));
    }

    void loadSettingsButtonSendsNothing()
    {
        QVERIFY(startConnected());
        clearCommands();
        QVERIFY(click("loadSettingsButton"));
        QVERIFY(waitUntilIdle());
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QCOMPARE(commands(), QStringList());
    }

    void cellCanBeEditedWithMouseOrKeyboard()
    {
        QVERIFY(startConnected());
        QWidget *const cells = editor()->viewport();
        const auto cellCenter = [this] {
            editor()->scrollToItem(setting("altitude"));
            return editor()->visualItemRect(setting("altitude")).center();
        };
        const auto clickCell = [=] {
            QTest::mouseClick(cells, Qt::LeftButton, Qt::NoModifier, cellCenter());
        };
        const std::function<void()> inputs[] = {
            [=] { QTest::mouseDClick(cells, Qt::LeftButton, Qt::NoModifier, cellCenter()); },
            clickCell,
            [this] { QTest::keyClick(editor(), Qt::Key_F2); },
            [this] { QTest::keyClick(editor(), Qt::Key_4); },
        };
        int value = 450;
        for (const auto &input : inputs) {
            clearCommands();
            editor()->setCurrentCell(0, 0);
            clickCell();
            input();
            QTRY_VERIFY(cellEditor() != nullptr);
            if (cellEditor()->text() != text("4")) {
                QCOMPARE(cellEditor()->text(), setting("altitude")->text());
                QTest::keyClick(cellEditor(), Qt::Key_A, Qt::ControlModifier);
                QTest::keyClicks(cellEditor(), text("4"));
            }
            const QString newValue = QString::number(++value);
            QTest::keyClicks(cellEditor(), newValue.mid(1));
            QTest::keyClick(cellEditor(), Qt::Key_Return);
            QTRY_COMPARE(device().setting("altitude"), newValue.toLatin1());
            QCOMPARE(setting("altitude")->text(), newValue);
            QVERIFY(waitUntilIdle());
            QCOMPARE(commands(), QStringList(text("set altitude=") + newValue));
        }
    }

    void onlyValuesOfSettingsCanBeEdited()
    {
        QVERIFY(startConnected());
        for (int column = 0; column < valueColumn; ++column) {
            QVERIFY(editCell(editor(), 0, column) == nullptr);
            QTest::keyClick(editor(), Qt::Key_F2);
            QVERIFY(cellEditor() == nullptr);
        }
        const QMap<QString, QString> shown = shownValues();
        QVERIFY(editCell(table(), 0, 1) == nullptr);
        QTest::keyClick(table(), Qt::Key_F2);
        QTest::keyClick(table(), Qt::Key_5);
        clickSection(table()->horizontalHeader(), 0);
        QVERIFY(table()->findChild<QLineEdit *>() == nullptr);
        QCOMPARE(shownValues(), shown);
    }

    void sortedEditorSendsRightSetting()
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
        clearCommands();
        clickSection(editor()->horizontalHeader(), valueColumn);
        const int before = rowOf("altitude");
        clickSection(editor()->horizontalHeader(), valueColumn);
        QVERIFY(rowOf("altitude") != before);

        // The row moves to the place of its new value.
        QVERIFY(typeSetting("altitude", text("9")));
        QTRY_COMPARE(device().setting("altitude"), QByteArray("9"));
        expected[text("altitude")] = text("9");
        QCOMPARE(values(), expected);
        QVERIFY(click("synchronizeButton"));
        QVERIFY(waitUntilIdle());
        QCOMPARE(values(), expected);
        QCOMPARE(commands().filter(text("set ")), QStringList(text("set altitude=9")));
    }

    void stateAndUnavailableHealthAreShown()
    {
        const char *const texts[] = {"Device is warming up", "Device is ready for measurements",
                                     "Device temperature is over the specified range",
                                     "Device has not stabilized yet", "Device has hardware error"};
        QVERIFY(startConnected());
        const auto *const bar = child<QStatusBar>("statusBar");
        int state = 0;
        for (const char *shown : texts) {
            device().control("meas-state " + QByteArray::number(state));
            QVERIFY(click("synchronizeButton"));
            QVERIFY(waitUntilIdle());
            QCOMPARE(bar->currentMessage(), text(shown));
            QCOMPARE(bar->styleSheet().contains(text("green")), state == 1);
            ++state;
        }
        QCOMPARE(fieldText("deviceHealth"), text("98%"));
        device().control("health ");
        QVERIFY(click("synchronizeButton"));
        QTRY_COMPARE(fieldText("deviceHealth"), text("N/A"));
    }

    void rareFailuresAreReported()
    {
        const auto answer = [this](const char *message) {
            dialogs().answerMessageBox(text(message), text("OK"));
        };
        QVERIFY(startPolling());
        // Emitted here, because the queue never reports these jobs as failed and the handler never
        // a restart.
        answer("communication: Unable to determine connected device type");
        emit queue().jobFailed(SerialPortJobType::JobReadModel);
        QVERIFY(waitForAnswers());
        answer("Failed to read device firmware");
        emit queue().jobFailed(SerialPortJobType::JobReadEepromBlock);
        QVERIFY(waitForAnswers());
        answer("Failed to write device firmware");
        emit queue().jobFailed(SerialPortJobType::JobWriteEepromBlock);
        QVERIFY(waitForAnswers());
        answer("Unable to reboot device to begin firmware update");
        emit tool().handler.actionFailed(SerialPortActionType::ActionRebootForFirmware);
        QVERIFY(waitForAnswers());
        QVERIFY(isConnected());
        QVERIFY(waitForReadings());
    }

    void invalidTimeIsReported()
    {
        QVERIFY(startConnected());
        clearCommands();
        const QString message = portError
            + text("Set device clock failed: Unable to set time, invalid timestamp given:");
        // Each error of the queue is shown twice.
        dialogs().answerMessageBox(message, text("OK"));
        dialogs().answerMessageBox(message, text("OK"));
        // Called here, because the window always sends the current time.
        tool().handler.setDate(QDateTime());
        QVERIFY(waitForAnswers());
        QVERIFY(waitUntilIdle());
        QCOMPARE(commands(), QStringList());
    }

    void messageBoxCanBeClosedByKeysAndFrame()
    {
        QVERIFY(startConnected());
        int erased = 0;
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Escape, noKey}) {
            const auto answer = [=](QDialog *box) {
                // The box blocks the main window's frame.
                QVERIFY(!closeByFrame(&window()));
                if (key == noKey) {
                    QVERIFY(closeByFrame(box));
                } else {
                    QVERIFY(waitForFocus(box));
                    QTest::keyClick(QApplication::focusWidget(), key);
                }
            };
            dialogs().answerDialog(text("Clear log"), answer);
            QVERIFY(click("eraseLogButton"));
            dialogs().answerDialog(text("Kv tool"), answer);
            window().showMessageBox(QMessageBox::Warning, text("Something to know"));
            QVERIFY(waitUntilIdle());
            QVERIFY(window().isVisible());
            // Yes is the first button and has the focus.
            erased += key == Qt::Key_Return || key == Qt::Key_Space ? 1 : 0;
            QCOMPARE(commandCount("log --erase"), erased);
        }
    }

private:
    int rowOf(const char *alias) { return setting(alias)->row(); }
    QLineEdit *cellEditor() { return editor()->findChild<QLineEdit *>(); }

    static void clickSection(const QHeaderView *header, int column)
    {
        QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(header->sectionViewportPosition(column) + 10, 5));
    }

    static void key(Qt::Key key) { QTest::keyClick(QGuiApplication::focusWindow(), key); }

    static void type(const QString &characters)
    {
        for (const QChar &character : characters) {
            QTest::keyClick(QGuiApplication::focusWindow(), character.toLatin1());
        }
    }

    /// Presses Tab until @p target has the focus.
    static bool tabTo(const QWidget *target)
    {
        constexpr int maximumPresses = 100;
        for (int press = 0; press < maximumPresses && QApplication::focusWidget() != target;
             ++press) {
            key(Qt::Key_Tab);
        }
        return QApplication::focusWidget() == target;
    }

    bool pressWithKeyboard(const char *buttonName)
    {
        // The offscreen platform has no window manager that restores the focus after a dialog.
        window().activateWindow();
        if (!QTest::qWaitForWindowActive(&window()) || !tabTo(child<QPushButton>(buttonName))) {
            return false;
        }
        key(Qt::Key_Space);
        return true;
    }

    static bool waitForFocus(const QDialog *dialog)
    {
        return waitFor([=] { return dialog->isAncestorOf(QApplication::focusWidget()); });
    }

    /// Runs @p keys on the next dialog with the title @p title once it has the focus.
    void answerWithKeyboard(const QString &title, const std::function<void(QDialog *)> &keys)
    {
        dialogs().answerDialog(title, [=](QDialog *dialog) {
            QVERIFY(waitForFocus(dialog));
            keys(dialog);
        });
    }

    void answerFileDialogWithKeyboard(const QString &caption, const QString &path)
    {
        answerWithKeyboard(caption, [path](QDialog *dialog) {
            type(path);
            // The first Return may only close the completer's list.
            const QPointer<QDialog> open = dialog;
            QVERIFY(waitFor([open] {
                if (open && open->isVisible()) {
                    key(Qt::Key_Return);
                }
                return !open || !open->isVisible();
            }));
        });
    }

    static bool moveBackOneYear(const QDateTimeEdit *from)
    {
        const QDateTime before = from->dateTime();
        tabTo(from);
        while (QApplication::focusWidget() == from
               && from->currentSection() != QDateTimeEdit::YearSection) {
            key(Qt::Key_Tab);
        }
        key(Qt::Key_Down);
        return from->dateTime() < before;
    }

    void changeSettingWithKeyboard(const char *alias, const QString &value)
    {
        QVERIFY(tabTo(editor()));
        while (editor()->currentRow() != rowOf(alias)) {
            key(editor()->currentRow() < rowOf(alias) ? Qt::Key_Down : Qt::Key_Up);
        }
        while (editor()->currentColumn() < valueColumn) {
            key(Qt::Key_Right);
        }
        type(value);
        key(Qt::Key_Return);
    }

    void showGraphWithKeyboard()
    {
        QVERIFY(pressWithKeyboard("buttonShowGraph"));
        QWidget *const graph = topLevelWidget("MeasurementGraph");
        QVERIFY(QTest::qWaitForWindowActive(graph));
        QVERIFY(moveBackOneYear(childWidget<QDateTimeEdit>(graph, "fromDateTimeEdit")));
        auto *const list = graph->findChild<QListWidget *>();
        QVERIFY(tabTo(list));
        key(Qt::Key_Down);
        key(Qt::Key_Space);
        QCOMPARE(list->item(1)->checkState(), Qt::Checked);
        QCOMPARE(graph->findChild<QtCharts::QChartView *>()->chart()->series().size(), 1);
        key(Qt::Key_Escape);
        QVERIFY(!graph->isVisible());
    }

    void exportWithKeyboard(const QString &path)
    {
        answerWithKeyboard(text("Select measurements to export"), [](QDialog *dialog) {
            QVERIFY(moveBackOneYear(childWidget<QDateTimeEdit>(dialog, "exportDateTimeFrom")));
            QVERIFY(tabTo(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)));
            key(Qt::Key_Return);
        });
        answerFileDialogWithKeyboard(text("Select where to save measurements to"), path);
        QVERIFY(pressWithKeyboard("exportLocalMeasurementsButton"));
        QTRY_VERIFY(QFile::exists(path));
    }
};

KV_TEST_MAIN(TestMainWindowControls)
#include "tst_mainwindowcontrols.moc"
