// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "benchmarks/history.h"

#include <QtCore/QString>
#include <sqlite3.h>

/// Stores of one device that was measured once a minute, 12 values each.
namespace StoreFile {

constexpr int minutesPerDay = 1440;
constexpr int minutesPerMonth = 30 * minutesPerDay;
constexpr int minutesPerYear = 365 * minutesPerDay;
constexpr int typeCount = 12;

/// The folder beside the program where stores are kept for the next run; ends in a slash.
QString folder();

/// The path of the store with @p minutes measurements, which the tool creates and one transaction
/// fills at the first use. Empty, with the reason on standard error, when that fails.
QString path(int minutes);

/// What was read by SQLite's C interface.
struct Read
{
    qint64 rows = 0;
    qint64 values = 0;
    double sum = 0.0; ///< of all columns, so that the compiler leaves none out
};

/// Executes the two statements of a reading from @p fromMs to @p toMs and reads each column.
Read readWithSqlite(sqlite3 *database, qint64 fromMs, qint64 toMs);

/// The tool's statements for a reading.
extern const char *const selectMetadata;
extern const char *const selectValues;

} // namespace StoreFile
