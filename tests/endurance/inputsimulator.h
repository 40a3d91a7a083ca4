// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/endurance/actiontrace.h"
#include "tests/kit/windowdriver.h"

#include <QtCore/QPointer>
#include <QtCore/QRandomGenerator>
#include <QtGui/QClipboard>
#include <QtGui/QInputMethodEvent>
#include <QtGui/QKeySequence>
#include <QtGui/QWheelEvent>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QTableWidget>
#include <algorithm>

/// The random numbers of the current action. They depend only on the seed and the action's number.
/// So if the tool is in another state than in an earlier run, the random numbers of later actions
/// are still the same.
namespace Random {

inline QRandomGenerator generator;

inline void begin(unsigned seed, int action)
{
    generator = QRandomGenerator({seed, static_cast<unsigned>(action)});
}

inline int below(int limit) { return generator.bounded(limit); }

/// True with a probability of @p chance percent.
inline bool percent(double chance) { return generator.bounded(100.0) < chance; }

/// One of @p choices, which must not be empty.
template <typename T>
T pick(const QList<T> &choices)
{
    return choices.at(below(choices.size()));
}

/// One of the strings in @p choices, which are separated by '|'.
inline QByteArray pick(const QByteArray &choices) { return pick(choices.split('|')); }

} // namespace Random

/// Random mouse and keyboard input, as a base class. It goes to the QWindow, so that disabled
/// widgets, popups and modal dialogs filter it as they filter a user's.
class InputSimulator
{
protected:
    /// Clicks the middle of the visible part of @p widget.
    static void clickMiddle(const QWidget *widget)
    {
        const QRect visible = widget->visibleRegion().boundingRect();
        if (!visible.isEmpty()) {
            QTest::mouseClick(windowOf(widget), Qt::LeftButton, {},
                              widget->mapTo(widget->window(), visible.center()));
        }
    }

    /// Clicks, double-clicks or moves the mouse anywhere on @p control.
    static void useMouse(QWidget *control)
    {
        // Cells and header sections are drawn by the viewport.
        auto *const area = qobject_cast<QAbstractScrollArea *>(control);
        QWidget *const widget = area ? area->viewport() : control;
        const QRect visible = widget->visibleRegion().boundingRect();
        if (visible.isEmpty()) {
            return;
        }
        ActionTrace::add(control->objectName().toUtf8());
        const QPoint position = widget->mapTo(widget->window(), randomPoint(visible));
        const int choice = Random::below(100);
        if (choice < 5) {
            QTest::mouseMove(windowOf(widget), position);
        } else if (choice < 15) {
            QTest::mouseDClick(windowOf(widget), Qt::LeftButton, {}, position);
        } else {
            const auto button = choice < 18 ? Qt::MiddleButton
                : choice < 25               ? Qt::RightButton
                                            : Qt::LeftButton;
            QTest::mouseClick(windowOf(widget), button, {}, position);
        }
    }

    static void turnWheel(QWidget *widget)
    {
        const QPoint position = randomPoint(widget->rect());
        const QPoint turn(0, QWheelEvent::DefaultDeltasPerStep * (Random::below(7) - 3));
        QWheelEvent event(position, widget->mapToGlobal(position), {}, turn, {}, {},
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(widget, &event);
    }

    /// Sends @p key, such as Qt::CTRL + Qt::Key_V, to the widget with the focus in @p window. The
    /// window may be deleted by the key press.
    static void pressKey(const QPointer<QWidget> &window, int key)
    {
        const Qt::KeyboardModifiers modifiers(key & static_cast<int>(Qt::KeyboardModifierMask));
        const auto code = static_cast<Qt::Key>(key - modifiers);
        const char letter = QTest::keyToAscii(code);
        const QString text = letter != 0 ? QString(QLatin1Char(letter)) : QString();
        for (const bool isPress : {true, false}) {
            if (window && window->isVisible()) {
                QTest::simulateEvent(windowOf(window), isPress, code, modifiers, text, false);
            }
        }
    }

    /// Sends a random key, a quarter of the time with Ctrl, Shift or Alt.
    static void pressRandomKey(const QPointer<QWidget> &window)
    {
        const QByteArray key = Random::pick(
            "Tab|Tab|Backtab|Return|Enter|Esc|Space|Up|Down|Left|Right|Home|End|PgUp|PgDown|Del|"
            "Ins|Backspace|F1|F2|F4|F10|0|1|5|9|-|.|A|C|N|S|V|X|Z");
        const QByteArray modifiers =
            Random::percent(25) ? Random::pick("Ctrl+|Shift+|Alt+|Ctrl+Shift+") : QByteArray();
        pressKey(window, QKeySequence::fromString(text(modifiers + key))[0]);
    }

    /// Enters a random string by keys, by an input method or from the clipboard.
    static void enterRandomText(const QPointer<QWidget> &window)
    {
        constexpr ushort unpairedSurrogate = 0xD800;
        static const QRegularExpression withoutKey(text("[^!-~]"));
        static const QStringList inputs =
            texts("|12|-1|1e308|0.000000000000000000001|x=y|a b\tc|%1%n%s|$ ok|BOOT*.|"
                  "'; drop table measurement; --|line\r\nshow log|Höhe µg ÅÆ|大気の質|"
                  "качество воздуха|جودة الهواء|\xF0\x9F\x8C\xAB\xF0\x9F\x90\x92")
            << QChar(unpairedSurrogate) << QChar(0) << QString(4000, QLatin1Char('x'));
        const QString entered = Random::pick(inputs);
        const int choice = Random::below(3);
        QWidget *const focus = QApplication::focusWidget();
        if (choice == 0) {
            for (const char letter : entered.left(40).remove(withoutKey).toLatin1()) {
                pressKey(window, QTest::asciiToKey(letter));
            }
        } else if (choice == 1 && focus && focus->testAttribute(Qt::WA_InputMethodEnabled)) {
            QInputMethodEvent event;
            event.setCommitString(entered);
            QApplication::sendEvent(focus, &event);
        } else {
            QApplication::clipboard()->setText(entered);
            pressKey(window, Qt::CTRL + Qt::Key_V);
        }
    }

    /// Opens the editor of a random cell of @p table, enters a random string and ends editing in a
    /// random way.
    static void editRandomCell(QTableWidget *table)
    {
        constexpr int valueColumn = 2;
        const QPointer<QWidget> window = table->window();
        const int row = Random::below(qMax(1, table->rowCount()));
        const int column = Random::percent(90) ? valueColumn : Random::below(3);
        if (!table->item(row, column)) {
            return;
        }
        WindowDriver::editCell(table, row, column);
        pressKey(window, Qt::CTRL + Qt::Key_A);
        enterRandomText(window);
        const int choice = Random::below(10); // 8 and 9: the editor stays open
        if (choice < 8) {
            pressKey(window,
                     choice < 6       ? Qt::Key_Return
                         : choice < 7 ? Qt::Key_Tab
                                      : Qt::Key_Escape);
        }
    }

    /// Changes a random section of the date and time field @p field with the key @p arrow.
    static void changeDate(const QWidget *field, Qt::Key arrow)
    {
        const QPointer<QWidget> window = field->window();
        clickMiddle(field);
        pressKey(window, Qt::Key_Home);
        for (int section = Random::below(3); section > 0; --section) {
            pressKey(window, Qt::CTRL + Qt::Key_Right);
        }
        for (int turn = Random::below(3) + 1; turn > 0; --turn) {
            pressKey(window, arrow);
        }
    }

    /// A random visible descendant of @p window that inherits one of the classes @p classNames,
    /// separated by '|'; the window itself if there is none.
    static QWidget *randomPart(QWidget *window, const QByteArray &classNames = "QWidget")
    {
        const QList<QByteArray> names = classNames.split('|');
        QList<QWidget *> found;
        for (QWidget *part : window->findChildren<QWidget *>()) {
            if (part->window() == window && !part->visibleRegion().isEmpty()
                && std::any_of(names.begin(), names.end(),
                               [=](const QByteArray &name) { return part->inherits(name); })) {
                found << part;
            }
        }
        return found.isEmpty() ? window : Random::pick(found);
    }

    /// Resizes, minimises, maximises or restores @p window.
    static void resizeRandomly(QWidget *window)
    {
        const int choice = Random::below(10);
        choice < 6       ? window->resize(Random::below(1400) + 1, Random::below(1000) + 1)
            : choice < 7 ? window->showMinimized()
            : choice < 8 ? window->showMaximized()
                         : window->showNormal();
    }

private:
    static QWindow *windowOf(const QWidget *widget) { return widget->window()->windowHandle(); }

    static QPoint randomPoint(const QRect &area)
    {
        return area.topLeft() + QPoint(Random::below(area.width()), Random::below(area.height()));
    }
};
