// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobupdatefirmware.h"

#include "serial/dataparser.h"

namespace {

constexpr int bootloaderTimeoutMs = 900000;

} // namespace

SerialPortJobUpdateFirmware::SerialPortJobUpdateFirmware(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobUpdateFirmware, parent)
{
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
