// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/deviceconsole.h"

#include <QtCore/QDateTime>

namespace Simulator {

namespace {

const char prompt[] = "KVT $ ";
const char lineEnd[] = "\r\n";
const char noLogOption[] = "No LOG option installed!\r\n";
const char dateFormat[] = "yyyy-MM-ddTHH:mm:ss";
constexpr int defaultGapMs = 1;

/// The number after @p option in @p arguments, such as 7 in "--read=7". Returns false if there is
/// none.
bool optionNumber(const QByteArray &arguments, const QByteArray &option, int &number)
{
    bool ok = false;
    number = arguments.startsWith(option) ? arguments.mid(option.size()).toInt(&ok) : 0;
    return ok;
}

QString dateText() { return QString::fromLatin1(dateFormat); }

} // namespace

const DeviceConsole::Command DeviceConsole::commands[] = {
    {"show", &DeviceConsole::show},           {"set", &DeviceConsole::set},
    {"date", &DeviceConsole::date},           {"log", &DeviceConsole::log},
    {"write", &DeviceConsole::storeSettings}, {"initconf", &DeviceConsole::loadDefaults},
    {"eeprom", &DeviceConsole::eeprom},       {"reboot", &DeviceConsole::reboot},
    {"help", &DeviceConsole::help},
};

DeviceConsole::DeviceConsole(DeviceState &state, Faults &faults, const DeviceOptions &options,
                             QObject *parent)
    : QObject(parent)
    , m_state(state)
    , m_faults(faults)
    , m_options(options)
{
    m_pause.setSingleShot(true);
    m_pause.setTimerType(Qt::PreciseTimer);
    connect(&m_pause, &QTimer::timeout, this, [this] {
        const std::function<void()> next = m_next;
        next();
        emit idle();
    });
    m_blockIdle.setSingleShot(true);
    m_blockIdle.setInterval(options.blockIdleMs);
    connect(&m_blockIdle, &QTimer::timeout, this, &DeviceConsole::abandonBlock);
}

void DeviceConsole::boot()
{
    reset();
    m_state.boot();
    emit eventOccurred("boot");
    const DeviceModel &model = m_state.model();
    write(QByteArray("\r\nPerforming selftest...\r\n"
                     "  memory    passed\r\n"
                     "  clock     passed\r\n"
                     "  sensors   passed\r\n"
                     "All tests passed.\r\n"
                     "\r\n"
                     "Orvanta KVT ")
          + model.name + " version " + model.firmware
          + "\r\nCompiled on Mar  3 2026 09:41:07\r\n"
            "Copyright (c) Orvanta\r\n"
            "\r\n"
          + prompt);
}

void DeviceConsole::reset()
{
    m_editor.clear();
    m_pause.stop();
    m_blockIdle.stop();
    m_block = -1;
    m_suppressReplies = false;
    m_gapMs = -1;
    m_heldExchanges = 0;
    m_held.clear();
}

void DeviceConsole::feed(char byte)
{
    if (m_editor.isSecondOfCrLf(byte)) {
        return;
    }
    if (m_block >= 0) {
        receiveBlockByte(byte);
        return;
    }
    write(m_editor.type(byte));
    if (!m_editor.isComplete()) {
        return;
    }
    const QByteArray line = m_editor.takeLine();
    if (line.trimmed().isEmpty()) {
        write(prompt);
        return;
    }
    beginExchange(line);
}

void DeviceConsole::beginExchange(const QByteArray &line)
{
    emit eventOccurred("command " + line);
    m_faults.beginExchange(line);
    Fault fault;
    m_faultsApplied = false;
    m_suppressReplies = m_faults.triggersInExchange(DeviceFaultKind::Silence);
    if (m_faults.triggersInExchange(DeviceFaultKind::SingleBytes, fault)) {
        m_gapMs = fault.argument < 0 ? defaultGapMs : fault.argument;
    }
    if (m_heldExchanges == 0 && m_faults.triggersInExchange(DeviceFaultKind::RepliesInOneChunk)) {
        m_heldExchanges = 2;
    }
    if (m_faults.triggersInExchange(DeviceFaultKind::Hangup, fault)) {
        emit hangUpAfter(qMax(0, fault.argument));
    }
    if (m_faults.triggersInExchange(DeviceFaultKind::Delay, fault)) {
        pause(qMax(0, fault.argument), [this, line] { execute(line); });
        return;
    }
    execute(line);
}

void DeviceConsole::execute(const QByteArray &line)
{
    const QByteArray trimmed = line.trimmed();
    const int space = trimmed.indexOf(' ');
    const QByteArray word = space < 0 ? trimmed : trimmed.left(space);
    for (const Command &command : commands) {
        if (word == command.word) {
            (this->*command.handler)(space < 0 ? QByteArray() : trimmed.mid(space + 1).trimmed());
            return;
        }
    }
    replyAndEnd("Unknown command! Try help.\r\n");
}

void DeviceConsole::endExchange()
{
    write(prompt);
    m_suppressReplies = false;
    m_gapMs = -1;
    if (m_heldExchanges > 0 && --m_heldExchanges == 0) {
        emit output(m_held, Delivery::OneChunk, 0);
        m_held.clear();
    }
}

void DeviceConsole::pause(int ms, const std::function<void()> &next)
{
    m_next = next;
    m_pause.start(ms);
}

void DeviceConsole::write(const QByteArray &bytes)
{
    if (m_suppressReplies || bytes.isEmpty()) {
        return;
    }
    if (m_heldExchanges > 0) {
        m_held += bytes;
    } else if (m_gapMs >= 0) {
        emit output(bytes, Delivery::SingleBytes, m_gapMs);
    } else {
        emit output(bytes, Delivery::Streamed, 0);
    }
}

void DeviceConsole::reply(const QByteArray &text)
{
    write(m_faultsApplied ? text : withFaults(text));
    m_faultsApplied = true;
}

void DeviceConsole::replyAndEnd(const QByteArray &text)
{
    reply(text);
    endExchange();
}

QByteArray DeviceConsole::withFaults(const QByteArray &text)
{
    QByteArray bytes = text;
    Fault fault;
    const auto position = [&bytes, &fault] {
        const int last = qMax(0, bytes.size() - 1);
        return fault.argument < 1 ? last / 2 : qMin(fault.argument - 1, last);
    };
    if (m_faults.triggersInExchange(DeviceFaultKind::LostByte, fault)) {
        bytes.remove(position(), 1);
    }
    if (m_faults.triggersInExchange(DeviceFaultKind::FlippedBit, fault) && !bytes.isEmpty()) {
        const int index = position();
        bytes[index] = static_cast<char>(bytes.at(index) ^ 1);
    }
    if (m_faults.triggersInExchange(DeviceFaultKind::Nul, fault)) {
        bytes.insert(position(), '\0');
    }
    return bytes;
}

void DeviceConsole::show(const QByteArray &arguments)
{
    QByteArray value;
    if (arguments == "unit") {
        replyAndEnd("Orvanta KVT\r\nModel: " + modelName() + "\r\nSerial: " + m_state.serial()
                    + "\r\nSoftware: " + m_state.model().firmware
                    + "\r\nHardware: " + m_state.model().hardware
                    + "\r\nOptions: " + (m_state.hasLogOption() ? "LOG" : "none") + lineEnd);
    } else if (arguments == "meas") {
        replyAndEnd("show: meas=\"" + m_state.takeMeasurements() + '"' + lineEnd);
    } else if (arguments == "model") {
        replyAndEnd("show: model=" + modelName() + lineEnd);
    } else if (m_state.value(arguments, value)) {
        replyAndEnd("show: " + arguments + '=' + value + lineEnd);
    } else {
        replyAndEnd("show: Unknown parameter!\r\n");
    }
}

void DeviceConsole::set(const QByteArray &arguments)
{
    const int equals = arguments.indexOf('=');
    const QByteArray name = arguments.left(qMax(0, equals)).trimmed();
    if (equals < 0 || !m_state.setValue(name, arguments.mid(equals + 1))) {
        replyAndEnd("set: Unknown parameter!\r\n");
        return;
    }
    QByteArray value;
    m_state.value(name, value);
    replyAndEnd("set: " + name + '=' + value + lineEnd);
}

void DeviceConsole::date(const QByteArray &arguments)
{
    if (arguments.isEmpty()) {
        replyAndEnd(m_state.now().toString(dateText()).toLatin1() + lineEnd);
        return;
    }
    QDateTime time = QDateTime::fromString(QString::fromLatin1(arguments), dateText());
    if (!time.isValid()) {
        replyAndEnd("date: Invalid date!\r\n");
        return;
    }
    // Without conversion: the clock and the typed time are UTC.
    time.setTimeSpec(Qt::UTC);
    m_state.setClock(time);
    replyAndEnd("Date updated to " + time.toString(dateText()).toLatin1() + lineEnd);
}

void DeviceConsole::log(const QByteArray &arguments)
{
    int index = 0;
    if (!m_state.hasLogOption()) {
        replyAndEnd(noLogOption);
    } else if (arguments == "--count") {
        replyAndEnd("count=" + QByteArray::number(m_state.log().count()) + lineEnd);
    } else if (arguments == "--erase") {
        m_state.log().erase();
        m_state.changed();
        replyAndEnd("Log erased!\r\n");
    } else if (optionNumber(arguments, "--read=", index)) {
        replyAndEnd(logLine(index) + lineEnd);
    } else {
        replyAndEnd("log: use --count, --read=N or --erase\r\n");
    }
}

void DeviceConsole::storeSettings(const QByteArray &arguments)
{
    if (arguments != "--really") {
        replyAndEnd("write: add --really to store the configuration\r\n");
        return;
    }
    reply("Writing current configuration to non-volatile memory...");
    pause(m_options.writeMs, [this] {
        const int bytes = m_state.storeSettings();
        replyAndEnd(' ' + QByteArray::number(bytes) + " bytes written!\r\n");
    });
}

void DeviceConsole::loadDefaults(const QByteArray &arguments)
{
    if (arguments != "--really") {
        replyAndEnd("initconf: add --really to load the default configuration\r\n");
        return;
    }
    m_state.settings().loadFactoryValues();
    replyAndEnd("Loading default configuration... OK!\r\n"
                "Write the default configuration to non-volatile memory by using "
                "write --really command.\r\n");
}

void DeviceConsole::eeprom(const QByteArray &arguments)
{
    int index = -1;
    if (optionNumber(arguments, "--read_block ", index) && DeviceMemory::isBlock(index)) {
        readBlock(index);
    } else if (optionNumber(arguments, "--write_block ", index) && DeviceMemory::isBlock(index)) {
        reply("Please input 64 bytes\r\n");
        m_block = index;
        m_blockData.clear();
        m_blockIdle.start();
    } else {
        replyAndEnd("eeprom: use --read_block N or --write_block N, N from 0 to 1023\r\n");
    }
}

void DeviceConsole::reboot(const QByteArray &arguments)
{
    if (arguments != "--really") {
        replyAndEnd("reboot: add --really to restart the device\r\n");
        return;
    }
    reply("Reseting device in 5 seconds\r\n");
    reset();
    emit resetting();
}

void DeviceConsole::help(const QByteArray &)
{
    QByteArray names;
    for (const Command &command : commands) {
        names += command.word + QByteArray(" ");
    }
    replyAndEnd("Commands: " + names.trimmed() + lineEnd);
}

QByteArray DeviceConsole::modelName()
{
    Fault fault;
    if (!m_faults.triggersInExchange(DeviceFaultKind::UnknownModel, fault)) {
        return m_state.model().name;
    }
    return fault.argumentText.isEmpty() ? QByteArray("KVT-900") : fault.argumentText;
}

QByteArray DeviceConsole::logLine(int index)
{
    QByteArray record = m_state.log().record(index);
    if (record.isEmpty()) {
        return "log: No such entry!";
    }
    if (m_faults.triggersAt(DeviceFaultKind::MalformedRecord, index)) {
        if (index == 0) {
            return "00000=" + record;
        }
        record.replace(record.lastIndexOf(',') + 1, record.size(), "over");
    }
    quint8 checksum = recordChecksum(record);
    if (m_faults.triggersAt(DeviceFaultKind::BadChecksum, index)) {
        checksum ^= 1U;
    }
    const int number = m_faults.triggersAt(DeviceFaultKind::WrongEntry, index) ? index + 1 : index;
    return DeviceLog::line(number, record, checksum);
}

void DeviceConsole::readBlock(int index)
{
    QByteArray digits = m_state.memory().block(index).toHex();
    if (m_faults.triggersAt(DeviceFaultKind::MalformedBlock, index)) {
        digits.replace(digits.size() / 2, 2, "zz");
    }
    replyAndEnd(digits + "\r\nDone\r\n");
}

void DeviceConsole::receiveBlockByte(char byte)
{
    m_blockData += byte;
    m_blockIdle.start();
    emit rawBytesReceived(1);
    if (m_blockData.size() < DeviceMemory::blockSize) {
        return;
    }
    m_blockIdle.stop();
    m_state.memory().setBlock(m_block, m_blockData);
    m_state.changed();
    emit eventOccurred("raw " + QByteArray::number(m_blockData.size()) + " bytes for block "
                       + QByteArray::number(m_block));
    m_block = -1;
    replyAndEnd("\r\nDone\r\n");
}

void DeviceConsole::abandonBlock()
{
    emit eventOccurred("raw " + QByteArray::number(m_blockData.size()) + " bytes given up");
    m_block = -1;
    replyAndEnd("\r\nTimed out, nothing written\r\n");
}

} // namespace Simulator
