// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "control/mainwindowcontroller.h"
#include "serial/serialporthandler.h"
#include "serial/serialportqueue.h"
#include "storage/localstoragesqlite.h"
#include "ui/mainwindow.h"
#include "ui/settings.h"

#include <QtCore/QSharedPointer>
#include <QtWidgets/QComboBox>

/// The objects of the program, in the order in which its main() creates them.
struct ToolObjects
{
    Settings settings;
    QSharedPointer<SerialPortQueueInterface> queue{new SerialPortQueue(nullptr)};
    SerialPortHandler handler{queue, nullptr};
    LocalStorageSqlite storage;
    MainWindow window{nullptr};
    MainWindowController controller{&window, &handler, &settings, &storage, nullptr};

    /// Adds @p path to the port list under @p name and selects it.
    void addAndSelectPort(const QString &name, const QString &path)
    {
        window.addPort(name, path);
        const auto *const ports = window.findChild<QComboBox *>(QStringLiteral("serialPorts"));
        window.selectPortIndex(ports->count() - 1);
    }
};
