// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/elidedcombobox.h"

#include <QtCore/QAbstractItemModel>
#include <QtGui/QTextDocument>
#include <QtWidgets/QStylePainter>

constexpr int maximumToolTipCharacters = 2000;
constexpr int toolTipColumns = 80;

// Qt interprets a tool tip that looks like HTML as HTML, and does not wrap long words.
static QString toolTipText(const QString &text)
{
    QString lines = text.left(maximumToolTipCharacters);
    for (int i = toolTipColumns; i < lines.size(); i += toolTipColumns + 1) {
        lines.insert(i, QLatin1Char('\n'));
    }
    return Qt::convertFromPlainText(lines);
}

ElidedComboBox::ElidedComboBox(QWidget *parent)
    : QComboBox(parent)
{
    connect(this, &QComboBox::currentTextChanged, this,
            [this](const QString &text) { setToolTip(toolTipText(text)); });
    connect(model(), &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex &, int first, int last) { setItemToolTips(first, last); });
}

void ElidedComboBox::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    // The style's margin of one pixel at each side is not part of the text.
    option.currentText =
        fontMetrics().elidedText(option.currentText, Qt::ElideRight, field.width() - 2);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

void ElidedComboBox::setItemToolTips(int first, int last)
{
    for (int index = first; index <= last; ++index) {
        setItemData(index, toolTipText(itemText(index)), Qt::ToolTipRole);
    }
}
