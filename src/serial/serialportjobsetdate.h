// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

#include <QtCore/QDateTime>

/// Sets the device's clock: actionFinished() with ActionSetDate and the date that the device
/// confirms.
///
/// The fields of the date go out as they stand, whatever its time zone; the device takes them for
/// UTC. An invalid date is an error(), and nothing goes out.
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
