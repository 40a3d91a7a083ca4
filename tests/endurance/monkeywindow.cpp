// SPDX-License-Identifier: GPL-3.0-or-later
// The monkey at the main window and the graph.
#include "tests/endurance/monkey.h"
#include "tests/endurance/monkeyhands.h"

#include <QtGui/QWindow>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QListWidget>

namespace {

const QStringList &controls()
{
    static const QStringList classes{
        QStringLiteral("QAbstractButton"), QStringLiteral("QComboBox"),
        QStringLiteral("QHeaderView"),     QStringLiteral("QAbstractSpinBox"),
        QStringLiteral("QLineEdit"),       QStringLiteral("QAbstractItemView"),
        QStringLiteral("QScrollBar")};
    return classes;
}

QWidget *target(QWidget *found)
{
    // The cells and sections are drawn by the viewport.
    auto *const area = qobject_cast<QAbstractScrollArea *>(found);
    return area ? area->viewport() : found;
}

} // namespace

void Monkey::actOnWindow()
{
    QWidget *const graph = topLevel("MeasurementGraph");
    QWidget *active = &window();
    if (graph->isVisible() && (!window().isVisible() || m_dice.percent(30))) {
        active = graph;
    }
    if (!active->isVisible()) {
        return rest(5);
    }
    if (active->isMinimized() && m_dice.percent(50)) {
        begin("restore window");
        active->showNormal();
        return;
    }
    // The window manager's part.
    if (!active->isActiveWindow()) {
        active->activateWindow();
    }
    if (active == graph) {
        actOnGraph();
    } else {
        actOnMain();
    }
}

void Monkey::actOnMain()
{
    const auto job = queue().currentJob();
    const bool stalled = job && !job->isRunning();
    if (!isConnected() && m_dice.percent(stalled || !job ? 40 : 4)) {
        return choosePortAndConnect();
    }
    if (isConnected() && m_dice.percent(stalled ? 15 : 0.8)) {
        return pressGoal("disconnect", "disconnectButton");
    }
    const struct
    {
        int weight;
        std::function<void()> action;
    } goals[] = {
        {4, [this] { pressGoal("read log", "readLogButton"); }},
        {3, [this] { pressGoal("clear log", "eraseLogButton"); }},
        {3, [this] { pressGoal("write settings", "writeToEepromButton"); }},
        {3, [this] { pressGoal("synchronize", "synchronizeButton"); }},
        {3, [this] { pressGoal("set clock", "syncClockButton"); }},
        {1, [this] { pressGoal("load settings", "loadSettingsButton"); }},
        {2, [this] { pressGoal("open graph", "buttonShowGraph"); }},
        {4, [this] { pressGoal("export", "exportLocalMeasurementsButton"); }},
        {2, [this] { pressGoal("update firmware", "updateFirmwareButton"); }},
        {1, [this] { clickHidden("back up memory", "backupEepromButton"); }},
        {1, [this] { clickHidden("restore memory", "restoreEepromButton"); }},
        {3, [this] { changeUnit(); }},
        {9,
         [this] {
             begin("edit setting");
             MonkeyHands::editCell(editor(), m_dice);
         }},
        {1, [this] { closeMain(); }},
        {50, [this] { fumble(&window()); }},
    };
    int all = 0;
    for (const auto &goal : goals) {
        all += goal.weight;
    }
    int draw = m_dice.below(all);
    for (const auto &goal : goals) {
        draw -= goal.weight;
        if (draw < 0) {
            return goal.action();
        }
    }
}

void Monkey::pressGoal(const char *kind, const char *button)
{
    begin(kind);
    if (!MonkeyHands::click(child<QPushButton>(button))) {
        MonkeyTrail::detail(text("out of reach"));
    }
}

void Monkey::choosePortAndConnect()
{
    begin("connect");
    auto *const ports = child<QComboBox>("serialPorts");
    if (m_dice.percent(90) && ports->currentIndex() != ports->count() - 1) {
        ports->setFocus();
        MonkeyHands::press(&window(), Qt::Key_End);
    }
    MonkeyHands::click(child<QPushButton>("connectButton"));
}

/// The two buttons that are wired, but out of the user's reach for now.
void Monkey::clickHidden(const char *kind, const char *button)
{
    if (!m_dice.percent(40)) {
        return rest(10);
    }
    begin(kind);
    child<QPushButton>(button)->click();
}

void Monkey::changeUnit()
{
    begin("change unit");
    auto *const unit = child<QComboBox>(m_dice.percent(50) ? "unit" : "unitTemperature");
    unit->setFocus();
    MonkeyHands::press(&window(), m_dice.percent(50) ? Qt::Key_Down : Qt::Key_Up);
}

void Monkey::closeMain()
{
    begin("close main window");
    if (m_dice.percent(70)) {
        closeByFrame(&window());
    } else {
        window().close();
    }
}

/// Anything that mouse and keyboard can do to a window, without an aim.
void Monkey::fumble(QWidget *window)
{
    const int way = m_dice.below(100);
    if (way < 40) {
        begin("click a control");
        const QList<QWidget *> found = MonkeyHands::reachable(window, controls());
        if (!found.isEmpty()) {
            QWidget *const chosen = target(m_dice.pick(found));
            MonkeyTrail::detail(chosen->objectName());
            MonkeyHands::poke(chosen, m_dice);
        }
    } else if (way < 52) {
        begin("click anywhere");
        const QList<QWidget *> found = MonkeyHands::reachable(window);
        if (!found.isEmpty()) {
            QWidget *const chosen = m_dice.pick(found);
            MonkeyTrail::detail(chosen->objectName());
            MonkeyHands::poke(chosen, m_dice);
        }
    } else if (way < 82) {
        begin("press a key");
        MonkeyHands::pressSome(window, m_dice);
    } else if (way < 90) {
        begin("enter text");
        MonkeyHands::enterSome(window, m_dice);
    } else if (way < 95) {
        begin("turn the wheel");
        const QList<QWidget *> found = MonkeyHands::reachable(window);
        if (!found.isEmpty()) {
            MonkeyHands::turnWheel(m_dice.pick(found), m_dice);
        }
    } else {
        begin("resize window");
        MonkeyHands::reshape(window, m_dice);
    }
}

void Monkey::actOnGraph()
{
    QWidget *const graph = topLevel("MeasurementGraph");
    const int way = m_dice.below(100);
    if (way < 12) {
        begin("move the graph's period");
        auto *const from = graph->findChild<QWidget *>(text("fromDateTimeEdit"));
        MonkeyHands::moveDate(from, m_dice, m_dice.percent(80) ? Qt::Key_Down : Qt::Key_Up);
    } else if (way < 35) {
        begin("tick a line");
        auto *const list = graph->findChild<QListWidget *>();
        if (list->count() > 0) {
            QListWidgetItem *const item = list->item(m_dice.below(list->count()));
            list->scrollToItem(item);
            const QRect row = list->visualItemRect(item);
            constexpr int boxPixels = 8;
            MonkeyHands::clickAt(list->viewport(), {row.left() + boxPixels, row.center().y()});
        }
    } else if (way < 50) {
        begin("set the graph's range");
        MonkeyHands::click(graph->findChild<QWidget *>(
            m_dice.percent(30) ? text("showLatestCheckBox") : text("graphMaximumSpinBox")));
        MonkeyHands::pressSome(graph, m_dice);
    } else if (way < 65) {
        begin("close graph");
        if (m_dice.percent(50)) {
            closeByFrame(graph);
        } else {
            MonkeyHands::press(graph, Qt::Key_Escape);
        }
    } else {
        fumble(graph);
    }
}

void Monkey::closeByFrame(QWidget *window)
{
    if (window->windowHandle()) {
        window->windowHandle()->close();
    }
}
