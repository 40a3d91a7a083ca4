// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// When a restart counts as completed.
enum class RebootMode {
    RebootAndWaitForSelftest = 0, ///< the device has started again and passed its self-test
    RebootForFirmwareUpdate = 1 ///< the device has announced that its bootloader starts next
};

/// Restarts the device. Emits actionFinished() with ActionReboot or ActionRebootForFirmware,
/// depending on @p mode.
class SerialPortJobReboot : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "reboot --really". The time-out of 30 s includes the self-test.
    SerialPortJobReboot(SerialPortInterface *port, RebootMode mode, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    RebootMode m_mode;
};
