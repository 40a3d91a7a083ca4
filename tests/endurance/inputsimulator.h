// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QPointer>
#include <QtCore/QStringList>
#include <QtWidgets/QTableWidget>
#include <random>

/// The random numbers of one action. They follow from the seed and the action's number alone, so
/// that an action that meets another state than in an earlier run doesn't change the later draws.
class RandomSource
{
public:
    RandomSource(unsigned seed, int action)
    {
        std::seed_seq both{seed, static_cast<unsigned>(action)};
        m_generator.seed(both);
    }

    /// From 0 to @p count - 1; 0 when @p count is 0 or less.
    int below(int count)
    {
        return count > 0 ? static_cast<int>(m_generator() % static_cast<unsigned>(count)) : 0;
    }

    /// From @p low to @p high, both included.
    int between(int low, int high) { return low + below(high - low + 1); }

    /// True with a probability of @p chance percent.
    bool percent(double chance) { return below(100000) < chance * 1000; }

    /// One of @p choices, which must not be empty.
    template <typename T>
    const T &pick(const QList<T> &choices)
    {
        return choices.at(below(choices.size()));
    }

private:
    std::mt19937 m_generator;
};

/// Mouse and keyboard input. It goes to the QWindow, so that disabled widgets, popups and modal
/// dialogs filter it as they filter a user's.
namespace InputSimulator {

/// Clicks the middle of @p widget, or @p at; false when no part of it is visible.
bool click(QWidget *widget);
bool clickAt(QWidget *widget, const QPoint &at, Qt::MouseButton button = Qt::LeftButton);

/// Clicks, double-clicks or moves the mouse anywhere on @p widget.
void useMouse(QWidget *widget, RandomSource &random);

/// Turns the wheel over @p widget.
void turnWheel(QWidget *widget, RandomSource &random);

/// Sends a key to the widget with the focus in @p window.
void press(const QPointer<QWidget> &window, Qt::Key key,
           Qt::KeyboardModifiers modifiers = Qt::NoModifier);

/// Sends a random key, a quarter of the time with Ctrl, Shift or Alt.
void pressRandomKey(const QPointer<QWidget> &window, RandomSource &random);

/// Enters a random text by keys, by an input method or from the clipboard.
void enterRandomText(const QPointer<QWidget> &window, RandomSource &random);

/// Opens the editor of a cell of @p table, enters a text and leaves the editor in a random way.
void editCell(QTableWidget *table, RandomSource &random);

/// Changes a section of a date and time field by the key @p arrow.
void changeDate(QWidget *field, RandomSource &random, Qt::Key arrow);

/// The descendants of @p window that a click can reach; only those of the given classes.
QList<QWidget *> reachable(const QWidget *window, const QStringList &classNames = {});

/// Resizes, minimises, maximises or restores @p window.
void resize(QWidget *window, RandomSource &random);

} // namespace InputSimulator
