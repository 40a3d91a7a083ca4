// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Reads block @p blockIndex (0 to 1023, 64 bytes each) of the memory. Emits eepromBlockRead(),
/// then actionFinished() with ActionEepromBlockRead and @p progress in percent.
class SerialPortJobReadEepromBlock : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "eeprom --read_block" with @p blockIndex, which is not checked.
    SerialPortJobReadEepromBlock(SerialPortInterface *port, quint16 blockIndex, int progress,
                                 QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    quint16 m_blockIndex;
    int m_progress;
};
