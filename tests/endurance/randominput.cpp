// SPDX-License-Identifier: GPL-3.0-or-later
// Random input to the whole tool: its real window, a real port with the simulated transmitter, a
// real store and real files. The same seed gives the same actions; their effect also depends on
// time.
#include "tests/endurance/actiontrace.h"
#include "tests/endurance/inputsimulator.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"
#include "tests/kit/toolfixture.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QThread>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMessageBox>
#include <cstdio>

namespace {

/// A fault without a place is permanent; "@next" affects one exchange, "+" all from there on.
QByteArray randomFault(RandomSource &random)
{
    static const QList<QByteArray> exchangeFaults{"silence",        "delay:30",       "delay:150",
                                                  "single-bytes:0", "single-bytes:1", "lost-byte",
                                                  "lost-byte:3",    "flipped-bit",    "nul",
                                                  "chatter:20",     "unknown-model",  "hangup:0",
                                                  "hangup:9",       "glued-replies",  "silence",
                                                  "unknown-model:", "flipped-bit:12", "delay:60"};
    static const QList<QByteArray> otherFaults{
        "bad-checksum",       "bad-checksum@0",   "wrong-entry@2",        "malformed-record@1",
        "malformed-record@0", "malformed-block",  "block-refused@1",      "block-refused@7",
        "block-unanswered@3", "glued-answers",    "glued-answers@2",      "final-star",
        "boot-with-line-end", "hangup-input:100", "bad-checksum-always@1"};
    static const QList<QByteArray> places{"",          "@next", "@next+", "@show meas",
                                          "@show",     "@set",  "@read",  "-always@show health",
                                          "@show date"};
    if (random.percent(35)) {
        return random.pick(otherFaults);
    }
    QByteArray fault = random.pick(exchangeFaults);
    const int colon = fault.indexOf(':');
    return fault.insert(colon < 0 ? fault.size() : colon, random.pick(places));
}

QByteArray randomState(RandomSource &random)
{
    static const QList<QByteArray> lines{
        "health 0%",    "health 100%",  "health",         "health 4711%",      "health x",
        "meas-state 0", "meas-state 1", "meas-state 2",   "meas-state 3",      "meas-state 4",
        "meas-state 9", "meas-state 1", "set altitude=1", "set location=Yard", "meas-state 1"};
    return random.pick(lines);
}

/// The simulated transmitter with random faults, which are removed after a while. Its port keeps
/// one path, as that of a device that is unplugged and plugged in again.
class RandomDevice
{
public:
    /// @p folder takes the symbolic link that is the port's path.
    explicit RandomDevice(const QString &folder)
        : m_link(folder + text("/port"))
    {
    }

    bool start(RandomSource &random)
    {
        const QString model =
            random.pick<QString>({text("KVT-100"), text("KVT-100"), text("KVT-300")});
        const int logRows = random.pick<int>({0, 1, 5, 12, 60});
        QStringList arguments =
            text("--rate 0 --write-ms 20 --reboot-ms 20 --boot-wait 200 --block-idle-ms 50 "
                 "--image-idle-ms 40 --model %1 --log-rows %2 --seed %3")
                .arg(model)
                .arg(logRows)
                .arg(random.below(4))
                .split(QLatin1Char(' '));
        arguments += {text("--link"), m_link};
        if (random.percent(10)) {
            arguments += text("--no-log-option");
        }
        m_healthy = true;
        m_hungUp = false;
        m_killed = false;
        // On a busy machine a start may exceed the client's time-out.
        constexpr int attempts = 3;
        bool started = false;
        for (int attempt = 0; attempt < attempts && !started; ++attempt) {
            m_process = std::make_unique<SimulatorProcess>();
            started = m_process->start(arguments);
        }
        return started;
    }

    QString port() const { return m_link; }
    bool isHealthy() const { return m_healthy; }
    bool isHungUp() const { return m_hungUp || !m_process->isRunning(); }

    /// False when the simulator's process ended by itself.
    bool isAlive() const { return m_killed || m_process->isRunning(); }

    /// Changes a state or causes a fault and returns which; null when the simulator refused.
    QString disturb(RandomSource &random)
    {
        if (isHungUp()) {
            return text("nothing");
        }
        const int way = random.below(100);
        if (way < 20) {
            return control(randomState(random));
        }
        if (way < 28) {
            return m_process->stop() && start(random) ? text("replace") : QString();
        }
        if (way < 38) {
            return restart() ? text("restart") : QString();
        }
        m_healthy = false;
        if (way < 46) {
            m_hungUp = true;
            return control("hangup");
        }
        if (way < 50) {
            m_killed = true;
            m_process->kill();
            return text("kill");
        }
        return control("fault " + randomFault(random));
    }

    /// Removes all faults; false when that fails.
    bool repair(RandomSource &random)
    {
        if (!m_process->isRunning()) {
            return start(random);
        }
        m_healthy = !control("fault clear").isNull();
        m_hungUp = false;
        return m_healthy && (!m_process->state("port").isEmpty() || m_process->resume());
    }

    bool restart() { return isHungUp() || !control("restart").isNull(); }

    /// The size of the next firmware image in bytes, 0 for an end by a pause.
    void expectImage(int bytes) { control("image-size " + QByteArray::number(bytes)); }

private:
    QString control(const QByteArray &line)
    {
        m_process->control(line);
        return m_process->succeeded() ? QString::fromLatin1(line) : QString();
    }

    QString m_link;
    std::unique_ptr<SimulatorProcess> m_process;
    bool m_healthy = true;
    bool m_hungUp = false;
    bool m_killed = true;
};

/// The files to choose in file dialogs, and those that the tool should write.
class RandomFiles
{
public:
    /// Creates images and backups of unusual sizes in @p folder.
    explicit RandomFiles(const QString &folder)
        : m_folder(folder)
    {
        QDir().mkpath(m_folder + text("/folder.bin"));
        m_images = make(text("/image-%1.bin"), {0, 1, 15, 16, 17, 100, 1000, 4096});
        m_backups = make(text("/backup-%1.dat"), {0, 1, 63, 64, 65, 4000, 65535, 65539, 70000});
        make(text("/old.csv"), {10});
        m_invalid = QStringList{QString(),
                                m_folder + text("/folder.bin"),
                                m_folder + text("/missing/out.csv"),
                                m_folder + QLatin1Char('/') + QString(300, QLatin1Char('n')),
                                text("/dev/full"),
                                text("/dev/null"),
                                text("/proc/version"),
                                text("/proc/self/mem"),
                                text("/nowhere/at/all.bin")}
            + make(text("/大気 %1 é.csv"), {10});
    }

    /// Takes @p dialog back into the folder and removes a typed name outside of it, so that a run
    /// can't rename or delete anything else.
    void confine(QFileDialog *dialog) const
    {
        dialog->setOption(QFileDialog::ReadOnly);
        if (dialog->directory().absolutePath() != m_folder) {
            dialog->setDirectory(m_folder);
        }
        auto *const name = dialog->findChild<QLineEdit *>(text("fileNameEdit"));
        const QString path = QDir::cleanPath(QDir(m_folder).absoluteFilePath(name->text()));
        if (!m_invalid.contains(name->text()) && !path.startsWith(m_folder + QLatin1Char('/'))) {
            name->clear();
        }
    }

    /// A path that can be read or written.
    QString validPath(const QFileDialog *dialog, RandomSource &random)
    {
        if (dialog->acceptMode() == QFileDialog::AcceptOpen) {
            return random.pick(dialog->windowTitle().contains(text("firmware")) ? m_images
                                                                                : m_backups);
        }
        if (random.percent(20)) {
            return m_folder + text("/old.csv");
        }
        const QString path = m_folder + text("/written-%1").arg(++m_number);
        m_wanted.insert(path, dialog->windowTitle());
        return path;
    }

    /// A folder, a device, a name that is too long, a missing or an empty path.
    QString invalidPath(const QFileDialog *dialog, RandomSource &random) const
    {
        const QString path = random.pick<QString>(m_invalid);
        // Reading it never ends.
        const bool endless =
            path == text("/dev/full") && dialog->acceptMode() == QFileDialog::AcceptOpen;
        return endless ? QString() : path;
    }

    /// Removes the files that have been written; the titles of the dialogs that asked for them.
    QStringList takeWritten()
    {
        QStringList titles;
        const QStringList paths = m_wanted.keys();
        for (const QString &path : paths) {
            if (sizeOf(path) > 0) {
                titles += m_wanted.take(path);
                QFile::remove(path);
            }
        }
        return titles;
    }

    static int sizeOf(const QString &path)
    {
        const QFileInfo info(path);
        return info.isFile() ? static_cast<int>(info.size()) : 0;
    }

private:
    QStringList make(const QString &pattern, const QList<int> &sizes) const
    {
        QStringList paths;
        for (const int size : sizes) {
            QByteArray bytes(size, '\0');
            QRandomGenerator generator(static_cast<quint32>(size));
            std::generate(bytes.begin(), bytes.end(),
                          [&] { return static_cast<char>(generator()); });
            paths +=
                pattern.contains(text(".csv")) ? m_folder + pattern : m_folder + pattern.arg(size);
            QFile file(paths.last());
            file.open(QIODevice::WriteOnly);
            file.write(bytes);
        }
        return paths;
    }

    QString m_folder;
    QStringList m_images;
    QStringList m_backups;
    QStringList m_invalid;
    QMap<QString, QString> m_wanted; ///< path to title
    int m_number = 0;
};

void printCounts(const char *title, const QMap<QString, int> &counts)
{
    std::printf("%s\n", title);
    for (auto count = counts.constBegin(); count != counts.constEnd(); ++count) {
        std::printf("  %7d %s\n", count.value(), qUtf8Printable(count.key()));
    }
}

} // namespace

/// Sends random input, mostly towards the tool's operations: connects when the tool is
/// disconnected, starts every operation, lets most of them end and interrupts others. An action may
/// find a modal dialog that an earlier one has opened and that still blocks it.
class RandomInput : public ToolFixture
{
public:
    RandomInput(unsigned seed, int actions, int hangMs)
        : m_seed(seed)
        , m_actions(actions)
        , m_device(m_home.path())
        , m_files(m_home.filePath(text("files")))
        , m_watchdog(hangMs)
        , m_random(seed, 0)
    {
        m_next.setSingleShot(true);
        m_next.setTimerType(Qt::PreciseTimer);
        connect(&m_next, &QTimer::timeout, this, [this] { step(); });
    }

    /// Runs the program as often as needed. A failure ends the process at once.
    void run();

    /// Prints the statistics; false when memory grows or too few states were visited.
    bool report() const;

private:
    struct Choice
    {
        int weight;
        const char *kind;
        std::function<void()> action;
    };

    // The program.
    void runProgram();
    void prepareStore();
    void prepareModels();
    void checkStore();
    void shortenTimeout();

    // One action.
    void step();
    void observe();
    QSet<QString> states();
    void act();
    bool disturbOrRepairDevice();
    void begin(const char *kind);
    void wait(int atMostMs);
    void choose(const std::vector<Choice> &choices);

    // Windows.
    void actOnWindow();
    void actOnMain();
    void actOnGraph(QWidget *graph);
    Choice press(int weight, const char *kind, const char *button);
    void connectToDevice();
    void clickHidden(const char *button);
    void changeUnit();
    void toggleLine(QListWidget *list);
    void useAnything(QWidget *window);
    void useAnyOf(const QList<QWidget *> &widgets);
    static void closeByFrame(QWidget *window);

    // Dialogs.
    void updateDialogAge(QWidget *modal);
    void actOnPopup(QWidget *popup);
    void actOnDialog(QWidget *modal);
    void actOnBox(QMessageBox *box);
    void actOnFileDialog(QFileDialog *dialog);
    void actOnExportDialog(QWidget *dialog);
    void actOnWaitDialog(QWidget *dialog);
    void leave(QWidget *modal);

    bool requireVisits() const;

    unsigned m_seed;
    int m_actions;
    QTemporaryDir m_home;
    RandomDevice m_device;
    RandomFiles m_files;
    EventLoopWatchdog m_watchdog;
    MemoryTrend m_memory;
    QTimer m_next;
    RandomSource m_random;
    int m_done = 0;
    int m_runs = 0;
    int m_connectedActions = 0;
    int m_deepest = 0;
    QVector<int> m_levels; ///< the loop levels of the actions that haven't returned
    QMap<QString, int> m_actionCounts;
    QMap<QString, int> m_visits;
    QSet<QString> m_states;
    QPointer<QWidget> m_dialog;
    QString m_dialogTitle;
    int m_dialogAge = 0; ///< in actions
    int m_dialogLimit = 0; ///< age at which the dialog is answered or rejected
};

void RandomInput::run()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    if (!m_device.start(m_random)) {
        ActionTrace::fail("the simulator did not start");
    }
    while (m_done < m_actions) {
        runProgram();
        ++m_runs;
    }
    checkStore();
}

void RandomInput::runProgram()
{
    constexpr int pollMs = 500; // instead of a minute
    prepareStore();
    prepareModels();
    m_levels.clear();
    m_next.start(0);
    m_tool = std::make_unique<Tool>();
    m_tool->controller.setMeasurementInterval(pollMs);
    m_tool->controller.setMeasurementAvailabilityInterval(pollMs);
    const bool started = m_tool->controller.start();
    choosePort(m_device.port());
    if (started) {
        window().show();
        const int code = QApplication::exec();
        if (code != 0) {
            ActionTrace::fail("the program ended with code " + QByteArray::number(code));
        }
    }
    m_next.stop();
    m_tool.reset();
    // In the program these end with the process.
    QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    m_watchdog.tick();
    m_memory.sample(m_done);
}

/// Uses a new folder from time to time, so that the graph's memory stays that of a short history.
void RandomInput::prepareStore()
{
    constexpr int enoughReadings = 400;
    if (m_folder && storedReadings() < enoughReadings) {
        return;
    }
    if (m_folder) {
        checkStore();
    }
    m_folder = std::make_unique<QTemporaryDir>();
    QSettings(text("Orvanta"), text("Kv tool"))
        .setValue(text("local storage path"), m_folder->path());
}

void RandomInput::prepareModels()
{
    const QByteArray models = contents(testpaths::sourceFile("settings.xml"));
    RandomSource random(m_seed, -m_runs - 1);
    const int way = m_runs == 0 ? 0 : random.below(100);
    QFile::remove(text("settings.xml"));
    if (way < 97) {
        write(text("settings.xml"), way < 94 ? models : models.left(random.below(models.size())));
    }
}

void RandomInput::checkStore()
{
    if (QFile::exists(storePath())
        && sqlite(text("pragma integrity_check")) != QStringList(text("ok"))) {
        ActionTrace::fail("the store is damaged");
    }
    ++m_visits[text("store checked")];
    m_watchdog.tick();
}

void RandomInput::shortenTimeout()
{
    constexpr int shortestMs = 500;
    constexpr int longestMs = 400;
    const auto job = queue().currentJob();
    if (job && job->timeout() >= shortestMs) {
        job->setTimeout(std::min(job->timeout() / 5, longestMs));
    }
}

void RandomInput::step()
{
    m_watchdog.tick();
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
    constexpr int progressInterval = 5000;
    if (++m_done % progressInterval == 0) {
        std::printf("%d actions, longest gap of the event loop %lld ms\n", m_done,
                    static_cast<long long>(m_watchdog.longestGap()));
        std::fflush(stdout);
    }
    m_random = RandomSource(m_seed, m_done);
    ActionTrace::note(m_done, "observe");
    m_levels.append(level);
    m_deepest = qMax(m_deepest, m_levels.size());
    m_next.start(m_random.percent(85) ? 0 : m_random.below(12));
    shortenTimeout();
    observe();
    act();
    m_levels.removeLast();
}

void RandomInput::observe()
{
    if (!m_device.isAlive()) {
        ActionTrace::fail("the simulator ended by itself");
    }
    const QSet<QString> seen = states();
    for (const QString &state : seen - m_states) {
        ++m_visits[state];
    }
    m_states = seen;
    m_connectedActions += seen.contains(text("connected")) ? 1 : 0;
    const QStringList written = m_files.takeWritten();
    for (const QString &title : written) {
        ++m_visits[text("written: ") + title];
    }
}

QSet<QString> RandomInput::states()
{
    static const QRegularExpression variablePart(text("[0-9/\"].*"));
    constexpr int longestName = 60;
    QSet<QString> found;
    const auto insertIf = [&](bool condition, const char *state) {
        if (condition) {
            found.insert(text(state));
        }
    };
    const auto job = queue().currentJob();
    const bool open = queue().serialPort() && queue().serialPort()->isOpen();
    insertIf(isConnected() && open, "connected");
    insertIf(isConnected() && open && m_device.isHungUp(), "connected to a hung-up line");
    insertIf(job && !job->isRunning(), "queue stopped");
    QWidget *const graph = topLevel("MeasurementGraph");
    const auto *const list = graph->findChild<QListWidget *>();
    insertIf(graph->isVisible(), "graph open");
    for (int row = 0; graph->isVisible() && row < list->count(); ++row) {
        insertIf(list->item(row)->checkState() == Qt::Checked, "graph with lines");
    }
    int dialogs = 0;
    const auto widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (widget->isVisible() && widget->isModal() && qobject_cast<QDialog *>(widget)) {
            ++dialogs;
            const auto *const box = qobject_cast<QMessageBox *>(widget);
            found.insert(box ? text("box: ")
                                 + box->text().remove(variablePart).left(longestName).simplified()
                             : text("dialog: ") + widget->windowTitle());
        }
    }
    insertIf(dialogs > 1, "several dialogs");
    return found;
}

void RandomInput::begin(const char *kind)
{
    ++m_actionCounts[text(kind)];
    ActionTrace::note(m_done, kind);
}

void RandomInput::wait(int atMostMs)
{
    begin("wait");
    m_next.start(m_random.between(1, atMostMs));
}

/// Chooses one of @p choices at random by its weight. One without a kind records its own.
void RandomInput::choose(const std::vector<Choice> &choices)
{
    int draw = m_random.below(
        std::accumulate(choices.begin(), choices.end(), 0,
                        [](int sum, const Choice &choice) { return sum + choice.weight; }));
    for (const Choice &choice : choices) {
        draw -= choice.weight;
        if (draw < 0) {
            if (choice.kind) {
                begin(choice.kind);
            }
            return choice.action();
        }
    }
}

void RandomInput::act()
{
    constexpr int deepestNesting = 6;
    QWidget *const popup = QApplication::activePopupWidget();
    QWidget *const modal = QApplication::activeModalWidget();
    updateDialogAge(modal);
    if (disturbOrRepairDevice()) {
        return;
    }
    if (popup) {
        actOnPopup(popup);
    } else if (modal) {
        actOnDialog(modal);
    } else if (m_levels.size() > deepestNesting || m_random.percent(7)) {
        wait(12);
    } else {
        actOnWindow();
    }
}

/// True when the action was one on the device.
bool RandomInput::disturbOrRepairDevice()
{
    const bool healthy = m_device.isHealthy();
    if (!m_random.percent(healthy ? 1 : 3)) {
        return false;
    }
    begin(healthy ? "disturb device" : "repair device");
    if (!healthy) {
        if (!m_device.repair(m_random)) {
            ActionTrace::fail("the device could not be repaired");
        }
        return true;
    }
    const QString what = m_device.disturb(m_random);
    if (what.isNull()) {
        ActionTrace::fail("the simulator refused");
    }
    ActionTrace::detail(what);
    return true;
}

void RandomInput::actOnWindow()
{
    QWidget *const graph = topLevel("MeasurementGraph");
    QWidget *active = &window();
    if (graph->isVisible() && (!window().isVisible() || m_random.percent(30))) {
        active = graph;
    }
    if (!active->isVisible()) {
        return wait(5);
    }
    if (active->isMinimized() && m_random.percent(50)) {
        begin("restore window");
        return active->showNormal();
    }
    active->activateWindow();
    if (active == graph) {
        actOnGraph(graph);
    } else {
        actOnMain();
    }
}

void RandomInput::actOnMain()
{
    const auto job = queue().currentJob();
    const bool stopped = job && !job->isRunning();
    if (!isConnected() && m_random.percent(stopped || !job ? 40 : 4)) {
        return connectToDevice();
    }
    if (isConnected() && m_random.percent(stopped ? 15 : 0.8)) {
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
            {9, "edit setting", [this] { InputSimulator::editCell(editor(), m_random); }},
            {1, "close main window",
             [this] { m_random.percent(70) ? closeByFrame(&window()) : void(window().close()); }},
            {50, nullptr, [this] { useAnything(&window()); }}});
}

RandomInput::Choice RandomInput::press(int weight, const char *kind, const char *button)
{
    return {weight, kind, [this, button] {
                if (!InputSimulator::click(child<QPushButton>(button))) {
                    ActionTrace::detail(text("not visible"));
                }
            }};
}

void RandomInput::connectToDevice()
{
    begin("connect");
    auto *const ports = child<QComboBox>("serialPorts");
    if (m_random.percent(90) && ports->currentIndex() != ports->count() - 1) {
        ports->setFocus();
        InputSimulator::press(&window(), Qt::Key_End);
    }
    InputSimulator::click(child<QPushButton>("connectButton"));
}

/// The buttons that are connected but hidden.
void RandomInput::clickHidden(const char *button)
{
    if (m_random.percent(40)) {
        child<QPushButton>(button)->click();
    }
}

void RandomInput::changeUnit()
{
    auto *const unit = child<QComboBox>(m_random.percent(50) ? "unit" : "unitTemperature");
    unit->setFocus();
    InputSimulator::press(&window(), m_random.percent(50) ? Qt::Key_Down : Qt::Key_Up);
}

void RandomInput::actOnGraph(QWidget *graph)
{
    choose(
        {{12, "change the graph's period",
          [=] {
              InputSimulator::changeDate(graph->findChild<QWidget *>(text("fromDateTimeEdit")),
                                         m_random,
                                         m_random.percent(80) ? Qt::Key_Down : Qt::Key_Up);
          }},
         {23, "toggle a line", [=] { toggleLine(graph->findChild<QListWidget *>()); }},
         {15, "change the graph's range",
          [=] {
              InputSimulator::click(graph->findChild<QWidget *>(
                  m_random.percent(30) ? text("showLatestCheckBox") : text("graphMaximumSpinBox")));
              InputSimulator::pressRandomKey(graph, m_random);
          }},
         {15, "close graph",
          [=] {
              m_random.percent(50) ? closeByFrame(graph)
                                   : InputSimulator::press(graph, Qt::Key_Escape);
          }},
         {35, nullptr, [=] { useAnything(graph); }}});
}

void RandomInput::toggleLine(QListWidget *list)
{
    if (list->count() > 0) {
        QListWidgetItem *const item = list->item(m_random.below(list->count()));
        list->scrollToItem(item);
        const QRect row = list->visualItemRect(item);
        constexpr int checkBoxPixels = 8;
        InputSimulator::clickAt(list->viewport(), {row.left() + checkBoxPixels, row.center().y()});
    }
}

/// Any input of mouse and keyboard that a window can get.
void RandomInput::useAnything(QWidget *window)
{
    static const QStringList controls{text("QAbstractButton"), text("QComboBox"),
                                      text("QHeaderView"),     text("QAbstractSpinBox"),
                                      text("QLineEdit"),       text("QAbstractItemView"),
                                      text("QScrollBar")};
    using namespace InputSimulator;
    choose({{40, "click a control", [=] { useAnyOf(reachable(window, controls)); }},
            {12, "click anywhere", [=] { useAnyOf(reachable(window)); }},
            {30, "press a key", [=] { pressRandomKey(window, m_random); }},
            {8, "enter text", [=] { enterRandomText(window, m_random); }},
            {5, "turn the wheel",
             [=] {
                 const QList<QWidget *> found = reachable(window);
                 if (!found.isEmpty()) {
                     turnWheel(m_random.pick(found), m_random);
                 }
             }},
            {5, "resize window", [=] { InputSimulator::resize(window, m_random); }}});
}

void RandomInput::useAnyOf(const QList<QWidget *> &widgets)
{
    if (widgets.isEmpty()) {
        return;
    }
    QWidget *const widget = m_random.pick(widgets);
    // Cells and header sections are drawn by the viewport.
    auto *const area = qobject_cast<QAbstractScrollArea *>(widget);
    ActionTrace::detail(widget->objectName());
    InputSimulator::useMouse(area ? area->viewport() : widget, m_random);
}

void RandomInput::closeByFrame(QWidget *window)
{
    if (window->windowHandle()) {
        window->windowHandle()->close();
    }
}

/// Resets the age when another dialog is in front. The wait dialog is the same for all operations,
/// so its title distinguishes them.
void RandomInput::updateDialogAge(QWidget *modal)
{
    constexpr int tooOld = 2000;
    constexpr int deepNesting = 4;
    ++m_dialogAge;
    if (!modal || (m_dialog == modal && m_dialogTitle == modal->windowTitle())) {
        if (modal && m_dialogAge > tooOld) {
            ActionTrace::fail("a dialog that can't be closed: " + m_dialogTitle.toUtf8());
        }
        m_dialog = modal;
        return;
    }
    m_dialog = modal;
    m_dialogTitle = modal->windowTitle();
    m_dialogAge = 0;
    if (qobject_cast<QMessageBox *>(modal)) {
        m_dialogLimit = m_random.percent(70) ? m_random.below(2) : m_random.below(12);
    } else if (modal->objectName() == text("WaitDialog")) {
        m_dialogLimit = m_random.percent(70) ? 50 : m_random.below(15);
    } else {
        m_dialogLimit = m_random.below(12);
    }
    if (m_levels.size() > deepNesting) {
        m_dialogLimit = 0;
    }
}

void RandomInput::actOnPopup(QWidget *popup)
{
    choose(
        {{50, "click in a popup",
          [=] {
              const QList<QWidget *> found = InputSimulator::reachable(popup);
              InputSimulator::useMouse(found.isEmpty() ? popup : m_random.pick(found), m_random);
          }},
         {30, "press a key in a popup", [=] { InputSimulator::pressRandomKey(popup, m_random); }},
         {20, "escape a popup", [=] { InputSimulator::press(popup, Qt::Key_Escape); }}});
}

void RandomInput::actOnDialog(QWidget *modal)
{
    modal->activateWindow();
    if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
        actOnBox(box);
    } else if (auto *const files = qobject_cast<QFileDialog *>(modal)) {
        actOnFileDialog(files);
    } else if (modal->objectName() == text("WaitDialog")) {
        actOnWaitDialog(modal);
    } else {
        actOnExportDialog(modal);
    }
}

void RandomInput::leave(QWidget *modal)
{
    choose({{60, "escape a dialog", [=] { InputSimulator::press(modal, Qt::Key_Escape); }},
            {40, "close a dialog", [=] { closeByFrame(modal); }}});
}

void RandomInput::actOnBox(QMessageBox *box)
{
    if (m_dialogAge < m_dialogLimit) {
        return m_random.percent(60) ? wait(10) : useAnything(box);
    }
    if (m_random.percent(15)) {
        return leave(box);
    }
    begin("answer a box");
    QAbstractButton *button = box->button(QMessageBox::Yes);
    if (!button || m_random.percent(25)) {
        button = m_random.pick(box->buttons());
    }
    InputSimulator::click(button);
}

void RandomInput::actOnFileDialog(QFileDialog *dialog)
{
    constexpr int oldAge = 40;
    m_files.confine(dialog);
    if (m_dialogAge < m_dialogLimit) {
        return useAnything(dialog);
    }
    if (m_dialogAge > oldAge || m_random.percent(12)) {
        return leave(dialog);
    }
    begin("answer a file dialog");
    const QString path = m_random.percent(75) ? m_files.validPath(dialog, m_random)
                                              : m_files.invalidPath(dialog, m_random);
    ActionTrace::detail(path);
    if (!m_device.isHungUp() && dialog->windowTitle().contains(text("firmware"))) {
        m_device.expectImage(m_random.percent(60) ? RandomFiles::sizeOf(path) : 0);
    }
    // Not typed: the completer's list would take the next key.
    dialog->findChild<QLineEdit *>(text("fileNameEdit"))->setText(path);
    InputSimulator::click(dialog->findChild<QDialogButtonBox *>()->button(
        dialog->acceptMode() == QFileDialog::AcceptOpen ? QDialogButtonBox::Open
                                                        : QDialogButtonBox::Save));
}

void RandomInput::actOnExportDialog(QWidget *dialog)
{
    if (m_dialogAge < m_dialogLimit && m_random.percent(60)) {
        begin("change the export's period");
        const bool from = m_random.percent(70);
        return InputSimulator::changeDate(
            dialog->findChild<QWidget *>(text(from ? "exportDateTimeFrom" : "exportDateTimeTo")),
            m_random, from ? Qt::Key_Down : Qt::Key_Up);
    }
    if (m_dialogAge < m_dialogLimit) {
        return useAnything(dialog);
    }
    if (m_random.percent(15)) {
        return leave(dialog);
    }
    begin("answer the export dialog");
    InputSimulator::click(dialog->findChild<QDialogButtonBox *>()->button(
        m_random.percent(80) ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel));
}

void RandomInput::actOnWaitDialog(QWidget *dialog)
{
    constexpr int afterStop = 6; // actions
    const auto job = queue().currentJob();
    if (job && !job->isRunning()) {
        m_dialogLimit = std::min(m_dialogLimit, m_dialogAge + afterStop);
    }
    if (m_dialogAge < m_dialogLimit) {
        return choose({{75, nullptr, [this] { wait(40); }},
                       {5, "restart device during a wait", [this] { m_device.restart(); }},
                       {6, "click a blocked window",
                        [this] { InputSimulator::click(child<QPushButton>("disconnectButton")); }},
                       {4, "close a blocked window", [this] { closeByFrame(&window()); }},
                       {10, "press a key in a wait dialog", [=] {
                            InputSimulator::press(dialog,
                                                  m_random.percent(50) ? Qt::Key_A : Qt::Key_Down);
                        }}});
    }
    if (m_random.percent(40)) {
        return leave(dialog);
    }
    begin("cancel a wait");
    InputSimulator::click(dialog->findChild<QPushButton *>());
}

bool RandomInput::report() const
{
    std::printf("%d actions in %d runs of the program, %d %% of them connected; up to %d actions "
                "nested; longest gap of the event loop %lld ms\n",
                m_done, m_runs, m_connectedActions * 100 / qMax(1, m_done), m_deepest,
                static_cast<long long>(m_watchdog.longestGap()));
    printCounts("actions", m_actionCounts);
    printCounts("states visited", m_visits);
    std::printf("warnings\n");
    ActionTrace::printWarnings();
    bool flat = m_memory.isFlat();
#if defined(__SANITIZE_ADDRESS__)
    flat = true;
#endif
    if (!flat) {
        std::printf("FAILED: memory grows\n");
    }
    return requireVisits() && flat;
}

bool RandomInput::requireVisits() const
{
    // Actions for one visit: several times the average, so that a short run on a busy machine
    // doesn't fail by chance.
    const QMap<QString, int> required{
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
        {text("written: Select where to save measurements to"), 4000},
    };
    bool all = true;
    for (auto row = required.begin(); row != required.end(); ++row) {
        const int wanted = m_actions / row.value();
        if (m_visits.value(row.key()) < wanted) {
            std::printf("FAILED: %d visits of \"%s\", expected %d\n", m_visits.value(row.key()),
                        qUtf8Printable(row.key()), wanted);
            all = false;
        }
    }
    const int leastConnectedPercent = m_actions < 10000 ? 20 : 40;
    if (m_connectedActions * 100 / qMax(1, m_done) < leastConnectedPercent) {
        std::printf("FAILED: too few actions were connected\n");
        all = false;
    }
    return all;
}

int main(int argc, char *argv[])
{
    TestHome home;
    // Otherwise each label of the graph's axis reads the time zone file again.
    qputenv("TZ", "UTC");
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(text("Sends random input to the whole tool."));
    parser.addHelpOption();
    parser.addOptions({
        {text("actions"), text("number of actions (2000)"), text("N"), text("2000")},
        {text("seed"), text("seed of the random actions (1)"), text("S"), text("1")},
        {text("hang-ms"), text("longest time without the event loop (20000)"), text("MS"),
         text("20000")},
    });
    parser.process(application);
    const int actions = parser.value(text("actions")).toInt();
    const unsigned seed = parser.value(text("seed")).toUInt();

    const QByteArray command = "kv_randominput --actions " + QByteArray::number(actions)
        + " --seed " + QByteArray::number(seed);
    std::printf("%s\n", command.constData());
    std::fflush(stdout);
    ActionTrace::begin(command);
    QElapsedTimer time;
    time.start();
    bool passed = false;
    {
        RandomInput test(seed, actions, parser.value(text("hang-ms")).toInt());
        test.run();
        passed = test.report();
    }
    const double seconds = static_cast<double>(time.elapsed()) / 1000;
    std::printf("%.1f s, %.0f actions a second: %s\n", seconds, actions / seconds,
                passed ? "passed" : "FAILED");
    return passed ? 0 : 1;
}
