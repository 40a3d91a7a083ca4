// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/endurance/monkeydice.h"

#include <QtCore/QPoint>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtWidgets/QTableWidget>
#include <QtWidgets/QWidget>

/// What mouse and keyboard can do to a window. Everything goes in through the window system's
/// door, so that disabled widgets, popups and modal dialogs meet it as they meet a person.
namespace MonkeyHands {

/// Clicks into @p widget, in the middle or at @p at; false when no part of it is there to be hit.
bool click(QWidget *widget, Qt::MouseButton button = Qt::LeftButton);
bool clickAt(QWidget *widget, const QPoint &at, Qt::MouseButton button = Qt::LeftButton);
bool doubleClickAt(QWidget *widget, const QPoint &at);

/// One of a few things that a mouse does, anywhere on @p widget.
void poke(QWidget *widget, MonkeyDice &dice);

/// Turns the wheel over @p widget.
void turnWheel(QWidget *widget, MonkeyDice &dice);

/// A key for whatever has the focus in @p window.
void press(const QPointer<QWidget> &window, Qt::Key key,
           Qt::KeyboardModifiers modifiers = Qt::NoModifier);

/// A key that the dice choose: ways about, letters and digits, and with Ctrl, Shift or Alt.
void pressSome(const QPointer<QWidget> &window, MonkeyDice &dice);

/// Enters a text into whatever has the focus: by keys, by an input method or from the clipboard.
void enterSome(const QPointer<QWidget> &window, MonkeyDice &dice);

/// Double clicks a value of @p table, enters something and leaves the editor one way or another.
void editCell(QTableWidget *table, MonkeyDice &dice);

/// Gives a date and time field another value by its arrow keys.
void moveDate(QWidget *field, MonkeyDice &dice, Qt::Key arrow);

/// The visible descendants of @p window that a click can reach; those of the given class alone.
QList<QWidget *> reachable(QWidget *window, const QStringList &classNames = {});

/// Another size, or minimised, maximised and back.
void reshape(QWidget *window, MonkeyDice &dice);

} // namespace MonkeyHands
