// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QFile>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QVector>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlError>
#include <QtSql/QSqlQuery>
#include <QtSql/QSqlRecord>

/// Reads the contents of a measurement database over a separate connection.
///
/// If the process that wrote the database was killed, read a copy(): reading the database itself
/// would roll back an unfinished commit, which the next start of the tool should do.
class DatabaseInspector
{
public:
    struct Reading
    {
        qint64 id;
        qint64 timestamp; ///< ms since the epoch
        int values; ///< number of values
        int types; ///< number of different types of the values

        bool operator==(const Reading &other) const
        {
            return id == other.id && timestamp == other.timestamp && values == other.values
                && types == other.types;
        }
    };

    explicit DatabaseInspector(const QString &path)
    {
        m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection());
        m_database.setDatabaseName(path);
        m_database.open();
    }

    ~DatabaseInspector()
    {
        m_database = QSqlDatabase();
        QSqlDatabase::removeDatabase(connection());
    }

    Q_DISABLE_COPY(DatabaseInspector)

    /// Copies the database @p path and its journal to @p folder, replacing existing files; returns
    /// the path of the copy.
    static QString copy(const QString &path, const QString &folder)
    {
        const QString target = folder + QStringLiteral("/copy.db");
        for (const QString &suffix : {QString(), journalSuffix()}) {
            QFile::remove(target + suffix);
            QFile::copy(path + suffix, target + suffix);
        }
        return target;
    }

    static QString journalSuffix() { return QStringLiteral("-journal"); }

    /// "ok", or what is wrong with the file.
    QString integrity()
    {
        return rows(QStringLiteral("PRAGMA integrity_check")).join(QLatin1Char(';'));
    }

    /// The names of the tables in the order of their creation.
    QStringList tables()
    {
        return rows(QStringLiteral("select name from sqlite_master where type = 'table' "
                                   "and name not like 'sqlite_%' order by rowid"));
    }

    QStringList deviceSerials() { return rows(QStringLiteral("select serial from device")); }

    QStringList typeNames() { return rows(QStringLiteral("select name from measurement_type")); }

    /// All readings in ascending order of their ids, also those without values.
    QVector<Reading> readings()
    {
        QSqlQuery query(m_database);
        query.setForwardOnly(true);
        query.exec(QStringLiteral(
            "select m.id, m.timestamp, ifnull(v.n, 0), ifnull(v.types, 0) "
            "from measurement_metadata m left join (select measurement_id, count(*) as n, "
            "count(distinct measurement_type_id) as types from measurement_value "
            "group by measurement_id) v on v.measurement_id = m.id order by m.id"));
        QVector<Reading> found;
        while (query.next()) {
            found.append({query.value(0).toLongLong(), query.value(1).toLongLong(),
                          query.value(2).toInt(), query.value(3).toInt()});
        }
        return found;
    }

    /// The number of values without a reading or type, and of readings without a device.
    int orphanCount()
    {
        return rows(QStringLiteral(
                        "select id from measurement_value where measurement_id not in (select id "
                        "from measurement_metadata) or measurement_type_id not in (select id from "
                        "measurement_type) union all select id from measurement_metadata where "
                        "device_id not in (select id from device)"))
            .size();
    }

    /// The rows that @p statement returns, with a comma between their columns; the error message of
    /// the database if it fails.
    QStringList rows(const QString &statement)
    {
        QSqlQuery query(statement, m_database);
        QStringList found;
        if (!query.isActive()) {
            found << query.lastError().text();
        }
        while (query.next()) {
            QStringList columns;
            for (int column = 0; column < query.record().count(); ++column) {
                columns << query.value(column).toString();
            }
            found << columns.join(QLatin1Char(','));
        }
        return found;
    }

private:
    static QString connection() { return QStringLiteral("database inspector"); }

    QSqlDatabase m_database;
};
