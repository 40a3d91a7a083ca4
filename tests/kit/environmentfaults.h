// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QtGlobal>
#include <array>
#include <linux/capability.h>
#include <sys/resource.h>

/// Drops the privileges of this thread while it exists, so that permissions and exclusive ports
/// apply even when the tests run as root. Has no effect for an ordinary user.
class DropPrivilegesScope
{
public:
    DropPrivilegesScope();
    ~DropPrivilegesScope();
    Q_DISABLE_COPY(DropPrivilegesScope)

private:
    __user_cap_header_struct m_header = {_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> m_before = {};
};

/// A full disk while it exists: files can be created, and writing to them fails.
class FullDiskScope
{
public:
    FullDiskScope();
    ~FullDiskScope();
    Q_DISABLE_COPY(FullDiskScope)

private:
    rlimit m_before = {};
    void (*m_signalBefore)(int) = nullptr;
};

/// Keeps the port @c path open exclusively while it exists, as another program does.
class PortInUseScope
{
public:
    explicit PortInUseScope(const QString &path);
    ~PortInUseScope();
    Q_DISABLE_COPY(PortInUseScope)

    /// False when the port could not be opened for exclusive use.
    bool isActive() const { return m_isActive; }

private:
    int m_descriptor;
    bool m_isActive = false;
};

/// Keeps an exclusive lock on the database @c path while it exists, in another process.
class LockedDatabaseScope
{
public:
    explicit LockedDatabaseScope(const QString &path);
    ~LockedDatabaseScope();
    Q_DISABLE_COPY(LockedDatabaseScope)

    /// False when the lock could not be acquired.
    bool isActive() const { return m_isActive; }

private:
    QProcess m_client;
    bool m_isActive = false;
};
