// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreadmeasurements.h"

#include "serial/dataparser.h"

SerialPortJobReadMeasurements::SerialPortJobReadMeasurements(SerialPortInterface *port,
                                                             QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobReadMeasurements, parent)
{ }

void SerialPortJobReadMeasurements::sendCommand() { write(QStringLiteral("\r\nshow meas\r\n")); }

void SerialPortJobReadMeasurements::parseData(QString buffer)
{
    QMap<QString, QString> values;
    if (DataParser::parseMeasurements(buffer, values)) {
        emit measurementsRead(QDateTime::currentDateTimeUtc(), values);
        emit finished();
    }
}
