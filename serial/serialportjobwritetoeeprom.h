// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Stores the device's settings in its non-volatile memory; reports ActionWriteToEeprom.
class SerialPortJobWriteToEeprom : public SerialPortJob
{
    Q_OBJECT

public:
    explicit SerialPortJobWriteToEeprom(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
