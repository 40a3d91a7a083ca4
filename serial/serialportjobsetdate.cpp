// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobsetdate.h"

#include "serial/dataparser.h"

SerialPortJobSetDate::SerialPortJobSetDate(SerialPortInterface *port, const QDateTime &date,
                                           QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobSetDate, parent)
    , m_date(date)
{
}

void SerialPortJobSetDate::sendCommand()
{
    QString date = m_date.toString(Qt::ISODate);
    if (!m_date.isValid()) {
        emit error(QStringLiteral("Unable to set time, invalid timestamp given: %1").arg(date));
        return;
    }
    if (date.endsWith(QLatin1Char('Z'))) {
        date.chop(1);
    }
    write(QStringLiteral("\r\ndate %1\r\n").arg(date));
}

void SerialPortJobSetDate::parseData(QString buffer)
{
    QDateTime date;
    if (DataParser::parseDateUpdated(buffer, date)) {
        stop();
        emit actionFinished(SerialPortActionType::ActionSetDate, date);
        emit finished();
    }
}
