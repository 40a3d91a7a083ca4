// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/simulatedtransmitter.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Simulator {

/// What the command line asks for.
struct CommandLine
{
    /// The device with its line, and its faults as they were written.
    TransmitterOptions transmitter;
    QList<QByteArray> faults;
    bool control = false; ///< take control commands from standard input
    bool exitWithInput = false; ///< end when standard input closes
    bool helpWanted = false;
    QString help; ///< the help text
};

/// Reads @p arguments, the program's name first, into @p commandLine; false with the reason in
/// @p error.
bool parseCommandLine(const QStringList &arguments, CommandLine &commandLine, QString &error);

} // namespace Simulator
