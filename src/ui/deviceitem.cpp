// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/deviceitem.h"

void DeviceItem::setSerialNumber(const QString &newValue)
{
    m_serialNumber = newValue;
    emit serialNumberChanged(newValue);
}

void DeviceItem::setModelNumber(const QString &newValue)
{
    m_modelNumber = newValue;
    emit modelNumberChanged(newValue);
}

void DeviceItem::setSwVersion(const QString &newValue)
{
    m_swVersion = newValue;
    emit swVersionChanged(newValue);
}

void DeviceItem::setHwVersion(const QString &newValue)
{
    m_hwVersion = newValue;
    emit hwVersionChanged(newValue);
}
