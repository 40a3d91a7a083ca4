// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/localstorage.h"

#include <QtCore/QMap>
#include <QtSql/QSqlDatabase>

/// The store as an SQLite file, over the default connection of QtSql: one at a time in a program.
///
/// Every statement commits on its own, so a failure halfway leaves a measurement with fewer values.
/// Ids and out-parameters of an addition that failed are left as they were.
class LocalStorageSqlite : public LocalStorage
{
public:
    LocalStorageSqlite();
    ~LocalStorageSqlite() override;
    Q_DISABLE_COPY(LocalStorageSqlite)

    /// Opens the file @p path, making file and tables when there is no such file; its folder must
    /// exist. An existing file is taken for a store unseen. False when the file cannot be opened, a
    /// table cannot be made or the measurement types cannot be read; what was made until then
    /// stays. May be called again, also with another path.
    bool open(const QString &path) override;

    void close() override;

    /// Only the serial number decides: the row of a known device stays as it was.
    bool addDevice(const DeviceDetails &details, unsigned &id) override;

    bool addMeasurement(unsigned deviceId, const MeasurementMetadata &metadata,
                        unsigned &measurementId) override;

    /// Adds a row whether or not the name is known, and remembers its id for the name.
    bool addMeasurementType(const QString &name, unsigned &typeId) override;

    /// Values that are not valid have no row. One that cannot be stored does not stop the others.
    void addMeasurementValues(unsigned measurementId,
                              const QVector<MeasurementValue> &values) override;

    QVector<StoredDevice> devices() override;

    QMap<unsigned, MeasurementMetadata> measurementMetadata(unsigned deviceId) override;

    QMap<unsigned, QString> measurementTypes(unsigned deviceId) override;

    /// Ascending by id; a measurement without values is there too. Equal names share their text.
    QVector<StoredMeasurement> measurements(const QDateTime &from, const QDateTime &to,
                                            unsigned deviceId) override;

private:
    bool createTables();
    bool readTypeIds();

    QSqlDatabase m_database;
    QMap<QString, unsigned> m_typeIds;
};
