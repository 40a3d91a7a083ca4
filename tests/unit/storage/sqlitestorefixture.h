// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/localstoragesqlite.h"
#include "tests/kit/databaseinspector.h"
#include "tests/kit/stringliterals.h"

#include <QtCore/QScopedPointer>
#include <QtCore/QTemporaryDir>

inline MeasurementValue validValue(const char *name, double value)
{
    return {text(name), true, value};
}

/// A base class for tests of an SQLite store in a temporary folder.
class SqliteStoreFixture
{
protected:
    /// Creates a store and an empty folder for its file.
    void createStore()
    {
        m_dir.reset(new QTemporaryDir);
        m_store.reset(new LocalStorageSqlite);
    }

    /// Destroys the store and its connection.
    void destroyStore()
    {
        m_store.reset();
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    }

    /// Replaces the store with a new one, as after a restart of the tool. The folder remains.
    void recreateStore()
    {
        destroyStore();
        m_store.reset(new LocalStorageSqlite);
    }

    LocalStorageSqlite &store() { return *m_store; }

    bool open() { return m_store->open(path()); }

    QString path(const char *name = "measurements.db") const { return m_dir->filePath(text(name)); }

    /// Runs @p sql on a second connection and returns its rows, with commas between the columns.
    QStringList runSql(const QByteArray &sql) const
    {
        return DatabaseInspector(path()).rows(QString::fromUtf8(sql));
    }

    /// Runs @p sql on the connection of the store.
    static bool runSqlInStore(const char *sql) { return QSqlQuery().exec(text(sql)); }

private:
    QScopedPointer<QTemporaryDir> m_dir;
    QScopedPointer<LocalStorageSqlite> m_store;
};
