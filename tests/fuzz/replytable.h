// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/dataparser.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// The result of one function of the grammar.
struct Verdict
{
    bool recognised = false;
    QString result;
    bool sane = true; ///< whether the result is plausible
};

/// One function of the grammar: how to call it, and its properties.
struct ReplyRow
{
    const char *name;
    QString form; ///< see ReplyForm
    /// Calls the function; @p dirty: with values in its out-parameters.
    Verdict (*read)(const QString &text, bool dirty);
    bool byFormAlone = true; ///< every text of this form is recognised
    bool open = true; ///< also with more text before and after it
    QStringList opening = {}; ///< the literals before the captured text; none: not checked
    QString closing = {}; ///< the literal after it
    bool prompted = true; ///< a prompt has to follow
};

namespace ReplyTable {

inline QString latin1(const char *text)
{
    return QString::fromLatin1(text);
}

inline QString dirtyText(bool dirty)
{
    return dirty ? latin1("left over") : QString();
}

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

inline Verdict readValue(const QString &text, bool dirty)
{
    QString value = dirtyText(dirty);
    const bool recognised = DataParser::parseValue(latin1("p"), text, value);
    return {recognised, value};
}

// The name is the first line. It becomes part of the pattern unescaped, so that the match can't be
// predicted. Without braces, as a repetition could be arbitrarily long.
inline Verdict readNamedValue(const QString &text, bool dirty)
{
    const int end = text.indexOf(QLatin1Char('\n'));
    QString name = text.left(qMin(end, 24));
    name.remove(QLatin1Char('{'));
    QString value = dirtyText(dirty);
    const bool recognised = DataParser::parseValue(name, text.mid(end + 1), value);
    return {recognised, value, !recognised || text.contains(value)};
}

inline Verdict readMeasurements(const QString &text, bool dirty)
{
    QMap<QString, QString> values;
    if (dirty) {
        values.insert(latin1("left"), latin1("over"));
    }
    Verdict verdict;
    verdict.recognised = DataParser::parseMeasurements(text, values);
    verdict.sane = !verdict.recognised || !values.isEmpty();
    for (auto it = values.cbegin(); verdict.recognised && it != values.cend(); ++it) {
        for (const QString &word : {it.key(), it.value()}) {
            verdict.sane = verdict.sane && !word.contains(QLatin1Char('='))
                && !word.contains(QLatin1Char(';')) && !word.contains(QLatin1Char('"'))
                && text.contains(word);
        }
        verdict.result += it.key() + QLatin1Char('=') + it.value() + QLatin1Char(';');
    }
    return verdict;
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
    const bool sane = time.timeSpec() == Qt::UTC && time.time().msec() <= 0
        && (!time.isValid() || text.contains(QString::number(time.date().year()))
            || text.contains(farYear));
    return {recognised, time.toString(Qt::ISODateWithMs), !recognised || sane};
}

inline Verdict readLogCount(const QString &text, bool dirty)
{
    int count = dirty ? -7 : 0;
    const bool recognised = DataParser::parseLogCount(text, count);
    return {recognised, QString::number(count), !recognised || count >= 0};
}

template <bool (*Function)(const QString &, ListItem &)>
Verdict listReader(const QString &text, bool dirty)
{
    ListItem item;
    item.value = dirtyText(dirty);
    item.index = dirty ? -7 : 0;
    const bool recognised = Function(text, item);
    return {recognised, QStringLiteral("%1:%2").arg(item.index).arg(item.value),
            !recognised || (item.index >= 0 && text.contains(item.value))};
}

/// The replies except log records and memory blocks, which have targets of their own.
inline const QVector<ReplyRow> &rows()
{
    const QString prompt = latin1("\r\n*$*");
    const QString line = latin1("\r\n");
    const QString clock = latin1("+-+-+T+:+:+");
    using P = DataParser;
    static const QVector<ReplyRow> table = {
        {"parseModel",
         latin1("*Model: *\r\nSerial:*"),
         textReader<P::parseModel>,
         true,
         true,
         {latin1("Model: ")},
         latin1("\r\nSerial:"),
         false},
        {"parseValue",
         latin1("*show:~p=*") + prompt,
         readValue,
         true,
         true,
         {latin1("show:~p=")},
         line},
        {"parseValue, any name", latin1("*"), readNamedValue, false, false},
        {"isUnknownParameter", latin1("*show: Unknown parameter!*"),
         recogniser<P::isUnknownParameter>},
        {"parseSetValue",
         latin1("*set:~*=*") + prompt,
         textReader<P::parseSetValue>,
         true,
         true,
         {latin1("set:~"), latin1("=")},
         line},
        {"parseMeasurements", latin1("*show: meas=%") + prompt, readMeasurements, false, false},
        {"parseDate", latin1("*") + clock + prompt, dateReader<P::parseDate>, false, false},
        {"parseDateUpdated", latin1("*Date updated to ") + clock + latin1("\r\n*"),
         dateReader<P::parseDateUpdated>, false, false},
        {"parseLogCount", latin1("*\r\ncount=+") + prompt, readLogCount, false, false},
        {"isNoLogOption", latin1("*No LOG option installed!") + prompt,
         recogniser<P::isNoLogOption>},
        {"isLogErased", latin1("*Log~erased!") + prompt, recogniser<P::isLogErased>},
        {"isConfigurationWritten",
         latin1("*Writing~current~configuration~to~non-volatile~memory\\.\\.\\.~+~bytes~written!")
             + prompt,
         recogniser<P::isConfigurationWritten>},
        {"isFactoryResetDone",
         latin1("*Loading default configuration\\.\\.\\. OK!\r\nWrite the default configuration to "
                "non-volatile memory by using*command*"),
         recogniser<P::isFactoryResetDone>},
        {"isEepromBlockWritten", latin1("*\r\nPlease input 64 bytes\r\n\r\nDone\r\n*"),
         recogniser<P::isEepromBlockWritten>},
        {"isRebooted",
         latin1("*Performing selftest...*All tests passed.*Orvanta KVT*\r\nCompiled on *\r\n"
                "Copyright *"),
         recogniser<P::isRebooted>},
        {"isResetting", latin1("*Reseting device in 5 seconds*"), recogniser<P::isResetting>},
        {"isBootPrompt", latin1("*BOOT"), recogniser<P::isBootPrompt>, true, false},
        {"isFirmwareBlockAccepted", latin1("\\*"), recogniser<P::isFirmwareBlockAccepted>, true,
         false},
        {"isFirmwareBlockRejected", latin1("!"), recogniser<P::isFirmwareBlockRejected>, true,
         false},
        {"isFirmwareDone", latin1("\\.*"), recogniser<P::isFirmwareDone>, true, false},
        {"parseShowList", latin1("*show:~list+=*") + prompt, listReader<P::parseShowList>, false,
         false},
        {"parseSetList", latin1("*set:~list+=*") + prompt, listReader<P::parseSetList>, false,
         false},
    };
    return table;
}

} // namespace ReplyTable
