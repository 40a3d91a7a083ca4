// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "control/mainwindowcontroller.h"
#include "demo/demodevice.h"
#include "serial/serialporthandler.h"
#include "serial/serialportqueueinterface.h"
#include "storage/localstoragesqlite.h"
#include "ui/mainwindow.h"
#include "ui/settings.h"

#include <QtCore/QSharedPointer>
#include <QtCore/QString>

/// The tool's own objects, composed as the program composes them, and a simulated transmitter in
/// the window's port list.
class DemoTool
{
public:
    /// @p folder takes the store. The simulated device runs as a process of its own.
    explicit DemoTool(const QString &folder);

    /// Gives the program's settings, data and cache folders of their own under @p folder, so that
    /// the user's are not touched. To be called before the application object is made.
    static void separateFromUser(const QString &folder);

    /// Starts the device and the controller, and selects the device in the port list. False, with
    /// the reason on the debug log, when one of them does not start.
    bool start(const QStringList &simulatorArguments);

    /// The objects behind the tool; they live as long as this one.
    MainWindow &window() { return m_window; }
    DemoDevice &device() { return m_device; }
    LocalStorageSqlite &storage() { return m_storage; }

    /// Full path of the store.
    QString storePath() const;

private:
    QString m_folder;
    DemoDevice m_device;
    Settings m_settings;
    QSharedPointer<SerialPortQueueInterface> m_queue;
    SerialPortHandler m_handler;
    LocalStorageSqlite m_storage;
    MainWindow m_window;
    MainWindowController m_controller;
};
