// SPDX-License-Identifier: GPL-3.0-or-later
// The tool with its window: connects to the port that the argument names and polls without pauses
// until it is killed. Prints "reading" for each reading that has been stored.
#include "tests/endurance/continuouspolling.h"

#include <cstdio>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    ToolObjects tool;
    if (argc != 2 || !tool.controller.start()) {
        return 1;
    }
    pollContinuously(tool);
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
