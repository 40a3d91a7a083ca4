// SPDX-License-Identifier: GPL-3.0-or-later
#include "control/mainwindowcontroller.h"
#include "serial/serialporthandler.h"
#include "serial/serialportqueue.h"
#include "storage/localstoragesqlite.h"
#include "ui/mainwindow.h"
#include "ui/settings.h"

#include <QtWidgets/QApplication>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    Settings settings;
    QSharedPointer<SerialPortQueueInterface> queue(new SerialPortQueue(nullptr));
    SerialPortHandler handler(queue, nullptr);
    LocalStorageSqlite storage;
    MainWindow window(nullptr);
    MainWindowController controller(&window, &handler, &settings, &storage, nullptr);

    if (!controller.start()) {
        return 0;
    }
    window.show();
    return QApplication::exec();
}
