// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobtransmitfirmwareblock.h"

#include "serial/dataparser.h"

SerialPortJobTransmitFirmwareBlock::SerialPortJobTransmitFirmwareBlock(SerialPortInterface *port,
                                                                       const QByteArray &block,
                                                                       double progress,
                                                                       QObject *parent)
    : SerialPortJob(port, SerialPortJobType::JobTransmitFirmwareBlock, parent)
    , m_block(block)
    , m_progress(progress)
{
    constexpr int blockTimeoutMs = 2000;
    setTimeout(blockTimeoutMs);
}

bool SerialPortJobTransmitFirmwareBlock::canRestart() { return false; }

void SerialPortJobTransmitFirmwareBlock::sendCommand() { write(m_block); }

void SerialPortJobTransmitFirmwareBlock::parseData(QString buffer)
{
    if (DataParser::isFirmwareBlockAccepted(buffer)) {
        stop();
        emit actionFinished(SerialPortActionType::ActionFirmwareBlockTransmitted, m_progress);
        emit finished();
    } else if (DataParser::isFirmwareBlockRejected(buffer)) {
        stop();
        fail();
    } else if (DataParser::isFirmwareDone(buffer)) {
        stop();
        emit actionFinished(SerialPortActionType::ActionFirmwareTransmitted, 100);
        emit finished();
    }
}
