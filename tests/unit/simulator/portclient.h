// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QElapsedTimer>
#include <QtCore/QString>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

/// A client of a port, by plain system calls.
class PortClient
{
public:
    explicit PortClient(const QString &path)
        : m_descriptor(
            ::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
    {
    }
    ~PortClient()
    {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
    }
    Q_DISABLE_COPY(PortClient)

    int descriptor() const { return m_descriptor; }
    bool isOpen() const { return m_descriptor >= 0; }

    bool write(const QByteArray &bytes)
    {
        const ssize_t count =
            ::write(m_descriptor, bytes.constData(), static_cast<size_t>(bytes.size()));
        return count == bytes.size();
    }

    /// Writes all of @p bytes, reading meanwhile; false when the line doesn't accept them in time.
    bool writeAll(const QByteArray &bytes, int timeoutMs = 10000)
    {
        QElapsedTimer timer;
        timer.start();
        QByteArray left = bytes;
        while (!left.isEmpty() && read() && timer.elapsed() < timeoutMs) {
            const ssize_t count =
                ::write(m_descriptor, left.constData(), static_cast<size_t>(left.size()));
            left.remove(0, static_cast<int>(qMax<ssize_t>(0, count)));
            pollfd waiting = {m_descriptor, POLLIN | POLLOUT, 0};
            ::poll(&waiting, 1, 10);
        }
        return left.isEmpty();
    }

    /// Appends the available bytes to received(); false after a hang-up. Does not wait.
    bool read()
    {
        char chunk[4096];
        while (true) {
            const ssize_t count = ::read(m_descriptor, chunk, sizeof(chunk));
            if (count <= 0) {
                m_dead = m_dead || count == 0 || (errno != EAGAIN && errno != EINTR);
                return !m_dead;
            }
            ++m_chunks;
            m_received.append(chunk, static_cast<int>(count));
        }
    }

    /// Waits until received() ends with @p end; false after some seconds or a hang-up.
    bool waitForEnd(const QByteArray &end, int timeoutMs = 10000)
    {
        QElapsedTimer timer;
        timer.start();
        while (read() && !m_received.endsWith(end) && timer.elapsed() < timeoutMs) {
            pollfd waiting = {m_descriptor, POLLIN, 0};
            ::poll(&waiting, 1, 50);
        }
        return m_received.endsWith(end);
    }

    /// Waits for the hang-up.
    bool waitForHangUp(int timeoutMs = 10000)
    {
        QElapsedTimer timer;
        timer.start();
        while (read() && timer.elapsed() < timeoutMs) {
            pollfd waiting = {m_descriptor, POLLIN, 0};
            ::poll(&waiting, 1, 50);
        }
        return m_dead;
    }

    QByteArray take()
    {
        const QByteArray bytes = m_received;
        m_received.clear();
        return bytes;
    }

    QByteArray received() const { return m_received; }
    int chunks() const { return m_chunks; }

private:
    int m_descriptor;
    QByteArray m_received;
    int m_chunks = 0;
    bool m_dead = false;
};
