// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/utils.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QTextStream>
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace {

constexpr unsigned crcPolynomial = 0x31;

constexpr std::array<quint8, 256> makeCrcTable()
{
    std::array<quint8, 256> table{};
    for (unsigned index = 0; index < 256; ++index) {
        unsigned remainder = index;
        for (int bit = 0; bit < 8; ++bit) {
            remainder =
                (remainder & 0x80U) != 0 ? (remainder << 1) ^ crcPolynomial : remainder << 1;
        }
        table[index] = static_cast<quint8>(remainder & 0xFFU);
    }
    return table;
}

constexpr std::array<quint8, 256> crcTable = makeCrcTable();

constexpr int significantDigits = 6;
constexpr double leastWithMoreDigits = 1e6;

// A number that lies just between two texts of six digits has no more than ten binary places: for
// each of them its odd numerator, which is below two millions, holds another factor of five.
constexpr double scaleOfHalves = 1024.0;

/// Writes what @p stream itself makes of @p number, in less time.
void writeNumber(QTextStream &stream, double number)
{
    const bool whole = std::abs(number) < leastWithMoreDigits && number == std::floor(number);
    const double scaled = number * scaleOfHalves;
    if (!whole && !(scaled > std::floor(scaled))) {
        // Not finite, or perhaps a half, which the stream rounds up and to_chars to even.
        stream << number;
        return;
    }
    std::array<char, 32> text{};
    // The sum makes +0 of -0.
    const char *end = std::to_chars(text.data(), text.data() + text.size(), number + 0.0,
                                    std::chars_format::general, significantDigits)
                          .ptr;
    stream << QLatin1String(text.data(), static_cast<int>(end - text.data()));
}

/// Writes times in local time and ISO form as QDateTime does, which asks the system for its zone at
/// each of them; here the offset of an hour and the text of a day are kept.
class LocalTimeWriter
{
public:
    explicit LocalTimeWriter(QTextStream &stream)
        : m_stream(stream)
    {
    }

    void write(const QDateTime &time)
    {
        const bool converts = time.isValid() && time.timeSpec() != Qt::LocalTime;
        const qint64 ms = converts ? time.toMSecsSinceEpoch() : -1;
        const bool isOrdinary = ms >= beginMs && ms < endMs;
        if (!isOrdinary || !findOffset(ms)) {
            m_stream << time.toTimeSpec(Qt::LocalTime).toString(Qt::ISODate);
            return;
        }
        const qint64 localMs = ms + m_offsetMs;
        findDay(localMs / msPerDay);
        const auto second = static_cast<int>(localMs % msPerDay / msPerSecond);
        writeTwoDigits(hourPlace, second / secondsPerHour);
        writeTwoDigits(minutePlace, second / secondsPerMinute % secondsPerMinute);
        writeTwoDigits(secondPlace, second % secondsPerMinute);
        m_stream << QLatin1String(m_text.data(), static_cast<int>(m_text.size()));
    }

private:
    static constexpr qint64 msPerSecond = 1000;
    static constexpr int secondsPerMinute = 60;
    static constexpr int secondsPerHour = 3600;
    static constexpr qint64 msPerHour = msPerSecond * secondsPerHour;
    static constexpr qint64 msPerDay = 24 * msPerHour;
    // Two days after the beginning of 1970 and before that of 10000, which has no ISO form: further
    // off is no zone.
    static constexpr qint64 beginMs = 2 * msPerDay;
    static constexpr qint64 endMs = 253402300800000 - 2 * msPerDay;
    static constexpr std::size_t hourPlace = 11;
    static constexpr std::size_t minutePlace = 14;
    static constexpr std::size_t secondPlace = 17;

    /// False in an hour in which the clocks change.
    bool findOffset(qint64 ms)
    {
        const qint64 hour = ms / msPerHour;
        if (hour != m_hour) {
            m_hour = hour;
            m_offsetMs = offsetAt(hour * msPerHour);
            m_isSteady = m_offsetMs == offsetAt((hour + 1) * msPerHour);
        }
        return m_isSteady;
    }

    static qint64 offsetAt(qint64 ms)
    {
        return QDateTime::fromMSecsSinceEpoch(ms, Qt::LocalTime).offsetFromUtc() * msPerSecond;
    }

    void findDay(qint64 day)
    {
        if (day != m_day) {
            m_day = day;
            const QByteArray date = QDate(1970, 1, 1).addDays(day).toString(Qt::ISODate).toLatin1();
            std::copy(date.cbegin(), date.cend(), m_text.begin());
        }
    }

    void writeTwoDigits(std::size_t place, int number)
    {
        m_text.at(place) = static_cast<char>('0' + number / 10);
        m_text.at(place + 1) = static_cast<char>('0' + number % 10);
    }

    QTextStream &m_stream;
    qint64 m_hour = -1;
    qint64 m_offsetMs = 0;
    bool m_isSteady = false;
    qint64 m_day = -1;
    std::array<char, 19> m_text{'0', '0', '0', '0', '-', '0', '0', '-', '0', '0',
                                'T', '0', '0', ':', '0', '0', ':', '0', '0'};
};

} // namespace

bool saveToCsv(const QString &fileName, const QStringList &titles, const QVector<LogValue> &rows,
               QString &error)
{
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        qDebug() << "Failed to open file" << fileName << file.errorString();
        error = file.errorString();
        return false;
    }

    QTextStream stream(&file);
    LocalTimeWriter times(stream);
    stream << titles.join(QLatin1Char(',')) << '\n';
    for (const LogValue &row : rows) {
        times.write(row.time);
        stream << ',';
        for (int index = 0; index < row.values.size(); ++index) {
            if (index > 0) {
                stream << ',';
            }
            writeNumber(stream, row.values.at(index));
        }
        stream << '\n';
    }
    stream.flush();
    file.close();
    return true;
}

int crc8(const QString &text)
{
    const QByteArray bytes = text.toLatin1();
    return crc8(bytes.constData(), static_cast<unsigned>(bytes.size()));
}

int crc8(const char *data, unsigned size)
{
    quint8 value = 0;
    for (unsigned index = 0; index < size; ++index) {
        const auto byte = static_cast<quint8>(data[index]);
        if (byte >= 0x80U) {
            // The console speaks plain ASCII; anything else is damage and must not match by
            // accident.
            return -1;
        }
        value = crcTable[value ^ byte];
    }
    return value;
}

bool readTextFile(const QString &fileName, QString &contents, QString &error)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return false;
    }
    const QByteArray bytes = file.readAll();
    contents = QString::fromUtf8(bytes.constData());
    if (contents.isEmpty()) {
        error = QCoreApplication::translate("utils", "File is empty");
        return false;
    }
    return true;
}
