// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

#include <QtCore/QByteArray>

/// Writes one block of the memory, 0 to 1023, with whatever length @p data has; reports @p
/// progress, the percentage that it brings.
class SerialPortJobWriteEepromBlock : public SerialPortJob
{
    Q_OBJECT

public:
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
