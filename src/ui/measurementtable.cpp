// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/measurementtable.h"

#include "common/measurementtypeutils.h"

#include <QtCore/QVariant>

namespace {

enum Column { NameColumn, ValueColumn, ColumnCount };

constexpr int typeRole = Qt::UserRole + 1;
constexpr int unitRole = Qt::UserRole + 2;
constexpr int rawValueRole = Qt::UserRole + 3;
constexpr int nameRole = Qt::UserRole + 4;
constexpr int multiplierRole = Qt::UserRole + 5;

QTableWidgetItem *createNameItem(const MeasurementItem &measurement)
{
    auto *item = new QTableWidgetItem(measurement.displayName);
    item->setData(nameRole, measurement.name);
    return item;
}

QTableWidgetItem *createValueItem(const MeasurementItem &measurement)
{
    auto *item = new QTableWidgetItem(QString());
    item->setData(typeRole, static_cast<int>(measurement.type));
    item->setData(unitRole, static_cast<int>(measurement.unit));
    item->setData(rawValueRole, QString());
    item->setData(multiplierRole, measurement.conversionMultiplier);
    return item;
}

} // namespace

MeasurementTable::MeasurementTable(QWidget *parent)
    : QTableWidget(parent)
{
    setupColumns();
}

void MeasurementTable::setMeasurementItems(const QVector<MeasurementItem> &items)
{
    clear();
    setupColumns();
    setRowCount(items.size());
    for (int row = 0; row < items.size(); ++row) {
        setItem(row, NameColumn, createNameItem(items.at(row)));
        setItem(row, ValueColumn, createValueItem(items.at(row)));
    }
}

void MeasurementTable::updateMeasurements(const QVector<MeasurementValue> &values)
{
    for (const MeasurementValue &value : values) {
        QTableWidgetItem *valueItem = item(findRow(value.name), ValueColumn);
        if (!valueItem) {
            continue;
        }
        if (!value.valid) {
            // Quirk: a later valid value doesn't restore the row, only the next model does.
            removeRow(row(valueItem));
            continue;
        }
        valueItem->setData(rawValueRole, value.value);
        refreshItem(valueItem);
    }
}

void MeasurementTable::setDisplayOptions(const MeasurementDisplayOptions &options)
{
    m_displayOptions = options;
    refreshAll();
}

void MeasurementTable::setupColumns()
{
    setColumnCount(ColumnCount);
    setHorizontalHeaderLabels({tr("Name"), tr("Value")});
}

int MeasurementTable::findRow(const QString &name)
{
    for (int row = 0; row < rowCount(); ++row) {
        const QTableWidgetItem *nameItem = item(row, NameColumn);
        if (nameItem && nameItem->data(nameRole).toString() == name) {
            return row;
        }
    }
    return -1;
}

void MeasurementTable::refreshItem(QTableWidgetItem *item)
{
    if (!item) {
        return;
    }
    const double multiplier = item->data(multiplierRole).toDouble();
    const int unit = item->data(unitRole).toInt();
    const int type = item->data(typeRole).toInt();
    const QString value = item->data(rawValueRole).toString();
    item->setData(Qt::DisplayRole, formatValue(value, type, unit, multiplier));
}

void MeasurementTable::refreshAll()
{
    for (int row = 0; row < rowCount(); ++row) {
        refreshItem(item(row, ValueColumn));
    }
}

QString MeasurementTable::formatValue(const QString &value, int type, int unit, double multiplier)
{
    const QString notAvailable = QStringLiteral("NA");
    const auto measurementType = static_cast<MeasurementType>(type);

    QString text = value;
    if (measurementType != MeasurementType::Undefined && !value.isEmpty()
        && value != notAvailable) {
        const double number = MeasurementTypeUtils::convertToDisplayUnit(
            value.toDouble(), measurementType, static_cast<MeasurementUnit>(unit), multiplier,
            m_displayOptions);
        text = QStringLiteral("%1").arg(number, 0, 'g', -1, QLatin1Char(' '));
    }
    if (text == notAvailable || text.isEmpty()) {
        return text;
    }
    // Quirk: the unit depends on type and options only; a value of the extra unit ends in a space.
    const QString unitText = MeasurementTypeUtils::measurementUnitToString(
        MeasurementTypeUtils::displayUnitOf(measurementType, m_displayOptions));
    return QStringLiteral("%1 %2").arg(text, unitText);
}
