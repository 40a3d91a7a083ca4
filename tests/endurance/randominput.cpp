// SPDX-License-Identifier: GPL-3.0-or-later
// Random input to the whole tool: its real windows, a pseudo-terminal with the simulated
// transmitter, a database file and real files. The same seed gives the same random numbers; what an
// action does also depends on timing. Usage: kv_randominput [--actions N] [--seed S]
#include "tests/endurance/inputsimulator.h"
#include "tests/endurance/processmemory.h"
#include "tests/endurance/randomdevice.h"
#include "tests/endurance/randomfiles.h"
#include "tests/kit/eventlooplatencymonitor.h"
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QThread>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMessageBox>
#include <unistd.h>

/// Sends random input that mostly uses the tool's operations: connects when the tool is
/// disconnected, starts every operation, lets most of them finish and interrupts the others. An
/// action that opens a modal dialog doesn't return before the dialog is closed: further actions are
/// nested in it and act on the dialog.
class RandomInput : public ToolFixture, private InputSimulator
{
public:
    RandomInput(unsigned seed, int actions)
        : m_seed(seed)
        , m_actions(actions)
    {
        m_stepTimer.setSingleShot(true);
        m_stepTimer.setTimerType(Qt::PreciseTimer);
        connect(&m_stepTimer, &QTimer::timeout, this, &RandomInput::step);
    }

    /// Runs the program as often as needed and prints the statistics. A failure ends the process
    /// immediately; returns false if memory grows or states were visited too rarely.
    bool run()
    {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        Random::begin(m_seed, 0);
        ActionTrace::require(m_transmitter.start(), "the simulator did not start");
        for (; m_actionsDone < m_actions; ++m_runs) {
            runOnce();
        }
        ::alarm(0);
        return report();
    }

private:
    static constexpr unsigned maximumBlockedSeconds = 20; ///< for which no event loop runs

    struct Choice
    {
        double percent;
        const char *kind; ///< null if the action records its kind itself
        std::function<void()> action;
    };

    // The program.

    void runOnce()
    {
        constexpr int pollMs = 500; // instead of a minute
        prepareStore();
        prepareModels();
        m_activeLoopLevels.clear();
        m_stepTimer.start(0);
        m_tool = std::make_unique<ToolObjects>();
        tool().controller.setMeasurementInterval(pollMs);
        tool().controller.setMeasurementAvailabilityInterval(pollMs);
        ActionTrace::require(tool().controller.start(), "the program did not start");
        addAndSelectPort(m_port);
        window().show();
        ActionTrace::require(QApplication::exec() == 0, "the program's exit code is not 0");
        m_stepTimer.stop();
        deleteTool();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        ::alarm(maximumBlockedSeconds);
        m_memory.sample(m_actionsDone);
        ActionTrace::require(sqliteOutput(text("pragma integrity_check")) == texts("ok"),
                             "the store is damaged");
    }

    /// Starts with an empty database from time to time, so that the memory of the graph doesn't
    /// grow with the history.
    void prepareStore()
    {
        constexpr int maximumReadings = 400;
        if (!m_folder || storedReadings() >= maximumReadings) {
            m_folder = std::make_unique<QTemporaryDir>();
            QSettings(text("Orvanta"), text("Kv tool"))
                .setValue(text("local storage path"), folder());
        }
    }

    /// Writes settings.xml, which is sometimes truncated or missing after the first run.
    void prepareModels()
    {
        const QByteArray models = contents(TestPaths::sourceFile("settings.xml"));
        Random::begin(m_seed, -m_runs - 1);
        const int choice = m_runs == 0 ? 0 : Random::below(100);
        QFile::remove(text("settings.xml"));
        if (choice < 97) {
            write(text("settings.xml"),
                  models.left(choice < 94 ? -1 : Random::below(models.size())));
        }
    }

    bool report() const
    {
        // Several times the average number of actions between two visits, so that a short run on a
        // busy machine doesn't fail by chance.
        static const QMap<QByteArray, int> actionsPerVisit{
            {"connected", 1000},
            {"connected to a hung-up line", 6000},
            {"queue stopped", 4000},
            {"several dialogs", 3000},
            {"box: Are you sure you want to clear the log?", 1500},
            {"dialog: Reading log, please wait", 1000},
            {"dialog: Setting device clock, please wait", 1000},
            {"dialog: Writing data to eeprom, please wait", 2000},
            {"dialog: Updating firmware, please wait.", 6000},
            {"box: Firmware updated", 6000},
            {"dialog: Waiting for eeprom backup to be created from the device", 15000},
            {"dialog: Waiting for eeprom backup to be written to device from file", 15000},
            {"graph with lines", 4000},
            {"written: Select where to save log to", 12000},
            {"written: Select where to save measurements to", 4000}};
        const int percentConnected =
            m_counts.value("actions while connected") * 100 / qMax(1, m_actionsDone);
        std::printf("%d actions in %d runs of the program, %d %% of them while connected; up "
                    "to %d nested actions\n",
                    m_actionsDone, m_runs, percentConnected, m_deepestNesting);
        m_latency.print("event loop:");
        for (auto count = m_counts.begin(); count != m_counts.end(); ++count) {
            std::printf("  %7d %s\n", count.value(), count.key().constData());
        }
        bool passed = true;
        const auto expect = [&](bool condition, const QByteArray &failure) {
            if (!condition) {
                std::printf("FAILED: %s\n", failure.constData());
                passed = false;
            }
        };
        expect(m_memory.isFlat(), "memory grows");
        expect(percentConnected >= (m_actions < 10000 ? 20 : 40), "connected too rarely");
        for (auto row = actionsPerVisit.begin(); row != actionsPerVisit.end(); ++row) {
            expect(m_counts.value(row.key()) >= m_actions / row.value(),
                   "too few visits of " + row.key());
        }
        std::puts(passed ? "passed" : "FAILED");
        return passed;
    }

    // One action.

    void step()
    {
        ::alarm(maximumBlockedSeconds);
        const int level = QThread::currentThread()->loopLevel();
        if (!m_activeLoopLevels.isEmpty() && m_activeLoopLevels.last() == level) {
            // An action of this event loop hasn't returned: it is processing events itself.
            m_stepTimer.start(1);
        } else if (m_dialog && !m_dialog->isVisible()) {
            // A user can't act in the same iteration of the event loop that closes a dialog.
            m_dialog = nullptr;
            m_stepTimer.start(0);
        } else if (m_actionsDone >= m_actions) {
            window().close();
            QApplication::quit();
        } else {
            ++m_actionsDone;
            Random::begin(m_seed, m_actionsDone);
            m_activeLoopLevels.append(level);
            m_deepestNesting = qMax(m_deepestNesting, m_activeLoopLevels.size());
            m_stepTimer.start(Random::percent(85) ? 0 : Random::below(12));
            shortenTimeout();
            observe();
            act();
            m_activeLoopLevels.removeLast();
        }
    }

    void shortenTimeout()
    {
        const auto job = queue().currentJob();
        if (job && job->timeout() >= 500) {
            job->setTimeout(qMin(job->timeout() / 5, 400));
        }
    }

    void observe()
    {
        ActionTrace::require(m_transmitter.isAlive(), "the simulator exited by itself");
        const QSet<QByteArray> seen = states();
        for (const QByteArray &state : seen - m_states) {
            ++m_counts[state];
        }
        m_states = seen;
        m_counts["actions while connected"] += seen.contains("connected") ? 1 : 0;
        for (const QString &name : m_files.takeWrittenFiles()) {
            ++m_counts[name.toUtf8()];
        }
    }

    QSet<QByteArray> states()
    {
        static const QRegularExpression variablePart(text("(?s)[0-9/\"\n].*"));
        QList<QByteArray> dialogs;
        for (const QWidget *widget : QApplication::topLevelWidgets()) {
            if (widget->isVisible() && widget->isModal() && qobject_cast<const QDialog *>(widget)) {
                const auto *const box = qobject_cast<const QMessageBox *>(widget);
                const QString boxText = box ? box->text().remove(variablePart) : QString();
                dialogs << (box ? "box: " + boxText.toUtf8()
                                : "dialog: " + widget->windowTitle().toUtf8());
            }
        }
        const bool isOpen = isConnected() && queue().serialPort() && queue().serialPort()->isOpen();
        const auto *const lines = graph()->findChild<QListWidget *>();
        const QMap<QByteArray, bool> others{
            {"connected", isOpen},
            {"connected to a hung-up line", isOpen && m_transmitter.isHungUp()},
            {"queue stopped", isStopped()},
            {"graph open", lines->isVisible()},
            {"graph with lines", lines->isVisible() && !checked(lines, Qt::DisplayRole).isEmpty()},
            {"several dialogs", dialogs.size() > 1}};
        const QList<QByteArray> found = dialogs + others.keys(true);
        return {found.begin(), found.end()};
    }

    /// Whether the queue has stopped because its job timed out too often.
    bool isStopped() { return queue().currentJob() && !queue().currentJob()->isRunning(); }

    static QWidget *graph() { return topLevelWidget("MeasurementGraph"); }

    void begin(const QByteArray &kind)
    {
        ++m_counts["action: " + kind];
        ActionTrace::add(QByteArray::number(m_actionsDone) + ' ' + kind);
    }

    void wait(int maximumMs)
    {
        begin("wait");
        m_stepTimer.start(Random::below(maximumMs) + 1);
    }

    /// Runs one of @p choices at random; the sum of their percentages is 100.
    void choose(const std::vector<Choice> &choices)
    {
        auto chosen = choices.begin();
        for (double draw = Random::generator.bounded(100.0); draw >= chosen->percent; ++chosen) {
            draw -= chosen->percent;
        }
        if (chosen->kind) {
            begin(chosen->kind);
        }
        chosen->action();
    }

    void act()
    {
        constexpr int maximumNesting = 6;
        QWidget *const popup = QApplication::activePopupWidget();
        QWidget *const dialog = QApplication::activeModalWidget();
        checkDialogAge(dialog);
        if (Random::percent(m_transmitter.isHealthy() ? 1 : 3)) {
            begin(m_transmitter.isHealthy() ? "inject fault" : "clear faults");
            m_transmitter.injectOrClearFaults();
        } else if (popup) {
            choose({{50, "click in a popup", [=] { useMouse(randomPart(popup)); }},
                    {30, "press a key in a popup", [=] { pressRandomKey(popup); }},
                    {20, "escape a popup", [=] { pressKey(popup, Qt::Key_Escape); }}});
        } else if (dialog) {
            actOnDialog(dialog);
        } else if (m_activeLoopLevels.size() > maximumNesting || Random::percent(7)) {
            wait(12);
        } else {
            actOnWindow();
        }
    }

    // Windows.

    void actOnWindow()
    {
        const bool isGraph = graph()->isVisible() && (!window().isVisible() || Random::percent(30));
        QWidget *const active = isGraph ? graph() : &window();
        if (!active->isVisible()) {
            return wait(5);
        }
        if (active->isMinimized() && Random::percent(50)) {
            begin("restore window");
            return active->showNormal();
        }
        active->activateWindow();
        isGraph ? actOnGraph(active) : actOnMain();
    }

    void actOnMain()
    {
        if (!isConnected() && Random::percent(isStopped() || !queue().currentJob() ? 40 : 4)) {
            return connectToDevice();
        }
        if (isConnected() && Random::percent(isStopped() ? 15 : 0.8)) {
            begin("disconnect");
            return clickMain("disconnectButton");
        }
        const auto button = [this](double percent, const char *kind, const char *name) {
            return Choice{percent, kind, [=] { clickMain(name); }};
        };
        const auto clickHidden = [this](const char *name) { child<QPushButton>(name)->click(); };
        choose({button(5, "read log", "readLogButton"),
                button(3.5, "clear log", "eraseLogButton"),
                button(4, "write settings", "writeToEepromButton"),
                button(3.5, "synchronize", "synchronizeButton"),
                button(3.5, "set clock", "syncClockButton"),
                button(1, "load settings", "loadSettingsButton"),
                button(2.5, "open graph", "buttonShowGraph"),
                button(5, "export", "exportLocalMeasurementsButton"),
                button(3, "update firmware", "updateFirmwareButton"),
                {0.5, "back up memory", [=] { clickHidden("backupEepromButton"); }},
                {0.5, "restore memory", [=] { clickHidden("restoreEepromButton"); }},
                {3.5, "change unit", [this] { changeUnit(); }},
                {10, "edit setting", [this] { editRandomCell(editor()); }},
                {1.2, "close main window", [this] { window().windowHandle()->close(); }},
                {0.3, "quit the program", [this] { window().close(); }},
                {53, nullptr, [this] { useAnything(&window()); }}});
    }

    void clickMain(const char *button) { clickMiddle(child<QPushButton>(button)); }

    void connectToDevice()
    {
        begin("connect");
        if (Random::percent(90)) {
            child<QComboBox>("serialPorts")->setFocus();
            pressKey(&window(), Qt::Key_End);
        }
        clickMain("connectButton");
    }

    void changeUnit()
    {
        child<QComboBox>(Random::percent(50) ? "unit" : "unitTemperature")->setFocus();
        pressKey(&window(), Random::percent(50) ? Qt::Key_Down : Qt::Key_Up);
    }

    void actOnGraph(QWidget *graph)
    {
        const auto changePeriod = [=](Qt::Key arrow) {
            changeDate(childWidget<QWidget>(graph, "fromDateTimeEdit"), arrow);
        };
        const auto changeRange = [=](const char *control) {
            clickMiddle(childWidget<QWidget>(graph, control));
            pressRandomKey(graph);
        };
        const auto toggleLine = [=] {
            auto *const lines = graph->findChild<QListWidget *>();
            toggle(lines, Random::below(qMax(1, lines->count())));
        };
        choose({{10, "begin the graph earlier", [=] { changePeriod(Qt::Key_Down); }},
                {2, "begin the graph later", [=] { changePeriod(Qt::Key_Up); }},
                {23, "toggle a line", toggleLine},
                {5, "show latest", [=] { changeRange("showLatestCheckBox"); }},
                {10, "change maximum", [=] { changeRange("graphMaximumSpinBox"); }},
                {9, "close graph", [=] { graph->windowHandle()->close(); }},
                {8, "escape graph", [=] { pressKey(graph, Qt::Key_Escape); }},
                {33, nullptr, [=] { useAnything(graph); }}});
    }

    /// Sends any mouse or keyboard input to @p window.
    void useAnything(QWidget *window)
    {
        const char *const controls = "QAbstractButton|QComboBox|QHeaderView|QAbstractSpinBox|"
                                     "QLineEdit|QAbstractItemView|QScrollBar";
        choose({{40, "click a control", [=] { useMouse(randomPart(window, controls)); }},
                {12, "click anywhere", [=] { useMouse(randomPart(window)); }},
                {30, "press a key", [=] { pressRandomKey(window); }},
                {8, "enter text", [=] { enterRandomText(window); }},
                {5, "turn the wheel", [=] { turnWheel(randomPart(window)); }},
                {5, "resize window", [=] { resizeRandomly(window); }}});
    }

    // Dialogs.

    /// Fails if a dialog stays open for too many actions. All operations use the same wait dialog,
    /// so its title distinguishes them.
    void checkDialogAge(QWidget *dialog)
    {
        constexpr int maximumAge = 2000;
        const QString title = dialog ? dialog->windowTitle() : QString();
        m_dialogAge = dialog == m_dialog && title == m_dialogTitle ? m_dialogAge + 1 : 0;
        m_dialog = dialog;
        m_dialogTitle = title;
        ActionTrace::require(!dialog || m_dialogAge <= maximumAge,
                             "a dialog that can't be closed: " + title.toUtf8());
    }

    void actOnDialog(QWidget *dialog)
    {
        constexpr int deepNesting = 4;
        constexpr int longestWait = 40; // in actions
        const bool isWait = dialog == waitDialog();
        dialog->activateWindow();
        if (auto *const files = qobject_cast<QFileDialog *>(dialog)) {
            m_files.confine(files);
        }
        const double endPercent = m_activeLoopLevels.size() > deepNesting ? 100
            : isWait && !isStopped() && m_dialogAge < longestWait         ? 0.8
            : isWait                                                      ? 15
            : qobject_cast<QMessageBox *>(dialog)                         ? 33
                                                                          : 17;
        if (!Random::percent(endPercent)) {
            useDialog(dialog);
        } else if (Random::percent(isWait ? 40 : 15)) {
            choose({{60, "escape a dialog", [=] { pressKey(dialog, Qt::Key_Escape); }},
                    {40, "close a dialog", [=] { dialog->windowHandle()->close(); }}});
        } else {
            answer(dialog);
        }
    }

    void useDialog(QWidget *dialog)
    {
        if (dialog == waitDialog()) {
            choose({{75, nullptr, [this] { wait(40); }},
                    {5, "restart device during a wait",
                     [this] { m_transmitter.controlUnlessHungUp("restart"); }},
                    {6, "click a blocked window", [this] { clickMain("disconnectButton"); }},
                    {4, "close a blocked window", [this] { window().windowHandle()->close(); }},
                    {10, "press a key in a wait dialog",
                     [=] { pressKey(dialog, Random::percent(50) ? Qt::Key_A : Qt::Key_Down); }}});
        } else if (qobject_cast<QMessageBox *>(dialog) && Random::percent(60)) {
            wait(10);
        } else if (childWidget<QWidget>(dialog, "exportDateTimeFrom") && Random::percent(70)) {
            begin("change the export's period");
            Random::percent(80)
                ? changeDate(childWidget<QWidget>(dialog, "exportDateTimeFrom"), Qt::Key_Down)
                : changeDate(childWidget<QWidget>(dialog, "exportDateTimeTo"), Qt::Key_Up);
        } else {
            useAnything(dialog);
        }
    }

    void answer(QWidget *dialog)
    {
        if (auto *const box = qobject_cast<QMessageBox *>(dialog)) {
            begin("answer a box");
            QAbstractButton *const yes = box->button(QMessageBox::Yes);
            press(yes && Random::percent(75) ? yes : Random::pick(box->buttons()));
        } else if (dialog == waitDialog()) {
            begin("cancel a wait");
            press(cancelButton());
        } else if (auto *const files = qobject_cast<QFileDialog *>(dialog)) {
            begin("answer a file dialog");
            choosePath(files);
            press(files,
                  files->acceptMode() == QFileDialog::AcceptOpen ? QDialogButtonBox::Open
                                                                 : QDialogButtonBox::Save);
        } else {
            begin("answer the export dialog");
            press(qobject_cast<QDialog *>(dialog),
                  Random::percent(80) ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel);
        }
    }

    void choosePath(QFileDialog *dialog)
    {
        const QString path = m_files.randomPath(dialog);
        ActionTrace::add(path.toUtf8());
        if (dialog->acceptMode() == QFileDialog::AcceptOpen) {
            // How many bytes a firmware update has; with 0 it is complete after a pause.
            const qint64 size = Random::percent(60) ? QFileInfo(path).size() : 0;
            m_transmitter.controlUnlessHungUp("image-size " + QByteArray::number(size));
        }
        // Not typed, because the completer's list would receive the next key.
        childWidget<QLineEdit>(dialog, "fileNameEdit")->setText(path);
    }

    unsigned m_seed;
    int m_actions;
    QTemporaryDir m_home;
    QString m_port = m_home.filePath(text("port"));
    RandomDevice m_transmitter{m_port};
    RandomFiles m_files{m_home.filePath(text("files"))};
    MemoryTrend m_memory;
    EventLoopLatencyMonitor m_latency;
    QTimer m_stepTimer;
    int m_actionsDone = 0;
    int m_runs = 0;
    int m_deepestNesting = 0;
    QVector<int> m_activeLoopLevels; ///< the loop levels of the actions that haven't returned
    QMap<QByteArray, int> m_counts; ///< of each kind of action, and of the visits of each state
    QSet<QByteArray> m_states;
    QPointer<QWidget> m_dialog;
    QString m_dialogTitle;
    int m_dialogAge = 0; ///< in actions
};

int main(int argc, char *argv[])
{
    TestHome home;
    // Without TZ, the file of the time zone is read for each label of the graph's axis.
    qputenv("TZ", "UTC");
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addOptions({{text("actions"), QString(), text("N"), text("2000")},
                       {text("seed"), QString(), text("S"), text("1")}});
    parser.process(application);
    const int actions = parser.value(text("actions")).toInt();
    const unsigned seed = parser.value(text("seed")).toUInt();
    std::printf("%s --actions %d --seed %u\n", argv[0], actions, seed);
    std::fflush(stdout);
    ActionTrace::begin();
    return RandomInput(seed, actions).run() ? 0 : 1;
}
