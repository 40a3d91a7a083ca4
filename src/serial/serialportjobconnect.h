// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Requests the software version, to find out whether a device replies.
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
