// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/localstoragesqlite.h"

#include <QtCore/QDateTime>
#include <QtCore/QScopedPointer>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVariant>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlError>
#include <QtSql/QSqlQuery>
#include <QtSql/QSqlRecord>

inline MeasurementValue valid(const char *name, double value)
{
    return {QString::fromUtf8(name), true, value};
}

inline QStringList texts(std::initializer_list<const char *> words)
{
    QStringList result;
    for (const char *word : words) {
        result << QString::fromUtf8(word);
    }
    return result;
}

/// A store in a folder of its own, and a second connection that reads its file.
class SqliteStoreFixture
{
public:
    SqliteStoreFixture()
        : m_store(new LocalStorageSqlite)
    {
    }
    ~SqliteStoreFixture()
    {
        m_store.reset();
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    }
    Q_DISABLE_COPY(SqliteStoreFixture)

    LocalStorageSqlite &store() { return *m_store; }

    QString folder() const { return m_dir.path(); }
    QString path(const QString &name) const { return m_dir.filePath(name); }
    QString path() const { return path(QStringLiteral("measurements.db")); }

    bool open() { return m_store->open(path()); }

    /// Destroys the store.
    void end() { m_store.reset(); }

    /// Replaces the store by a new one, as the next start of the program does.
    void restart()
    {
        m_store.reset();
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
        m_store.reset(new LocalStorageSqlite);
    }

    /// Runs @p sql on the file @p file through the second connection and returns the rows, with "|"
    /// between their columns.
    static QStringList rowsOf(const QString &file, const QString &sql)
    {
        const QString name = QStringLiteral("outside");
        QStringList result;
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
            database.setDatabaseName(file);
            database.open();
            QSqlQuery query(database);
            if (!query.exec(sql)) {
                result << query.lastError().text();
            }
            while (query.next()) {
                QStringList columns;
                for (int column = 0; column < query.record().count(); ++column) {
                    columns << query.value(column).toString();
                }
                result << columns.join(QLatin1Char('|'));
            }
        }
        QSqlDatabase::removeDatabase(name);
        return result;
    }

    QStringList rows(const char *sql) const { return rowsOf(path(), QString::fromUtf8(sql)); }

    /// Runs @p sql on the store's own connection.
    static bool runInside(const char *sql)
    {
        QSqlQuery query(QSqlDatabase::database());
        return query.exec(QString::fromUtf8(sql));
    }

private:
    QTemporaryDir m_dir;
    QScopedPointer<LocalStorageSqlite> m_store;
};
