// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreadlog.h"

#include "serial/dataparser.h"

SerialPortJobReadLog::SerialPortJobReadLog(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobReadLog, parent)
{ }

void SerialPortJobReadLog::sendCommand() { write(QStringLiteral("\r\nlog --count\r\n")); }

void SerialPortJobReadLog::parseData(QString buffer)
{
    int count = 0;
    if (DataParser::parseLogCount(buffer, count)) {
        stop();
        emit valueRead(SerialPortValueType::ValueLogOption, true);
        emit valueRead(SerialPortValueType::ValueLogCount, count);
        emit finished();
    } else if (DataParser::isNoLogOption(buffer)) {
        stop();
        emit valueRead(SerialPortValueType::ValueLogOption, false);
        emit finished();
    }
}
