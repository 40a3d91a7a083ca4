// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobconnect.h"

#include "common/devicevariables.h"
#include "serial/dataparser.h"

SerialPortJobConnect::SerialPortJobConnect(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobConnect, parent)
{ }

void SerialPortJobConnect::sendCommand()
{
    write(QStringLiteral("\r\nshow %1\r\n").arg(DeviceVariables::swVersion));
}

void SerialPortJobConnect::parseData(QString buffer)
{
    QString version; // any value shows that a device replies
    if (DataParser::parseValue(DeviceVariables::swVersion, buffer, version)) {
        stop();
        emit finished();
    }
}
