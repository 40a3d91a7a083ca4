// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/utils.h"

#include <array>
#include <charconv>
#include <cmath>
#include <ctime>
#include <QtCore/QCoreApplication>
#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QTextStream>

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

// From here on, and before 1970, QDateTime has rules of its own for the local time.
constexpr qint64 endOfSystemTimesMs = 2145916799000;
constexpr qint64 msPerSecond = 1000;
constexpr int secondsPerMinute = 60;

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

/// Writes @p time in local time and ISO form as QDateTime does, which looks for a new zone of the
/// system at each time.
void writeLocalTime(QTextStream &stream, const QDateTime &time)
{
    const bool converts = time.isValid() && time.timeSpec() != Qt::LocalTime;
    const qint64 ms = converts ? time.toMSecsSinceEpoch() : -1;
    if (ms >= 0 && ms < endOfSystemTimesMs) {
        const auto seconds = static_cast<std::time_t>(ms / msPerSecond);
        std::tm local{};
        localtime_r(&seconds, &local);
        if (local.tm_sec < secondsPerMinute) {
            std::array<char, 32> text{};
            const std::size_t size =
                std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &local);
            stream << QLatin1String(text.data(), static_cast<int>(size));
            return;
        }
    }
    stream << time.toTimeSpec(Qt::LocalTime).toString(Qt::ISODate);
}

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

    tzset(); // localtime_r need not look for the zone
    QTextStream stream(&file);
    stream << titles.join(QLatin1Char(',')) << '\n';
    for (const LogValue &row : rows) {
        writeLocalTime(stream, row.time);
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
