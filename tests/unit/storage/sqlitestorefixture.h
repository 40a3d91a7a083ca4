// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/localstoragesqlite.h"
#include "tests/kit/databaseinspector.h"
#include "tests/kit/text.h"

#include <QtCore/QScopedPointer>
#include <QtCore/QTemporaryDir>

inline MeasurementValue valid(const char *name, double value) { return {text(name), true, value}; }

/// A base class for tests of a store in a folder of its own.
class SqliteStoreFixture
{
protected:
    /// Makes a store in a new folder.
    void begin()
    {
        m_dir.reset(new QTemporaryDir);
        m_store.reset(new LocalStorageSqlite);
    }

    /// Destroys the store and its connection.
    void end()
    {
        m_store.reset();
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    }

    /// Replaces the store by a new one for the same file, as the next start of the program does.
    void restart()
    {
        end();
        m_store.reset(new LocalStorageSqlite);
    }

    LocalStorageSqlite &store() { return *m_store; }

    bool open() { return m_store->open(path()); }

    QString path(const char *name = "measurements.db") const { return m_dir->filePath(text(name)); }

    /// Runs @p sql on a second connection and returns the rows, with a comma between their columns.
    QStringList rows(const QByteArray &sql) const
    {
        return DatabaseInspector(path()).texts(QString::fromUtf8(sql));
    }

    /// Runs @p sql on the store's own connection.
    static bool runInside(const char *sql) { return QSqlQuery().exec(text(sql)); }

private:
    QScopedPointer<QTemporaryDir> m_dir;
    QScopedPointer<LocalStorageSqlite> m_store;
};
