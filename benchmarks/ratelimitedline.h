// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/device.h"
#include "simulator/pseudoterminal.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>

/// A device on a pseudo-terminal that limits the bit rate like a serial line: each byte takes ten
/// bit times, exact to the microsecond and in each direction separately. To be that exact, it
/// sleeps until shortly before a byte is due and then waits in a busy loop.
///
/// The device's own latency is 0: a reply begins when the last byte of its command has arrived.
class RateLimitedLine : public QObject
{
    Q_OBJECT

public:
    /// @p rate in bits per second; 0 for no limit.
    RateLimitedLine(Simulator::Device &device, int rate);

    /// Opens the pseudo-terminal and returns its path; empty on failure.
    QByteArray open();

    /// Transfers bytes in both directions until the end of standard input, and executes the
    /// commands from there: "reset" sets the counters to 0; "counters" prints how many bytes the
    /// device received and sent, and for how many nanoseconds the line was in use; "restart"
    /// switches the device off and on. The output of each command ends with the line "ok".
    void serve();

private:
    void readInput();
    void deliverInput();
    void deliverOutput();
    void send(const QByteArray &bytes);
    bool waitForInput();
    bool executeCommands();
    qint64 nextDueNs() const;
    int nextBurstSize() const;
    void countUse(qint64 fromNs, int bytes);

    Simulator::Device &m_device;
    qint64 m_byteNs;
    Simulator::PseudoTerminal m_terminal;
    QByteArray m_in; // read, but not yet arrived at the device
    QByteArray m_out; // sent by the device, but not yet written
    QByteArray m_commands; // the incomplete last line of standard input

    // Times of the monotonic clock.
    qint64 m_inDueNs = 0; // when the last byte of m_in arrives at the device
    qint64 m_outBeginNs = 0; // when the first byte of m_out begins, or the last one sent has ended
    qint64 m_inputArrivalNs = -1; // of the bytes being processed; -1 when there are none
    qint64 m_usedUntilNs = 0;

    // The counters.
    qint64 m_bytesIn = 0;
    qint64 m_bytesOut = 0;
    qint64 m_usedNs = 0;
};
