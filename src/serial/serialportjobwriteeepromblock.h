// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Writes @p data to block @p blockIndex (0 to 1023, 64 bytes each) of the memory. Emits
/// eepromBlockWritten(), then actionFinished() with ActionEepromBlockWritten and @p progress in
/// percent. Data of another length is sent unchanged.
class SerialPortJobWriteEepromBlock : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "eeprom --write_block" with @p blockIndex, then @p data. The time-out is 5 s.
    SerialPortJobWriteEepromBlock(SerialPortInterface *port, quint16 blockIndex,
                                  const QByteArray &data, int progress, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    quint16 m_blockIndex;
    QByteArray m_data;
    int m_progress;
};
