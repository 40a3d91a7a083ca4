// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtWidgets/QItemDelegate>

/// Item data of the value cell of a setting.
namespace ConfigurationRole {
constexpr int type = Qt::UserRole + 1; ///< ConfigurationItemType as int
constexpr int min = Qt::UserRole + 2; ///< float
constexpr int max = Qt::UserRole + 3; ///< float; for Text the maximum length, if above 0
} // namespace ConfigurationRole

/// Creates the editor that fits the type and the range of a setting.
class ConfigurationItemDelegate : public QItemDelegate
{
    Q_OBJECT

public:
    /// Views do not own their delegates; only @p parent, if any, deletes this one.
    using QItemDelegate::QItemDelegate;

    /// A spin box, a spin box with decimals or a line edit, owned by @p parent. Null, so that the
    /// cell can't be edited, for any other type and for Text if the default editor is not a line
    /// edit.
    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
};
