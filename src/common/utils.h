// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/logvalue.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

/// Writes @p titles and @p rows to the file @p fileName, replacing an existing one. The first
/// column is the row's local time in ISO 8601 format; @p titles must contain its title too. Nothing
/// is quoted, and numbers have six significant digits. Returns false, with the reason in @p error,
/// if the file cannot be opened; an error while writing is not detected.
bool saveToCsv(const QString &fileName, const QStringList &titles, const QVector<LogValue> &rows,
               QString &error);

/// CRC-8, 0 to 255, of the bytes or of @p text in Latin-1: polynomial 0x31 (x^8 + x^5 + x^4 + 1),
/// most significant bit first, initial value 0, no final XOR.
/// @{
int crc8(const QString &text);
int crc8(const char *data, unsigned size);
/// @}

/// Reads the UTF-8 file @p fileName, up to its first NUL byte, into @p contents. Returns false,
/// with the reason in @p error, if the file cannot be opened or @p contents is empty.
bool readTextFile(const QString &fileName, QString &contents, QString &error);
