// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// What a restart waits for.
enum class RebootMode {
    RebootAndWaitForSelftest = 0, ///< the whole boot text; reports ActionReboot
    RebootForFirmwareUpdate = 1 ///< the announcement alone; reports ActionRebootForFirmware
};

/// Restarts the device.
class SerialPortJobReboot : public SerialPortJob
{
    Q_OBJECT

public:
    SerialPortJobReboot(SerialPortInterface *port, RebootMode mode, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    RebootMode m_mode;
};
