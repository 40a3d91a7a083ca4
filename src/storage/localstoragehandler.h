// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/localstorage.h"

/// Stores the readings of the connected device, whose id in the store it keeps.
///
/// A failure of the store is only logged.
class LocalStorageHandler
{
public:
    /// @p localStorage is not owned, must not be null, and must outlive this object.
    explicit LocalStorageHandler(LocalStorage *localStorage);

    /// Opens the store in the file @p path.
    bool open(const QString &path);

    /// Finds or adds the device with these @p details, to which measurements belong from now on. If
    /// that fails, there is no device, unless the store set an id nevertheless.
    void setDevice(const DeviceDetails &details);

    /// Stores one reading. Without a device it is discarded, with a warning.
    void addMeasurements(const MeasurementMetadata &metadata,
                         const QVector<MeasurementValue> &values);

    /// The store, for reading.
    LocalStorage *localStorage();

    /// The measurements from @p from to @p to, both included, of the device with the id
    /// @p deviceId, which can be any device of the store.
    QVector<StoredMeasurement> measurements(const QDateTime &from, const QDateTime &to,
                                            unsigned deviceId);

    /// Whether there is a device to which measurements belong.
    bool hasDevice();

private:
    LocalStorage *m_localStorage;
    unsigned m_deviceId;
};
