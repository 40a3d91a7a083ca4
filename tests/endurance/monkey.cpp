// SPDX-License-Identifier: GPL-3.0-or-later
// The walk itself: the program's runs, the choice of what to act on, and what was reached.
#include "tests/endurance/monkey.h"

#include "tests/endurance/monkeyhands.h"
#include "tests/kit/testpaths.h"

#include <QtCore/QThread>
#include <QtWidgets/QListWidget>

namespace {

constexpr int pollMs = 500; // for a minute
constexpr int deepestNesting = 6;

QString withoutNumbers(QString words)
{
    static const QRegularExpression special(QStringLiteral("[0-9/\"].*"));
    constexpr int enough = 60;
    return words.remove(special).left(enough).simplified();
}

} // namespace

Monkey::Monkey(const Options &options)
    : m_options(options)
    , m_transmitter(m_home.path())
    , m_files(m_home.filePath(text("files")))
    , m_watch(options.hangMs)
    , m_dice(options.seed, 0)
{
    m_next.setSingleShot(true);
    m_next.setTimerType(Qt::PreciseTimer);
    connect(&m_next, &QTimer::timeout, this, &Monkey::step);
}

bool Monkey::walk()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    if (!m_transmitter.start(m_dice)) {
        MonkeyTrail::fail("the simulator did not start");
    }
    while (m_done < m_options.actions) {
        runProgram();
        ++m_runs;
    }
    checkStore();
    return true;
}

/// As main does it, with the walk in its event loops.
void Monkey::runProgram()
{
    prepareStore();
    prepareModels();
    m_levels.clear();
    m_next.start(0);
    m_tool = std::make_unique<Tool>();
    m_tool->controller.setMeasurementInterval(pollMs);
    m_tool->controller.setMeasurementAvailabilityInterval(pollMs);
    const bool started = m_tool->controller.start();
    window().addPort(text("Transmitter"), m_transmitter.port());
    window().selectPortIndex(child<QComboBox>("serialPorts")->count() - 1);
    if (started) {
        window().show();
        const int code = QApplication::exec();
        if (code != 0) {
            MonkeyTrail::fail("the program ended with code " + QByteArray::number(code));
        }
    }
    m_next.stop();
    m_tool.reset();
    // In the program these go with the process.
    QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    m_watch.tick();
    m_ledger.sampleMemory(m_done);
}

/// A new folder from time to time, so that the graph's share of memory stays that of a short
/// history.
void Monkey::prepareStore()
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

void Monkey::prepareModels()
{
    const QByteArray models = contents(testpaths::sourceFile("settings.xml"));
    MonkeyDice dice(m_options.seed, -m_runs - 1);
    const int way = m_runs == 0 ? 0 : dice.below(100);
    QFile::remove(text("settings.xml"));
    if (way < 97) {
        write(text("settings.xml"), way < 94 ? models : models.left(dice.below(models.size())));
    }
}

void Monkey::checkStore()
{
    if (QFile::exists(storePath())
        && sqlite(text("pragma integrity_check")) != QStringList(text("ok"))) {
        MonkeyTrail::fail("the store is not whole");
    }
    m_ledger.visit(text("store checked"));
    m_watch.tick();
}

/// Time-outs of seconds and minutes are cut, job by job as their turn comes.
void Monkey::hurry()
{
    constexpr int part = 5;
    constexpr int longestMs = 400;
    constexpr int uncutMs = 500;
    const auto job = queue().currentJob();
    if (job && job->timeout() >= uncutMs) {
        job->setTimeout(std::min(job->timeout() / part, longestMs));
    }
}

void Monkey::step()
{
    m_watch.tick();
    if (isBusyHere()) {
        // The action under way looks after the events itself.
        m_next.start(1);
        return;
    }
    if (m_dialog && !m_dialog->isVisible()) {
        // Nobody sees that a dialog has gone in the very turn of the event loop that closes it.
        m_dialog = nullptr;
        m_next.start(0);
        return;
    }
    if (m_done >= m_options.actions) {
        window().close();
        QApplication::quit();
        return;
    }
    ++m_done;
    constexpr int actionsAMark = 5000;
    if (m_done % actionsAMark == 0) {
        std::printf("%d actions, longest gap of the event loop %lld ms\n", m_done,
                    static_cast<long long>(m_watch.longestGap()));
        std::fflush(stdout);
    }
    m_dice = MonkeyDice(m_options.seed, m_done);
    MonkeyTrail::note(m_done, "looks");
    m_levels.append(QThread::currentThread()->loopLevel());
    m_deepest = qMax(m_deepest, m_levels.size());
    m_next.start(m_dice.percent(85) ? 0 : m_dice.below(12));
    hurry();
    observe();
    act();
    m_levels.removeLast();
}

/// Whether an action is under way in this very event loop, not in an outer one.
bool Monkey::isBusyHere() const
{
    return !m_levels.isEmpty() && m_levels.last() == QThread::currentThread()->loopLevel();
}

void Monkey::observe()
{
    if (!m_transmitter.isAsLeft()) {
        MonkeyTrail::fail("the simulator ended by itself");
    }
    QSet<QString> states;
    const auto job = queue().currentJob();
    const bool open = queue().serialPort() && queue().serialPort()->isOpen();
    if (isConnected() && open) {
        ++m_connectedActions;
        states.insert(text("connected"));
        if (m_transmitter.isHungUp()) {
            states.insert(text("connected to a dead line"));
        }
    }
    if (job && !job->isRunning()) {
        states.insert(text("queue stands still"));
    }
    QWidget *const graph = topLevel("MeasurementGraph");
    if (graph->isVisible()) {
        states.insert(text("graph open"));
        const auto *const list = graph->findChild<QListWidget *>();
        for (int row = 0; row < list->count(); ++row) {
            if (list->item(row)->checkState() == Qt::Checked) {
                states.insert(text("graph with lines"));
            }
        }
    }
    observeDialogs(states);
    m_ledger.see(states);
    const QStringList written = m_files.takeWritten();
    for (const QString &title : written) {
        m_ledger.visit(text("written: ") + title);
    }
}

void Monkey::observeDialogs(QSet<QString> &states)
{
    int dialogs = 0;
    const auto widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (!widget->isVisible() || !qobject_cast<QDialog *>(widget) || !widget->isModal()) {
            continue;
        }
        ++dialogs;
        const auto *const box = qobject_cast<QMessageBox *>(widget);
        states.insert(box ? text("box: ") + withoutNumbers(box->text())
                          : text("dialog: ") + widget->windowTitle());
    }
    if (dialogs > 1) {
        states.insert(text("dialogs on top of each other"));
    }
}

void Monkey::begin(const char *kind)
{
    m_ledger.countAction(kind);
    MonkeyTrail::note(m_done, kind);
}

void Monkey::act()
{
    QWidget *const popup = QApplication::activePopupWidget();
    QWidget *const modal = QApplication::activeModalWidget();
    meet(modal);
    if (attendToDevice()) {
        return;
    }
    if (popup) {
        actOnPopup(popup);
    } else if (modal) {
        actOnDialog(modal);
    } else if (m_levels.size() > deepestNesting || m_dice.percent(7)) {
        rest(12);
    } else {
        actOnWindow();
    }
}

/// True when the action was one at the device.
bool Monkey::attendToDevice()
{
    if (!m_transmitter.isHealthy()) {
        if (m_dice.percent(3)) {
            begin("mend device");
            if (!m_transmitter.mend(m_dice)) {
                MonkeyTrail::fail("the device could not be mended");
            }
            return true;
        }
        return false;
    }
    if (!m_dice.percent(1)) {
        return false;
    }
    begin("meddle with device");
    const QString what = m_transmitter.meddle(m_dice);
    if (what.isNull()) {
        MonkeyTrail::fail("the simulator refused");
    }
    MonkeyTrail::detail(what);
    return true;
}

void Monkey::rest(int atMostMs)
{
    begin("wait");
    m_next.start(m_dice.between(1, atMostMs));
}

bool Monkey::report()
{
    std::printf("%d actions in %d runs of the program, %d %% of them connected; up to %d actions "
                "nested; longest gap of the event loop %lld ms\n",
                m_done, m_runs, m_connectedActions * 100 / qMax(1, m_done), m_deepest,
                static_cast<long long>(m_watch.longestGap()));
    m_ledger.print();
    std::printf("warnings\n");
    MonkeyTrail::printWarnings();
    bool flat = m_ledger.isMemoryFlat();
#if defined(__SANITIZE_ADDRESS__)
    flat = true;
#endif
    if (!flat) {
        std::printf("FAILED: memory grows\n");
    }
    return requireVisits() && flat;
}

bool Monkey::requireVisits() const
{
    // So many actions for one visit: several times what a walk takes on average, so that not even a
    // short one on a busy machine fails by chance.
    const struct
    {
        const char *state;
        int actions;
    } required[] = {
        {"connected", 1000},
        {"connected to a dead line", 6000},
        {"queue stands still", 4000},
        {"dialogs on top of each other", 3000},
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
        {"written: Select where to save measurements to", 4000},
    };
    bool all = true;
    for (const auto &row : required) {
        const int wanted = m_options.actions / row.actions;
        const int visits = m_ledger.visits(QLatin1String(row.state));
        if (visits < wanted) {
            std::printf("FAILED: %d visits of \"%s\", wanted %d\n", visits, row.state, wanted);
            all = false;
        }
    }
    const int leastConnected = m_options.actions < 10000 ? 20 : 40; // per cent
    if (m_connectedActions * 100 / qMax(1, m_done) < leastConnected) {
        std::printf("FAILED: too little of the walk was connected\n");
        all = false;
    }
    return all;
}
