// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/simulatedtransmitter.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Simulator {

/// The parsed command line.
struct CommandLine
{
    TransmitterOptions transmitter; ///< the device and its line
    QList<QByteArray> faults; ///< as written, see Faults::add()
    bool control = false; ///< read control commands from standard input
    bool exitWithInput = false; ///< exit when standard input closes
    bool helpWanted = false; ///< print the help and exit
    QString help; ///< the help text
};

/// Parses @p arguments, which begin with the program's name, into @p commandLine. Returns false,
/// with the reason in @p error, if they are invalid.
bool parseCommandLine(const QStringList &arguments, CommandLine &commandLine, QString &error);

} // namespace Simulator
