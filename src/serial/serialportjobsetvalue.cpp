// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobsetvalue.h"

#include "serial/dataparser.h"

SerialPortJobSetValue::SerialPortJobSetValue(SerialPortInterface *port, const QString &name,
                                             const QString &value, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobSetValue, parent)
    , m_name(name)
    , m_value(value)
{ }

void SerialPortJobSetValue::sendCommand()
{
    write(QStringLiteral("\r\nset %1=%2\r\n").arg(m_name, m_value));
}

void SerialPortJobSetValue::parseData(QString buffer)
{
    if (DataParser::parseSetValue(buffer, m_value)) {
        stop();
        emit dataWritten(m_name, m_value);
        emit finished();
    }
}
