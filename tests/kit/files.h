// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QFile>

/// Whole files at once, for tests.
namespace files {

/// What the file @p path contains; empty when it can't be read.
inline QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Replaces the file @p path by one with @p bytes; false on any error.
inline bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

/// @p size bytes, the same for each call, in which every byte value occurs, line ends and the
/// bootloader's answers included.
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

} // namespace files
