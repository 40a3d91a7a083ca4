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
    /// @p localStorage is not owned and must not be null. The period begins and ends at the current
    /// time until the user changes it.
    ExportMeasurementsToCsvDialog(LocalStorage *localStorage, QWidget *parent);
    ~ExportMeasurementsToCsvDialog() override;

    /// Sets the measurements, whose display names are used when types are next listed.
    void setMeasurementItems(const QVector<MeasurementItem> &items);

    /// Adds the devices of the store and lists the types of the first one, all checked.
    void loadDevices();

    /// Selects the device with the serial number of @p device; an unknown one changes nothing.
    void selectDevice(const DeviceDetails &device);

    /// The store's id of the selected device; 0 without devices.
    unsigned selectedDeviceId();

    /// The checked types, from type id to raw name.
    QMap<unsigned, QString> selectedMeasurementTypes();

    /// Bounds of the period, in UTC; not checked against each other.
    /// @{
    QDateTime fromDate();
    QDateTime toDate();
    /// @}

    /// Serial numbers of all listed devices.
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
