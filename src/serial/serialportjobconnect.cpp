// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobconnect.h"

#include "serial/dataparser.h"

SerialPortJobConnect::SerialPortJobConnect(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobConnect, parent)
{
}

void SerialPortJobConnect::sendCommand()
{
    write(QStringLiteral("\r\nshow swver\r\n"));
}

void SerialPortJobConnect::parseData(QString buffer)
{
    if (DataParser::parseValue(QStringLiteral("swver"), buffer, m_softwareVersion)) {
        stop();
        emit finished();
    }
}
