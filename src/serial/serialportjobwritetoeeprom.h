// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Has the device keep its settings in non-volatile memory: actionFinished() with
/// ActionWriteToEeprom, which comes before stop(). The device may take minutes.
class SerialPortJobWriteToEeprom : public SerialPortJob
{
    Q_OBJECT

public:
    explicit SerialPortJobWriteToEeprom(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
