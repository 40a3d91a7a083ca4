// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/configurationitemdelegate.h"

#include "ui/configurationitem.h"

#include <QtCore/QDebug>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QSpinBox>
#include <cmath>
#include <limits>

// Rounds toward zero. A bound outside the range of int becomes the nearest int.
static int toInt(float value)
{
    using Limits = std::numeric_limits<int>;
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<int>(
        qBound<double>(Limits::min(), static_cast<double>(value), Limits::max()));
}

QWidget *ConfigurationItemDelegate::createEditor(QWidget *parent,
                                                 const QStyleOptionViewItem &option,
                                                 const QModelIndex &index) const
{
    const int type = index.data(ConfigurationRole::type).toInt();
    const float min = index.data(ConfigurationRole::min).toFloat();
    const float max = index.data(ConfigurationRole::max).toFloat();

    switch (static_cast<ConfigurationItemType>(type)) {
    case ConfigurationItemType::Int: {
        auto *editor = new QSpinBox(parent);
        editor->setMinimum(toInt(min));
        editor->setMaximum(toInt(max));
        return editor;
    }
    case ConfigurationItemType::Float: {
        auto *editor = new QDoubleSpinBox(parent);
        editor->setMinimum(static_cast<double>(min));
        editor->setMaximum(static_cast<double>(max));
        return editor;
    }
    case ConfigurationItemType::Text: {
        QWidget *editor = QItemDelegate::createEditor(parent, option, index);
        auto *lineEdit = qobject_cast<QLineEdit *>(editor);
        if (!lineEdit) {
            qDebug() << "Failed to cast editor";
            delete editor;
            return nullptr;
        }
        if (max > 0.0F) {
            lineEdit->setMaxLength(toInt(max));
        }
        return lineEdit;
    }
    }
    return nullptr;
}
