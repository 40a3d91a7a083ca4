// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QRegExp>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// The result of parsing a log line.
enum class DataParserResult {
    Matched = 0, ///< complete and correct
    NoMatch = 1, ///< not a complete reply yet, or malformed
    ChecksumMismatch = 2 ///< complete, but the checksum is wrong
};

/// One entry of a list variable.
struct ListItem
{
    QString value; ///< the text after the equals sign
    int index = 0; ///< the number in the variable's name, as in "list3"
};

/// Recognises the replies of the device's console.
///
/// Each function receives all the text that a job has received so far and returns whether it
/// contains the complete reply to one command; older text may precede the reply. Matching is
/// case-insensitive. If a function returns false, NoMatch or ChecksumMismatch, its output
/// parameters are unspecified, unless stated otherwise.
class DataParser
{
public:
    /// Converts the letters ä, ö, å, Ä, Ö and Å to and from their codes in code page 437.
    /// @{
    static QString toDeviceText(const QString &text);
    static QString fromDeviceText(const QString &text);
    /// @}

    /// The name of the model.
    static bool parseModel(const QString &text, QString &model);

    /// The value of the variable @p name, which is inserted into the pattern unescaped.
    static bool parseValue(const QString &name, const QString &text, QString &value);

    /// Whether the device reports that it has no such variable.
    static bool isUnknownParameter(const QString &text);

    /// The value in the device's reply to "set".
    static bool parseSetValue(const QString &text, QString &value);

    /// The reading in the device's reply, from raw name to raw value. Returns false and clears
    /// @p values if the reading is empty or a pair has no "=".
    static bool parseMeasurements(const QString &text, QMap<QString, QString> &values);

    /// The device's clock, in UTC, in the reply that shows it or in the one that confirms a new
    /// time. Returns true and an invalid @p date for numbers that are not a date and time.
    /// @{
    static bool parseDate(const QString &text, QDateTime &date);
    static bool parseDateUpdated(const QString &text, QDateTime &date);
    /// @}

    /// The number of rows in the log.
    static bool parseLogCount(const QString &text, int &count);

    /// Whether the device reports that it has no log option.
    static bool isNoLogOption(const QString &text);

    /// Whether the device has erased its log.
    static bool isLogErased(const QString &text);

    /// Row 0 of the log: the titles of its columns.
    static DataParserResult parseLogTitles(const QString &text, QStringList &titles);

    /// Row @p index of the log, 1 or more; @p time is in UTC. A malformed record is NoMatch.
    static DataParserResult parseLogValue(const QString &text, int index, QDateTime &time,
                                          QVector<double> &values);

    /// Whether the device has stored its settings.
    static bool isConfigurationWritten(const QString &text);

    /// Whether the device has loaded its factory settings.
    static bool isFactoryResetDone(const QString &text);

    /// Appends the bytes of block @p index to @p data. An odd last digit is ignored and the length
    /// is not checked. Returns false and clears @p data if a pair is not hexadecimal.
    static bool parseEepromBlock(const QString &text, quint16 index, QByteArray &data);

    /// Whether the device has stored the block.
    static bool isEepromBlockWritten(const QString &text);

    /// Whether the boot messages are complete, from the self-test to the last line of the banner.
    static bool isRebooted(const QString &text);

    /// Whether the device announces its restart.
    static bool isResetting(const QString &text);

    /// Whether the text ends with the bootloader's prompt.
    static bool isBootPrompt(const QString &text);

    /// Whether the bootloader has accepted a block, rejected it, or received the whole image.
    /// @{
    static bool isFirmwareBlockAccepted(const QString &text);
    static bool isFirmwareBlockRejected(const QString &text);
    static bool isFirmwareDone(const QString &text);
    /// @}

    /// One entry of a list variable, shown or set.
    /// @{
    static bool parseShowList(const QString &text, ListItem &item);
    static bool parseSetList(const QString &text, ListItem &item);
    /// @}

    /// Matches the whole of @p text against @p pattern, which must have at least @p minCaptures
    /// capturing groups; @p rx then contains the captures. All replies are matched by this
    /// function.
    static bool matchReply(const QString &text, const QString &pattern, int minCaptures,
                           QRegExp &rx);

    /// Adds the pairs of "a=1;b=2" to @p values. Returns false and clears @p values if a part has
    /// no "=".
    static bool parseMeasurementPairs(const QString &text, QMap<QString, QString> &values);

    /// Converts the captures of @p rx: 1 to 6 are year, month, day, hour, minute, second. Returns
    /// false only if one is not a number; returns true and an invalid result for a date or time
    /// that does not exist.
    /// @{
    static bool dateTimeFromCaptures(const QRegExp &rx, QDateTime &date);
    static bool timeFromCaptures(const QRegExp &rx, QTime &time);
    static bool dateFromCaptures(const QRegExp &rx, QDate &date);
    /// @}

    /// Parses a decimal number; returns false for anything else.
    static bool parseInt(const QString &text, int &out);

    /// Whether @p text is a decimal number equal to @p value.
    static bool intEquals(const QString &text, int value);

    /// Parses a hexadecimal number; returns false for anything else.
    static bool parseHex(const QString &text, unsigned &out);

    /// Parses "timestamp,number,...". Returns false and clears @p values if a field is not a
    /// number; returns true and an invalid @p time for a malformed timestamp.
    static bool parseLogRecord(const QString &text, QDateTime &time, QVector<double> &values);

    /// The parts between the commas.
    static QStringList splitLogFields(const QString &text);

    /// Whether @p expected is the crc8() of @p text.
    static bool crcMatches(const QString &text, unsigned expected);
};
