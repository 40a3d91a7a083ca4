// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/endurance/inputsimulator.h"

#include <QtGui/QClipboard>
#include <QtGui/QInputMethodEvent>
#include <QtGui/QWheelEvent>
#include <QtGui/QWindow>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractSpinBox>
#include <QtWidgets/QApplication>
#include <algorithm>

namespace InputSimulator {

namespace {

const QList<QString> &texts()
{
    static const QList<QString> all{
        QString(),
        QStringLiteral("12"),
        QStringLiteral("-1"),
        QStringLiteral("1e308"),
        QStringLiteral("0.000000000000000000001"),
        QStringLiteral("x=y"),
        QStringLiteral("a b\tc"),
        QStringLiteral("%1%n%s"),
        QStringLiteral("'; drop table measurement; --"),
        QStringLiteral("$ ok"),
        QStringLiteral("line\r\nshow log"),
        QStringLiteral("BOOT*."),
        QStringLiteral("Höhe µg ÅÆ"),
        QStringLiteral("大気の質"),
        QStringLiteral("качество воздуха"),
        QStringLiteral("جودة الهواء"),
        QString::fromUtf8("\xF0\x9F\x8C\xAB\xF0\x9F\x90\x92"),
        QString(QChar(0xD800)), // half of a pair
        QString(QChar(0)),
        QString(4000, QLatin1Char('x')),
    };
    return all;
}

QWindow *windowOf(const QWidget *widget)
{
    return widget->isVisible() ? widget->window()->windowHandle() : nullptr;
}

QPoint onWindow(const QWidget *widget, const QPoint &at)
{
    return widget->mapTo(widget->window(), at);
}

/// A visible point of @p widget: the middle, or a random one; false when there is none.
bool findPoint(const QWidget *widget, RandomSource *random, QPoint &point)
{
    const QRect seen = widget->visibleRegion().boundingRect();
    if (seen.isEmpty() || widget->window()->windowHandle() == nullptr) {
        return false;
    }
    point = seen.center();
    if (random) {
        point = seen.topLeft() + QPoint(random->below(seen.width()), random->below(seen.height()));
    }
    return true;
}

/// Handling the press may delete the window.
void pressAndRelease(QWindow *window, Qt::Key key, Qt::KeyboardModifiers modifiers,
                     const QString &text)
{
    const QPointer<QWindow> watch = window;
    QTest::simulateEvent(window, true, key, modifiers, text, false);
    if (watch) {
        QTest::simulateEvent(watch, false, key, modifiers, text, false);
    }
}

bool canReceiveKeys(const QPointer<QWidget> &window)
{
    return window && window->isVisible() && window->windowHandle();
}

} // namespace

bool click(QWidget *widget)
{
    QPoint middle;
    return widget && findPoint(widget, nullptr, middle) && clickAt(widget, middle);
}

bool clickAt(QWidget *widget, const QPoint &at, Qt::MouseButton button)
{
    QWindow *const window = windowOf(widget);
    if (window == nullptr) {
        return false;
    }
    QTest::mouseClick(window, button, Qt::NoModifier, onWindow(widget, at));
    return true;
}

static bool doubleClickAt(QWidget *widget, const QPoint &at)
{
    QWindow *const window = windowOf(widget);
    if (window == nullptr) {
        return false;
    }
    QTest::mouseDClick(window, Qt::LeftButton, Qt::NoModifier, onWindow(widget, at));
    return true;
}

void useMouse(QWidget *widget, RandomSource &random)
{
    QPoint point;
    if (!findPoint(widget, &random, point)) {
        return;
    }
    const int way = random.below(100);
    if (way < 75) {
        clickAt(widget, point);
    } else if (way < 85) {
        doubleClickAt(widget, point);
    } else if (way < 92) {
        clickAt(widget, point, Qt::RightButton);
    } else if (way < 95) {
        clickAt(widget, point, Qt::MiddleButton);
    } else {
        QTest::mouseMove(widget->window()->windowHandle(), onWindow(widget, point));
    }
}

void turnWheel(QWidget *widget, RandomSource &random)
{
    QPoint point;
    if (!findPoint(widget, &random, point)) {
        return;
    }
    constexpr int notch = 120;
    const QPoint turn(0, notch * random.between(-3, 3));
    QWheelEvent event(point, widget->mapToGlobal(point), QPoint(), turn, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(widget, &event);
}

void press(const QPointer<QWidget> &window, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    if (canReceiveKeys(window)) {
        const char letter = QTest::keyToAscii(key);
        const QString text = letter != 0 ? QString(QLatin1Char(letter)) : QString();
        pressAndRelease(window->windowHandle(), key, modifiers, text);
    }
}

void pressRandomKey(const QPointer<QWidget> &window, RandomSource &random)
{
    static const QList<Qt::Key> keys{
        Qt::Key_Tab,    Qt::Key_Tab,    Qt::Key_Backtab,   Qt::Key_Return, Qt::Key_Enter,
        Qt::Key_Escape, Qt::Key_Space,  Qt::Key_Up,        Qt::Key_Down,   Qt::Key_Left,
        Qt::Key_Right,  Qt::Key_Home,   Qt::Key_End,       Qt::Key_PageUp, Qt::Key_PageDown,
        Qt::Key_Delete, Qt::Key_Insert, Qt::Key_Backspace, Qt::Key_F1,     Qt::Key_F2,
        Qt::Key_F4,     Qt::Key_F10,    Qt::Key_0,         Qt::Key_1,      Qt::Key_5,
        Qt::Key_9,      Qt::Key_Minus,  Qt::Key_Period,    Qt::Key_A,      Qt::Key_C,
        Qt::Key_N,      Qt::Key_S,      Qt::Key_V,         Qt::Key_X,      Qt::Key_Z};
    static const QList<Qt::KeyboardModifiers> modifiers{Qt::ControlModifier, Qt::ShiftModifier,
                                                        Qt::AltModifier,
                                                        Qt::ControlModifier | Qt::ShiftModifier};
    const Qt::Key key = random.pick(keys);
    const bool alone = random.percent(75);
    press(window, key, alone ? Qt::KeyboardModifiers() : random.pick(modifiers));
}

void enterRandomText(const QPointer<QWidget> &window, RandomSource &random)
{
    const QString text = random.pick(texts());
    const int way = random.below(3);
    QWidget *const focus = QApplication::focusWidget();
    if (way == 0 && text.size() < 40) {
        for (const QChar character : text) {
            if (character.unicode() > ' ' && character.unicode() < 127 && canReceiveKeys(window)) {
                const Qt::Key key = QTest::asciiToKey(character.toLatin1());
                pressAndRelease(window->windowHandle(), key, Qt::NoModifier, character);
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

void editCell(QTableWidget *table, RandomSource &random)
{
    if (table->rowCount() == 0) {
        return;
    }
    constexpr int valueColumn = 2;
    const QPointer<QWidget> window = table->window();
    const QPointer<QTableWidget> watch = table;
    QTableWidgetItem *const item = table->item(random.below(table->rowCount()),
                                               random.percent(90) ? valueColumn : random.below(3));
    if (item == nullptr) {
        return;
    }
    table->scrollToItem(item);
    const QPoint cell = table->visualItemRect(item).center();
    clickAt(table->viewport(), cell);
    if (watch.isNull() || !doubleClickAt(watch->viewport(), cell)) {
        return;
    }
    press(window, Qt::Key_A, Qt::ControlModifier);
    enterRandomText(window, random);
    const int way = random.below(10);
    if (way < 6) {
        press(window, Qt::Key_Return);
    } else if (way < 7) {
        press(window, Qt::Key_Tab);
    } else if (way < 8) {
        press(window, Qt::Key_Escape);
    } // else the editor stays open
}

void changeDate(QWidget *field, RandomSource &random, Qt::Key arrow)
{
    const QPointer<QWidget> window = field->window();
    if (!click(field)) {
        return;
    }
    press(window, Qt::Key_Home);
    for (int section = random.below(3); section > 0; --section) {
        press(window, Qt::Key_Right, Qt::ControlModifier);
    }
    for (int turn = random.between(1, 3); turn > 0; --turn) {
        press(window, arrow);
    }
}

QList<QWidget *> reachable(const QWidget *window, const QStringList &classNames)
{
    QList<QWidget *> found;
    const QList<QWidget *> children = window->findChildren<QWidget *>();
    for (QWidget *child : children) {
        const bool fits = classNames.isEmpty()
            || std::any_of(classNames.begin(), classNames.end(), [child](const QString &name) {
                              return child->inherits(name.toLatin1().constData());
                          });
        if (fits && child->window() == window && child->isVisible()
            && !child->visibleRegion().isEmpty()) {
            found.append(child);
        }
    }
    return found;
}

void resize(QWidget *window, RandomSource &random)
{
    const int way = random.below(10);
    if (way < 6) {
        window->resize(random.between(1, 1400), random.between(1, 1000));
    } else if (way < 7) {
        window->showMinimized();
    } else if (way < 8) {
        window->showMaximized();
    } else {
        window->showNormal();
    }
}

} // namespace InputSimulator
