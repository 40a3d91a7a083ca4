// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QtGlobal>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

/// Lays down the privileges of this thread as long as it lives, so that permissions and exclusive
/// ports count where the tests run as root too. Nothing changes for an ordinary user.
class OrdinaryUser
{
public:
    OrdinaryUser()
    {
        ::syscall(SYS_capget, &m_header, m_before.data());
        auto laidDown = m_before;
        for (auto &set : laidDown) {
            set.effective = 0;
        }
        ::syscall(SYS_capset, &m_header, laidDown.data());
    }
    ~OrdinaryUser() { ::syscall(SYS_capset, &m_header, m_before.data()); }
    Q_DISABLE_COPY(OrdinaryUser)

private:
    __user_cap_header_struct m_header = {_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> m_before = {};
};

/// A full disk as long as it lives: files can be made, and the system refuses each byte for them.
class FullDisk
{
public:
    FullDisk()
    {
        m_signalBefore = ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit none = m_before;
        none.rlim_cur = 0;
        ::setrlimit(RLIMIT_FSIZE, &none);
    }
    ~FullDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        ::signal(SIGXFSZ, m_signalBefore);
    }
    Q_DISABLE_COPY(FullDisk)

private:
    rlimit m_before = {};
    void (*m_signalBefore)(int) = nullptr;
};

/// Another program that has the port @p path for itself.
class PortUser
{
public:
    explicit PortUser(const QString &path)
        : m_fd(::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY))
    {
        m_has = m_fd >= 0 && ::ioctl(m_fd, TIOCEXCL) == 0;
    }
    ~PortUser()
    {
        if (m_fd >= 0) {
            ::ioctl(m_fd, TIOCNXCL);
            ::close(m_fd);
        }
    }
    Q_DISABLE_COPY(PortUser)

    bool has() const { return m_has; }

private:
    int m_fd;
    bool m_has = false;
};

/// Another program in the middle of a change to the database @p path.
class DatabaseUser
{
public:
    explicit DatabaseUser(const QString &path)
    {
        m_client.start(QStringLiteral("sqlite3"), {path});
        m_client.write("begin exclusive;\nselect 'held';\n");
        m_has = m_client.waitForReadyRead() && m_client.readAllStandardOutput() == "held\n";
    }
    ~DatabaseUser()
    {
        m_client.closeWriteChannel();
        m_client.waitForFinished();
    }
    Q_DISABLE_COPY(DatabaseUser)

    bool has() const { return m_has; }

private:
    QProcess m_client;
    bool m_has = false;
};
