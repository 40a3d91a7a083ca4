// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Reads one variable of the device: dataRead(). A variable that the device does not know has a
/// null value; that is an answer, not a failure.
class SerialPortJobReadValue : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "show" with @p name, the variable's name on the console.
    SerialPortJobReadValue(SerialPortInterface *port, const QString &name,
                           QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    QString m_name;
};
