// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/dataparser.h"

#include "common/utils.h"

#include <QtCore/QDate>
#include <QtCore/QTime>

namespace {

// Marks the end of a reply: a new line and, somewhere after it, the prompt.
constexpr char promptSuffix[] = "\r\n.*\\$.*";

// What completes a reply.
enum class Ending {
    Pattern, // the pattern alone; the next job receives and ignores the rest of the reply
    Prompt // the pattern followed by the device's next prompt
};

struct ReplyPattern
{
    const char *pattern;
    Ending ending;
    int minCaptures;
};

// The grammar. In QRegExp a dot also matches line ends, and the whole text has to match; hence the
// ".*" at both ends. Quirk: "Reseting" is how the device spells it.
constexpr ReplyPattern modelReply = {".*Model: (.*)\r\nSerial:.*", Ending::Pattern, 1};
constexpr ReplyPattern valueReply = {".*show\\:\\s%1=(.*)", Ending::Prompt, 1};
constexpr ReplyPattern unknownParameterReply = {".*show: Unknown parameter!.*", Ending::Pattern, 0};
constexpr ReplyPattern setValueReply = {".*set\\:\\s.*=(.*)", Ending::Prompt, 1};
constexpr ReplyPattern measurementsReply = {".*show: meas=\"?([^\"]*)\"?", Ending::Prompt, 1};
constexpr ReplyPattern dateReply = {".*(\\d+)-(\\d+)-(\\d+)T(\\d+):(\\d+):(\\d+)", Ending::Prompt,
                                    6};
constexpr ReplyPattern dateUpdatedReply = {
    ".*Date updated to (\\d+)-(\\d+)-(\\d+)T(\\d+):(\\d+):(\\d+)\r\n.*", Ending::Pattern, 6};
constexpr ReplyPattern logCountReply = {".*\\r\\ncount=(\\d+)", Ending::Prompt, 1};
constexpr ReplyPattern noLogOptionReply = {".*No LOG option installed!", Ending::Prompt, 0};
constexpr ReplyPattern logErasedReply = {".*Log\\serased\\!", Ending::Prompt, 0};
constexpr ReplyPattern logTitlesReply = {".*\\$\\s+log --read=0\r\n00000=(.*)#(\\w\\w).*",
                                         Ending::Pattern, 2};
constexpr ReplyPattern logValueReply = {".*log\\s--read=%1\r\n(\\d+)=(.*)#(\\w\\w).*",
                                        Ending::Pattern, 3};
constexpr ReplyPattern configurationWrittenReply = {
    ".*Writing\\scurrent\\sconfiguration\\sto\\snon-volatile\\smemory\\.\\.\\.\\s\\d+\\sbytes\\s"
    "written!",
    Ending::Prompt, 0};
constexpr ReplyPattern factoryResetDoneReply = {
    ".*Loading default configuration\\.\\.\\. OK!\r\n"
    "Write the default configuration to non-volatile memory by using.*command.*",
    Ending::Pattern, 0};
constexpr ReplyPattern eepromBlockReply = {".*eeprom\\s--read_block\\s%1\r\n(.*)\r\nDone\r\n.*",
                                           Ending::Pattern, 1};
constexpr ReplyPattern eepromBlockWrittenReply = {".*\r\nPlease input 64 bytes\r\n\r\nDone\r\n.*",
                                                  Ending::Pattern, 0};
constexpr ReplyPattern rebootedReply = {
    ".*Performing selftest...((.|\r\n)*)All tests passed.((.|\r\n)*)Orvanta KVT.*\r\n"
    "Compiled on .*\r\n"
    "Copyright .*",
    Ending::Pattern, 0};
constexpr ReplyPattern resettingReply = {".*Reseting device in 5 seconds.*", Ending::Pattern, 0};
constexpr ReplyPattern bootPromptReply = {".*BOOT", Ending::Pattern, 0};
constexpr ReplyPattern firmwareBlockAcceptedReply = {"\\*", Ending::Pattern, 0};
constexpr ReplyPattern firmwareBlockRejectedReply = {"!", Ending::Pattern, 0};
constexpr ReplyPattern firmwareDoneReply = {"\\..*", Ending::Pattern, 0};
constexpr ReplyPattern showListReply = {".*show\\:\\slist(\\d+)=(.*)", Ending::Prompt, 2};
constexpr ReplyPattern setListReply = {".*set\\:\\slist(\\d+)=(.*)", Ending::Prompt, 2};

// The argument, if any, replaces %1, unescaped.
template <typename... Argument>
bool matches(const QString &text, const ReplyPattern &reply, QRegExp &rx,
             const Argument &...argument)
{
    QString pattern = QLatin1String(reply.pattern);
    if (reply.ending == Ending::Prompt) {
        pattern += QLatin1String(promptSuffix);
    }
    if constexpr (sizeof...(argument) > 0) {
        pattern = pattern.arg(argument...);
    }
    return DataParser::matchReply(text, pattern, reply.minCaptures, rx);
}

bool matches(const QString &text, const ReplyPattern &reply)
{
    QRegExp rx;
    return matches(text, reply, rx);
}

/// Sets @p value to the first capture of @p reply; doesn't change it without a match.
template <typename... Argument>
bool parseText(const QString &text, const ReplyPattern &reply, QString &value,
               const Argument &...argument)
{
    QRegExp rx;
    if (!matches(text, reply, rx, argument...)) {
        return false;
    }
    value = rx.cap(1);
    return true;
}

bool parseDateReply(const QString &text, const ReplyPattern &reply, QDateTime &time)
{
    QRegExp rx;
    return matches(text, reply, rx) && DataParser::dateTimeFromCaptures(rx, time);
}

bool parseListReply(const QString &text, const ReplyPattern &reply, ListItem &item)
{
    QRegExp rx;
    if (!matches(text, reply, rx)) {
        return false;
    }
    item.value = rx.cap(2);
    return DataParser::parseInt(rx.cap(1), item.index);
}

// Whether @p text contains @p literal, which comes last in a pattern. Much faster than the pattern,
// which is matched against all boot messages so far whenever a chunk arrives.
bool mayMatch(const QString &text, const char *literal)
{
    return text.contains(QLatin1String(literal), Qt::CaseInsensitive);
}

constexpr int hexBase = 16;
constexpr int digitsPerByte = 2;

struct DeviceLetter
{
    ushort unicode;
    ushort deviceCode;
};

constexpr DeviceLetter deviceLetters[] = {{0x00E4, 0x0084}, {0x00F6, 0x0094}, {0x00C4, 0x008E},
                                          {0x00D6, 0x0099}, {0x00E5, 0x0086}, {0x00C5, 0x008F}};

} // namespace

QString DataParser::toDeviceText(const QString &text)
{
    QString result = text;
    for (const DeviceLetter &entry : deviceLetters) {
        result.replace(QChar(entry.unicode), QChar(entry.deviceCode), Qt::CaseSensitive);
    }
    return result;
}

QString DataParser::fromDeviceText(const QString &text)
{
    QString result = text;
    for (const DeviceLetter &entry : deviceLetters) {
        result.replace(QChar(entry.deviceCode), QChar(entry.unicode), Qt::CaseSensitive);
    }
    return result;
}

bool DataParser::parseModel(const QString &text, QString &model)
{
    return parseText(text, modelReply, model);
}

bool DataParser::parseValue(const QString &name, const QString &text, QString &value)
{
    return parseText(text, valueReply, value, name);
}

bool DataParser::isUnknownParameter(const QString &text)
{
    return matches(text, unknownParameterReply);
}

bool DataParser::parseSetValue(const QString &text, QString &value)
{
    return parseText(text, setValueReply, value);
}

bool DataParser::parseMeasurements(const QString &text, QMap<QString, QString> &values)
{
    QRegExp rx;
    if (!matches(text, measurementsReply, rx)) {
        return false;
    }
    values.clear();
    return parseMeasurementPairs(rx.cap(1), values);
}

bool DataParser::parseDate(const QString &text, QDateTime &date)
{
    return parseDateReply(text, dateReply, date);
}

bool DataParser::parseDateUpdated(const QString &text, QDateTime &date)
{
    return parseDateReply(text, dateUpdatedReply, date);
}

bool DataParser::parseLogCount(const QString &text, int &count)
{
    QRegExp rx;
    return matches(text, logCountReply, rx) && parseInt(rx.cap(1), count);
}

bool DataParser::isNoLogOption(const QString &text) { return matches(text, noLogOptionReply); }

bool DataParser::isLogErased(const QString &text) { return matches(text, logErasedReply); }

DataParserResult DataParser::parseLogTitles(const QString &text, QStringList &titles)
{
    QRegExp rx;
    unsigned checksum = 0;
    if (!matches(text, logTitlesReply, rx) || !parseHex(rx.cap(2), checksum)) {
        return DataParserResult::NoMatch;
    }
    if (!crcMatches(rx.cap(1), checksum)) {
        return DataParserResult::ChecksumMismatch;
    }
    titles = splitLogFields(rx.cap(1));
    return DataParserResult::Matched;
}

DataParserResult DataParser::parseLogValue(const QString &text, int index, QDateTime &time,
                                           QVector<double> &values)
{
    QRegExp rx;
    if (!matches(text, logValueReply, rx, index) || !intEquals(rx.cap(1), index)) {
        return DataParserResult::NoMatch;
    }
    // Quirk: the record is parsed before the checksum, so a malformed record counts as an
    // incomplete reply and times out; only a well-formed one with a wrong checksum is requested
    // again immediately.
    unsigned checksum = 0;
    if (!parseLogRecord(rx.cap(2), time, values) || !parseHex(rx.cap(3), checksum)) {
        return DataParserResult::NoMatch;
    }
    return crcMatches(rx.cap(2), checksum) ? DataParserResult::Matched
                                           : DataParserResult::ChecksumMismatch;
}

bool DataParser::isConfigurationWritten(const QString &text)
{
    return matches(text, configurationWrittenReply);
}

bool DataParser::isFactoryResetDone(const QString &text)
{
    return matches(text, factoryResetDoneReply);
}

bool DataParser::parseEepromBlock(const QString &text, quint16 index, QByteArray &data)
{
    QRegExp rx;
    if (!matches(text, eepromBlockReply, rx, index)) {
        return false;
    }
    const QString digits = rx.cap(1);
    const int byteCount = digits.size() / digitsPerByte;
    for (int i = 0; i < byteCount; ++i) {
        bool ok = false;
        const uint byte = digits.midRef(i * digitsPerByte, digitsPerByte).toUInt(&ok, hexBase);
        if (!ok) {
            data.clear();
            return false;
        }
        data.append(static_cast<char>(byte));
    }
    return true;
}

bool DataParser::isEepromBlockWritten(const QString &text)
{
    return matches(text, eepromBlockWrittenReply);
}

bool DataParser::isRebooted(const QString &text)
{
    return mayMatch(text, "\r\nCopyr") && matches(text, rebootedReply);
}

bool DataParser::isResetting(const QString &text)
{
    return mayMatch(text, "5 seconds") && matches(text, resettingReply);
}

bool DataParser::isBootPrompt(const QString &text)
{
    return text.endsWith(QLatin1String("BOOT"), Qt::CaseInsensitive)
        && matches(text, bootPromptReply);
}

bool DataParser::isFirmwareBlockAccepted(const QString &text)
{
    return matches(text, firmwareBlockAcceptedReply);
}

bool DataParser::isFirmwareBlockRejected(const QString &text)
{
    return matches(text, firmwareBlockRejectedReply);
}

bool DataParser::isFirmwareDone(const QString &text) { return matches(text, firmwareDoneReply); }

bool DataParser::parseShowList(const QString &text, ListItem &item)
{
    return parseListReply(text, showListReply, item);
}

bool DataParser::parseSetList(const QString &text, ListItem &item)
{
    return parseListReply(text, setListReply, item);
}

bool DataParser::matchReply(const QString &text, const QString &pattern, int minCaptures,
                            QRegExp &rx)
{
    rx.setCaseSensitivity(Qt::CaseInsensitive);
    rx.setPattern(pattern);
    if (!rx.exactMatch(text)) {
        return false;
    }
    // The patterns are anchored, so no match begins later. GCOVR_EXCL_BR_START
    if (rx.indexIn(text, 0, QRegExp::CaretAtZero) > 0) {
        return true; // GCOVR_EXCL_LINE
    } // GCOVR_EXCL_BR_STOP
    return rx.captureCount() >= minCaptures;
}

bool DataParser::parseMeasurementPairs(const QString &text, QMap<QString, QString> &values)
{
    const QStringList parts = text.split(QLatin1Char(';'));
    for (const QString &part : parts) {
        const QStringList pieces = part.split(QLatin1Char('='));
        if (pieces.size() < 2) {
            values.clear();
            return false;
        }
        values.insert(pieces.at(0), pieces.at(1));
    }
    return true;
}

bool DataParser::dateTimeFromCaptures(const QRegExp &rx, QDateTime &date)
{
    QTime clock;
    QDate day;
    if (!timeFromCaptures(rx, clock) || !dateFromCaptures(rx, day)) {
        return false;
    }
    date.setDate(day);
    date.setTime(clock);
    date.setTimeSpec(Qt::UTC);
    return true;
}

bool DataParser::timeFromCaptures(const QRegExp &rx, QTime &time)
{
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (!parseInt(rx.cap(4), hour) || !parseInt(rx.cap(5), minute)
        || !parseInt(rx.cap(6), second)) {
        return false;
    }
    time.setHMS(hour, minute, second, 0);
    return true;
}

bool DataParser::dateFromCaptures(const QRegExp &rx, QDate &date)
{
    int year = 0;
    int month = 0;
    int day = 0;
    if (!parseInt(rx.cap(1), year) || !parseInt(rx.cap(2), month) || !parseInt(rx.cap(3), day)) {
        return false;
    }
    date.setDate(year, month, day);
    return true;
}

bool DataParser::parseInt(const QString &text, int &out)
{
    bool ok = false;
    out = text.toInt(&ok);
    return ok;
}

bool DataParser::intEquals(const QString &text, int value)
{
    int number = 0;
    return parseInt(text, number) && number == value;
}

bool DataParser::parseHex(const QString &text, unsigned &out)
{
    if (text.isEmpty()) {
        return false;
    }
    bool ok = false;
    out = text.toUInt(&ok, hexBase);
    return ok;
}

bool DataParser::parseLogRecord(const QString &text, QDateTime &time, QVector<double> &values)
{
    values.clear();
    QStringList fields = splitLogFields(text);
    time = QDateTime::fromString(fields.takeFirst(), Qt::ISODate);
    time.setTimeSpec(Qt::UTC);
    for (const QString &field : qAsConst(fields)) {
        bool ok = false;
        const double number = field.toDouble(&ok);
        if (!ok) {
            values.clear();
            return false;
        }
        values.append(number);
    }
    return true;
}

QStringList DataParser::splitLogFields(const QString &text) { return text.split(QLatin1Char(',')); }

bool DataParser::crcMatches(const QString &text, unsigned expected)
{
    return static_cast<unsigned>(crc8(text)) == expected;
}
