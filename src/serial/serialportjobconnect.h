// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Asks for the software version, to find out whether the device replies.
class SerialPortJobConnect : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "show swver".
    explicit SerialPortJobConnect(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
