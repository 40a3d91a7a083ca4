// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/configurationeditor.h"

#include "ui/configurationitemdelegate.h"

#include <QtCore/QPersistentModelIndex>
#include <QtCore/QSignalBlocker>

namespace {

enum Column { NameColumn, AliasColumn, ValueColumn, ColumnCount };

// Quirk: one past the last column, so that no cell gets the editor of its type. Values are free
// text, and the device checks what the user types.
constexpr int delegateColumn = 3;

QTableWidgetItem *createReadOnlyItem(const QString &text)
{
    auto *item = new QTableWidgetItem(text);
    item->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    return item;
}

QTableWidgetItem *createValueItem(const ConfigurationItem &configurationItem)
{
    auto *item = new QTableWidgetItem(QString());
    item->setData(ConfigurationRole::type, static_cast<int>(configurationItem.type));
    item->setData(ConfigurationRole::min, configurationItem.min);
    item->setData(ConfigurationRole::max, configurationItem.max);
    return item;
}

} // namespace

ConfigurationEditor::ConfigurationEditor(QWidget *parent)
    : QTableWidget(parent)
{
    setupColumns();
    connect(this, &QTableWidget::itemChanged, this, &ConfigurationEditor::onItemChanged);
}

void ConfigurationEditor::setConfiguration(const DeviceConfiguration &configuration)
{
    // Qt reports each new cell, and a sorted table moves a row before all its cells are set.
    const QSignalBlocker blocker(this);
    const bool sorted = isSortingEnabled();
    setSortingEnabled(false);

    clear();
    setupColumns();
    const QVector<ConfigurationItem> &items = configuration.configurationItems;
    setRowCount(items.size());
    for (int row = 0; row < items.size(); ++row) {
        addConfigurationItem(row, items.at(row));
    }

    setSortingEnabled(sorted);
}

void ConfigurationEditor::setConfigurationValue(const QString &name, const QString &value)
{
    // All cells are found before the first is written: a write can move its row in a sorted table,
    // and a slot connected to valueChanged() may rebuild the table.
    QVector<QPersistentModelIndex> cells;
    for (int row = 0; row < rowCount(); ++row) {
        const QTableWidgetItem *aliasItem = item(row, AliasColumn);
        if (aliasItem && aliasItem->text() == name) {
            cells.append(model()->index(row, ValueColumn));
        }
    }
    for (const QPersistentModelIndex &cell : qAsConst(cells)) {
        if (QTableWidgetItem *valueItem = itemFromIndex(cell)) {
            valueItem->setText(value);
        }
    }
}

QStringList ConfigurationEditor::configurationNames()
{
    QStringList names;
    for (int row = 0; row < rowCount(); ++row) {
        names.append(aliasAt(row));
    }
    return names;
}

void ConfigurationEditor::onItemChanged(QTableWidgetItem *item)
{
    if (!item || !isEnabled()) {
        return;
    }
    emit valueChanged(aliasAt(row(item)), item->data(Qt::DisplayRole).toString());
}

QString ConfigurationEditor::aliasAt(int row) const
{
    const QTableWidgetItem *aliasItem = item(row, AliasColumn);
    return aliasItem ? aliasItem->text() : QString();
}

void ConfigurationEditor::setupColumns()
{
    setColumnCount(ColumnCount);
    setHorizontalHeaderLabels(
        {QStringLiteral("Name"), QStringLiteral("Alias"), QStringLiteral("Value")});
    // Quirk: a view doesn't own its delegates and nothing deletes them, so each call adds one.
    setItemDelegateForColumn(delegateColumn, new ConfigurationItemDelegate(nullptr));
}

void ConfigurationEditor::addConfigurationItem(int row, const ConfigurationItem &configurationItem)
{
    setItem(row, NameColumn, createReadOnlyItem(configurationItem.name));
    setItem(row, AliasColumn, createReadOnlyItem(configurationItem.alias));
    setItem(row, ValueColumn, createValueItem(configurationItem));
}
