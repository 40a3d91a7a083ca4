// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QRegExp>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// What a log line turned out to be.
enum class DataParserResult {
    Matched = 0, ///< complete and sound
    NoMatch = 1, ///< not a complete reply yet, or its parts do not parse
    ChecksumMismatch = 2 ///< complete, but the checksum is wrong
};

/// One entry of a list variable.
struct ListItem
{
    /// The text, and its place in the list, from 0 up.
    QString value;
    int index = 0;
};

/// The replies of the device's console.
///
/// Each function is given all the text that a job has received so far and says whether it is the
/// complete reply of one command; stale text may stand in front. Case does not matter. On false
/// (NoMatch, ChecksumMismatch) the out-parameters are unspecified, unless told otherwise.
class DataParser
{
public:
    /// The six letters that the console knows, to and from their places in code page 437.
    static QString toDeviceText(const QString &text);
    static QString fromDeviceText(const QString &text);

    /// The name of the model.
    static bool parseModel(const QString &text, QString &model);

    /// The value of the variable @p name, which goes into the pattern unescaped.
    static bool parseValue(const QString &name, const QString &text, QString &value);

    /// Whether the device does not know the variable.
    static bool isUnknownParameter(const QString &text);

    /// The value that the device echoes after a set.
    static bool parseSetValue(const QString &text, QString &value);

    /// The measurement line as raw name and raw value; empty when a pair is malformed.
    static bool parseMeasurements(const QString &text, QMap<QString, QString> &values);

    /// The device's clock, in UTC; true with an invalid @p date when the numbers make no date.
    static bool parseDate(const QString &text, QDateTime &date);
    static bool parseDateUpdated(const QString &text, QDateTime &date);

    /// The number of rows in the log.
    static bool parseLogCount(const QString &text, int &count);

    /// Whether the device has no log; whether it has emptied its log.
    static bool isNoLogOption(const QString &text);
    static bool isLogErased(const QString &text);

    /// Row 0 of the log: the titles of its columns.
    static DataParserResult parseLogTitles(const QString &text, QStringList &titles);

    /// Row @p index of the log, from 1 up; @p time is labelled UTC. A malformed record is NoMatch.
    static DataParserResult parseLogValue(const QString &text, int index, QDateTime &time,
                                          QVector<double> &values);

    /// Whether the device has stored its settings; whether it has taken its factory settings.
    static bool isConfigurationWritten(const QString &text);
    static bool isFactoryResetDone(const QString &text);

    /// Appends the bytes of block @p index to @p data. An odd last digit is ignored and the length
    /// is not checked; false and empty data when a pair is not hexadecimal.
    static bool parseEepromBlock(const QString &text, quint16 index, QByteArray &data);

    /// Whether the device has stored the block.
    static bool isEepromBlockWritten(const QString &text);

    /// The whole boot text, from the self test to the banner's last line.
    static bool isRebooted(const QString &text);

    /// Whether the device announces a reset; whether its bootloader asks.
    static bool isResetting(const QString &text);
    static bool isBootPrompt(const QString &text);

    /// The bootloader's answers to a block, and to the last one.
    static bool isFirmwareBlockAccepted(const QString &text);
    static bool isFirmwareBlockRejected(const QString &text);
    static bool isFirmwareDone(const QString &text);

    /// One entry of a list variable, shown or set.
    static bool parseShowList(const QString &text, ListItem &item);
    static bool parseSetList(const QString &text, ListItem &item);

    /// The one matcher: @p pattern has to match the whole of @p text. Leaves the captures in @p rx
    /// and requires the pattern to declare at least @p minCaptures of them.
    static bool matchReply(const QString &text, const QString &pattern, int minCaptures,
                           QRegExp &rx);

    /// Adds the pairs of "a=1;b=2" to @p values; false and an empty map on a part without "=".
    static bool parseMeasurementPairs(const QString &text, QMap<QString, QString> &values);

    /// Captures 1 to 6 are year, month, day, hour, minute, second. False only when one is no
    /// number: a date or time that does not exist comes out invalid.
    static bool dateTimeFromCaptures(const QRegExp &rx, QDateTime &date);
    static bool timeFromCaptures(const QRegExp &rx, QTime &time);
    static bool dateFromCaptures(const QRegExp &rx, QDate &date);

    /// A decimal number; false for anything else. Whether @p text is such a number and equals @p
    /// value.
    static bool parseInt(const QString &text, int &out);
    static bool intEquals(const QString &text, int value);

    /// False for an empty text.
    static bool parseHex(const QString &text, unsigned &out);

    /// Splits "timestamp,number,..."; false and no values on a field that is no number. A bad
    /// timestamp gives an invalid @p time and no failure.
    static bool parseLogRecord(const QString &text, QDateTime &time, QVector<double> &values);

    /// The parts between the commas.
    static QStringList splitLogFields(const QString &text);

    /// Whether @p expected is the CRC-8 (polynomial 0x31, most significant bit first, initial value
    /// 0, no final XOR) of @p text in Latin-1. False for a text with a byte of 0x80 or more.
    static bool crcMatches(const QString &text, unsigned expected);
};
