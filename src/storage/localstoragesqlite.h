// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/localstorage.h"

#include <QtSql/QSqlDatabase>

/// The store as an SQLite file, on the default connection of Qt SQL, so a program can have only one
/// such object at a time.
///
/// Every statement commits on its own, so a failure may leave a measurement with only some of its
/// values.
class LocalStorageSqlite : public LocalStorage
{
public:
    LocalStorageSqlite();
    ~LocalStorageSqlite() override;
    Q_DISABLE_COPY(LocalStorageSqlite)

    /// Opens the file @p path. If it does not exist, it is created with its tables; its folder must
    /// exist. The tables of an existing file are not checked. Returns false if the file cannot be
    /// opened, a table cannot be created or the measurement types cannot be read; what has been
    /// created until then remains. May be called again, also with another path.
    bool open(const QString &path) override;

    void close() override;

    /// Only the serial number identifies a device; an existing row is not changed.
    bool addDevice(const DeviceDetails &details, unsigned &id) override;

    bool addMeasurement(unsigned deviceId, const MeasurementMetadata &metadata,
                        unsigned &measurementId) override;

    /// Adds a row even if there already is one with this name, and caches its id for the name.
    bool addMeasurementType(const QString &name, unsigned &typeId) override;

    /// Values that are not valid are not stored. If one cannot be stored, the others are stored
    /// nevertheless.
    void addMeasurementValues(unsigned measurementId,
                              const QVector<MeasurementValue> &values) override;

    QVector<StoredDevice> devices() override;

    QMap<unsigned, MeasurementMetadata> measurementMetadata(unsigned deviceId) override;

    QMap<unsigned, QString> measurementTypes(unsigned deviceId) override;

    /// Ascending by id, including measurements without values.
    QVector<StoredMeasurement> measurements(const QDateTime &from, const QDateTime &to,
                                            unsigned deviceId) override;

private:
    bool createTables();
    bool readTypeIds();

    QSqlDatabase m_database;
    QMap<QString, unsigned> m_typeIds;
};
