// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Reads the device's clock. Emits valueRead() with ValueDeviceDate, in UTC.
class SerialPortJobReadDate : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "date".
    explicit SerialPortJobReadDate(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
