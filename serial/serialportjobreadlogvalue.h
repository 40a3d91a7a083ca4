// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Reads one row of the log; row 0 holds the titles. A wrong checksum sends the command again.
class SerialPortJobReadLogValue : public SerialPortJob
{
    Q_OBJECT

public:
    SerialPortJobReadLogValue(SerialPortInterface *port, int index, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    void parseTitles(const QString &buffer);
    void parseRow(const QString &buffer);

    int m_index;
};
