// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobupdatefirmware.h"

#include "serial/dataparser.h"

SerialPortJobUpdateFirmware::SerialPortJobUpdateFirmware(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobUpdateFirmware, parent)
{
    constexpr int bootloaderTimeoutMs = 900000;
    setTimeout(bootloaderTimeoutMs);
}

void SerialPortJobUpdateFirmware::sendCommand()
{
    // Nothing is sent until the bootloader has been recognised.
}

void SerialPortJobUpdateFirmware::parseData(QString buffer)
{
    if (DataParser::isBootPrompt(buffer)) {
        write(QStringLiteral("b"));
        stop();
        emit actionFinished(SerialPortActionType::ActionBootloaderEntered, QVariant());
        emit finished();
    }
}
