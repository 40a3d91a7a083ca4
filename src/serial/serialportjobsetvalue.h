// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Sets one variable of the device. Emits dataWritten() with the value in the device's reply, which
/// may differ from the one sent.
class SerialPortJobSetValue : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "set" with @p name and @p value, both unchanged.
    SerialPortJobSetValue(SerialPortInterface *port, const QString &name, const QString &value,
                          QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    QString m_name;
    QString m_value;
};
