// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Whole files at once, for tests.
namespace files {

/// What the file @p path contains; empty when it can't be read.
QByteArray contents(const QString &path);

/// Replaces the file @p path by one with @p bytes; false on any error.
bool write(const QString &path, const QByteArray &bytes);

/// @p size bytes, the same for each call, in which every byte value occurs, line ends and the
/// bootloader's answers included.
QByteArray pseudoRandomBytes(int size);

} // namespace files
