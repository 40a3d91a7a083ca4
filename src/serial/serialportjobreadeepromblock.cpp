// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreadeepromblock.h"

#include "serial/dataparser.h"

SerialPortJobReadEepromBlock::SerialPortJobReadEepromBlock(SerialPortInterface *port,
                                                           quint16 blockIndex, int progress,
                                                           QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobReadEepromBlock, parent)
    , m_blockIndex(blockIndex)
    , m_progress(progress)
{ }

void SerialPortJobReadEepromBlock::sendCommand()
{
    write(QStringLiteral("\r\neeprom --read_block %1\r\n").arg(m_blockIndex));
}

void SerialPortJobReadEepromBlock::parseData(QString buffer)
{
    QByteArray data;
    if (DataParser::parseEepromBlock(buffer, m_blockIndex, data)) {
        stop();
        emit eepromBlockRead(m_blockIndex, data);
        emit actionFinished(SerialPortActionType::ActionEepromBlockRead, m_progress);
        emit finished();
    }
}
