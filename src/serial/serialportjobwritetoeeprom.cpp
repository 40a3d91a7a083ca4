// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobwritetoeeprom.h"

#include "serial/dataparser.h"

SerialPortJobWriteToEeprom::SerialPortJobWriteToEeprom(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobWriteToEeprom, parent)
{
    constexpr int writeTimeoutMs = 180000;
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
