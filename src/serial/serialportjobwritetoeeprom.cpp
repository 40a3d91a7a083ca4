// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobwritetoeeprom.h"

#include "serial/dataparser.h"

namespace {

constexpr int writeTimeoutMs = 180000;

} // namespace

SerialPortJobWriteToEeprom::SerialPortJobWriteToEeprom(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobWriteToEeprom, parent)
{
    setTimeout(writeTimeoutMs);
}

void SerialPortJobWriteToEeprom::sendCommand()
{
    // Quirk: no empty line first, as for erasing the log.
    write(QStringLiteral("write --really\r\n"));
}

void SerialPortJobWriteToEeprom::parseData(QString buffer)
{
    if (DataParser::isConfigurationWritten(buffer)) {
        emit actionFinished(SerialPortActionType::ActionWriteToEeprom, QVariant());
        stop();
        emit finished();
    }
}
