// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobfactoryreset.h"

#include "serial/dataparser.h"

SerialPortJobFactoryReset::SerialPortJobFactoryReset(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobFactoryReset, parent)
{
    constexpr int resetTimeoutMs = 60000;
    setTimeout(resetTimeoutMs);
}

void SerialPortJobFactoryReset::sendCommand()
{
    write(QStringLiteral("\r\ninitconf --really\r\n"));
}

void SerialPortJobFactoryReset::parseData(QString buffer)
{
    if (DataParser::isFactoryResetDone(buffer)) {
        stop();
        emit finished();
    }
}
