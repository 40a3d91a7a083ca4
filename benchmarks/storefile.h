// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "benchmarks/readingtimes.h"

#include <QtCore/QString>
#include <sqlite3.h>

/// Databases with readings of one device, one a minute, 12 values each.
namespace StoreFile {

constexpr int typeCount = 12;

/// The folder next to the program in which databases are kept for later runs; ends in a slash.
QString folder();

/// The path of the database with @p minutes readings. If the file doesn't exist,
/// `LocalStorageSqlite` creates it and one transaction fills it. Empty if that fails, with the
/// reason on standard error.
QString path(int minutes);

/// What was read through SQLite's C interface.
struct ReadTotals
{
    qint64 readings = 0;
    qint64 values = 0;
    double sum = 0.0; ///< of all columns, so that the compiler doesn't skip reading one
};

/// Executes the two statements that query the readings from @p fromMs to @p toMs, and reads each
/// column.
ReadTotals readWithSqlite(sqlite3 *database, qint64 fromMs, qint64 toMs);

/// The tool's statements that query readings.
/// @{
extern const char *const selectMetadata;
extern const char *const selectValues;
/// @}

} // namespace StoreFile
