// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Reads one block of the memory, 0 to 1023; reports it and @p progress, the percentage that it
/// brings.
class SerialPortJobReadEepromBlock : public SerialPortJob
{
    Q_OBJECT

public:
    SerialPortJobReadEepromBlock(SerialPortInterface *port, quint16 blockIndex, int progress,
                                 QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    quint16 m_blockIndex;
    int m_progress;
};
