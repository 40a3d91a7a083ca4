// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

// Replies as a device sends them, and strings of results for comparisons.

inline QString latin1(const char *text) { return QString::fromLatin1(text); }

// The CRC-8 of the record, computed bit by bit and so independently of the table of crc8().
inline QString checksumOf(const QString &record)
{
    unsigned crc = 0;
    const QByteArray bytes = record.toLatin1();
    for (const char byte : bytes) {
        crc ^= static_cast<uchar>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x80u) != 0 ? ((crc << 1) ^ 0x31u) & 0xffu : crc << 1;
        }
    }
    return QStringLiteral("%1").arg(crc, 2, 16, QLatin1Char('0'));
}

inline QString logRecordLine(const QString &number, const QString &record)
{
    return number + QLatin1Char('=') + record + QLatin1Char('#') + checksumOf(record);
}

inline QString logTitlesReply(const QString &record)
{
    return latin1("\r\n$ log --read=0\r\n") + logRecordLine(latin1("00000"), record);
}

inline QString logRowReply(int index, const QString &number, const QString &record)
{
    return latin1("\r\n$ log --read=%1\r\n").arg(index) + logRecordLine(number, record);
}

inline QString eepromBlockReply(int index, const QString &digits)
{
    return latin1("\r\n$ eeprom --read_block %1\r\n").arg(index) + digits + latin1("\r\nDone\r\n");
}

inline QString joined(const QMap<QString, QString> &values)
{
    QStringList pairs;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        pairs << it.key() + QLatin1Char('=') + it.value();
    }
    return pairs.join(QLatin1Char('|'));
}

inline QString joined(const QVector<double> &values)
{
    QStringList texts;
    for (const double value : values) {
        texts << QString::number(value);
    }
    return texts.join(QLatin1Char('|'));
}
