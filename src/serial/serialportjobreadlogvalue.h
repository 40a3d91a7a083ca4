// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Reads one row of the log. Emits logTitlesRead() for row 0, logValueRead() for the others. A row
/// with a wrong checksum is requested again immediately.
class SerialPortJobReadLogValue : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "log --read=" with @p index: 0 for the titles, 1 or more for the rows.
    SerialPortJobReadLogValue(SerialPortInterface *port, int index, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    int m_index;
};
