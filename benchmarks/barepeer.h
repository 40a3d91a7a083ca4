// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <atomic>

/// The two ends of a pseudo-terminal with nothing but system calls: a process with one poll loop
/// that answers as the device's console does, and a client with one poll loop.
class BarePeer
{
public:
    /// Starts the process; to be constructed before the application object.
    BarePeer();
    ~BarePeer();

    Q_DISABLE_COPY(BarePeer)

    /// The port for another client; empty when the process did not start.
    QString port() const { return m_port; }

    /// How many rows the log has.
    void setLogRows(int count) { m_logRows->store(count); }

    /// Sends @p command with the line ends of a reading job and waits for the whole answer.
    void exchange(const QByteArray &command);

    /// Restricts this process, and those that it starts, to one core.
    static void pinToOneCore();

private:
    std::atomic<int> *m_logRows = nullptr; // shared with the process
    int m_client = -1;
    int m_process = -1;
    QString m_port;
};
