// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/dataparser.h"
#include "tests/kit/replysamples.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// The result of one function of the grammar.
struct Verdict
{
    bool recognised = false;
    QString result;
    bool plausible = true;
};

/// One function of the grammar: how to call it, and its properties.
struct ReplyRow
{
    enum Rule {
        Found, ///< every text of the form is recognised, also with more text before and after it
        Whole, ///< every text of the form is recognised
        Restricted ///< not every text of the form is recognised
    };

    const char *name;
    const char *form; ///< see ReplyForm
    Verdict (*read)(const QString &text, bool dirty); ///< dirty: with values in out-parameters
    Rule rule = Found;
    const char *opening = nullptr; ///< the literals before the captured text, separated by "|"
    const char *closing = ""; ///< the literal after it
};

namespace ReplyTable {

inline QString dirtyText(bool dirty) { return dirty ? latin1("left over") : QString(); }

template <bool (*Function)(const QString &)>
Verdict recogniser(const QString &text, bool)
{
    return {Function(text), {}};
}

template <bool (*Function)(const QString &, QString &)>
Verdict textReader(const QString &text, bool dirty)
{
    QString value = dirtyText(dirty);
    const bool recognised = Function(text, value);
    return {recognised, value};
}

inline Verdict readValue(const QString &name, const QString &text, bool dirty)
{
    QString value = dirtyText(dirty);
    const bool recognised = DataParser::parseValue(name, text, value);
    return {recognised, value, text.contains(value)};
}

inline Verdict readValueOfP(const QString &text, bool dirty)
{
    return readValue(latin1("p"), text, dirty);
}

// The name is the first line. It becomes part of the pattern unescaped, so that the match can't be
// predicted. Without braces, as a repetition could be arbitrarily long.
inline Verdict readValueOfAnyName(const QString &text, bool dirty)
{
    const int end = text.indexOf(QLatin1Char('\n'));
    const QString name = text.left(qMin(end, 24)).remove(QLatin1Char('{'));
    return readValue(name, text.mid(end + 1), dirty);
}

inline Verdict readMeasurements(const QString &text, bool dirty)
{
    QMap<QString, QString> values;
    if (dirty) {
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
Verdict dateReader(const QString &text, bool dirty)
{
    QDateTime time;
    if (dirty) {
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

inline Verdict readLogCount(const QString &text, bool dirty)
{
    int count = dirty ? -7 : 0;
    const bool recognised = DataParser::parseLogCount(text, count);
    return {recognised, QString::number(count), count >= 0};
}

template <bool (*Function)(const QString &, ListItem &)>
Verdict listReader(const QString &text, bool dirty)
{
    ListItem item;
    item.value = dirtyText(dirty);
    item.index = dirty ? -7 : 0;
    const bool recognised = Function(text, item);
    return {recognised, QStringLiteral("%1:%2").arg(item.index).arg(item.value),
            item.index >= 0 && text.contains(item.value)};
}

/// The replies except log records and memory blocks, which have targets of their own.
inline const QVector<ReplyRow> &rows()
{
    using P = DataParser;
    using Row = ReplyRow;
    static const QVector<ReplyRow> table = {
        {"parseModel", "*Model: *\r\nSerial:*", textReader<P::parseModel>, Row::Found,
         "Model: ", "\r\nSerial:"},
        {"parseValue", "*show:~p=*\r\n*$*", readValueOfP, Row::Found, "show:~p=", "\r\n"},
        {"parseValue, any name", "*", readValueOfAnyName, Row::Restricted},
        {"isUnknownParameter", "*show: Unknown parameter!*", recogniser<P::isUnknownParameter>},
        {"parseSetValue", "*set:~*=*\r\n*$*", textReader<P::parseSetValue>, Row::Found,
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
        {"isBootPrompt", "*BOOT", recogniser<P::isBootPrompt>, Row::Whole},
        {"isFirmwareBlockAccepted", "\\*", recogniser<P::isFirmwareBlockAccepted>, Row::Whole},
        {"isFirmwareBlockRejected", "!", recogniser<P::isFirmwareBlockRejected>, Row::Whole},
        {"isFirmwareDone", "\\.*", recogniser<P::isFirmwareDone>, Row::Whole},
        {"parseShowList", "*show:~list+=*\r\n*$*", listReader<P::parseShowList>, Row::Restricted},
        {"parseSetList", "*set:~list+=*\r\n*$*", listReader<P::parseSetList>, Row::Restricted},
    };
    return table;
}

} // namespace ReplyTable
