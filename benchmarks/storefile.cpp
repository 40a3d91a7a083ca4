// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/storefile.h"

#include "storage/localstoragesqlite.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <cstdio>

namespace {

/// The statements that fill a database with @p minutes readings.
QByteArray fillStatements(int minutes)
{
    return QStringLiteral(
               "pragma synchronous=off; pragma journal_mode=off; begin;"
               "insert into device(model, serial) values ('M', 'S1');"
               "with recursive n(i) as (select 0 union all select i + 1 from n where i < 11) "
               "insert into measurement_type(name) "
               "select case when i < 8 then 'A' || i else 'W' || (i - 8) end from n;"
               "with recursive n(i) as (select 0 union all select i + 1 from n where i + 1 < %1) "
               "insert into measurement_metadata(timestamp, meas_state, device_id) "
               "select %2 + i * %3, 1, 1 from n;"
               "insert into measurement_value(measurement_id, measurement_type_id, value) "
               "select m.id, t.id, m.id * 0.01 + t.id from measurement_metadata m "
               "cross join measurement_type t order by m.id, t.id; commit")
        .arg(minutes)
        .arg(startMs)
        .arg(minuteMs)
        .toUtf8();
}

bool fill(const QString &path, int minutes)
{
    sqlite3 *database = nullptr;
    char *error = nullptr;
    const bool filled = sqlite3_open(QFile::encodeName(path), &database) == SQLITE_OK
        && sqlite3_exec(database, fillStatements(minutes), nullptr, nullptr, &error) == SQLITE_OK;
    if (!filled) {
        std::fprintf(stderr, "%s\n", error != nullptr ? error : sqlite3_errmsg(database));
    }
    sqlite3_free(error);
    sqlite3_close(database);
    return filled;
}

sqlite3_stmt *prepared(sqlite3 *database, const char *text, qint64 fromMs, qint64 toMs)
{
    sqlite3_stmt *statement = nullptr;
    sqlite3_prepare_v2(database, text, -1, &statement, nullptr);
    sqlite3_bind_int64(statement, 1, 1);
    sqlite3_bind_int64(statement, 2, fromMs);
    sqlite3_bind_int64(statement, 3, toMs);
    return statement;
}

} // namespace

const char *const StoreFile::selectMetadata =
    "select id, timestamp, meas_state from measurement_metadata where device_id = :device_id "
    "and timestamp between :from and :to";

const char *const StoreFile::selectValues =
    "select measurement_metadata.id, measurement_value.value, measurement_type.name "
    "from measurement_value, measurement_type, measurement_metadata "
    "where measurement_value.measurement_id = measurement_metadata.id "
    "and measurement_type.id = measurement_value.measurement_type_id "
    "and measurement_metadata.device_id = :device_id "
    "and measurement_metadata.timestamp between :timestamp_from and :timestamp_to";

QString StoreFile::folder()
{
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/data/");
    QDir().mkpath(path);
    return path;
}

QString StoreFile::path(int minutes)
{
    const QString path = folder() + QStringLiteral("%1.db").arg(minutes);
    if (QFile::exists(path)) {
        return path;
    }
    const QString unfinished = path + QStringLiteral(".new");
    QFile::remove(unfinished);
    const bool created = LocalStorageSqlite().open(unfinished);
    QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    return created && fill(unfinished, minutes) && QFile::rename(unfinished, path) ? path
                                                                                   : QString();
}

StoreFile::ReadTotals StoreFile::readWithSqlite(sqlite3 *database, qint64 fromMs, qint64 toMs)
{
    ReadTotals totals;
    sqlite3_stmt *metadata = prepared(database, selectMetadata, fromMs, toMs);
    while (sqlite3_step(metadata) == SQLITE_ROW) {
        ++totals.readings;
        for (int column = 0; column < 3; ++column) {
            totals.sum += static_cast<double>(sqlite3_column_int64(metadata, column));
        }
    }
    sqlite3_finalize(metadata);
    sqlite3_stmt *values = prepared(database, selectValues, fromMs, toMs);
    while (sqlite3_step(values) == SQLITE_ROW) {
        ++totals.values;
        totals.sum += static_cast<double>(sqlite3_column_int64(values, 0));
        totals.sum += sqlite3_column_double(values, 1);
        totals.sum += *sqlite3_column_text(values, 2) + sqlite3_column_bytes(values, 2);
    }
    sqlite3_finalize(values);
    return totals;
}
