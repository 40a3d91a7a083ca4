// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/devicedetails.h"
#include "storage/measurementmetadata.h"
#include "storage/measurementvalue.h"
#include "storage/storeddevice.h"
#include "storage/storedmeasurement.h"

#include <QtCore/QMap>

/// The store of devices and their readings. In this folder a reading is called a measurement.
/// Values are raw: in the device's units and under its own names. A failure is reported by false or
/// an empty result, and in the log.
class LocalStorage
{
public:
    virtual ~LocalStorage() = default;

    /// Opens the store in the file @p path, which is created if it does not exist.
    virtual bool open(const QString &path) = 0;

    /// Closes the store; open() opens it again.
    virtual void close() = 0;

    /// Finds the device with the serial number of @p details or adds it, and sets @p id to its id.
    virtual bool addDevice(const DeviceDetails &details, unsigned &id) = 0;

    /// Adds a measurement without values and sets @p measurementId to its id.
    virtual bool addMeasurement(unsigned deviceId, const MeasurementMetadata &metadata,
                                unsigned &measurementId) = 0;

    /// Adds a measurement type and sets @p typeId to its id.
    virtual bool addMeasurementType(const QString &name, unsigned &typeId) = 0;

    /// Adds those of @p values that are valid to a measurement.
    virtual void addMeasurementValues(unsigned measurementId,
                                      const QVector<MeasurementValue> &values) = 0;

    /// All devices, sorted by their newest measurement, latest first.
    virtual QVector<StoredDevice> devices() = 0;

    /// All measurements of a device without their values, from measurement id to metadata.
    virtual QMap<unsigned, MeasurementMetadata> measurementMetadata(unsigned deviceId) = 0;

    /// The measurement types of which the device has values, from type id to raw name.
    virtual QMap<unsigned, QString> measurementTypes(unsigned deviceId) = 0;

    /// The measurements from @p from to @p to, both included, in the order in which they
    /// were stored.
    virtual QVector<StoredMeasurement> measurements(const QDateTime &from, const QDateTime &to,
                                                    unsigned deviceId) = 0;
};
