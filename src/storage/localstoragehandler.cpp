// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/localstoragehandler.h"

#include <QtCore/QDebug>
#include <limits>

constexpr unsigned noId = std::numeric_limits<unsigned>::max();

LocalStorageHandler::LocalStorageHandler(LocalStorage *localStorage)
    : m_localStorage(localStorage)
    , m_deviceId(noId)
{ }

bool LocalStorageHandler::open(const QString &path) { return m_localStorage->open(path); }

void LocalStorageHandler::setDevice(const DeviceDetails &details)
{
    m_deviceId = noId;
    // Quirk: an id that the store set is used even if it reports a failure.
    if (!m_localStorage->addDevice(details, m_deviceId)) {
        qWarning() << "Failed to add device to local database";
    }
    qDebug() << "void LocalStorageHandler::setDevice(const DeviceDetails&)"
             << "Device database id is" << m_deviceId << "current device" << details.serialNumber;
}

void LocalStorageHandler::addMeasurements(const MeasurementMetadata &metadata,
                                          const QVector<MeasurementValue> &values)
{
    if (!hasDevice()) {
        qWarning() << "Device details not set yet, can't add measurements yet";
        return;
    }
    unsigned measurementId = noId;
    if (!m_localStorage->addMeasurement(m_deviceId, metadata, measurementId)) {
        qWarning() << "Failed to add measurements to local database";
        return;
    }
    m_localStorage->addMeasurementValues(measurementId, values);
}

LocalStorage *LocalStorageHandler::localStorage() { return m_localStorage; }

QVector<StoredMeasurement> LocalStorageHandler::measurements(const QDateTime &from,
                                                             const QDateTime &to, unsigned deviceId)
{
    return m_localStorage->measurements(from, to, deviceId);
}

bool LocalStorageHandler::hasDevice() { return m_deviceId != noId; }
