// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobupdatefirmware.h"

#include "serial/dataparser.h"

namespace {

// Long enough for a device that the user restarts by hand.
constexpr int bootloaderTimeoutMs = 900000;

} // namespace

SerialPortJobUpdateFirmware::SerialPortJobUpdateFirmware(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobUpdateFirmware, parent)
{
    setTimeout(bootloaderTimeoutMs);
}

void SerialPortJobUpdateFirmware::sendCommand()
{
    // Only listens: the device speaks first.
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
