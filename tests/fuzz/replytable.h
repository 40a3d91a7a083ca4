// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/dataparser.h"
#include "tests/kit/devicereplies.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// The outcome of one parser function.
struct ParseOutcome
{
    bool recognised = false;
    QString result;
    bool plausible = true;
};

/// One parser function: how to call it, and the replies that it recognises.
struct ReplyRow
{
    enum Rule {
        Anywhere, ///< every text of the format is recognised, also with more text before and after
                  ///< it
        WholeText, ///< every text of the format is recognised
        Restricted ///< not every text of the format is recognised
    };

    const char *name;
    const char *format; ///< see ReplyFormat
    /// With @p withOldValues, the out-parameters have values before the call.
    ParseOutcome (*read)(const QString &text, bool withOldValues);
    Rule rule = Anywhere;
    const char *opening = nullptr; ///< the literals before the captured text, separated by "|"
    const char *closing = ""; ///< the literal after it
};

namespace ReplyTable {

inline QString oldText(bool withOldValues)
{
    return withOldValues ? latin1("left over") : QString();
}

template <bool (*Function)(const QString &)>
ParseOutcome recogniser(const QString &text, bool)
{
    return {Function(text), {}};
}

template <bool (*Function)(const QString &, QString &)>
ParseOutcome textReader(const QString &text, bool withOldValues)
{
    QString value = oldText(withOldValues);
    const bool recognised = Function(text, value);
    return {recognised, value};
}

inline ParseOutcome readValue(const QString &name, const QString &text, bool withOldValues)
{
    QString value = oldText(withOldValues);
    const bool recognised = DataParser::parseValue(name, text, value);
    return {recognised, value, text.contains(value)};
}

inline ParseOutcome readValueOfP(const QString &text, bool withOldValues)
{
    return readValue(latin1("p"), text, withOldValues);
}

// The name is the first line. It becomes part of the pattern without escaping, so the match can't
// be predicted. Braces are removed, because a quantifier could repeat very often.
inline ParseOutcome readValueOfAnyName(const QString &text, bool withOldValues)
{
    const int end = text.indexOf(QLatin1Char('\n'));
    const QString name = text.left(qMin(end, 24)).remove(QLatin1Char('{'));
    return readValue(name, text.mid(end + 1), withOldValues);
}

inline ParseOutcome readMeasurements(const QString &text, bool withOldValues)
{
    QMap<QString, QString> values;
    if (withOldValues) {
        values.insert(latin1("left"), latin1("over"));
    }
    const bool recognised = DataParser::parseMeasurements(text, values);
    static const QRegularExpression separator(latin1("[=;\"]"));
    bool plausible = !values.isEmpty();
    const QStringList words = values.keys() + values.values();
    for (const QString &word : words) {
        plausible = plausible && text.contains(word) && !word.contains(separator);
    }
    return {recognised, joined(values), plausible};
}

template <bool (*Function)(const QString &, QDateTime &)>
ParseOutcome dateReader(const QString &text, bool withOldValues)
{
    QDateTime time;
    if (withOldValues) {
        time = QDateTime(QDate(1999, 12, 31), QTime(23, 59, 58, 999), Qt::LocalTime);
    }
    const bool recognised = Function(text, time);
    // A year of nine digits or more may be out of QDateTime's range and change.
    static const QRegularExpression farYear(latin1("[0-9]{9}"));
    const bool plausible = time.timeSpec() == Qt::UTC && time.time().msec() <= 0
        && (!time.isValid() || text.contains(QString::number(time.date().year()))
            || text.contains(farYear));
    return {recognised, time.toString(Qt::ISODateWithMs), plausible};
}

inline ParseOutcome readLogCount(const QString &text, bool withOldValues)
{
    int count = withOldValues ? -7 : 0;
    const bool recognised = DataParser::parseLogCount(text, count);
    return {recognised, QString::number(count), count >= 0};
}

template <bool (*Function)(const QString &, ListItem &)>
ParseOutcome listReader(const QString &text, bool withOldValues)
{
    ListItem item;
    item.value = oldText(withOldValues);
    item.index = withOldValues ? -7 : 0;
    const bool recognised = Function(text, item);
    return {recognised, QStringLiteral("%1:%2").arg(item.index).arg(item.value),
            item.index >= 0 && text.contains(item.value)};
}

/// The parser functions, except those for log rows and EEPROM blocks, which have their own targets.
inline const QVector<ReplyRow> &rows()
{
    using P = DataParser;
    using Row = ReplyRow;
    static const QVector<ReplyRow> table = {
        {"parseModel", "*Model: *\r\nSerial:*", textReader<P::parseModel>, Row::Anywhere,
         "Model: ", "\r\nSerial:"},
        {"parseValue", "*show:~p=*\r\n*$*", readValueOfP, Row::Anywhere, "show:~p=", "\r\n"},
        {"parseValue, any name", "*", readValueOfAnyName, Row::Restricted},
        {"isUnknownParameter", "*show: Unknown parameter!*", recogniser<P::isUnknownParameter>},
        {"parseSetValue", "*set:~*=*\r\n*$*", textReader<P::parseSetValue>, Row::Anywhere,
         "set:~|=", "\r\n"},
        {"parseMeasurements", "*show: meas=%\r\n*$*", readMeasurements, Row::Restricted},
        {"parseDate", "*+-+-+T+:+:+\r\n*$*", dateReader<P::parseDate>, Row::Restricted},
        {"parseDateUpdated", "*Date updated to +-+-+T+:+:+\r\n*", dateReader<P::parseDateUpdated>,
         Row::Restricted},
        {"parseLogCount", "*\r\ncount=+\r\n*$*", readLogCount, Row::Restricted},
        {"isNoLogOption", "*No LOG option installed!\r\n*$*", recogniser<P::isNoLogOption>},
        {"isLogErased", "*Log~erased!\r\n*$*", recogniser<P::isLogErased>},
        {"isConfigurationWritten",
         "*Writing~current~configuration~to~non-volatile~memory\\.\\.\\.~+~bytes~written!\r\n*$*",
         recogniser<P::isConfigurationWritten>},
        {"isFactoryResetDone",
         "*Loading default configuration\\.\\.\\. OK!\r\nWrite the default configuration to "
         "non-volatile memory by using*command*",
         recogniser<P::isFactoryResetDone>},
        {"isEepromBlockWritten", "*\r\nPlease input 64 bytes\r\n\r\nDone\r\n*",
         recogniser<P::isEepromBlockWritten>},
        {"isRebooted",
         "*Performing selftest...*All tests passed.*Orvanta KVT*\r\nCompiled on *\r\nCopyright *",
         recogniser<P::isRebooted>},
        {"isResetting", "*Reseting device in 5 seconds*", recogniser<P::isResetting>},
        {"isBootPrompt", "*BOOT", recogniser<P::isBootPrompt>, Row::WholeText},
        {"isFirmwareBlockAccepted", "\\*", recogniser<P::isFirmwareBlockAccepted>, Row::WholeText},
        {"isFirmwareBlockRejected", "!", recogniser<P::isFirmwareBlockRejected>, Row::WholeText},
        {"isFirmwareDone", "\\.*", recogniser<P::isFirmwareDone>, Row::WholeText},
        {"parseShowList", "*show:~list+=*\r\n*$*", listReader<P::parseShowList>, Row::Restricted},
        {"parseSetList", "*set:~list+=*\r\n*$*", listReader<P::parseSetList>, Row::Restricted},
    };
    return table;
}

} // namespace ReplyTable
