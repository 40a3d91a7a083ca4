// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/localstorage.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QVector>

/// Remembers which row of the store the connected device has, and stores its measurements there.
///
/// A failure of the store reaches the log only. The store is not owned and is never null.
class LocalStorageHandler
{
public:
    /// @p localStorage is not owned and must outlive this.
    explicit LocalStorageHandler(LocalStorage *localStorage);

    /// Opens the store in the file @p path.
    bool open(const QString &path);

    /// Finds or adds the device with these @p details; measurements are its own from here on. The
    /// device before is forgotten in any case: on failure there is none, unless the store gave an
    /// id all the same.
    void setDevice(const DeviceDetails &details);

    /// Stores one reply of the device. It is dropped, with a warning, while there is no device.
    void addMeasurements(const MeasurementMetadata &metadata,
                         const QVector<MeasurementValue> &values);

    /// The store itself, for those who read it.
    LocalStorage *localStorage();

    /// The measurements from @p from to @p to, both included, of any device of the store.
    QVector<StoredMeasurement> measurements(const QDateTime &from, const QDateTime &to,
                                            unsigned deviceId);

    /// Whether measurements have a device that they belong to.
    bool hasDevice();

private:
    LocalStorage *m_localStorage;
    unsigned m_deviceId;
};
