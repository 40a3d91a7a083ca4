// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/utils.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QTextStream>
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

/// Writes @p number as @p stream would, in a quarter of the time.
void writeNumber(QTextStream &stream, double number)
{
    // A number halfway between two numbers of six digits is rounded up by the stream, to even by
    // to_chars. Each such number is a multiple of 1/1024. So are the infinities, which the two
    // write differently.
    const double scaled = number * 1024.0;
    if (!(scaled > std::floor(scaled))) {
        stream << number;
        return;
    }
    std::array<char, 32> digits{};
    const char *end = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                    std::chars_format::general, 6)
                          .ptr;
    stream << QLatin1String(digits.data(), static_cast<int>(end - digits.data()));
}

/// Formats times as local time. Qt determines the UTC offset for each time; this class determines
/// it once for each hour in which it doesn't change.
class LocalTimeFormatter
{
public:
    QString toString(const QDateTime &time)
    {
        const qint64 ms = time.toMSecsSinceEpoch();
        const bool isOrdinary =
            time.isValid() && time.timeSpec() != Qt::LocalTime && ms >= 0 && ms < year10000Ms;
        if (isOrdinary && ms / msPerHour != m_hour) {
            m_hour = ms / msPerHour;
            m_offsetMs = offsetAt(m_hour * msPerHour);
            m_hasChange = m_offsetMs != offsetAt((m_hour + 1) * msPerHour);
        }
        if (!isOrdinary || m_hasChange) {
            return time.toTimeSpec(Qt::LocalTime).toString(Qt::ISODate);
        }
        QString text =
            QDateTime::fromMSecsSinceEpoch(ms + m_offsetMs, Qt::UTC).toString(Qt::ISODate);
        text.chop(1); // the "Z"
        return text;
    }

private:
    static constexpr qint64 msPerHour = 3600000;
    static constexpr qint64 year10000Ms = 253402300800000; // the ISO format ends at year 9999

    // Not offsetFromUtc(): it starts from the local time, which is ambiguous in an hour that occurs
    // twice.
    static qint64 offsetAt(qint64 ms)
    {
        const QDateTime local = QDateTime::fromMSecsSinceEpoch(ms, Qt::LocalTime);
        return QDateTime(local.date(), local.time(), Qt::UTC).toMSecsSinceEpoch() - ms;
    }

    qint64 m_hour = -1; // since the epoch
    qint64 m_offsetMs = 0;
    bool m_hasChange = false;
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
    LocalTimeFormatter times;
    // Quirk: nothing is quoted, so a title with a comma shifts the columns.
    stream << titles.join(QLatin1Char(',')) << '\n';
    for (const LogValue &row : rows) {
        stream << times.toString(row.time) << ',';
        for (int index = 0; index < row.values.size(); ++index) {
            if (index > 0) {
                stream << ',';
            }
            writeNumber(stream, row.values.at(index));
        }
        stream << '\n';
    }
    // Quirk: errors after opening the file, such as a full disk, are not detected.
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
        value = crcTable[value ^ static_cast<quint8>(data[index])];
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
