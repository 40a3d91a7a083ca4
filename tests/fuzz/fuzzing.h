// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/dataparser.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

/// Aborts, which libFuzzer reports as a finding, unless @p condition is true.
#define FUZZ_ASSERT(condition)                                                                     \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: assertion failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

namespace Fuzzing {

inline void ignoreMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
    }
}

/// Turns log lines off, which would take most of the time. Fatal messages are still printed.
inline void disableLog()
{
    qInstallMessageHandler(ignoreMessage);
}

inline QByteArray bytesOf(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size));
}

/// A chunk of bytes as the transport passes it on: up to the first NUL, decoded as UTF-8 with the
/// device's six letters.
inline QString asReceived(const QByteArray &chunk)
{
    const auto length = qstrnlen(chunk.constData(), static_cast<uint>(chunk.size()));
    return DataParser::fromDeviceText(
        QString::fromUtf8(chunk.constData(), static_cast<int>(length)));
}

/// A file in memory that any reader or writer can open by its path.
class MemoryFile
{
public:
    MemoryFile()
        : m_descriptor(memfd_create("fuzz", 0))
    {
        FUZZ_ASSERT(m_descriptor >= 0);
    }
    ~MemoryFile() { ::close(m_descriptor); }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    QString path() const { return QStringLiteral("/proc/self/fd/%1").arg(m_descriptor); }

    void fill(const QByteArray &contents) const
    {
        FUZZ_ASSERT(::ftruncate(m_descriptor, 0) == 0);
        FUZZ_ASSERT(
            ::pwrite(m_descriptor, contents.constData(), static_cast<size_t>(contents.size()), 0)
            == contents.size());
    }

    QByteArray contents() const
    {
        QByteArray result(static_cast<int>(::lseek(m_descriptor, 0, SEEK_END)), '\0');
        FUZZ_ASSERT(::pread(m_descriptor, result.data(), static_cast<size_t>(result.size()), 0)
                    == result.size());
        return result;
    }

private:
    int m_descriptor;
};

} // namespace Fuzzing
