// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

#include <QtCore/QByteArray>

/// Sends one block of a firmware image, once: a refused or unanswered block fails. @p progress is
/// the percentage sent with it.
class SerialPortJobTransmitFirmwareBlock : public SerialPortJob
{
    Q_OBJECT

public:
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
