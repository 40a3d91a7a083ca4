// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobsetdate.h"

#include "serial/dataparser.h"

SerialPortJobSetDate::SerialPortJobSetDate(SerialPortInterface *port, const QDateTime &date,
                                           QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobSetDate, parent)
    , m_date(date)
{ }

void SerialPortJobSetDate::sendCommand()
{
    QString text = m_date.toString(Qt::ISODate);
    if (!m_date.isValid()) {
        emit error(tr("Unable to set time, invalid timestamp given: %1").arg(text));
        return;
    }
    // The device does not parse the zone letter of UTC. Quirk: an offset is sent, since only dates
    // in UTC are used.
    if (text.endsWith(QLatin1Char('Z'))) {
        text.chop(1);
    }
    write(QStringLiteral("\r\ndate %1\r\n").arg(text));
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
