// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreboot.h"

#include "serial/dataparser.h"

SerialPortJobReboot::SerialPortJobReboot(SerialPortInterface *port, RebootMode mode,
                                         QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobReboot, parent)
    , m_mode(mode)
{
    constexpr int rebootTimeoutMs = 30000;
    setTimeout(rebootTimeoutMs);
}

// Quirk: no empty line first, as for erasing the log.
void SerialPortJobReboot::sendCommand() { write(QStringLiteral("reboot --really\r\n")); }

void SerialPortJobReboot::parseData(QString buffer)
{
    if (m_mode == RebootMode::RebootAndWaitForSelftest && DataParser::isRebooted(buffer)) {
        stop();
        emit actionFinished(SerialPortActionType::ActionReboot, QVariant());
        emit finished();
    } else if (m_mode == RebootMode::RebootForFirmwareUpdate && DataParser::isResetting(buffer)) {
        stop();
        emit actionFinished(SerialPortActionType::ActionRebootForFirmware, QVariant());
        emit finished();
    }
}
