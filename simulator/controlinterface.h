// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/simulatedtransmitter.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

namespace Simulator {

/// Controls and inspects a running transmitter: executes a command and returns the reply's lines.
///
/// Every reply ends with the line "ok" or, if nothing was done, "error: " and the reason. Values
/// are written as on the device's console, in Latin-1, and memory in hexadecimal digits.
class ControlInterface
{
public:
    /// @p transmitter must outlive this object.
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

    bool fault(const QByteArray &argument, Lines &reply); // adds a fault; "clear" removes all
    bool state(const QByteArray &argument, Lines &reply); // mode, port, counts, variables
    bool measurements(const QByteArray &argument, Lines &reply); // the last reading
    bool settings(const QByteArray &argument, Lines &reply); // all settings, each NAME=VALUE
    bool setting(const QByteArray &argument, Lines &reply); // the variable NAME, also a setting
    bool set(const QByteArray &argument, Lines &reply); // like "set NAME=VALUE" on the console
    bool health(const QByteArray &argument, Lines &reply); // changes "health"
    bool measurementState(const QByteArray &argument, Lines &reply); // changes "meas_state"
    bool clock(const QByteArray &argument, Lines &reply); // the device's time, UTC
    bool log(const QByteArray &argument, Lines &reply); // the column headings, then all rows
    bool memory(const QByteArray &argument, Lines &reply); // one block of the EEPROM, or all
    bool image(const QByteArray &argument, Lines &reply); // size of the image received last
    bool imageSize(const QByteArray &argument, Lines &reply); // of images from now on, 0: unknown
    bool hangUp(const QByteArray &argument, Lines &reply); // closes the port
    bool resume(const QByteArray &argument, Lines &reply); // opens a new port
    bool release(const QByteArray &argument, Lines &reply); // ends a killed client's TIOCEXCL
    bool restart(const QByteArray &argument, Lines &reply); // switches the device off and on

    SimulatedTransmitter &m_transmitter;
};

} // namespace Simulator
