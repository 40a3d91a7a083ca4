// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/controlinterface.h"

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

const ControlInterface::Command ControlInterface::commands[] = {
    {"fault", &ControlInterface::fault},
    {"state", &ControlInterface::state},
    {"measurements", &ControlInterface::measurements},
    {"settings", &ControlInterface::settings},
    {"setting", &ControlInterface::setting},
    {"set", &ControlInterface::set},
    {"health", &ControlInterface::health},
    {"meas-state", &ControlInterface::measurementState},
    {"clock", &ControlInterface::clock},
    {"log", &ControlInterface::log},
    {"memory", &ControlInterface::memory},
    {"image", &ControlInterface::image},
    {"image-size", &ControlInterface::imageSize},
    {"hangup", &ControlInterface::hangUp},
    {"resume", &ControlInterface::resume},
    {"release", &ControlInterface::release},
    {"restart", &ControlInterface::restart},
};

ControlInterface::ControlInterface(SimulatedTransmitter &transmitter)
    : m_transmitter(transmitter)
{ }

QList<QByteArray> ControlInterface::run(const QByteArray &line)
{
    const QByteArray trimmed = line.trimmed();
    const int space = trimmed.indexOf(' ');
    const QByteArray word = space < 0 ? trimmed : trimmed.left(space);
    const QByteArray argument = space < 0 ? QByteArray() : trimmed.mid(space + 1).trimmed();
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

bool ControlInterface::fault(const QByteArray &argument, Lines &reply)
{
    if (argument == "clear") {
        m_transmitter.device().faults().clear();
        return true;
    }
    QByteArray error;
    if (m_transmitter.device().addFault(argument, error)) {
        return true;
    }
    reply += error;
    return false;
}

bool ControlInterface::state(const QByteArray &, Lines &reply)
{
    Device &device = m_transmitter.device();
    const auto add = [&reply](const QByteArray &name, const QByteArray &value) {
        reply += name + '=' + value;
    };
    add("mode", modeName(device));
    add("port", m_transmitter.path().toLocal8Bit());
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

bool ControlInterface::measurements(const QByteArray &, Lines &reply)
{
    reply += m_transmitter.device().state().lastMeasurements();
    return true;
}

bool ControlInterface::settings(const QByteArray &, Lines &reply)
{
    for (const SettingInfo &info : m_transmitter.device().state().model().settings) {
        setting(info.name, reply);
    }
    return true;
}

bool ControlInterface::setting(const QByteArray &argument, Lines &reply)
{
    QByteArray value;
    if (!m_transmitter.device().state().value(argument, value)) {
        reply += "unknown setting";
        return false;
    }
    reply += argument + '=' + value;
    return true;
}

bool ControlInterface::set(const QByteArray &argument, Lines &reply)
{
    const int equals = argument.indexOf('=');
    const QByteArray name = argument.left(qMax(0, equals));
    return equals > 0 && m_transmitter.device().state().setValue(name, argument.mid(equals + 1))
        && setting(name, reply);
}

bool ControlInterface::health(const QByteArray &argument, Lines &)
{
    m_transmitter.device().state().setHealth(argument);
    return true;
}

bool ControlInterface::measurementState(const QByteArray &argument, Lines &)
{
    bool ok = false;
    const int number = argument.toInt(&ok);
    if (ok) {
        m_transmitter.device().state().setMeasurementState(number);
    }
    return ok;
}

bool ControlInterface::clock(const QByteArray &, Lines &reply)
{
    reply += m_transmitter.device()
                 .state()
                 .now()
                 .toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss"))
                 .toLatin1();
    return true;
}

bool ControlInterface::log(const QByteArray &, Lines &reply)
{
    const DeviceLog &log = m_transmitter.device().state().log();
    for (int index = 0; index <= log.count(); ++index) {
        reply += log.line(index);
    }
    return true;
}

bool ControlInterface::memory(const QByteArray &argument, Lines &reply)
{
    const DeviceMemory &memory = m_transmitter.device().state().memory();
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

bool ControlInterface::image(const QByteArray &, Lines &reply)
{
    reply += QByteArray::number(m_transmitter.device().bootloader().image().size()) + " bytes";
    return true;
}

bool ControlInterface::imageSize(const QByteArray &argument, Lines &)
{
    bool ok = false;
    const int bytes = argument.toInt(&ok);
    if (!ok || bytes < 0) {
        return false;
    }
    m_transmitter.device().bootloader().setImageSize(bytes);
    return true;
}

bool ControlInterface::hangUp(const QByteArray &, Lines &)
{
    m_transmitter.hangUp();
    return true;
}

bool ControlInterface::resume(const QByteArray &, Lines &reply)
{
    QString error;
    if (!m_transmitter.open(error)) {
        reply += error.toLocal8Bit();
        return false;
    }
    reply += "port " + m_transmitter.path().toLocal8Bit();
    return true;
}

bool ControlInterface::release(const QByteArray &, Lines &)
{
    m_transmitter.release();
    return true;
}

bool ControlInterface::restart(const QByteArray &, Lines &)
{
    m_transmitter.device().powerCycle();
    return true;
}

} // namespace Simulator
