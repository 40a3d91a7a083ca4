// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Makes the device store its settings in non-volatile memory. Emits actionFinished() with
/// ActionWriteToEeprom, before stop(). The device may need minutes.
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
