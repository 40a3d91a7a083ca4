// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreadlogvalue.h"

#include "serial/dataparser.h"

SerialPortJobReadLogValue::SerialPortJobReadLogValue(SerialPortInterface *port, int index,
                                                     QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobReadLogValue, parent)
    , m_index(index)
{
}

void SerialPortJobReadLogValue::sendCommand()
{
    write(QStringLiteral("\r\nlog --read=%1\r\n").arg(m_index));
}

void SerialPortJobReadLogValue::parseData(QString buffer)
{
    if (m_index == 0) {
        parseTitles(buffer);
    } else {
        parseValues(buffer);
    }
}

void SerialPortJobReadLogValue::parseTitles(const QString &buffer)
{
    QStringList titles;
    switch (DataParser::parseLogTitles(buffer, titles)) {
    case DataParserResult::Matched:
        stop();
        emit logTitlesRead(titles);
        emit finished();
        break;
    case DataParserResult::ChecksumMismatch:
        // The buffer keeps the bad line: the resend is judged together with it.
        restart();
        break;
    case DataParserResult::NoMatch:
        break;
    }
}

void SerialPortJobReadLogValue::parseValues(const QString &buffer)
{
    QDateTime time;
    QVector<double> values;
    switch (DataParser::parseLogValue(buffer, m_index, time, values)) {
    case DataParserResult::Matched:
        stop();
        emit logValueRead(m_index, values, time);
        emit finished();
        break;
    case DataParserResult::ChecksumMismatch:
        // As for the titles.
        restart();
        break;
    case DataParserResult::NoMatch:
        break;
    }
}
