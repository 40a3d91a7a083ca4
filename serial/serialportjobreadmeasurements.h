// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Reads the measurement line; the timestamp is the moment of its arrival, in UTC.
class SerialPortJobReadMeasurements : public SerialPortJob
{
    Q_OBJECT

public:
    explicit SerialPortJobReadMeasurements(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
