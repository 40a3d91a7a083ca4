// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/simulatedtransmitter.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

namespace Simulator {

/// Controls and inspects a running transmitter: executes a command and returns the reply's lines.
///
/// Every reply ends with the line "ok" or, when nothing was done, "error: " and the reason. Values
/// are the bytes that the device stores.
class ControlInterface
{
public:
    /// @p transmitter must outlive this.
    explicit ControlInterface(SimulatedTransmitter &transmitter);

    /// Executes the command @p line and returns the lines of the reply.
    QList<QByteArray> run(const QByteArray &line);

private:
    using Lines = QList<QByteArray>;
    using Handler = bool (ControlInterface::*)(const QByteArray &argument, Lines &reply);
    struct Command
    {
        const char *word;
        Handler handler;
    };
    static const Command commands[];

    bool fault(const QByteArray &argument, Lines &reply);
    bool state(const QByteArray &argument, Lines &reply);
    bool measurements(const QByteArray &argument, Lines &reply);
    bool settings(const QByteArray &argument, Lines &reply);
    bool setting(const QByteArray &argument, Lines &reply);
    bool set(const QByteArray &argument, Lines &reply);
    bool health(const QByteArray &argument, Lines &reply);
    bool measurementState(const QByteArray &argument, Lines &reply);
    bool clock(const QByteArray &argument, Lines &reply);
    bool log(const QByteArray &argument, Lines &reply);
    bool memory(const QByteArray &argument, Lines &reply);
    bool image(const QByteArray &argument, Lines &reply);
    bool imageSize(const QByteArray &argument, Lines &reply);
    bool hangUp(const QByteArray &argument, Lines &reply); // closes the port
    bool resume(const QByteArray &argument, Lines &reply); // opens a new port
    bool release(const QByteArray &argument, Lines &reply); // see PseudoTerminal::release()
    bool restart(const QByteArray &argument, Lines &reply); // switches the device off and on

    SimulatedTransmitter &m_transmitter;
};

} // namespace Simulator
