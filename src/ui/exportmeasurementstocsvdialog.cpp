// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/exportmeasurementstocsvdialog.h"

#include "common/measurementtypeutils.h"
#include "ui_exportmeasurementstocsvdialog.h"

constexpr int serialNumberRole = Qt::UserRole + 1;
constexpr int deviceIdRole = Qt::UserRole + 2;
constexpr int typeIdRole = Qt::UserRole + 3;
constexpr int nameRole = Qt::UserRole + 4;

ExportMeasurementsToCsvDialog::ExportMeasurementsToCsvDialog(LocalStorage *localStorage,
                                                             QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::ExportMeasurementsToCsvDialog>())
    , m_localStorage(localStorage)
{
    m_ui->setupUi(this);
    connect(m_ui->deviceComboBox, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &ExportMeasurementsToCsvDialog::onDeviceChanged);
    // The same time for both, so that a dialog accepted without a change selects an empty period.
    const QDateTime now = QDateTime::currentDateTime();
    m_ui->exportDateTimeFrom->setDateTime(now);
    m_ui->exportDateTimeTo->setDateTime(now);
}

ExportMeasurementsToCsvDialog::~ExportMeasurementsToCsvDialog() = default;

void ExportMeasurementsToCsvDialog::setMeasurementItems(const QVector<MeasurementItem> &items)
{
    m_measurementItems = items;
}

void ExportMeasurementsToCsvDialog::loadDevices()
{
    QComboBox *combo = m_ui->deviceComboBox;
    m_updating = true;
    const QVector<StoredDevice> devices = m_localStorage->devices();
    for (const StoredDevice &device : devices) {
        combo->addItem(
            QStringLiteral("%1 - %2").arg(device.details.modelNumber, device.details.serialNumber));
        combo->setItemData(combo->count() - 1, device.details.serialNumber, serialNumberRole);
        combo->setItemData(combo->count() - 1, device.id, deviceIdRole);
    }
    combo->setCurrentIndex(0);
    m_updating = false;
    loadMeasurementTypes();
}

void ExportMeasurementsToCsvDialog::selectDevice(const DeviceDetails &device)
{
    const int index = m_ui->deviceComboBox->findData(device.serialNumber, serialNumberRole);
    if (index >= 0) {
        m_ui->deviceComboBox->setCurrentIndex(index);
    }
}

unsigned ExportMeasurementsToCsvDialog::selectedDeviceId()
{
    return m_ui->deviceComboBox->currentData(deviceIdRole).toUInt();
}

QMap<unsigned, QString> ExportMeasurementsToCsvDialog::selectedMeasurementTypes()
{
    QMap<unsigned, QString> types;
    for (int row = 0; row < m_ui->measurementTypeList->count(); ++row) {
        const QListWidgetItem *item = m_ui->measurementTypeList->item(row);
        if (item->checkState() == Qt::Checked) {
            types.insert(item->data(typeIdRole).toUInt(), item->data(nameRole).toString());
        }
    }
    return types;
}

QDateTime ExportMeasurementsToCsvDialog::fromDate()
{
    return m_ui->exportDateTimeFrom->dateTime().toTimeSpec(Qt::UTC);
}

QDateTime ExportMeasurementsToCsvDialog::toDate()
{
    return m_ui->exportDateTimeTo->dateTime().toTimeSpec(Qt::UTC);
}

QStringList ExportMeasurementsToCsvDialog::deviceSerialNumbers()
{
    QStringList serialNumbers;
    for (int index = 0; index < m_ui->deviceComboBox->count(); ++index) {
        serialNumbers.append(m_ui->deviceComboBox->itemData(index, serialNumberRole).toString());
    }
    return serialNumbers;
}

void ExportMeasurementsToCsvDialog::setFileName(const QString &fileName) { m_fileName = fileName; }

QString ExportMeasurementsToCsvDialog::fileName() { return m_fileName; }

void ExportMeasurementsToCsvDialog::onDeviceChanged(int)
{
    if (!m_updating) {
        loadMeasurementTypes();
    }
}

void ExportMeasurementsToCsvDialog::loadMeasurementTypes()
{
    m_ui->measurementTypeList->clear();
    const QMap<unsigned, QString> types = m_localStorage->measurementTypes(selectedDeviceId());
    for (auto type = types.constBegin(); type != types.constEnd(); ++type) {
        auto item = std::make_unique<QListWidgetItem>(
            MeasurementTypeUtils::displayName(type.value(), m_measurementItems));
        item->setCheckState(Qt::Checked);
        item->setData(typeIdRole, type.key());
        item->setData(nameRole, type.value());
        m_ui->measurementTypeList->addItem(item.release());
    }
}
