// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/cuttexts.h"

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QAbstractSpinBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QStyleOption>
#include <QtWidgets/QTableWidget>

namespace {

/// Qt leaves this much free on both sides of a line's text.
constexpr int lineMargin = 2;

int textWidth(const QWidget *widget, const QString &text)
{
    return widget->fontMetrics().horizontalAdvance(text);
}

/// Fields and tables scroll; these don't.
bool isTooSmall(const QWidget *widget)
{
    if (!qobject_cast<const QAbstractButton *>(widget) && !qobject_cast<const QLabel *>(widget)
        && !qobject_cast<const QGroupBox *>(widget)) {
        return false;
    }
    const QSize least = widget->minimumSizeHint();
    return widget->width() < least.width() || widget->height() < least.height();
}

bool isCut(const QLineEdit *line)
{
    QStyleOptionFrame option;
    option.initFrom(line);
    option.lineWidth = line->hasFrame()
        ? line->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, line)
        : 0;
    const int room =
        line->style()->subElementRect(QStyle::SE_LineEditContents, &option, line).width();
    return textWidth(line, line->displayText()) > room - 2 * lineMargin;
}

bool isCut(const QComboBox *box)
{
    QStyleOptionComboBox option;
    option.initFrom(box);
    const QRect field = box->style()->subControlRect(QStyle::CC_ComboBox, &option,
                                                     QStyle::SC_ComboBoxEditField, box);
    return textWidth(box, box->currentText()) > field.width();
}

QStringList cutColumns(const QTableWidget *table)
{
    QStringList cut;
    const QHeaderView *const header = table->horizontalHeader();
    for (int column = 0; column < table->columnCount(); ++column) {
        // Public in the base class alone.
        const QAbstractItemView *const view = table;
        const int need = std::max(view->sizeHintForColumn(column), header->sectionSizeHint(column));
        if (table->columnWidth(column) < need) {
            cut.append(QStringLiteral("%1: column %2 is %3 wide and needs %4")
                           .arg(table->objectName())
                           .arg(column)
                           .arg(table->columnWidth(column))
                           .arg(need));
        }
    }
    return cut;
}

bool holdsACutText(const QWidget *widget)
{
    if (const auto *const line = qobject_cast<const QLineEdit *>(widget)) {
        return isCut(line);
    }
    if (const auto *const box = qobject_cast<const QComboBox *>(widget)) {
        return isCut(box);
    }
    if (const auto *const list = qobject_cast<const QListWidget *>(widget)) {
        return list->sizeHintForColumn(0) > list->viewport()->width();
    }
    if (const auto *const bar = qobject_cast<const QStatusBar *>(widget)) {
        return textWidth(bar, bar->currentMessage()) > bar->width();
    }
    return false;
}

/// Parts of a field bear names of Qt's own; the field's name says more.
QString nameOf(const QWidget *widget)
{
    const bool isPart = qobject_cast<const QAbstractSpinBox *>(widget->parentWidget());
    return (isPart ? widget->parentWidget() : widget)->objectName();
}

} // namespace

QStringList cutTexts(const QWidget *window)
{
    QStringList cut;
    const QList<QWidget *> widgets = window->findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        if (!widget->isVisibleTo(window) || widget->isWindow()) {
            continue;
        }
        if (isTooSmall(widget)) {
            cut.append(nameOf(widget) + QLatin1String(": too small"));
        }
        if (holdsACutText(widget)) {
            cut.append(nameOf(widget) + QLatin1String(": its text is cut"));
        }
        if (const auto *const table = qobject_cast<const QTableWidget *>(widget)) {
            cut.append(cutColumns(table));
        }
    }
    return cut;
}
