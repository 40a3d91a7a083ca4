// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QtGlobal>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

/// Drops the privileges of this thread while it exists, so that permissions and exclusive ports
/// apply even when the tests run as root. Has no effect for an ordinary user.
class DropPrivilegesScope
{
public:
    DropPrivilegesScope()
    {
        ::syscall(SYS_capget, &m_header, m_before.data());
        auto dropped = m_before;
        for (auto &set : dropped) {
            set.effective = 0;
        }
        ::syscall(SYS_capset, &m_header, dropped.data());
    }
    ~DropPrivilegesScope() { ::syscall(SYS_capset, &m_header, m_before.data()); }
    Q_DISABLE_COPY(DropPrivilegesScope)

private:
    __user_cap_header_struct m_header = {_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> m_before = {};
};

/// Simulates a full disk while it exists: files can be created, but writing to them fails.
class FullDiskScope
{
public:
    FullDiskScope()
        : m_signalBefore(::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit none = m_before;
        none.rlim_cur = 0;
        ::setrlimit(RLIMIT_FSIZE, &none);
    }
    ~FullDiskScope()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        ::signal(SIGXFSZ, m_signalBefore);
    }
    Q_DISABLE_COPY(FullDiskScope)

private:
    rlimit m_before = {};
    void (*m_signalBefore)(int);
};

/// Keeps the port @c path open for exclusive use while it exists, as another program would.
class PortInUseScope
{
public:
    explicit PortInUseScope(const QString &path)
        : m_descriptor(::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY))
        , m_isActive(::ioctl(m_descriptor, TIOCEXCL) == 0)
    { }
    ~PortInUseScope()
    {
        ::ioctl(m_descriptor, TIOCNXCL);
        ::close(m_descriptor);
    }
    Q_DISABLE_COPY(PortInUseScope)

    /// False if the port could not be opened for exclusive use.
    bool isActive() const { return m_isActive; }

private:
    int m_descriptor;
    bool m_isActive;
};

/// Keeps an exclusive lock on the database @c path while it exists, in another process.
class LockedDatabaseScope
{
public:
    explicit LockedDatabaseScope(const QString &path)
    {
        m_client.start(QStringLiteral("sqlite3"), {path});
        m_client.write("begin exclusive;\nselect 'locked';\n");
        m_isActive = m_client.waitForReadyRead() && m_client.readAllStandardOutput() == "locked\n";
    }
    ~LockedDatabaseScope()
    {
        m_client.closeWriteChannel();
        m_client.waitForFinished();
    }
    Q_DISABLE_COPY(LockedDatabaseScope)

    /// False if the lock could not be acquired.
    bool isActive() const { return m_isActive; }

private:
    QProcess m_client;
    bool m_isActive = false;
};
