// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/devicelog.h"

namespace Simulator {

quint8 recordChecksum(const QByteArray &record)
{
    constexpr unsigned polynomial = 0x31;
    constexpr unsigned topBit = 0x80;
    unsigned remainder = 0;
    for (const char byte : record) {
        remainder ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            const bool carry = (remainder & topBit) != 0;
            remainder = (remainder << 1) & 0xffU;
            if (carry) {
                remainder ^= polynomial;
            }
        }
    }
    return static_cast<quint8>(remainder);
}

DeviceLog::DeviceLog(const DeviceModel &model, const DeviceMeasurements &measurements)
    : m_model(model)
    , m_measurements(measurements)
{ }

void DeviceLog::fill(int count, const QDateTime &end, int intervalS)
{
    m_count = count;
    m_end = end;
    m_intervalS = intervalS;
}

int DeviceLog::count() const { return m_count; }

QDateTime DeviceLog::end() const { return m_end; }

int DeviceLog::intervalS() const { return m_intervalS; }

void DeviceLog::erase() { m_count = 0; }

QByteArray DeviceLog::record(int index) const
{
    if (index < 0 || index > m_count) {
        return QByteArray();
    }
    QByteArray text;
    if (index == 0) {
        text = "Time";
        for (const MeasurementInfo &info : m_model.measurements) {
            text += QByteArray(",") + info.name;
        }
        return text;
    }
    const QDateTime time = m_end.addSecs(qint64(index - m_count) * m_intervalS);
    text = time.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")).toLatin1();
    for (const MeasurementInfo &info : m_model.measurements) {
        text += ',' + m_measurements.valueAt(info, time);
    }
    return text;
}

QByteArray DeviceLog::line(int number, const QByteArray &record, quint8 checksum)
{
    return QByteArray::number(number).rightJustified(5, '0') + '=' + record + '#'
        + QByteArray::number(checksum, 16).rightJustified(2, '0');
}

QByteArray DeviceLog::line(int index) const
{
    const QByteArray text = record(index);
    return line(index, text, recordChecksum(text));
}

} // namespace Simulator
