// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

/// The device's end of a pseudo-terminal; whoever opens path() holds the other end. Closed with the
/// object.
class PseudoTerminal
{
public:
    PseudoTerminal()
        : m_fd(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK))
    {
        if (m_fd >= 0 && ::grantpt(m_fd) == 0 && ::unlockpt(m_fd) == 0) {
            char name[128] = {};
            if (::ptsname_r(m_fd, name, sizeof(name)) == 0) {
                m_path = QString::fromLocal8Bit(name);
            }
        }
    }
    ~PseudoTerminal() { hangUp(); }
    Q_DISABLE_COPY(PseudoTerminal)

    /// Empty when no pseudo-terminal could be had.
    QString path() const { return m_path; }

    /// Says @p bytes in one piece; false when not all of them went out.
    bool write(const QByteArray &bytes)
    {
        const auto written = ::write(m_fd, bytes.constData(), static_cast<size_t>(bytes.size()));
        return written == bytes.size();
    }

    /// What has arrived since the last call; does not wait.
    QByteArray read()
    {
        QByteArray all;
        char buffer[4096];
        ssize_t count = 0;
        while ((count = ::read(m_fd, buffer, sizeof(buffer))) > 0) {
            all.append(buffer, static_cast<int>(count));
        }
        return all;
    }

    /// The line settings that the other end has made.
    termios lineSettings() const
    {
        termios settings = {};
        ::tcgetattr(m_fd, &settings);
        return settings;
    }

    void hangUp()
    {
        if (m_fd >= 0) {
            ::close(m_fd);
            m_fd = -1;
        }
    }

private:
    int m_fd;
    QString m_path;
};
