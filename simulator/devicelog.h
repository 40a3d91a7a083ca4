// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/devicemeasurements.h"
#include "simulator/devicemodel.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>

namespace Simulator {

/// CRC-8 of a log record, polynomial 0x31 (x^8 + x^5 + x^4 + 1), most significant bit first,
/// initial value 0, no final XOR. Calculated bit by bit, as on a small processor without memory for
/// a table.
quint8 recordChecksum(const QByteArray &record);

/// The device's log: titles, and rows at a fixed interval up to a given time.
class DeviceLog
{
public:
    /// @p model and @p measurements must outlive this object.
    DeviceLog(const DeviceModel &model, const DeviceMeasurements &measurements);

    /// Replaces the rows with @p count rows, @p intervalS seconds apart; the last one has the time
    /// @p end.
    void fill(int count, const QDateTime &end, int intervalS);

    /// The number of rows, the time of the last one, and the seconds between two.
    /// @{
    int count() const;
    QDateTime end() const;
    int intervalS() const;
    /// @}

    /// Removes all rows; the titles remain.
    void erase();

    /// The text before the checksum: the titles for 0, the record of row @p index from 1 on;
    /// empty for a row that doesn't exist.
    QByteArray record(int index) const;

    /// A line of the log in the console's format: number, record, checksum.
    static QByteArray line(int number, const QByteArray &record, quint8 checksum);

    /// The line of row @p index, with its number and checksum.
    QByteArray line(int index) const;

private:
    const DeviceModel &m_model;
    const DeviceMeasurements &m_measurements;
    int m_count = 0;
    QDateTime m_end;
    int m_intervalS = 600;
};

} // namespace Simulator
