// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/windowdriver.h"

#include <QtGui/QCloseEvent>
#include <QtGui/QWindow>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QTableWidget>

namespace {

/// Whether a modal dialog blocks the input of @p window.
bool isBlocked(const QWidget *window)
{
    const QWidget *const modal = QApplication::activeModalWidget();
    return modal != nullptr && modal != window;
}

/// Clicks near the left end of @p widget, where the check box or the first section is.
void clickLeft(QWidget *widget)
{
    QTest::mouseClick(widget, Qt::LeftButton, Qt::NoModifier, QPoint(8, widget->height() / 2));
}

} // namespace

bool WindowDriver::press(QAbstractButton *button)
{
    if (isBlocked(button->window()) || !button->isVisible() || !button->isEnabled()) {
        return false;
    }
    QTest::mouseClick(button, Qt::LeftButton);
    return true;
}

bool WindowDriver::choose(QComboBox *combo, int index)
{
    QTest::mouseClick(combo, Qt::LeftButton);
    if (!waitFor([=] { return combo->view()->isVisible(); })) {
        return false;
    }
    QTest::keyClick(combo->view(), Qt::Key_Home);
    for (int row = 0; row < index; ++row) {
        QTest::keyClick(combo->view(), Qt::Key_Down);
    }
    QTest::keyClick(combo->view(), Qt::Key_Return);
    return waitFor([=] { return !combo->view()->isVisible(); }) && combo->currentIndex() == index;
}

void WindowDriver::toggle(QCheckBox *checkBox) { clickLeft(checkBox); }

void WindowDriver::toggle(QListWidget *list, int row)
{
    constexpr int checkBoxX = 10;
    QListWidgetItem *const item = list->item(row);
    list->scrollToItem(item);
    const QRect rect = list->visualItemRect(item);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier,
                      QPoint(rect.left() + checkBoxX, rect.center().y()));
    QCoreApplication::processEvents();
}

void WindowDriver::toggle(QListWidget *list, int role, const QStringList &values)
{
    for (int row = 0; row < list->count(); ++row) {
        if (values.contains(list->item(row)->data(role).toString())) {
            toggle(list, row);
        }
    }
}

QStringList WindowDriver::checked(const QListWidget *list, int role)
{
    QStringList values;
    for (int row = 0; row < list->count(); ++row) {
        if (list->item(row)->checkState() == Qt::Checked) {
            values.append(list->item(row)->data(role).toString());
        }
    }
    return values;
}

QLineEdit *WindowDriver::editCell(QTableWidget *table, int row, int column)
{
    QTableWidgetItem *const item = table->item(row, column);
    table->scrollToItem(item);
    const QPoint cell = table->visualItemRect(item).center();
    QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
    return qobject_cast<QLineEdit *>(QApplication::focusWidget());
}

bool WindowDriver::typeIntoCell(QTableWidget *table, int row, int column, const QString &value)
{
    QLineEdit *const editor = editCell(table, row, column);
    if (editor != nullptr) {
        QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(editor, value);
        QTest::keyClick(editor, Qt::Key_Return);
    }
    return editor != nullptr;
}

void WindowDriver::typeNumber(QDoubleSpinBox *box, const QString &number)
{
    clickLeft(box);
    QTest::keyClick(box, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(box, number);
    QTest::keyClick(box, Qt::Key_Tab);
}

void WindowDriver::stepYear(QDateTimeEdit *edit, Qt::Key key)
{
    clickLeft(edit);
    // In some locales the year is not the first section.
    edit->setSelectedSection(QDateTimeEdit::YearSection);
    QTest::keyClick(edit, key);
}

bool WindowDriver::closeByFrame(QWidget *window)
{
    if (!window->isVisible() || isBlocked(window)) {
        return false;
    }
    QCloseEvent event;
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(window->windowHandle(), &event);
    return true;
}

QWidget *WindowDriver::topLevelWidget(const char *name)
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->objectName() == QLatin1String(name)) {
            return widget;
        }
    }
    return nullptr;
}
