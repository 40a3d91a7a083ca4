// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementdisplayoptions.h"
#include "common/measurementitem.h"
#include "storage/measurementvalue.h"

#include <QtWidgets/QTableWidget>

/// The latest value of each measurement of the model, in the units that the user has chosen.
///
/// Each row stores its raw value, so a change of units needs no new reading.
class MeasurementTable : public QTableWidget
{
    Q_OBJECT

public:
    /// A table with column headings and without rows.
    explicit MeasurementTable(QWidget *parent);

    /// Rebuilds all rows, in the order of @p items and without values.
    void setMeasurementItems(const QVector<MeasurementItem> &items);

    /// Shows one reading. Unknown names are ignored. A value that is not valid removes its row
    /// until the next setMeasurementItems(). Rows without a value in @p values keep their last one.
    void updateMeasurements(const QVector<MeasurementValue> &values);

    /// Shows every row in the units of @p options.
    void setDisplayOptions(const MeasurementDisplayOptions &options);

private:
    void setupColumns();
    int findRow(const QString &name);
    void refreshItem(QTableWidgetItem *item);
    void refreshAll();
    QString formatValue(const QString &value, int type, int unit, double multiplier);

    MeasurementDisplayOptions m_displayOptions;
};
