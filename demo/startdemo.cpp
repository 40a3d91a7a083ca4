// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/demotool.h"

#include "demo/history.h"
#include "serial/serialportqueue.h"

#include <QtCore/QDebug>
#include <QtCore/QDir>
#include <QtWidgets/QComboBox>

DemoTool::DemoTool(const QString &folder)
    : m_folder(folder)
    , m_queue(new SerialPortQueue(nullptr))
    , m_handler(m_queue, nullptr)
    , m_window(nullptr)
    , m_controller(&m_window, &m_handler, &m_settings, &m_storage, nullptr)
{
}

void DemoTool::separateFromUser(const QString &folder)
{
    const struct
    {
        const char *variable;
        const char *name;
    } places[] = {{"HOME", "home"},
                  {"XDG_CONFIG_HOME", "config"},
                  {"XDG_DATA_HOME", "data"},
                  {"XDG_CACHE_HOME", "cache"}};
    for (const auto &place : places) {
        const QString path = folder + QLatin1String("/user/") + QLatin1String(place.name);
        QDir().mkpath(path);
        qputenv(place.variable, path.toLocal8Bit());
    }
}

QString DemoTool::storePath() const
{
    return m_folder + QLatin1String("/measurements.db");
}

bool DemoTool::start(const QStringList &simulatorArguments)
{
    if (!m_device.start(simulatorArguments)) {
        qWarning() << "The simulated transmitter did not start";
        return false;
    }
    if (!QFile::exists(storePath()) && !writeHistory(m_storage, storePath(), m_device)) {
        qWarning() << "The history could not be written";
        return false;
    }
    m_settings.setValue(QStringLiteral("local storage path"), m_folder);
    if (!m_controller.start()) {
        return false;
    }
    m_window.addPort(QObject::tr("Simulated transmitter"), m_device.port());
    m_window.selectPortIndex(m_window.findChild<QComboBox *>(QStringLiteral("serialPorts"))->count()
                             - 1);
    return true;
}
