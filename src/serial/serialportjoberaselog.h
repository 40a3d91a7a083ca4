// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Clears the log: actionFinished() with ActionEraseLog, or valueRead() with ValueLogOption false
/// where there is no log. Each comes before stop().
class SerialPortJobEraseLog : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "log --erase", without an empty line before it.
    explicit SerialPortJobEraseLog(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
