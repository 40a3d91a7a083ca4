// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/commandline.h"
#include "simulator/controlinterface.h"
#include "simulator/externalevents.h"
#include "simulator/simulatedtransmitter.h"

#include <QtCore/QCoreApplication>
#include <cstdio>
#include <cstdlib>

namespace {

void print(const QByteArray &line)
{
    std::printf("%s\n", line.constData());
    std::fflush(stdout);
}

int fail(const QString &reason)
{
    std::fprintf(stderr, "kvt-simulator: %s\n", reason.toLocal8Bit().constData());
    return EXIT_FAILURE;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);

    Simulator::CommandLine commandLine;
    QString error;
    if (!Simulator::parseCommandLine(QCoreApplication::arguments(), commandLine, error)) {
        return fail(error);
    }
    if (commandLine.helpWanted) {
        print(commandLine.help.toLocal8Bit());
        return EXIT_SUCCESS;
    }

    Simulator::ExternalEvents events;
    events.watchSignals();
    Simulator::SimulatedTransmitter transmitter(commandLine.transmitter);
    for (const QByteArray &fault : qAsConst(commandLine.faults)) {
        QByteArray reason;
        if (!transmitter.device().addFault(fault, reason)) {
            return fail(QString::fromLatin1(reason));
        }
    }
    if (!transmitter.open(error)) {
        return fail(error);
    }
    print("port " + transmitter.path().toLocal8Bit());

    Simulator::ControlInterface control(transmitter);
    QObject::connect(&events, &Simulator::ExternalEvents::terminated, &application,
                     &QCoreApplication::quit);
    if (commandLine.control) {
        QObject::connect(&events, &Simulator::ExternalEvents::lineTyped, &application,
                         [&control](const QByteArray &line) {
                             const QList<QByteArray> replies = control.run(line);
                             for (const QByteArray &reply : replies) {
                                 print(reply);
                             }
                         });
    }
    if (commandLine.exitWithInput) {
        QObject::connect(&events, &Simulator::ExternalEvents::inputClosed, &application,
                         &QCoreApplication::quit);
    }
    if (commandLine.control || commandLine.exitWithInput) {
        events.watchInput();
    }
    return QCoreApplication::exec();
}
