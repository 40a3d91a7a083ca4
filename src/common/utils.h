// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/logvalue.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

/// Writes @p titles and @p rows to the file @p fileName, replacing an existing one. The first
/// column is the row's time, local, in ISO form; @p titles must contain its heading. Nothing is
/// quoted, and numbers have six significant digits. False, with the reason in @p error, when the
/// file cannot be opened; an error while writing is not detected.
bool saveToCsv(const QString &fileName, const QStringList &titles, const QVector<LogValue> &rows,
               QString &error);

/// CRC-8 of the bytes, or of the Latin-1 form of @p text: polynomial 0x31 (x^8 + x^5 + x^4 + 1),
/// most significant bit first, initial value 0, no final XOR. 0 to 255.
/// @{
int crc8(const QString &text);
int crc8(const char *data, unsigned size);
/// @}

/// Reads the whole of the UTF-8 file @p fileName, up to its first NUL byte, into @p contents.
/// False, with the reason in @p error, when the file cannot be opened or has no text.
bool readTextFile(const QString &fileName, QString &contents, QString &error);
