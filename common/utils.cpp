// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/utils.h"

#include <array>
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
    stream << titles.join(QLatin1Char(',')) << '\n';
    for (const LogValue &row : rows) {
        stream << row.time.toTimeSpec(Qt::LocalTime).toString(Qt::ISODate) << ',';
        for (int index = 0; index < row.values.size(); ++index) {
            if (index > 0) {
                stream << ',';
            }
            stream << row.values.at(index);
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
