// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/text.h"

#include <QtCore/QPointer>
#include <QtCore/QRandomGenerator>
#include <QtGui/QClipboard>
#include <QtGui/QInputMethodEvent>
#include <QtGui/QWheelEvent>
#include <QtGui/QWindow>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QTableWidget>
#include <algorithm>

/// The random numbers of one action. They follow from the seed and the action's number alone, so
/// that an action that meets another state than in an earlier run doesn't change the later draws.
class RandomSource : public QRandomGenerator
{
public:
    RandomSource(unsigned seed, int action)
        : QRandomGenerator({seed, static_cast<unsigned>(action)})
    { }

    /// True with a probability of @p chance percent.
    bool percent(double chance) { return bounded(100.0) < chance; }

    /// One of @p choices, which must not be empty.
    template <typename T>
    T pick(const QList<T> &choices)
    {
        return choices.at(bounded(choices.size()));
    }
};

/// Mouse and keyboard input. It goes to the QWindow, so that disabled widgets, popups and modal
/// dialogs filter it as they filter a user's.
class InputSimulator
{
public:
    explicit InputSimulator(RandomSource &random)
        : m_random(random)
    { }

    /// Clicks @p widget, if it is visible, at @p at or in the middle.
    static void click(QWidget *widget, QPoint at = {})
    {
        const QRect seen = widget->visibleRegion().boundingRect();
        if (!seen.isEmpty()) {
            QTest::mouseClick(windowOf(widget), Qt::LeftButton, {},
                              onWindow(widget, at.isNull() ? seen.center() : at));
        }
    }

    /// Clicks, double-clicks or moves the mouse anywhere on @p widget.
    void useMouse(QWidget *widget)
    {
        const QRect seen = widget->visibleRegion().boundingRect();
        if (seen.isEmpty()) {
            return;
        }
        const QPoint at = onWindow(widget, randomPoint(seen));
        const int way = m_random.bounded(100);
        if (way < 75) {
            QTest::mouseClick(windowOf(widget), Qt::LeftButton, {}, at);
        } else if (way < 85) {
            QTest::mouseDClick(windowOf(widget), Qt::LeftButton, {}, at);
        } else if (way < 95) {
            const Qt::MouseButton button = way < 92 ? Qt::RightButton : Qt::MiddleButton;
            QTest::mouseClick(windowOf(widget), button, {}, at);
        } else {
            QTest::mouseMove(windowOf(widget), at);
        }
    }

    void turnWheel(QWidget *widget)
    {
        const QPoint at = randomPoint(widget->rect());
        const QPoint turn(0, QWheelEvent::DefaultDeltasPerStep * m_random.bounded(-3, 4));
        QWheelEvent event(at, widget->mapToGlobal(at), {}, turn, {}, {}, Qt::NoScrollPhase, false);
        QApplication::sendEvent(widget, &event);
    }

    /// Sends a key to the widget with the focus in @p window, which the press may delete.
    static void press(const QPointer<QWidget> &window, Qt::Key key,
                      Qt::KeyboardModifiers modifiers = {})
    {
        const char letter = QTest::keyToAscii(key);
        const QString text = letter != 0 ? QString(QLatin1Char(letter)) : QString();
        for (const bool isPress : {true, false}) {
            if (window && window->isVisible()) {
                QTest::simulateEvent(windowOf(window), isPress, key, modifiers, text, false);
            }
        }
    }

    /// Sends a random key, a quarter of the time with Ctrl, Shift or Alt.
    void pressRandomKey(const QPointer<QWidget> &window)
    {
        static const QList<Qt::Key> keys{
            Qt::Key_Tab,    Qt::Key_Tab,    Qt::Key_Backtab,   Qt::Key_Return, Qt::Key_Enter,
            Qt::Key_Escape, Qt::Key_Space,  Qt::Key_Up,        Qt::Key_Down,   Qt::Key_Left,
            Qt::Key_Right,  Qt::Key_Home,   Qt::Key_End,       Qt::Key_PageUp, Qt::Key_PageDown,
            Qt::Key_Delete, Qt::Key_Insert, Qt::Key_Backspace, Qt::Key_F1,     Qt::Key_F2,
            Qt::Key_F4,     Qt::Key_F10,    Qt::Key_0,         Qt::Key_1,      Qt::Key_5,
            Qt::Key_9,      Qt::Key_Minus,  Qt::Key_Period,    Qt::Key_A,      Qt::Key_C,
            Qt::Key_N,      Qt::Key_S,      Qt::Key_V,         Qt::Key_X,      Qt::Key_Z};
        const Qt::Key key = m_random.pick(keys);
        const auto modifiers = m_random.pick<Qt::KeyboardModifiers>(
            {Qt::ControlModifier, Qt::ShiftModifier, Qt::AltModifier,
             Qt::ControlModifier | Qt::ShiftModifier});
        press(window, key, m_random.percent(75) ? Qt::KeyboardModifiers() : modifiers);
    }

    /// Enters a random text by keys, by an input method or from the clipboard.
    void enterRandomText(const QPointer<QWidget> &window)
    {
        constexpr ushort halfOfAPair = 0xD800;
        static const QStringList all =
            texts("|12|-1|1e308|0.000000000000000000001|x=y|a b\tc|%1%n%s|$ ok|BOOT*.|"
                  "'; drop table measurement; --|line\r\nshow log|Höhe µg ÅÆ|大気の質|"
                  "качество воздуха|جودة الهواء|\xF0\x9F\x8C\xAB\xF0\x9F\x90\x92")
            << QChar(halfOfAPair) << QChar(0) << QString(4000, QLatin1Char('x'));
        const QString text = m_random.pick(all);
        const int way = m_random.bounded(3);
        QWidget *const focus = QApplication::focusWidget();
        if (way == 0 && text.size() < 40) {
            for (const QChar character : text) {
                if (character.unicode() > ' ' && character.unicode() < 127) {
                    press(window, QTest::asciiToKey(character.toLatin1()));
                }
            }
        } else if (way == 1 && focus && focus->testAttribute(Qt::WA_InputMethodEnabled)) {
            QInputMethodEvent event;
            event.setCommitString(text);
            QApplication::sendEvent(focus, &event);
        } else {
            QApplication::clipboard()->setText(text);
            press(window, Qt::Key_V, Qt::ControlModifier);
        }
    }

    /// Opens the editor of a cell of @p table, enters a text and leaves the editor in a random way.
    void editCell(const QPointer<QTableWidget> &table)
    {
        constexpr int valueColumn = 2;
        const QPointer<QWidget> window = table->window();
        const int column = m_random.percent(90) ? valueColumn : m_random.bounded(3);
        auto *const item = table->item(m_random.bounded(qMax(1, table->rowCount())), column);
        if (!item) {
            return;
        }
        table->scrollToItem(item);
        const QPoint cell = table->visualItemRect(item).center();
        click(table->viewport(), cell);
        if (!table || !table->isVisible()) {
            return;
        }
        QTest::mouseDClick(windowOf(table), Qt::LeftButton, {}, onWindow(table->viewport(), cell));
        press(window, Qt::Key_A, Qt::ControlModifier);
        enterRandomText(window);
        const int way = m_random.bounded(10); // with the last two the editor stays open
        if (way < 8) {
            press(window, way < 6 ? Qt::Key_Return : way < 7 ? Qt::Key_Tab : Qt::Key_Escape);
        }
    }

    /// Changes a section of a date and time field by the key @p arrow.
    void changeDate(QWidget *field, Qt::Key arrow)
    {
        const QPointer<QWidget> window = field->window();
        click(field);
        press(window, Qt::Key_Home);
        for (int section = m_random.bounded(3); section > 0; --section) {
            press(window, Qt::Key_Right, Qt::ControlModifier);
        }
        for (int turn = m_random.bounded(1, 4); turn > 0; --turn) {
            press(window, arrow);
        }
    }

    /// The descendants of @p window that a click can reach; only those of the given classes.
    static QList<QWidget *> reachable(const QWidget *window, const QStringList &classNames)
    {
        QList<QWidget *> found = window->findChildren<QWidget *>();
        const auto isOut = [&](const QWidget *child) {
            return child->window() != window || child->visibleRegion().isEmpty()
                || std::none_of(classNames.begin(), classNames.end(), [&](const QString &name) {
                       return child->inherits(qPrintable(name));
                   });
        };
        found.erase(std::remove_if(found.begin(), found.end(), isOut), found.end());
        return found;
    }

    /// Resizes, minimises, maximises or restores @p window.
    void resize(QWidget *window)
    {
        const int way = m_random.bounded(10);
        if (way < 6) {
            window->resize(m_random.bounded(1, 1400), m_random.bounded(1, 1000));
        } else {
            way < 7       ? window->showMinimized()
                : way < 8 ? window->showMaximized()
                          : window->showNormal();
        }
    }

    /// Asks the window system to close @p window, which a modal dialog may block.
    static void closeByFrame(QWidget *window)
    {
        if (window->windowHandle()) {
            window->windowHandle()->close();
        }
    }

private:
    static QWindow *windowOf(const QWidget *widget) { return widget->window()->windowHandle(); }

    static QPoint onWindow(const QWidget *widget, QPoint at)
    {
        return widget->mapTo(widget->window(), at);
    }

    QPoint randomPoint(const QRect &area)
    {
        return area.topLeft()
            + QPoint(m_random.bounded(area.width()), m_random.bounded(area.height()));
    }

    RandomSource &m_random;
};
