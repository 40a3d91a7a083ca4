// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtTest/QTest>
#include <QtWidgets/QDialog>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QPushButton>
#include <functional>

class QCheckBox;
class QComboBox;
class QDateTimeEdit;
class QDoubleSpinBox;
class QLineEdit;
class QListWidget;
class QTableWidget;

/// Sends mouse and keyboard input to the real windows, as a user would. A base class of fixtures.
///
/// The functions that can fail return whether they succeeded; those that wait do so up to waitMs.
class WindowDriver
{
public:
    /// Longest wait for a condition.
    static constexpr int waitMs = 20000;

    /// Runs the event loop until @p condition returns true; false after waitMs.
    static bool waitFor(const std::function<bool()> &condition)
    {
        return QTest::qWaitFor(condition, waitMs);
    }

    /// Clicks @p button if a user can: it is visible, enabled and not blocked by a modal dialog.
    static bool press(QAbstractButton *button);

    /// Clicks the standard button @p button of @p dialog.
    static bool press(const QDialog *dialog, QDialogButtonBox::StandardButton button)
    {
        return press(dialog->findChild<QDialogButtonBox *>()->button(button));
    }

    /// Opens the list of @p combo with the mouse and chooses the entry @p index with the keyboard.
    static bool choose(QComboBox *combo, int index);

    /// Clicks @p checkBox.
    static void toggle(QCheckBox *checkBox);

    /// Clicks the check box in the row @p row of @p list.
    static void toggle(QListWidget *list, int row);

    /// Clicks the check boxes of the rows of @p list whose data for @p role is among @p values.
    static void toggle(QListWidget *list, int role, const QStringList &values);

    /// The data for @p role of the checked rows of @p list.
    static QStringList checked(const QListWidget *list, int role);

    /// Opens the editor of the cell with a double click; null if the cell can't be edited.
    static QLineEdit *editCell(QTableWidget *table, int row, int column);

    /// Replaces the content of the cell by typing @p value and Return.
    static bool typeIntoCell(QTableWidget *table, int row, int column, const QString &value);

    /// Replaces the content of the field by typing.
    static void typeNumber(QDoubleSpinBox *box, const QString &number);

    /// Presses @p key, Up or Down, in the year of @p edit.
    static void stepYear(QDateTimeEdit *edit, Qt::Key key);

    /// Closes @p window as the close button of its frame does. Fails while a modal dialog blocks
    /// the window.
    static bool closeByFrame(QWidget *window);

    /// The widget of this class and object name in @p form; null if there is none.
    template <typename T>
    static T *childWidget(const QWidget *form, const char *name)
    {
        return form->findChild<T *>(QLatin1String(name));
    }

    /// The window with this object name, visible or not; null if there is none.
    static QWidget *topLevelWidget(const char *name);

    /// The tool's wait dialog and its parts.
    /// @{
    static QDialog *waitDialog() { return qobject_cast<QDialog *>(topLevelWidget("WaitDialog")); }
    static QPushButton *cancelButton() { return waitDialog()->findChild<QPushButton *>(); }
    static QProgressBar *progressBar() { return waitDialog()->findChild<QProgressBar *>(); }
    /// @}
};
