// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreadmodel.h"

#include "serial/dataparser.h"

SerialPortJobReadModel::SerialPortJobReadModel(SerialPortInterface *port, QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobReadModel, parent)
{ }

void SerialPortJobReadModel::sendCommand() { write(QStringLiteral("\r\nshow unit\r\n")); }

void SerialPortJobReadModel::parseData(QString buffer)
{
    QString model;
    if (DataParser::parseModel(buffer, model)) {
        stop();
        emit valueRead(SerialPortValueType::ValueDeviceModel, model);
        emit finished();
    }
}
