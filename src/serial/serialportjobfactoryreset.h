// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Loads the device's default settings. They are lost at the next restart unless they are stored,
/// which this job doesn't do.
class SerialPortJobFactoryReset : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "initconf --really". The time-out is 60 s.
    explicit SerialPortJobFactoryReset(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
