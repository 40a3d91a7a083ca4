// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/environmentfaults.h"

#include <csignal>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

DropPrivilegesScope::DropPrivilegesScope()
{
    ::syscall(SYS_capget, &m_header, m_before.data());
    auto dropped = m_before;
    for (auto &set : dropped) {
        set.effective = 0;
    }
    ::syscall(SYS_capset, &m_header, dropped.data());
}

DropPrivilegesScope::~DropPrivilegesScope()
{
    ::syscall(SYS_capset, &m_header, m_before.data());
}

FullDiskScope::FullDiskScope()
{
    m_signalBefore = ::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &m_before);
    rlimit none = m_before;
    none.rlim_cur = 0;
    ::setrlimit(RLIMIT_FSIZE, &none);
}

FullDiskScope::~FullDiskScope()
{
    ::setrlimit(RLIMIT_FSIZE, &m_before);
    ::signal(SIGXFSZ, m_signalBefore);
}

PortInUseScope::PortInUseScope(const QString &path)
    : m_descriptor(::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY))
{
    m_isActive = m_descriptor >= 0 && ::ioctl(m_descriptor, TIOCEXCL) == 0;
}

PortInUseScope::~PortInUseScope()
{
    if (m_descriptor >= 0) {
        ::ioctl(m_descriptor, TIOCNXCL);
        ::close(m_descriptor);
    }
}

LockedDatabaseScope::LockedDatabaseScope(const QString &path)
{
    m_client.start(QStringLiteral("sqlite3"), {path});
    m_client.write("begin exclusive;\nselect 'locked';\n");
    m_isActive = m_client.waitForReadyRead() && m_client.readAllStandardOutput() == "locked\n";
}

LockedDatabaseScope::~LockedDatabaseScope()
{
    m_client.closeWriteChannel();
    m_client.waitForFinished();
}
