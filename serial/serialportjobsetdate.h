// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

#include <QtCore/QDateTime>

/// Sets the device's clock, which runs in UTC; reports ActionSetDate with the date that it
/// confirms. An invalid date is an error, and nothing is sent.
class SerialPortJobSetDate : public SerialPortJob
{
    Q_OBJECT

public:
    SerialPortJobSetDate(SerialPortInterface *port, const QDateTime &date,
                         QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    QDateTime m_date;
};
