// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/dataparser.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Aborts, which libFuzzer reports as a finding, unless @p condition is true.
#define FUZZ_ASSERT(condition)                                                                     \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: assertion failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

namespace Fuzzing {

inline QByteArray bytesOf(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size));
}

/// A chunk of bytes as the transport emits it: up to the first NUL, decoded as UTF-8 and then with
/// DataParser::fromDeviceText().
inline QString asReceived(const QByteArray &chunk)
{
    const auto length = qstrnlen(chunk.constData(), static_cast<uint>(chunk.size()));
    return DataParser::fromDeviceText(
        QString::fromUtf8(chunk.constData(), static_cast<int>(length)));
}

} // namespace Fuzzing
