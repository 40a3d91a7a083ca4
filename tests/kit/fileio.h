// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QFile>

/// Reads and writes whole files.
namespace FileIo {

/// The contents of the file @p path; empty if it can't be read.
inline QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Replaces the contents of the file @p path with @p bytes; returns false on any error.
inline bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

/// @p size bytes, the same at each call. A sufficient number contains every byte value, including
/// line ends and the bootloader's replies.
inline QByteArray pseudoRandomBytes(int size)
{
    QByteArray bytes(size, '\0');
    quint32 state = 12345;
    for (char &byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

} // namespace FileIo
