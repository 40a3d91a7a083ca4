// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Sends one block (up to 16 bytes) of a firmware image to the bootloader. Emits actionFinished()
/// with ActionFirmwareBlockTransmitted and @p progress in percent, or with
/// ActionFirmwareTransmitted if the bootloader has received the whole image, or failed() if it
/// rejects the block.
///
/// A block is never sent twice.
class SerialPortJobTransmitFirmwareBlock : public SerialPortJob
{
    Q_OBJECT

public:
    /// Sends the bytes of @p block unchanged and waits up to 2 s for the bootloader's reply.
    SerialPortJobTransmitFirmwareBlock(SerialPortInterface *port, const QByteArray &block,
                                       double progress, QObject *parent = nullptr);

    bool canRestart() override;

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    QByteArray m_block;
    double m_progress;
};
