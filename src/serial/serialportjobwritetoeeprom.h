// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Has the device keep its settings in non-volatile memory: actionFinished() with
/// ActionWriteToEeprom, which comes before stop(). The device may take minutes.
class SerialPortJobWriteToEeprom : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "write --really", with a time-out of 3 minutes.
    explicit SerialPortJobWriteToEeprom(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
