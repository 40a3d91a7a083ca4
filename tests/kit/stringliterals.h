// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

/// A QString from a UTF-8 literal, for tests with many short strings.
inline QString text(const char *utf8) { return QString::fromUtf8(utf8); }

/// The parts of a UTF-8 literal that are separated by '|', as in "one||three".
inline QStringList texts(const char *utf8) { return text(utf8).split(QLatin1Char('|')); }
