// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/device.h"
#include "simulator/pseudoterminal.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>

/// A device with a pseudo-terminal whose bytes take ten bit times each, to the microsecond and in
/// each direction separately: it sleeps until shortly before a byte is due and then polls the
/// clock.
///
/// The device's own latency is 0: an answer begins when the last byte of its command has arrived.
class PacedLine : public QObject
{
    Q_OBJECT

public:
    /// @p rate in bits a second; 0 for no limit.
    PacedLine(Simulator::Device &device, int rate);

    /// Opens the pseudo-terminal and returns its path; empty on failure.
    QByteArray open();

    /// Serves the line until standard input ends. Commands on it: "reset" sets the counters to
    /// 0, "counters" prints bytes in, bytes out and the ns for which the line was in use, "power"
    /// switches the device off and on.
    void serve();

private:
    void readInput();
    void deliverInput();
    void deliverOutput();
    void send(const QByteArray &bytes);
    bool waitIdle();
    bool executeCommands();
    qint64 nextDue() const;
    int nextBurst() const;
    void use(qint64 fromNs, int bytes);

    Simulator::Device &m_device;
    qint64 m_byteNs;
    Simulator::PseudoTerminal m_terminal;
    QByteArray m_in;
    QByteArray m_out;
    QByteArray m_commands;
    qint64 m_inDueNs = 0; // when the last byte read has arrived
    qint64 m_outFreeNs = 0; // when the last byte written has been sent
    qint64 m_answeringNs =
        -1; // when the bytes that the device receives now arrived; -1 at other times
    qint64 m_bytesIn = 0;
    qint64 m_bytesOut = 0;
    qint64 m_usedNs = 0;
    qint64 m_usedUntilNs = 0;
};
