// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Requests the name of the device's model. Emits valueRead() with ValueDeviceModel.
class SerialPortJobReadModel : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "show unit".
    explicit SerialPortJobReadModel(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
