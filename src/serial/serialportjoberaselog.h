// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Clears the log. Emits actionFinished() with ActionEraseLog, or valueRead() with ValueLogOption
/// false if there is no log. Either is emitted before stop().
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
