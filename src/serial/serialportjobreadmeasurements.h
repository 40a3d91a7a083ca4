// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Reads all measurements. Emits measurementsRead() with the computer's time in UTC.
///
/// The only job class that leaves stop() to the queue.
class SerialPortJobReadMeasurements : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "show meas".
    explicit SerialPortJobReadMeasurements(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;
};
