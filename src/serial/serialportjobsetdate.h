// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

/// Sets the device's clock. Emits actionFinished() with ActionSetDate and the date that the device
/// confirms.
///
/// The date is sent in ISO 8601 format, without conversion: a date in UTC or local time without a
/// zone, a date with an offset or a time zone with its offset, such as "+02:00". The device's clock
/// is UTC, so only dates in UTC are useful. For an invalid date error() is emitted, and nothing is
/// sent.
class SerialPortJobSetDate : public SerialPortJob
{
    Q_OBJECT

public:
    /// Command: "date" with @p date.
    SerialPortJobSetDate(SerialPortInterface *port, const QDateTime &date,
                         QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    QDateTime m_date;
};
