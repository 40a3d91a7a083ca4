// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Requests the number of log entries. Emits valueRead() with ValueLogOption, and with
/// ValueLogCount if the device has a log.
class SerialPortJobReadLog : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "log --count".
    explicit SerialPortJobReadLog(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
