// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Loads the device's default settings. They are lost at the next restart unless written, which is
/// not done here.
class SerialPortJobFactoryReset : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "initconf --really". The device gets up to 60 s for it.
    explicit SerialPortJobFactoryReset(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
