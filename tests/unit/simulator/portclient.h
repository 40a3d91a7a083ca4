// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QElapsedTimer>
#include <QtCore/QString>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

/// A client of a port that uses plain system calls.
class PortClient
{
public:
    explicit PortClient(const QString &path)
        : m_descriptor(
            ::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
    { }
    ~PortClient() { ::close(m_descriptor); }
    Q_DISABLE_COPY(PortClient)

    int descriptor() const { return m_descriptor; }
    bool isOpen() const { return m_descriptor >= 0; }

    bool write(const QByteArray &bytes)
    {
        const ssize_t count =
            ::write(m_descriptor, bytes.constData(), static_cast<size_t>(bytes.size()));
        return count == bytes.size();
    }

    /// Appends the available bytes to received(); false after a hang-up. Does not wait.
    bool read()
    {
        char chunk[4096];
        ssize_t count = 0;
        while ((count = ::read(m_descriptor, chunk, sizeof(chunk))) > 0) {
            ++m_chunks;
            m_received.append(chunk, static_cast<int>(count));
        }
        return count < 0 && (errno == EAGAIN || errno == EINTR);
    }

    /// Writes @p bytes and returns what is received until it ends with @p end, or until a time-out.
    QByteArray exchange(const QByteArray &bytes, const QByteArray &end = "$ ")
    {
        constexpr qint64 timeoutMs = 10000;
        m_received.clear();
        write(bytes);
        QElapsedTimer timer;
        timer.start();
        while (read() && !m_received.endsWith(end) && timer.elapsed() < timeoutMs) {
            pollfd waiting = {m_descriptor, POLLIN, 0};
            ::poll(&waiting, 1, 50);
        }
        return m_received;
    }

    QByteArray received() const { return m_received; }
    int chunks() const { return m_chunks; }

private:
    int m_descriptor;
    QByteArray m_received;
    int m_chunks = 0;
};
