// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/localstorage.h"

#include <QtCore/QStringList>
#include <functional>

/// A store without contents that records each call and returns what the test has set.
class FakeLocalStorage : public LocalStorage
{
public:
    struct AddedMeasurement
    {
        unsigned deviceId = 0;
        MeasurementMetadata metadata;
        unsigned idPassedIn = 0; ///< the value of the id parameter before the call
    };
    struct AddedValues
    {
        unsigned measurementId = 0;
        QVector<MeasurementValue> values;
    };
    struct Range
    {
        QDateTime from;
        QDateTime to;
        unsigned deviceId = 0;
    };

    QStringList calls; ///< names of the operations called, in order
    std::function<void(const QString &call)> onCall; ///< called with "store open" and the like

    // Arguments of the calls, one list per operation.
    QStringList openedPaths;
    QVector<DeviceDetails> addedDevices;
    QVector<AddedMeasurement> addedMeasurements;
    QVector<AddedValues> addedValues;
    QVector<unsigned> measurementTypesCalls;
    QVector<Range> measurementsCalls;

    // Results of the calls.
    bool openResult = true;
    std::function<bool(const QString &path)> openPredicate; ///< if set, used instead of openResult
    bool addDeviceResult = true;
    bool addDeviceWritesId = true; ///< if false, the id is not changed
    unsigned addDeviceId = 1;
    bool addMeasurementResult = true;
    unsigned addMeasurementId = 1;
    QVector<StoredDevice> devicesResult;
    QMap<unsigned, QString> measurementTypesResult;
    QMap<unsigned, QMap<unsigned, QString>>
        measurementTypesByDevice; ///< used instead of measurementTypesResult
    QVector<StoredMeasurement> measurementsResult;

    /// The number of calls of the operation @p call.
    int count(const QString &call) const { return static_cast<int>(calls.count(call)); }

    bool open(const QString &path) override
    {
        record("open");
        openedPaths << path;
        return openPredicate ? openPredicate(path) : openResult;
    }

    void close() override { record("close"); }

    bool addDevice(const DeviceDetails &details, unsigned &id) override
    {
        record("addDevice");
        addedDevices << details;
        if (addDeviceWritesId) {
            id = addDeviceId;
        }
        return addDeviceResult;
    }

    bool addMeasurement(unsigned deviceId, const MeasurementMetadata &metadata,
                        unsigned &measurementId) override
    {
        record("addMeasurement");
        addedMeasurements << AddedMeasurement{deviceId, metadata, measurementId};
        if (addMeasurementResult) {
            measurementId = addMeasurementId;
        }
        return addMeasurementResult;
    }

    bool addMeasurementType(const QString &, unsigned &) override
    {
        record("addMeasurementType");
        return true;
    }

    void addMeasurementValues(unsigned measurementId,
                              const QVector<MeasurementValue> &values) override
    {
        record("addMeasurementValues");
        addedValues << AddedValues{measurementId, values};
    }

    QVector<StoredDevice> devices() override
    {
        record("devices");
        return devicesResult;
    }

    QMap<unsigned, MeasurementMetadata> measurementMetadata(unsigned) override
    {
        record("measurementMetadata");
        return {};
    }

    QMap<unsigned, QString> measurementTypes(unsigned deviceId) override
    {
        record("measurementTypes");
        measurementTypesCalls << deviceId;
        return measurementTypesByDevice.value(deviceId, measurementTypesResult);
    }

    QVector<StoredMeasurement> measurements(const QDateTime &from, const QDateTime &to,
                                            unsigned deviceId) override
    {
        record("measurements");
        measurementsCalls << Range{from, to, deviceId};
        return measurementsResult;
    }

private:
    void record(const char *name)
    {
        calls << QString::fromLatin1(name);
        if (onCall) {
            onCall(QStringLiteral("store ") + calls.last());
        }
    }
};
