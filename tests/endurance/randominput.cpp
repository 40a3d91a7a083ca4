// SPDX-License-Identifier: GPL-3.0-or-later
// Random input to the whole tool: its real window, a real port with the simulated transmitter, a
// real store and real files. The same seed gives the same actions; their effect also depends on
// time. Usage: kv_randominput [--actions N] [--seed S]
#include "tests/endurance/actiontrace.h"
#include "tests/endurance/inputsimulator.h"
#include "tests/endurance/processmemory.h"
#include "tests/endurance/randomdevice.h"
#include "tests/endurance/randomfiles.h"
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QThread>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMessageBox>
#include <unistd.h>

/// Sends random input, mostly towards the tool's operations: connects when the tool is
/// disconnected, starts every operation, lets most of them end and interrupts others. An action may
/// find a modal dialog that an earlier one has opened and that still blocks it.
class RandomInput : public ToolFixture
{
public:
    RandomInput(unsigned seed, int actions)
        : m_seed(seed)
        , m_actions(actions)
    {
        m_next.setSingleShot(true);
        m_next.setTimerType(Qt::PreciseTimer);
        connect(&m_next, &QTimer::timeout, this, &RandomInput::step);
        m_sinceStep.start();
    }

    /// Runs the program as often as needed. A failure ends the process at once.
    void run()
    {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        ActionTrace::require(m_device.start(), "the simulator did not start");
        for (; m_done < m_actions; ++m_runs) {
            runProgram();
        }
        checkStore();
        ::alarm(0);
    }

    /// Prints the statistics; false when memory grows or too few states were visited.
    bool report() const
    {
        const int connectedPercent =
            m_counts.value(text("actions while connected")) * 100 / qMax(1, m_done);
        std::printf("%d actions in %d runs of the program, %d %% of them connected; up to %d "
                    "actions nested; longest gap of the event loop %lld ms\n",
                    m_done, m_runs, connectedPercent, m_deepest, m_longestGap);
        for (auto count = m_counts.begin(); count != m_counts.end(); ++count) {
            std::printf("  %7d %s\n", count.value(), qUtf8Printable(count.key()));
        }
        bool isPassed = true;
        const auto expect = [&](bool condition, const QString &failure) {
            if (!condition) {
                std::printf("FAILED: %s\n", qUtf8Printable(failure));
                isPassed = false;
            }
        };
        expect(m_memory.isFlat(), text("memory grows"));
        expect(connectedPercent >= (m_actions < 10000 ? 20 : 40), text("not connected enough"));
        const QMap<QString, int> required = actionsForOneVisit();
        for (auto row = required.begin(); row != required.end(); ++row) {
            expect(m_counts.value(row.key()) >= m_actions / row.value(),
                   text("too few visits of ") + row.key());
        }
        return isPassed;
    }

private:
    struct Choice
    {
        int weight;
        const char *kind;
        std::function<void()> action;
    };

    /// Several times the average, so that a short run on a busy machine doesn't fail by chance.
    static QMap<QString, int> actionsForOneVisit()
    {
        return {
            {text("connected"), 1000},
            {text("connected to a hung-up line"), 6000},
            {text("queue stopped"), 4000},
            {text("several dialogs"), 3000},
            {text("box: Are you sure you want to clear the log?"), 1500},
            {text("dialog: Reading log, please wait"), 1000},
            {text("dialog: Setting device clock, please wait"), 1000},
            {text("dialog: Writing data to eeprom, please wait"), 2000},
            {text("dialog: Updating firmware, please wait."), 6000},
            {text("box: Firmware updated"), 6000},
            {text("dialog: Waiting for eeprom backup to be created from the device"), 15000},
            {text("dialog: Waiting for eeprom backup to be written to device from file"), 15000},
            {text("graph with lines"), 4000},
            {text("written: Select where to save log to"), 12000},
            {text("written: Select where to save measurements to"), 4000}};
    }

    /// The event loop, nested ones included, has to run again within 20 seconds.
    static void restartWatchdog() { ::alarm(20); }

    // The program.

    void runProgram()
    {
        constexpr int pollMs = 500; // instead of a minute
        prepareStore();
        prepareModels();
        m_levels.clear();
        m_next.start(0);
        m_tool = std::make_unique<Tool>();
        tool().controller.setMeasurementInterval(pollMs);
        tool().controller.setMeasurementAvailabilityInterval(pollMs);
        const bool isStarted = tool().controller.start();
        choosePort(m_device.port());
        if (isStarted) {
            window().show();
            const int code = QApplication::exec();
            ActionTrace::require(code == 0,
                                 "the program ended with code " + QByteArray::number(code));
        }
        m_next.stop();
        endTool();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        restartWatchdog();
        m_memory.sample(m_done);
    }

    /// Uses a new folder from time to time, so that the graph's memory stays that of a short
    /// history.
    void prepareStore()
    {
        constexpr int enoughReadings = 400;
        if (m_folder && storedReadings() < enoughReadings) {
            return;
        }
        checkStore();
        m_folder = std::make_unique<QTemporaryDir>();
        QSettings(text("Orvanta"), text("Kv tool")).setValue(text("local storage path"), folder());
    }

    void checkStore()
    {
        const bool isIntact =
            !QFile::exists(storePath()) || sqlite(text("pragma integrity_check")) == texts("ok");
        ActionTrace::require(isIntact, "the store is damaged");
        ++m_counts[text("store checked")];
        restartWatchdog();
    }

    /// After the first run, the description of the models is sometimes incomplete or missing.
    void prepareModels()
    {
        const QByteArray models = contents(testpaths::sourceFile("settings.xml"));
        RandomSource random(m_seed, -m_runs - 1);
        const int way = m_runs == 0 ? 0 : random.bounded(100);
        QFile::remove(text("settings.xml"));
        if (way < 97) {
            write(text("settings.xml"), models.left(way < 94 ? -1 : random.bounded(models.size())));
        }
    }

    // One action.

    void step()
    {
        restartWatchdog();
        m_longestGap = qMax(m_longestGap, m_sinceStep.restart());
        const int level = QThread::currentThread()->loopLevel();
        if (!m_levels.isEmpty() && m_levels.last() == level) {
            // An action of this event loop hasn't returned; it processes events itself.
            m_next.start(1);
            return;
        }
        if (m_dialog && !m_dialog->isVisible()) {
            // A user can't act in the iteration of the event loop that closes a dialog.
            m_dialog = nullptr;
            m_next.start(0);
            return;
        }
        if (m_done >= m_actions) {
            window().close();
            QApplication::quit();
            return;
        }
        ++m_done;
        m_random = RandomSource(m_seed, m_done);
        m_levels.append(level);
        m_deepest = qMax(m_deepest, m_levels.size());
        m_next.start(m_random.percent(85) ? 0 : m_random.bounded(12));
        shortenTimeout();
        observe();
        act();
        m_levels.removeLast();
    }

    void shortenTimeout()
    {
        constexpr int shortestMs = 500;
        constexpr int longestMs = 400;
        const auto job = queue().currentJob();
        if (job && job->timeout() >= shortestMs) {
            job->setTimeout(qMin(job->timeout() / 5, longestMs));
        }
    }

    void observe()
    {
        ActionTrace::require(m_device.isAlive(), "the simulator ended by itself");
        const QSet<QString> seen = states();
        for (const QString &state : seen - m_states) {
            ++m_counts[state];
        }
        m_states = seen;
        m_counts[text("actions while connected")] += seen.contains(text("connected")) ? 1 : 0;
        const QStringList written = m_files.takeWritten();
        for (const QString &name : written) {
            ++m_counts[name];
        }
    }

    QSet<QString> states()
    {
        static const QRegularExpression variablePart(text("[0-9/\"].*"));
        constexpr int longestName = 60;
        QStringList dialogs;
        const auto widgets = QApplication::topLevelWidgets();
        for (QWidget *widget : widgets) {
            const auto *const box = qobject_cast<QMessageBox *>(widget);
            if (widget->isVisible() && widget->isModal() && qobject_cast<QDialog *>(widget)) {
                dialogs
                    << (box ? text("box: ")
                                + box->text().remove(variablePart).left(longestName).simplified()
                            : text("dialog: ") + widget->windowTitle());
            }
        }
        QSet<QString> found(dialogs.begin(), dialogs.end());
        const auto insertIf = [&](bool condition, const char *state) {
            if (condition) {
                found.insert(text(state));
            }
        };
        const bool isOpen = isConnected() && queue().serialPort() && queue().serialPort()->isOpen();
        const auto *const lines = graph()->findChild<QListWidget *>();
        insertIf(isOpen, "connected");
        insertIf(isOpen && m_device.isHungUp(), "connected to a hung-up line");
        insertIf(isStopped(), "queue stopped");
        insertIf(lines->isVisible(), "graph open");
        insertIf(lines->isVisible() && !checked(lines, Qt::DisplayRole).isEmpty(),
                 "graph with lines");
        insertIf(dialogs.size() > 1, "several dialogs");
        return found;
    }

    /// Whether a job has been sent five times without an answer.
    bool isStopped() { return queue().currentJob() && !queue().currentJob()->isRunning(); }

    static QWidget *graph() { return topLevel("MeasurementGraph"); }

    void begin(const char *kind)
    {
        ++m_counts[text("action: ") + text(kind)];
        ActionTrace::add(QByteArray::number(m_done) + ' ' + kind);
    }

    void wait(int atMostMs)
    {
        begin("wait");
        m_next.start(m_random.bounded(1, atMostMs + 1));
    }

    /// Chooses one of @p choices at random by its weight. One without a kind records its own.
    void choose(const std::vector<Choice> &choices)
    {
        int draw = m_random.bounded(
            std::accumulate(choices.begin(), choices.end(), 0,
                            [](int sum, const Choice &choice) { return sum + choice.weight; }));
        const auto chosen = std::find_if(choices.begin(), choices.end(), [&](const Choice &choice) {
            return (draw -= choice.weight) < 0;
        });
        if (chosen->kind) {
            begin(chosen->kind);
        }
        chosen->action();
    }

    void act()
    {
        constexpr int deepestNesting = 6;
        QWidget *const popup = QApplication::activePopupWidget();
        QWidget *const modal = QApplication::activeModalWidget();
        updateDialogAge(modal);
        if (m_random.percent(m_device.isHealthy() ? 1 : 3)) {
            begin(m_device.isHealthy() ? "disturb device" : "repair device");
            const QString what = m_device.disturbOrRepair();
            ActionTrace::require(!what.isNull(), "the simulator refused");
            ActionTrace::add("    " + what.toUtf8());
        } else if (popup) {
            actOnPopup(popup);
        } else if (modal) {
            actOnDialog(modal);
        } else if (m_levels.size() > deepestNesting || m_random.percent(7)) {
            wait(12);
        } else {
            actOnWindow();
        }
    }

    // Windows.

    void actOnWindow()
    {
        const bool isGraph =
            graph()->isVisible() && (!window().isVisible() || m_random.percent(30));
        QWidget *const active = isGraph ? graph() : &window();
        if (!active->isVisible()) {
            return wait(5);
        }
        if (active->isMinimized() && m_random.percent(50)) {
            begin("restore window");
            return active->showNormal();
        }
        active->activateWindow();
        isGraph ? actOnGraph(active) : actOnMain();
    }

    void actOnMain()
    {
        if (!isConnected() && m_random.percent(isStopped() || !queue().currentJob() ? 40 : 4)) {
            return connectToDevice();
        }
        if (isConnected() && m_random.percent(isStopped() ? 15 : 0.8)) {
            return choose({press(1, "disconnect", "disconnectButton")});
        }
        choose({press(4, "read log", "readLogButton"),
                press(3, "clear log", "eraseLogButton"),
                press(3, "write settings", "writeToEepromButton"),
                press(3, "synchronize", "synchronizeButton"),
                press(3, "set clock", "syncClockButton"),
                press(1, "load settings", "loadSettingsButton"),
                press(2, "open graph", "buttonShowGraph"),
                press(4, "export", "exportLocalMeasurementsButton"),
                press(2, "update firmware", "updateFirmwareButton"),
                {1, "back up memory", [this] { clickHidden("backupEepromButton"); }},
                {1, "restore memory", [this] { clickHidden("restoreEepromButton"); }},
                {3, "change unit", [this] { changeUnit(); }},
                {9, "edit setting", [this] { m_input.editCell(editor()); }},
                {1, "close main window",
                 [this] {
                     m_random.percent(70) ? m_input.closeByFrame(&window())
                                          : void(window().close());
                 }},
                {50, nullptr, [this] { useAnything(&window()); }}});
    }

    void clickMain(const char *button) { m_input.click(child<QPushButton>(button)); }

    Choice press(int weight, const char *kind, const char *button)
    {
        return {weight, kind, [=] { clickMain(button); }};
    }

    void connectToDevice()
    {
        begin("connect");
        auto *const ports = child<QComboBox>("serialPorts");
        if (m_random.percent(90) && ports->currentIndex() != ports->count() - 1) {
            ports->setFocus();
            m_input.press(&window(), Qt::Key_End);
        }
        clickMain("connectButton");
    }

    /// The buttons that are connected but hidden.
    void clickHidden(const char *button)
    {
        if (m_random.percent(40)) {
            child<QPushButton>(button)->click();
        }
    }

    void changeUnit()
    {
        child<QComboBox>(m_random.percent(50) ? "unit" : "unitTemperature")->setFocus();
        m_input.press(&window(), m_random.percent(50) ? Qt::Key_Down : Qt::Key_Up);
    }

    void actOnGraph(QWidget *graph)
    {
        choose({{12, "change the graph's period",
                 [=] {
                     m_input.changeDate(part<QWidget>(graph, "fromDateTimeEdit"),
                                        m_random.percent(80) ? Qt::Key_Down : Qt::Key_Up);
                 }},
                {23, "toggle a line", [=] { toggleLine(graph->findChild<QListWidget *>()); }},
                {15, "change the graph's range",
                 [=] {
                     m_input.click(part<QWidget>(graph,
                                                 m_random.percent(30) ? "showLatestCheckBox"
                                                                      : "graphMaximumSpinBox"));
                     m_input.pressRandomKey(graph);
                 }},
                {15, "close graph",
                 [=] {
                     m_random.percent(50) ? m_input.closeByFrame(graph)
                                          : m_input.press(graph, Qt::Key_Escape);
                 }},
                {35, nullptr, [=] { useAnything(graph); }}});
    }

    void toggleLine(QListWidget *list)
    {
        if (list->count() > 0) {
            constexpr int checkBoxPixels = 8;
            QListWidgetItem *const item = list->item(m_random.bounded(list->count()));
            list->scrollToItem(item);
            const QRect row = list->visualItemRect(item);
            m_input.click(list->viewport(), {row.left() + checkBoxPixels, row.center().y()});
        }
    }

    /// Any input of mouse and keyboard that a window can get.
    void useAnything(QWidget *window)
    {
        const auto pick = [=](const char *classNames) {
            const auto found = InputSimulator::reachable(window, texts(classNames));
            return found.isEmpty() ? window : m_random.pick(found);
        };
        choose({{40, "click a control",
                 [=] {
                     useMouse(pick("QAbstractButton|QComboBox|QHeaderView|QAbstractSpinBox|"
                                   "QLineEdit|QAbstractItemView|QScrollBar"));
                 }},
                {12, "click anywhere", [=] { useMouse(pick("QWidget")); }},
                {30, "press a key", [=] { m_input.pressRandomKey(window); }},
                {8, "enter text", [=] { m_input.enterRandomText(window); }},
                {5, "turn the wheel", [=] { m_input.turnWheel(pick("QWidget")); }},
                {5, "resize window", [=] { m_input.resize(window); }}});
    }

    void useMouse(QWidget *widget)
    {
        // Cells and header sections are drawn by the viewport.
        auto *const area = qobject_cast<QAbstractScrollArea *>(widget);
        ActionTrace::add("    " + widget->objectName().toUtf8());
        m_input.useMouse(area ? area->viewport() : widget);
    }

    // Dialogs.

    /// Resets the age when another dialog is in front. The wait dialog is the same for all
    /// operations, so its title distinguishes them.
    void updateDialogAge(QWidget *modal)
    {
        constexpr int tooOld = 2000;
        constexpr int deepNesting = 4;
        ++m_dialogAge;
        if (modal && (m_dialog != modal || m_dialogTitle != modal->windowTitle())) {
            const bool isBox = qobject_cast<QMessageBox *>(modal);
            const bool isWait = modal == waitDialog();
            m_dialogTitle = modal->windowTitle();
            m_dialogAge = 0;
            m_dialogLimit = isWait && m_random.percent(70)
                ? 50
                : m_random.bounded(isBox && m_random.percent(70) ? 2 : 12);
            if (m_levels.size() > deepNesting) {
                m_dialogLimit = 0;
            }
        }
        m_dialog = modal;
        ActionTrace::require(!modal || m_dialogAge <= tooOld,
                             "a dialog that can't be closed: " + m_dialogTitle.toUtf8());
    }

    void actOnPopup(QWidget *popup)
    {
        const auto found = InputSimulator::reachable(popup, texts("QWidget"));
        choose({{50, "click in a popup",
                 [=] { m_input.useMouse(found.isEmpty() ? popup : m_random.pick(found)); }},
                {30, "press a key in a popup", [=] { m_input.pressRandomKey(popup); }},
                {20, "escape a popup", [=] { m_input.press(popup, Qt::Key_Escape); }}});
    }

    void actOnDialog(QWidget *modal)
    {
        constexpr int actionsAfterStop = 6;
        constexpr int mostAnswers = 30; // one that is refused leaves the dialog open
        const bool isWait = modal == waitDialog();
        modal->activateWindow();
        if (auto *const files = qobject_cast<QFileDialog *>(modal)) {
            m_files.confine(files);
        }
        if (isWait && isStopped()) {
            m_dialogLimit = qMin(m_dialogLimit, m_dialogAge + actionsAfterStop);
        }
        if (m_dialogAge < m_dialogLimit) {
            useDialog(modal);
        } else if (m_dialogAge > m_dialogLimit + mostAnswers
                   || m_random.percent(isWait ? 40 : 15)) {
            choose({{60, "escape a dialog", [=] { m_input.press(modal, Qt::Key_Escape); }},
                    {40, "close a dialog", [=] { m_input.closeByFrame(modal); }}});
        } else {
            answer(modal);
        }
    }

    void useDialog(QWidget *modal)
    {
        if (modal == waitDialog()) {
            choose({{75, nullptr, [this] { wait(40); }},
                    {5, "restart device during a wait",
                     [this] { m_device.isHungUp() ? QString() : m_device.control("restart"); }},
                    {6, "click a blocked window", [this] { clickMain("disconnectButton"); }},
                    {4, "close a blocked window", [this] { m_input.closeByFrame(&window()); }},
                    {10, "press a key in a wait dialog", [=] {
                         m_input.press(modal, m_random.pick<Qt::Key>({Qt::Key_A, Qt::Key_Down}));
                     }}});
        } else if (qobject_cast<QMessageBox *>(modal) && m_random.percent(60)) {
            wait(10);
        } else if (auto *const from = part<QWidget>(modal, "exportDateTimeFrom");
                   from && m_random.percent(60)) {
            begin("change the export's period");
            m_random.percent(70)
                ? m_input.changeDate(from, Qt::Key_Down)
                : m_input.changeDate(part<QWidget>(modal, "exportDateTimeTo"), Qt::Key_Up);
        } else {
            useAnything(modal);
        }
    }

    void answer(QWidget *modal)
    {
        if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
            begin("answer a box");
            QAbstractButton *const yes = box->button(QMessageBox::Yes);
            m_input.click(yes && m_random.percent(75) ? yes : m_random.pick(box->buttons()));
        } else if (modal == waitDialog()) {
            begin("cancel a wait");
            m_input.click(cancelButton());
        } else if (auto *const files = qobject_cast<QFileDialog *>(modal)) {
            begin("answer a file dialog");
            choosePath(files);
            clickButton(files,
                        files->acceptMode() == QFileDialog::AcceptOpen ? QDialogButtonBox::Open
                                                                       : QDialogButtonBox::Save);
        } else {
            begin("answer the export dialog");
            clickButton(modal,
                        m_random.percent(80) ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel);
        }
    }

    void choosePath(QFileDialog *dialog)
    {
        const QString path =
            m_random.percent(75) ? m_files.validPath(dialog) : m_files.invalidPath(dialog);
        ActionTrace::add("    " + path.toUtf8());
        if (RandomFiles::isForImage(dialog) && !m_device.isHungUp()) {
            const int size = m_random.percent(60) ? RandomFiles::sizeOf(path) : 0;
            m_device.control("image-size " + QByteArray::number(size)); // 0: ended by a pause
        }
        // Not typed: the completer's list would take the next key.
        part<QLineEdit>(dialog, "fileNameEdit")->setText(path);
    }

    void clickButton(const QWidget *dialog, QDialogButtonBox::StandardButton button)
    {
        m_input.click(dialog->findChild<QDialogButtonBox *>()->button(button));
    }

    unsigned m_seed;
    int m_actions;
    RandomSource m_random{m_seed, 0};
    InputSimulator m_input{m_random};
    QTemporaryDir m_home;
    RandomDevice m_device{m_home.path(), m_random};
    RandomFiles m_files{m_home.filePath(text("files")), m_random};
    MemoryTrend m_memory;
    QTimer m_next;
    int m_done = 0;
    int m_runs = 0;
    int m_deepest = 0;
    QElapsedTimer m_sinceStep;
    qint64 m_longestGap = 0; ///< between two steps, in ms
    QVector<int> m_levels; ///< the loop levels of the actions that haven't returned
    QMap<QString, int> m_counts; ///< of each kind of action, and of the visits of each state
    QSet<QString> m_states;
    QPointer<QWidget> m_dialog;
    QString m_dialogTitle;
    int m_dialogAge = 0; ///< in actions
    int m_dialogLimit = 0; ///< age at which the dialog is answered or rejected
};

int main(int argc, char *argv[])
{
    TestHome home;
    // Otherwise each label of the graph's axis reads the time zone file again.
    qputenv("TZ", "UTC");
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addOptions({{text("actions"), QString(), text("N"), text("2000")},
                       {text("seed"), QString(), text("S"), text("1")}});
    parser.process(application);
    const int actions = parser.value(text("actions")).toInt();
    const unsigned seed = parser.value(text("seed")).toUInt();
    const QByteArray command = QCoreApplication::arguments().join(QLatin1Char(' ')).toUtf8();
    std::printf("%s\n", command.constData());
    std::fflush(stdout);
    ActionTrace::begin(command);
    QElapsedTimer time;
    time.start();
    RandomInput test(seed, actions);
    test.run();
    const bool isPassed = test.report();
    const double seconds = static_cast<double>(time.elapsed()) / 1000;
    std::printf("%.1f s, %.0f actions a second: %s\n", seconds, actions / seconds,
                isPassed ? "passed" : "FAILED");
    return isPassed ? 0 : 1;
}
