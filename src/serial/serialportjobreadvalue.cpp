// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreadvalue.h"

#include "serial/dataparser.h"

SerialPortJobReadValue::SerialPortJobReadValue(SerialPortInterface *port, const QString &name,
                                               QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobReadValue, parent)
    , m_name(name)
{ }

void SerialPortJobReadValue::sendCommand() { write(QStringLiteral("\r\nshow %1\r\n").arg(m_name)); }

void SerialPortJobReadValue::parseData(QString buffer)
{
    QString value;
    // The value of an unknown parameter is empty.
    if (DataParser::parseValue(m_name, buffer, value) || DataParser::isUnknownParameter(buffer)) {
        stop();
        emit dataRead(m_name, value);
        emit finished();
    }
}
