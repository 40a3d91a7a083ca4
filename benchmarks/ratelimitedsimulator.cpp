// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/ratelimitedline.h"
#include "simulator/commandline.h"

#include <QtCore/QCoreApplication>
#include <cstdio>

/// The simulated transmitter on a line with an exact bit rate. It accepts the options of
/// kvt-simulator and prints its port in the same way.
int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    Simulator::CommandLine commandLine;
    QString error;
    if (!Simulator::parseCommandLine(QCoreApplication::arguments(), commandLine, error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    Simulator::Device device(commandLine.transmitter.device);
    RateLimitedLine line(device, commandLine.transmitter.rate);
    const QByteArray path = line.open();
    if (path.isEmpty()) {
        std::fprintf(stderr, "no pseudo-terminal\n");
        return 1;
    }
    std::printf("port %s\n", path.constData());
    std::fflush(stdout);
    line.serve();
    return 0;
}
