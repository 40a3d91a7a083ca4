// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

#include <QtCore/QString>

/// Reads one variable. One that the device does not know is reported with a null value.
class SerialPortJobReadValue : public SerialPortJob
{
    Q_OBJECT

public:
    SerialPortJobReadValue(SerialPortInterface *port, const QString &name,
                           QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    QString m_name;
};
