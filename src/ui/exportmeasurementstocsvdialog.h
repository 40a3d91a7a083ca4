// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/devicedetails.h"
#include "common/measurementitem.h"
#include "storage/localstorage.h"

#include <QtCore/QStringList>
#include <QtWidgets/QDialog>
#include <memory>

namespace Ui {
class ExportMeasurementsToCsvDialog;
}

/// Lets the user choose which stored measurements to export: a device, a period and a set of types.
/// Validates nothing.
class ExportMeasurementsToCsvDialog : public QDialog
{
    Q_OBJECT

public:
    /// @p localStorage is not owned and must not be null. Both ends of the period start at the
    /// present moment.
    ExportMeasurementsToCsvDialog(LocalStorage *localStorage, QWidget *parent);
    ~ExportMeasurementsToCsvDialog() override;

    /// Sets the measurements with their display names, for the next list of types.
    void setMeasurementItems(const QVector<MeasurementItem> &items);

    /// Adds the devices of the store and lists the types of the first one, all checked.
    void loadDevices();

    /// Selects the device with the serial number of @p device; an unknown one changes nothing.
    void selectDevice(const DeviceDetails &device);

    /// The store's id of the selected device; 0 without devices.
    unsigned selectedDeviceId();

    /// The checked types, type id to raw name.
    QMap<unsigned, QString> selectedMeasurementTypes();

    /// Bounds of the period, in UTC and not compared.
    /// @{
    QDateTime fromDate();
    QDateTime toDate();
    /// @}

    /// Serial numbers of all devices listed.
    QStringList deviceSerialNumbers();

    /// The file to export to. Not used yet.
    /// @{
    void setFileName(const QString &fileName);
    QString fileName();
    /// @}

private slots:
    void onDeviceChanged(int index);

private:
    void loadMeasurementTypes();

    std::unique_ptr<Ui::ExportMeasurementsToCsvDialog> m_ui;
    LocalStorage *m_localStorage = nullptr;
    QString m_fileName;
    bool m_updating = false;
    QVector<MeasurementItem> m_measurementItems;
};
