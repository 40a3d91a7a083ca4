// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Waits for the bootloader and switches it to receive mode. Emits actionFinished() with
/// ActionBootloaderEntered. The time-out is long enough for the user to restart the device.
class SerialPortJobUpdateFirmware : public SerialPortJob
{
    Q_OBJECT

public:
    /// Sends nothing until the bootloader's prompt arrives. The time-out is 15 minutes.
    explicit SerialPortJobUpdateFirmware(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
