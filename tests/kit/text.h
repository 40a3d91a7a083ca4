// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// A QString from a UTF-8 literal, for tests with many short texts.
inline QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}
