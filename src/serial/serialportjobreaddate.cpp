// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreaddate.h"

#include "serial/dataparser.h"

SerialPortJobReadDate::SerialPortJobReadDate(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobReadDate, parent)
{ }

void SerialPortJobReadDate::sendCommand() { write(QStringLiteral("\r\ndate\r\n")); }

void SerialPortJobReadDate::parseData(QString buffer)
{
    QDateTime date;
    if (DataParser::parseDate(buffer, date)) {
        stop();
        emit valueRead(SerialPortValueType::ValueDeviceDate, date);
        emit finished();
    }
}
