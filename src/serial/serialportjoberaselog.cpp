// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjoberaselog.h"

#include "serial/dataparser.h"

SerialPortJobEraseLog::SerialPortJobEraseLog(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobEraseLog, parent)
{ }

void SerialPortJobEraseLog::sendCommand()
{
    // Quirk: no empty line first, unlike most commands; the protocol has none here.
    write(QStringLiteral("log --erase\r\n"));
}

void SerialPortJobEraseLog::parseData(QString buffer)
{
    if (DataParser::isLogErased(buffer)) {
        emit actionFinished(SerialPortActionType::ActionEraseLog, QVariant());
        stop();
        emit finished();
    } else if (DataParser::isNoLogOption(buffer)) {
        emit valueRead(SerialPortValueType::ValueLogOption, false);
        stop();
        emit finished();
    }
}
