// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobwriteeepromblock.h"

#include "serial/dataparser.h"

SerialPortJobWriteEepromBlock::SerialPortJobWriteEepromBlock(SerialPortInterface *port,
                                                             quint16 blockIndex,
                                                             const QByteArray &data, int progress,
                                                             QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobWriteEepromBlock, parent)
    , m_blockIndex(blockIndex)
    , m_data(data)
    , m_progress(progress)
{
    constexpr int writeTimeoutMs = 5000;
    setTimeout(writeTimeoutMs);
}

void SerialPortJobWriteEepromBlock::sendCommand()
{
    write(QStringLiteral("\r\neeprom --write_block %1\r\n").arg(m_blockIndex));
    // Sent immediately, without waiting for the device to request the bytes.
    write(m_data);
}

void SerialPortJobWriteEepromBlock::parseData(QString buffer)
{
    if (DataParser::isEepromBlockWritten(buffer)) {
        stop();
        emit eepromBlockWritten(m_blockIndex);
        emit actionFinished(SerialPortActionType::ActionEepromBlockWritten, m_progress);
        emit finished();
    }
}
