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

/// Ends the run with a finding unless @p condition holds.
#define DEMAND(condition)                                                                       \
    do {                                                                                        \
        if (!(condition)) {                                                                     \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                       \
        }                                                                                       \
    } while (false)

namespace Fuzzing {

inline void swallow(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
    }
}

/// The log would be most of a run's time. A failed assertion still says its words.
inline void silenceLog()
{
    qInstallMessageHandler(swallow);
}

inline QByteArray bytesOf(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size));
}

/// A chunk of bytes as the transport hands it on: it ends at the first NUL, and the rest is UTF-8
/// with the device's six letters in it.
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
        DEMAND(m_descriptor >= 0);
    }
    ~MemoryFile() { ::close(m_descriptor); }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    QString path() const { return QStringLiteral("/proc/self/fd/%1").arg(m_descriptor); }

    void fill(const QByteArray &contents) const
    {
        DEMAND(::ftruncate(m_descriptor, 0) == 0);
        DEMAND(::pwrite(m_descriptor, contents.constData(), static_cast<size_t>(contents.size()), 0)
               == contents.size());
    }

    QByteArray contents() const
    {
        QByteArray result(static_cast<int>(::lseek(m_descriptor, 0, SEEK_END)), '\0');
        DEMAND(::pread(m_descriptor, result.data(), static_cast<size_t>(result.size()), 0)
               == result.size());
        return result;
    }

private:
    int m_descriptor;
};

} // namespace Fuzzing
