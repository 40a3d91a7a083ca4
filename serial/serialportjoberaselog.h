// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Erases the log; reports ActionEraseLog, or ValueLogOption where there is no log.
class SerialPortJobEraseLog : public SerialPortJob
{
    Q_OBJECT

public:
    explicit SerialPortJobEraseLog(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
