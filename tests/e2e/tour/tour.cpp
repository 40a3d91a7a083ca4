// SPDX-License-Identifier: GPL-3.0-or-later
// Usage: kvtool-tour <folder>
// Runs the scripted tour and keeps all its files in the folder; the exit code is 0 if every step
// worked.
#include "demo/startdemo.h"
#include "tests/kit/screenshots.h"
#include "tests/kit/toolfixture.h"

#include <QtCore/QTextStream>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QListWidget>

namespace {

constexpr int graphNameRole = Qt::UserRole + 2;
constexpr int exportNameRole = Qt::UserRole + 4;
constexpr qint64 secondsPerHour = 3600;

/// In whole minutes, like the values of the date fields.
QDateTime hoursAgo(int hours)
{
    const qint64 minutes = QDateTime::currentSecsSinceEpoch() / 60;
    return QDateTime::fromSecsSinceEpoch(minutes * 60 - hours * secondsPerHour);
}

/// Does a user's main tasks one after the other, with mouse and keyboard input to the real windows,
/// and compares the results with the device, the database and the files. Prints each step and saves
/// screenshots of the windows.
class Tour : public ToolFixture
{
public:
    /// @p folder is for the screenshots, the log of steps and the files that the tool writes. Files
    /// of an earlier tour are removed from it.
    explicit Tour(const QString &folder)
        : m_log(folder + QLatin1String("/steps.log"))
    {
        QDir files(folder);
        const QStringList oldFiles =
            files.entryList({text("[0-9][0-9]-*.png"), text("device.state"), text("firmware.bin"),
                             text("log.csv"), text("measurements.*"), text("received.bin")},
                            QDir::Files);
        for (const QString &name : oldFiles) {
            files.remove(name);
        }
        m_log.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text);
        beginTestFunction(folder);
        dialogs().onDialogShown = [this](QDialog *shown) {
            if (!m_dialogScreenshots.isEmpty()) {
                screenshot(m_dialogScreenshots.takeFirst(), shown);
            }
        };
    }

    /// Runs the steps up to the first one that fails; true when all worked.
    bool run()
    {
        m_passed = start();
        useConnection();
        changeSettings();
        useLog();
        storeSettings();
        updateFirmware();
        useGraph();
        exportMeasurements();
        disconnectFromDevice();
        print(
            (m_passed ? text("Every step worked") : text("The tour stopped at a step that failed"))
            + text("; files and screenshots are in ") + folder());
        if (m_tool) {
            window().close();
        }
        deleteTool();
        return m_passed;
    }

private:
    bool start()
    {
        m_tool = std::make_unique<ToolObjects>();
        if (!startDemo(tool(), device(), folder())) {
            return false;
        }
        window().show();
        window().activateWindow();
        return QTest::qWaitForWindowActive(&window());
    }

    /// Runs @p work unless an earlier step has failed.
    void step(const char *what, const std::function<bool()> &work)
    {
        if (!m_passed) {
            return;
        }
        dialogs().reset();
        m_dialogScreenshots.clear();
        const bool worked = work();
        const QString dialogError = dialogs().unmetExpectations();
        m_passed = worked && dialogError.isEmpty();
        print(text("%1 %2 ... %3")
                  .arg(++m_steps, 2)
                  .arg(text(what), m_passed ? text("ok") : text("FAILED ") + dialogError));
        if (!m_passed) {
            screenshot(text("failed"));
        }
    }

    void print(const QString &line)
    {
        QTextStream(stdout) << line << '\n';
        QTextStream(&m_log) << line << '\n';
        m_log.flush();
    }

    /// Saves a screenshot of @p shown, by default the main window; does nothing without a name.
    void screenshot(const QString &name, QWidget *shown = nullptr)
    {
        // The documentation shows the screenshots: more time to draw frame and window than in
        // tests.
        constexpr int frameMs = 5000;
        constexpr int paintMs = 300;
        if (!name.isEmpty()) {
            const QString path =
                file(text("%1-%2.png").arg(++m_screenshots, 2, 10, QLatin1Char('0')).arg(name));
            saveScreenshot(shown ? shown : &window(), path, frameMs, paintMs);
        }
    }

    void useConnection()
    {
        const auto showsState = [this](const char *control, const char *state) {
            device().control(control);
            return click("synchronizeButton")
                && waitFor([=] { return window().statusBar()->currentMessage() == text(state); });
        };
        step("Try a port that can't be opened; a message reports it", [this] {
            auto *const ports = child<QComboBox>("serialPorts");
            const int simulated = ports->currentIndex();
            screenshot(text("start"));
            tool().addAndSelectPort(text("Unplugged adapter"), file(text("nowhere")));
            dialogs().answerMessageBox(text("Unable to open port!"), text("OK"));
            m_dialogScreenshots << text("port-does-not-open");
            const bool clicked = click("connectButton");
            ports->removeItem(ports->count() - 1);
            window().selectPortIndex(simulated);
            return clicked && !isConnected();
        });
        step("Press Connect", [this] { return connectByClick(); });
        step("The device's identity is shown", [this] {
            return fieldText("serialNumber").toLatin1() == device().setting("serial")
                && fieldText("modelNumber").toLatin1() == device().setting("model")
                && fieldText("swVersion").toLatin1() == device().setting("swver")
                && fieldText("hwVersion").toLatin1() == device().setting("hwver");
        });
        step("The first reading arrives and the table shows it", [this] {
            return waitFor(
                [this] { return !shownValues().isEmpty() && shownValues() == expectedValues(); });
        });
        step("The store has the same values", [this] {
            screenshot(text("connected"));
            return !deviceValues().isEmpty() && lastStoredValues() == deviceValues();
        });
        step("The device is no longer ready: the readings turn red", [=] {
            const bool wasShown = showsState("meas-state 3", "Device has not stabilized yet");
            screenshot(text("not-ready"));
            return wasShown;
        });
        step("It is ready again",
             [=] { return showsState("meas-state 1", "Device is ready for measurements"); });
    }

    void changeSettings()
    {
        const auto deviceHasAltitude = [this](const char *value) {
            return waitFor([=] { return device().setting("altitude") == value; });
        };
        step("Type a new altitude; the device has it", [=] {
            const QTableWidgetItem *const item = setting("altitude");
            QLineEdit *const cell = editCell(editor(), item->row(), item->column());
            if (cell == nullptr) {
                return false;
            }
            QTest::keyClick(cell, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(cell, text("321"));
            screenshot(text("setting-typed"));
            QTest::keyClick(cell, Qt::Key_Return);
            return deviceHasAltitude("321");
        });
        step("Type one out of range; Synchronize shows the value to which the device limited it",
             [=] {
                 return typeSetting("altitude", text("99999")) && deviceHasAltitude("9000")
                     && click("synchronizeButton")
                     && waitFor([this] { return setting("altitude")->text() == text("9000"); });
             });
        step("Type the valid value again", [=] {
            const bool accepted = typeSetting("altitude", text("321")) && deviceHasAltitude("321");
            screenshot(text("setting-changed"));
            return accepted;
        });
    }

    void useLog()
    {
        const QString path = file(text("log.csv"));
        step("Read the log into a CSV file; the progress bar advances", [=] {
            const QSignalSpy progress(progressBar(), &QProgressBar::valueChanged);
            dialogs().answerFileDialog(text("Select where to save log to"), path);
            return click("readLogButton") && waitFor([=] { return QFile::exists(path); })
                && progress.size() > 10;
        });
        step("The file has the same rows as the device's log", [=] {
            const QStringList lines =
                QString::fromUtf8(contents(path)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
            return lines.size() > 1 && lines == device().logAsCsv();
        });
        step("Cancel reading the log half-way", [this] {
            bool cancelled = false;
            const auto connection = atProgress(50, [&] {
                screenshot(text("log-half-read"), waitDialog());
                cancelled = press(cancelButton());
            });
            const bool clicked = click("readLogButton");
            disconnect(connection);
            return clicked && cancelled && !waitDialog()->isVisible();
        });
        step("The tool still works", [this] {
            device().control("health 77%");
            return click("synchronizeButton")
                && waitFor([this] { return fieldText("deviceHealth") == text("77%"); })
                && isEnabled("readLogButton");
        });
        step("Clear the log; the device's log is empty", [this] {
            dialogs().answerMessageBox(text("clear the log"), text("Yes"));
            m_dialogScreenshots << text("log-clear");
            return click("eraseLogButton")
                && waitFor([this] { return device().state("log") == "0"; });
        });
    }

    bool connectAgain()
    {
        return waitFor([this] { return device().state("mode") == "console"; }) && connectByClick()
            && setting("altitude")->text() == text("321");
    }

    void storeSettings()
    {
        step("Set the device's clock to UTC", [this] {
            const auto isRight = [this] {
                return qAbs(device().clock().secsTo(QDateTime::currentDateTimeUtc())) <= 2;
            };
            return !isRight() && click("syncClockButton") && waitFor(isRight);
        });
        step("Write the settings to the EEPROM", [this] {
            dialogs().answerMessageBox(text("write settings to EEPROM"), text("Yes"));
            m_dialogScreenshots << text("write-question") << text("write-wait");
            return click("writeToEepromButton") && !waitDialog()->isVisible();
        });
        step("Restart the device; the settings are still there", [this] {
            const bool disconnected = disconnectByClick();
            device().control("restart");
            return disconnected && connectAgain();
        });
    }

    void updateFirmware()
    {
        const QByteArray image =
            FileIo::pseudoRandomBytes(64 * 1024 + 5); // not a multiple of a block
        step("Update the firmware with an image of 64 KiB and 5 bytes", [=] {
            const QString path = file(text("firmware.bin"));
            dialogs().answerMessageBox(text("aborting firmware"), text("Yes"));
            dialogs().answerFileDialog(text("Select firmware file"), path);
            dialogs().answerMessageBox(text("Firmware updated"), text("OK"));
            m_dialogScreenshots << text("firmware-warning") << QString() << text("firmware-start");
            const auto connection =
                atProgress(40, [this] { screenshot(text("firmware"), waitDialog()); });
            const bool clicked = write(path, image) && click("updateFirmwareButton");
            disconnect(connection);
            return clicked && waitFor([this] { return !queue().serialPort()->isOpen(); })
                && !isConnected();
        });
        step("The device received it byte for byte", [=] {
            return waitFor([=] { return contents(file(text("received.bin"))) == image; });
        });
        step("Connect again; the settings are still there", [this] { return connectAgain(); });
    }

    void useGraph()
    {
        QWidget *const graph = topLevelWidget("MeasurementGraph");
        auto *const list = graph->findChild<QListWidget *>();
        auto *const latest = childWidget<QCheckBox>(graph, "showLatestCheckBox");
        auto *const to = childWidget<QDateTimeEdit>(graph, "toDateTimeEdit");
        const QDateTime from = hoursAgo(22);
        const QStringList types{text("W0"), text("W1")};
        const auto open = [=] {
            return click("buttonShowGraph") && waitFor([=] { return graph->isVisible(); });
        };
        const auto isInFahrenheit = [=] {
            return !list->findItems(text("°F"), Qt::MatchContains).isEmpty();
        };
        step("Open the graph for the last 22 hours and select two measurements", [=] {
            const bool opened = open();
            childWidget<QDateTimeEdit>(graph, "fromDateTimeEdit")->setDateTime(from);
            toggle(list, graphNameRole, types);
            screenshot(text("graph"), graph);
            return opened && checked(list, graphNameRole) == types;
        });
        step("Change the unit; the list shows °F or °C accordingly", [=] {
            auto *const unit = child<QComboBox>("unitTemperature");
            QTest::keyClick(unit, Qt::Key_Down);
            const bool changed = isInFahrenheit();
            screenshot(text("graph-fahrenheit"), graph);
            QTest::keyClick(unit, Qt::Key_Up);
            return changed && !isInFahrenheit();
        });
        step("Show a shorter period that ends in the past", [=] {
            toggle(latest);
            to->setDateTime(from.addSecs(12 * secondsPerHour));
            screenshot(text("graph-period"), graph);
            return !latest->isChecked() && to->isEnabled();
        });
        step("Close the graph and open it again; its settings are the same", [=] {
            const QDateTime end = to->dateTime();
            graph->close();
            const bool isSame =
                open() && checked(list, graphNameRole) == types && to->dateTime() == end;
            graph->close();
            return isSame;
        });
    }

    void exportMeasurements()
    {
        const QString path = file(text("measurements.csv"));
        const QDateTime from = hoursAgo(6);
        const QDateTime to = from.addSecs(2 * secondsPerHour);
        step("Export two hours of one measurement to CSV", [=] {
            dialogs().answerDialog(text("Select measurements to export"), [=](QDialog *dialog) {
                childWidget<QDateTimeEdit>(dialog, "exportDateTimeFrom")->setDateTime(from);
                childWidget<QDateTimeEdit>(dialog, "exportDateTimeTo")->setDateTime(to);
                auto *const list = dialog->findChild<QListWidget *>();
                QStringList others = checked(list, exportNameRole);
                others.removeAll(text("W2"));
                toggle(list, exportNameRole, others);
                screenshot(text("export"), dialog);
                press(dialog, QDialogButtonBox::Ok);
            });
            dialogs().answerFileDialog(text("Select where to save measurements to"), path);
            return click("exportLocalMeasurementsButton") && QFile::exists(path);
        });
        step("The file has the same rows as the database",
             [=] { return csvMatchesDatabase(path, text("W2"), from, to); });
    }

    void disconnectFromDevice()
    {
        step("Press Disconnect", [this] { return disconnectByClick() && !isConnected(); });
        step("The database is intact and has a value for each reading", [this] {
            screenshot(text("disconnected"));
            return sqliteOutput(text("pragma integrity_check")) == QStringList(text("ok"))
                && sqliteOutput(text("select count(*) from measurement_metadata m where not exists "
                                     "(select 1 from measurement_value v where v.measurement_id = "
                                     "m.id)"))
                == QStringList(text("0"));
        });
    }

    QFile m_log;
    QStringList m_dialogScreenshots; ///< for the next dialogs; an empty name: none is saved
    bool m_passed = false;
    int m_steps = 0;
    int m_screenshots = 0;
};

} // namespace

int main(int argc, char *argv[])
{
    const QString name = argc == 2 ? QString::fromLocal8Bit(argv[1]) : QString();
    if (name.isEmpty() || name.startsWith(QLatin1Char('-'))) {
        QTextStream(stderr) << "Usage: kvtool-tour <folder>\n";
        return 2;
    }
    const QString folder = QDir().absoluteFilePath(name);
    prepareDemo(folder);
    const QApplication application(argc, argv);
    return Tour(folder).run() ? 0 : 1;
}
