// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/simulatedtransmitter.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Simulator {

/// What the command line asks for.
struct CommandLine
{
    TransmitterOptions transmitter; ///< the device and its line
    QList<QByteArray> faults; ///< as written, see Faults::add()
    bool control = false; ///< read control commands from standard input
    bool exitWithInput = false; ///< end when standard input closes
    bool helpWanted = false; ///< print the help and end
    QString help; ///< the help text
};

/// Reads @p arguments, the program's name first, into @p commandLine; false with the reason in
/// @p error.
bool parseCommandLine(const QStringList &arguments, CommandLine &commandLine, QString &error);

} // namespace Simulator
