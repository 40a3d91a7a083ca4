// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Asks which model the device is; reports ValueDeviceModel.
class SerialPortJobReadModel : public SerialPortJob
{
    Q_OBJECT

public:
    explicit SerialPortJobReadModel(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
