// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/controldesk.h"

namespace Simulator {

namespace {

QByteArray modeName(Device &device)
{
    switch (device.mode()) {
    case Device::Mode::Console:
        return device.isBusy() ? "busy" : "console";
    case Device::Mode::Resetting:
        return "resetting";
    case Device::Mode::Bootloader:
        return "bootloader";
    case Device::Mode::Starting:
        return "starting";
    }
    return QByteArray();
}

} // namespace

const ControlDesk::Command ControlDesk::commands[] = {
    {"fault", &ControlDesk::fault},
    {"state", &ControlDesk::state},
    {"measurements", &ControlDesk::measurements},
    {"settings", &ControlDesk::settings},
    {"setting", &ControlDesk::setting},
    {"set", &ControlDesk::set},
    {"health", &ControlDesk::health},
    {"meas-state", &ControlDesk::measurementState},
    {"clock", &ControlDesk::clock},
    {"log", &ControlDesk::log},
    {"memory", &ControlDesk::memory},
    {"image", &ControlDesk::image},
    {"image-size", &ControlDesk::imageSize},
    {"hangup", &ControlDesk::hangUp},
    {"resume", &ControlDesk::resume},
    {"release", &ControlDesk::release},
    {"restart", &ControlDesk::restart},
};

ControlDesk::ControlDesk(Station &station)
    : m_station(station)
{
}

QList<QByteArray> ControlDesk::run(const QByteArray &line)
{
    const QByteArray typed = line.trimmed();
    const int blank = typed.indexOf(' ');
    const QByteArray word = blank < 0 ? typed : typed.left(blank);
    const QByteArray argument = blank < 0 ? QByteArray() : typed.mid(blank + 1).trimmed();
    Lines reply;
    for (const Command &command : commands) {
        if (word != command.word) {
            continue;
        }
        if ((this->*command.handler)(argument, reply)) {
            reply += "ok";
        } else {
            reply = {"error: " + (reply.isEmpty() ? QByteArray("wrong argument") : reply.last())};
        }
        return reply;
    }
    return {"error: unknown command"};
}

bool ControlDesk::fault(const QByteArray &argument, Lines &reply)
{
    if (argument == "clear") {
        m_station.device().faults().clear();
        return true;
    }
    QByteArray error;
    if (m_station.device().addFault(argument, error)) {
        return true;
    }
    reply += error;
    return false;
}

bool ControlDesk::state(const QByteArray &, Lines &reply)
{
    Device &device = m_station.device();
    const auto add = [&reply](const QByteArray &name, const QByteArray &value) {
        reply += name + '=' + value;
    };
    add("mode", modeName(device));
    add("port", m_station.path().toLocal8Bit());
    add("exchanges", QByteArray::number(device.faults().exchange()));
    add("log",
        device.state().hasLogOption() ? QByteArray::number(device.state().log().count())
                                      : QByteArray("none"));
    for (const char *name :
         {"model", "serial", "swver", "hwver", "meas_state", "health", "debug"}) {
        QByteArray value;
        device.state().value(name, value);
        add(name, value);
    }
    return true;
}

bool ControlDesk::measurements(const QByteArray &, Lines &reply)
{
    reply += m_station.device().state().lastMeasurements();
    return true;
}

bool ControlDesk::settings(const QByteArray &, Lines &reply)
{
    for (const SettingInfo &info : m_station.device().state().model().settings) {
        setting(info.name, reply);
    }
    return true;
}

bool ControlDesk::setting(const QByteArray &argument, Lines &reply)
{
    QByteArray value;
    if (!m_station.device().state().value(argument, value)) {
        reply += "unknown setting";
        return false;
    }
    reply += argument + '=' + value;
    return true;
}

bool ControlDesk::set(const QByteArray &argument, Lines &reply)
{
    const int equals = argument.indexOf('=');
    const QByteArray name = argument.left(qMax(0, equals));
    return equals > 0 && m_station.device().state().setValue(name, argument.mid(equals + 1))
        && setting(name, reply);
}

bool ControlDesk::health(const QByteArray &argument, Lines &)
{
    m_station.device().state().setHealth(argument);
    return true;
}

bool ControlDesk::measurementState(const QByteArray &argument, Lines &)
{
    bool ok = false;
    const int number = argument.toInt(&ok);
    if (ok) {
        m_station.device().state().setMeasurementState(number);
    }
    return ok;
}

bool ControlDesk::clock(const QByteArray &, Lines &reply)
{
    reply +=
        m_station.device().state().now().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")).toLatin1();
    return true;
}

bool ControlDesk::log(const QByteArray &, Lines &reply)
{
    const DeviceLog &log = m_station.device().state().log();
    for (int index = 0; index <= log.count(); ++index) {
        reply += log.line(index);
    }
    return true;
}

bool ControlDesk::memory(const QByteArray &argument, Lines &reply)
{
    const DeviceMemory &memory = m_station.device().state().memory();
    bool ok = false;
    const int index = argument.toInt(&ok);
    if (ok && DeviceMemory::isBlock(index)) {
        reply += memory.block(index).toHex();
        return true;
    }
    for (int block = 0; argument.isEmpty() && block < DeviceMemory::blockCount; ++block) {
        reply += memory.block(block).toHex();
    }
    return argument.isEmpty();
}

bool ControlDesk::image(const QByteArray &, Lines &reply)
{
    reply += QByteArray::number(m_station.device().bootloader().image().size()) + " bytes";
    return true;
}

bool ControlDesk::imageSize(const QByteArray &argument, Lines &)
{
    bool ok = false;
    const int bytes = argument.toInt(&ok);
    if (!ok || bytes < 0) {
        return false;
    }
    m_station.device().bootloader().setImageSize(bytes);
    return true;
}

bool ControlDesk::hangUp(const QByteArray &, Lines &)
{
    m_station.hangUp();
    return true;
}

bool ControlDesk::resume(const QByteArray &, Lines &reply)
{
    QString error;
    if (!m_station.open(error)) {
        reply += error.toLocal8Bit();
        return false;
    }
    reply += "port " + m_station.path().toLocal8Bit();
    return true;
}

bool ControlDesk::release(const QByteArray &, Lines &)
{
    m_station.release();
    return true;
}

bool ControlDesk::restart(const QByteArray &, Lines &)
{
    m_station.device().powerCycle();
    return true;
}

} // namespace Simulator
