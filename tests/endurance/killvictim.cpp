// SPDX-License-Identifier: GPL-3.0-or-later
// The program's own objects, with a hand that presses Connect: the tool connects to the port that
// the one argument names and polls it without a pause, until somebody kills it. For each
// reading that is in the store "reading" goes to standard output.
#include "tests/endurance/eagerpolling.h"

#include <cstdio>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    Tool tool;
    if (argc != 2 || !tool.controller.start()) {
        return 1;
    }
    pollEagerly(tool);
    QObject::connect(&tool.handler, &SerialPortHandlerInterface::measurementsRead, &tool.controller,
                     [] {
                         std::puts("reading");
                         std::fflush(stdout);
                     });

    const QString port = QString::fromLocal8Bit(argv[1]);
    tool.window.addPort(port, port);
    auto *const ports = tool.window.findChild<QComboBox *>(text("serialPorts"));
    tool.window.selectPortIndex(ports->count() - 1);
    tool.window.show();
    auto *const connectButton = tool.window.findChild<QPushButton *>(text("connectButton"));
    QTimer::singleShot(0, connectButton, &QPushButton::click);
    return QApplication::exec();
}
