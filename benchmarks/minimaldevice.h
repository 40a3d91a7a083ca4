// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <atomic>

/// The reference of EXCH, written with system calls only: a process that replies on a
/// pseudo-terminal as the device's console does, and a minimal client that uses it. Each is one
/// poll(2) loop.
class MinimalDevice
{
public:
    /// Starts the process. Construct this object before the application object.
    MinimalDevice();
    ~MinimalDevice();

    Q_DISABLE_COPY(MinimalDevice)

    /// The port for the tool; empty if the process did not start.
    QString port() const { return m_port; }

    /// Sets how many rows the log has.
    void setLogRows(int count) { m_logRows->store(count); }

    /// One exchange of the minimal client: sends @p command with the same line ends as a job that
    /// reads, and waits for the whole reply.
    void exchange(const QByteArray &command);

private:
    std::atomic<int> *m_logRows = nullptr; // shared with the process
    int m_client = -1;
    int m_process = -1;
    QString m_port;
};
