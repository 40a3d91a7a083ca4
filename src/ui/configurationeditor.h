// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/deviceconfiguration.h"

#include <QtCore/QStringList>
#include <QtWidgets/QTableWidget>

/// The settings of the model, one row each. Their current values are stored only here.
///
/// The key of a row is its alias, the device's variable. Values are free text without limits; the
/// device checks them.
class ConfigurationEditor : public QTableWidget
{
    Q_OBJECT

public:
    /// A table with column headings and without rows.
    explicit ConfigurationEditor(QWidget *parent);

    /// Rebuilds the rows from the settings of @p configuration, with empty values and without a
    /// signal. Whether sorting is enabled doesn't change.
    void setConfiguration(const DeviceConfiguration &configuration);

    /// Shows @p value in every row with the alias @p name. While the editor is enabled, emits
    /// valueChanged(), as for an edit by the user. A name without a row is ignored.
    void setConfigurationValue(const QString &name, const QString &value);

    /// The aliases, from the top row down.
    QStringList configurationNames();

signals:
    /// The value of the setting with the alias @p name is now @p newValue.
    void valueChanged(QString name, QString newValue);

private slots:
    void onItemChanged(QTableWidgetItem *item);

private:
    QString aliasAt(int row) const;
    void setupColumns();
    void addConfigurationItem(int row, const ConfigurationItem &configurationItem);
};
