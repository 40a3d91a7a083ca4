// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Reads one variable of the device. Emits dataRead(), with a null value if the device has no such
/// variable; that is a result, not a failure.
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
