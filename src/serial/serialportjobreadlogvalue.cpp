// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreadlogvalue.h"

#include "serial/dataparser.h"

SerialPortJobReadLogValue::SerialPortJobReadLogValue(SerialPortInterface *port, int index,
                                                     QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobReadLogValue, parent)
    , m_index(index)
{ }

void SerialPortJobReadLogValue::sendCommand()
{
    write(QStringLiteral("\r\nlog --read=%1\r\n").arg(m_index));
}

void SerialPortJobReadLogValue::parseData(QString buffer)
{
    const bool isTitleRow = m_index == 0;
    QStringList titles;
    QDateTime time;
    QVector<double> values;
    switch (isTitleRow ? DataParser::parseLogTitles(buffer, titles)
                       : DataParser::parseLogValue(buffer, m_index, time, values)) {
    case DataParserResult::Matched:
        stop();
        if (isTitleRow) {
            emit logTitlesRead(titles);
        } else {
            emit logValueRead(m_index, values, time);
        }
        emit finished();
        break;
    case DataParserResult::ChecksumMismatch:
        // Quirk: the buffer keeps the line with the wrong checksum, so it is parsed together with
        // the resent one.
        restart();
        break;
    case DataParserResult::NoMatch:
        break;
    }
}
