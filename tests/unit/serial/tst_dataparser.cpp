// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/dataparser.h"
#include "tests/kit/devicereplies.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"

#include <QtTest/QtTest>
#include <functional>

static_assert(int(DataParserResult::Matched) == 0 && int(DataParserResult::NoMatch) == 1
              && int(DataParserResult::ChecksumMismatch) == 2);

namespace {

// A result as text that is never empty.
QString toText(const QString &value) { return latin1("[%1]").arg(value); }

QString toText(int value) { return QString::number(value); }

QString toText(const QDateTime &time) { return time.toString(Qt::ISODate); }

QString toText(const QStringList &titles) { return titles.join(QLatin1Char('|')); }

QString toText(const QMap<QString, QString> &values) { return joined(values); }

QString toText(const QByteArray &data) { return toText(latin1(data.toHex().constData())); }

QString toText(const ListItem &item) { return latin1("%1:%2").arg(item.index).arg(item.value); }

// Calls a function of the parser and returns its result as text; null if it returns false.
using Reader = std::function<QString(const QString &)>;

Reader recogniser(bool (*function)(const QString &))
{
    return [function](const QString &text) { return function(text) ? latin1("yes") : QString(); };
}

template <typename Result>
Reader reader(const std::function<bool(const QString &, Result &)> &function)
{
    return [function](const QString &text) {
        Result result = {};
        return function(text, result) ? toText(result) : QString();
    };
}

Reader valueReader(const QString &name)
{
    return reader<QString>([name](const QString &text, QString &value) {
        return DataParser::parseValue(name, text, value);
    });
}

bool readLogTitles(const QString &text, QStringList &titles)
{
    return DataParser::parseLogTitles(text, titles) == DataParserResult::Matched;
}

QString readLogValue12(const QString &text)
{
    QDateTime time;
    QVector<double> values;
    return DataParser::parseLogValue(text, 12, time, values) == DataParserResult::Matched
        ? toText(time) + toText(joined(values))
        : QString();
}

bool readEepromBlock7(const QString &text, QByteArray &data)
{
    return DataParser::parseEepromBlock(text, 7, data);
}

// One row of the grammar: the reply up to the character that completes it, the text that a device
// sends after that, and the result.
struct Row
{
    const char *name;
    Reader read;
    const char *complete;
    const char *rest;
    const char *expected;

    // The replies of one character, from the bootloader, are not recognised after earlier text.
    bool allowsEarlierText() const { return qstrlen(complete) > 1; }
};

const QVector<Row> &grammar()
{
    static const QVector<Row> rows = {
        {"parseModel", reader<QString>(DataParser::parseModel),
         "\r\n$ show unit\r\nUnit information\r\nModel: KVT 301\r\nSerial:", " 1234\r\n$ ",
         "[KVT 301]"},
        {"parseValue", valueReader(latin1("swver")), "\r\n$ show swver\r\nshow: swver=1.2.3\r\n$",
         " ", "[1.2.3]"},
        {"isUnknownParameter", recogniser(DataParser::isUnknownParameter),
         "\r\n$ show foo\r\nshow: Unknown parameter!", "\r\n$ ", "yes"},
        {"parseSetValue", reader<QString>(DataParser::parseSetValue),
         "\r\n$ set debug=0\r\nset: debug=0\r\n$", " ", "[0]"},
        {"parseMeasurements", reader<QMap<QString, QString>>(DataParser::parseMeasurements),
         "\r\n$ show meas\r\nshow: meas=\"co2=400.5;t=N\"\r\n$", " ", "co2=400.5|t=N"},
        {"parseDate", reader<QDateTime>(DataParser::parseDate),
         "\r\n$ date\r\n2017-11-13T10:20:30\r\n$", " ", "2017-11-13T10:20:30Z"},
        {"parseDateUpdated", reader<QDateTime>(DataParser::parseDateUpdated),
         "\r\n$ date 2017-11-13T10:20:30\r\nDate updated to 2017-11-13T10:20:31\r\n", "$ ",
         "2017-11-13T10:20:31Z"},
        {"parseLogCount", reader<int>(DataParser::parseLogCount),
         "\r\n$ log --count\r\ncount=1234\r\n$", " ", "1234"},
        {"isNoLogOption", recogniser(DataParser::isNoLogOption),
         "\r\n$ log --count\r\nNo LOG option installed!\r\n$", " ", "yes"},
        {"isLogErased", recogniser(DataParser::isLogErased), "log --erase\r\nLog erased!\r\n$", " ",
         "yes"},
        {"parseLogTitles", reader<QStringList>(readLogTitles),
         "\r\n$ log --read=0\r\n00000=TIME,CO2,T#0d", "\r\n$ ", "TIME|CO2|T"},
        {"parseLogValue", readLogValue12,
         "\r\n$ log --read=12\r\n00012=2017-11-13T10:20:30,400.5,-2#ab", "\r\n$ ",
         "2017-11-13T10:20:30Z[400.5|-2]"},
        {"isConfigurationWritten", recogniser(DataParser::isConfigurationWritten),
         "write --really\r\nWriting current configuration to non-volatile memory... "
         "512 bytes written!\r\n$",
         " ", "yes"},
        {"isFactoryResetDone", recogniser(DataParser::isFactoryResetDone),
         "\r\n$ initconf --really\r\nLoading default configuration... OK!\r\n"
         "Write the default configuration to non-volatile memory by using write command",
         ".\r\n$ ", "yes"},
        {"parseEepromBlock", reader<QByteArray>(readEepromBlock7),
         "\r\n$ eeprom --read_block 7\r\n00FF0A7B\r\nDone\r\n", "$ ", "[00ff0a7b]"},
        {"isEepromBlockWritten", recogniser(DataParser::isEepromBlockWritten),
         "\r\n$ eeprom --write_block 7\r\nPlease input 64 bytes\r\n\r\nDone\r\n", "$ ", "yes"},
        {"isRebooted", recogniser(DataParser::isRebooted),
         "\r\nPerforming selftest...\r\nRAM OK\r\nROM OK\r\nAll tests passed.\r\n\r\n"
         "Orvanta KVT 3 sw 1.2\r\nCompiled on Nov 13 2017\r\nCopyright ",
         "2017\r\n$ ", "yes"},
        {"isResetting", recogniser(DataParser::isResetting),
         "reboot --really\r\nReseting device in 5 seconds", "...\r\n", "yes"},
        {"isBootPrompt", recogniser(DataParser::isBootPrompt), "loader 1.0\r\nBOOT", "", "yes"},
        {"isFirmwareBlockAccepted", recogniser(DataParser::isFirmwareBlockAccepted), "*", "",
         "yes"},
        {"isFirmwareBlockRejected", recogniser(DataParser::isFirmwareBlockRejected), "!", "",
         "yes"},
        {"isFirmwareDone", recogniser(DataParser::isFirmwareDone), ".", "\r\ndone *", "yes"},
        {"parseShowList", reader<ListItem>(DataParser::parseShowList),
         "\r\n$ show list3\r\nshow: list3=abc def\r\n$", " ", "3:abc def"},
        {"parseSetList", reader<ListItem>(DataParser::parseSetList),
         "\r\n$ set list12=x\r\nset: list12=x\r\n$", " ", "12:x"},
    };
    return rows;
}

const QString earlierText = latin1(" 1234\r\n$ show p\r\nshow: p=990\r\n$ \r\nNUL? 12-13\r\n$ ");

// A text for a function of the grammar; the result is null if the function rejects the text.
struct Sample
{
    const char *function;
    const char *name;
    const char *text;
    const char *expected;
};

constexpr Sample samples[] = {
    {"parseValue", "to the last line end before a prompt", "show: swver=1\r\n2\r\n3\r\n$ \r\ntail",
     "[1\r\n2\r\n3]"},
    {"parseValue", "from the first matching line",
     "show: swver=1\r\n$ show swver\r\nshow: swver=2\r\n$ ",
     "[1\r\n$ show swver\r\nshow: swver=2]"},
    {"parseValue", "text after the last prompt", "show: swver=1\r\n$ \r\nx\r\ny", "[1]"},
    {"parseValue", "text before the $ of the prompt", "show: swver=1\r\nuser@kvt$ ", "[1]"},
    {"parseValue", "empty", "show: swver=\r\n$", "[]"},
    {"parseValue", "equals sign in the value", "show: swver=a=b\r\n$", "[a=b]"},
    {"parseValue", "tab after the colon", "show:\tswver=1\r\n$", "[1]"},
    {"parseValue", "another name", "show: hwver=1\r\n$ ", nullptr},
    {"parseValue", "no line end", "show: swver=1.2$ ", nullptr},
    {"parseValue", "lone line feed", "show: swver=1.2\n$ ", nullptr},
    {"parseValue", "echo only", "\r\n$ show swver\r\n$ ", nullptr},
    {"isUnknownParameter", "no exclamation mark", "show: Unknown parameter\r\n$ ", nullptr},
    {"isUnknownParameter", "reply to a set", "set: Unknown parameter!\r\n$ ", nullptr},
    {"parseSetValue", "equals sign in the value", "set: a=b=c\r\n$ ", "[b=c]"},
    {"parseSetValue", "empty", "set: a=\r\n$ ", "[]"},
    {"parseSetValue", "rejected", "set debug=9\r\nset: Invalid value!\r\n$ ", nullptr},
    {"parseModel", "to the last serial line", "Model: KVT\r\nSerial: 1\r\nModel: X\r\nSerial: 2",
     "[KVT\r\nSerial: 1\r\nModel: X]"},
    {"parseModel", "no serial line", "Model: KVT\r\nRange: 1\r\n$ ", nullptr},
    {"parseModel", "serial line before the model", "Serial: 1\r\nModel: KVT\r\n$ ", nullptr},
    {"parseDate", "single digits", "date\r\n2017-1-3T1:2:3\r\n$ ", "2017-01-03T01:02:03Z"},
    {"parseDate", "no time", "date\r\n2017-11-13\r\n$ ", nullptr},
    {"parseDate", "no seconds", "date\r\n2017-11-13T10:20\r\n$ ", nullptr},
    {"parseDate", "text after the time", "date\r\n2017-11-13T10:20:30Z\r\n$ ", nullptr},
    {"parseDate", "space instead of T", "date\r\n2017-11-13 10:20:30\r\n$ ", nullptr},
    {"parseDateUpdated", "no line end", "Date updated to 2017-11-13T10:20:30", nullptr},
    {"parseMeasurements", "without quotes", "show: meas=a=1;b=2\r\n$", "a=1|b=2"},
    {"parseMeasurements", "a name twice", "show: meas=\"a=1;a=2\"\r\n$", "a=2"},
    {"parseMeasurements", "empty", "show: meas=\"\"\r\n$ ", nullptr},
    {"parseMeasurements", "equals sign only", "show: meas=\r\n$ ", nullptr},
    {"parseMeasurements", "trailing separator", "show: meas=\"a=1;\"\r\n$ ", nullptr},
    {"parseMeasurements", "name without a value", "show: meas=\"a=1;b\"\r\n$ ", nullptr},
    {"parseMeasurements", "third quote", "show: meas=\"a=\"1\"\r\n$ ", nullptr},
    {"parseLogCount", "zero", "log --count\r\ncount=0\r\n$", "0"},
    {"parseLogCount", "leading zeros", "log --count\r\ncount=00012\r\n$", "12"},
    {"parseLogCount", "not at the start of a line", "log --count\r\nlogcount=5\r\n$ ", nullptr},
    {"parseLogCount", "exceeds int", "log --count\r\ncount=99999999999\r\n$ ", nullptr},
    {"parseLogCount", "negative", "log --count\r\ncount=-1\r\n$ ", nullptr},
    {"parseLogValue", "index that is a prefix of the expected one",
     "log --read=1\r\n00001=2017-11-13T10:20:30#07", nullptr},
    {"isLogErased", "text at the end of the line", "Log erased!?\r\n$ ", nullptr},
    {"isConfigurationWritten", "0 bytes",
     "Writing current configuration to non-volatile memory... 0 bytes written!\r\n$", "yes"},
    {"isConfigurationWritten", "no number",
     "Writing current configuration to non-volatile memory... bytes written!\r\n$ ", nullptr},
    {"isConfigurationWritten", "other characters instead of the dots",
     "Writing current configuration to non-volatile memoryxxx 5 bytes written!\r\n$ ", nullptr},
    {"isFactoryResetDone", "second line incomplete",
     "Loading default configuration... OK!\r\n"
     "Write the default configuration to non-volatile memory by using\r\n$ ",
     nullptr},
    {"isFactoryResetDone", "first line only", "Loading default configuration... OK!\r\n$ ",
     nullptr},
    {"isEepromBlockWritten", "no prompt for the bytes", "\r\n\r\nDone\r\n$ ", nullptr},
    {"isEepromBlockWritten", "no empty line", "\r\nPlease input 64 bytes\r\nDone\r\n", nullptr},
    {"isEepromBlockWritten", "prompt for fewer bytes",
     "\r\nPlease input 32 bytes\r\n\r\nDone\r\n$ ", nullptr},
    {"isRebooted", "failed self-test",
     "Performing selftest...\r\nRAM failed.\r\nOrvanta KVT\r\nCompiled on x\r\nCopyright y",
     nullptr},
    {"isRebooted", "no manufacturer's name",
     "Performing selftest...\r\nAll tests passed.\r\nKVT\r\nCompiled on x\r\nCopyright y", nullptr},
    {"isResetting", "correct spelling", "Resetting device in 5 seconds", nullptr},
    {"isBootPrompt", "alone", "BOOT", "yes"},
    {"isBootPrompt", "lower case", "xboot", "yes"},
    {"isBootPrompt", "second prompt", "BOOT\r\nBOOT", "yes"},
    {"isBootPrompt", "trailing line end", "BOOT\r\n", nullptr},
    {"isBootPrompt", "trailing letters", "BOOTLOADER", nullptr},
    {"isFirmwareBlockAccepted", "followed by the last reply", "*.", nullptr},
    {"isFirmwareBlockAccepted", "twice", "**", nullptr},
    {"isFirmwareBlockAccepted", "leading line end", "\n*", nullptr},
    {"isFirmwareBlockRejected", "twice", "!!", nullptr},
    {"isFirmwareBlockRejected", "trailing line end", "!\r\n", nullptr},
    {"isFirmwareBlockRejected", "leading line end", "\n!", nullptr},
    {"isFirmwareDone", "trailing text", ".*!\r\n", "yes"},
    {"isFirmwareDone", "second character", "*.", nullptr},
    {"isFirmwareDone", "leading line end", "\n.", nullptr},
    {"parseShowList", "leading zero", "show: list07=a=b\r\n$", "7:a=b"},
    {"parseShowList", "exceeds int", "show: list99999999999=a\r\n$ ", nullptr},
    {"parseShowList", "no number", "show: list=a\r\n$ ", nullptr},
    {"parseSetList", "empty", "set: list0=\r\n$", "0:"},
    {"parseSetList", "no number", "set: list=a\r\n$ ", nullptr},
};

const QDateTime someTime(QDate(2000, 1, 1), QTime(0, 0), Qt::UTC);

QString dateReply(const QString &date) { return latin1("date\r\n%1\r\n$").arg(date); }

QString dateUpdatedReply(const QString &date) { return latin1("Date updated to %1\r\n").arg(date); }

} // namespace

class TestDataParser : public QObject
{
    Q_OBJECT

private slots:
    void recognisesTheCompleteReply_data() { addGrammarRows(); }
    void recognisesTheCompleteReply()
    {
        const Row row = fetchRow();
        const QString complete = latin1(row.complete);
        const QString whole = complete + latin1(row.rest);
        const QString expected = latin1(row.expected);
        QCOMPARE(row.read(complete), expected);
        QCOMPARE(row.read(whole), expected);
        QCOMPARE(row.read(earlierText + complete), row.allowsEarlierText() ? expected : QString());
        QCOMPARE(row.read(earlierText + whole), row.allowsEarlierText() ? expected : QString());
    }

    void rejectsEveryPrefix_data() { addGrammarRows(); }
    void rejectsEveryPrefix()
    {
        const Row row = fetchRow();
        const QString complete = latin1(row.complete);
        for (int size = 0; size < complete.size(); ++size) {
            const QString prefix = complete.left(size);
            QVERIFY2(row.read(prefix).isNull(), qPrintable(prefix));
            QVERIFY2(row.read(earlierText + prefix).isNull(), qPrintable(prefix));
        }
    }

    void ignoresCase_data() { addGrammarRows(); }
    void ignoresCase()
    {
        const Row row = fetchRow();
        const QString text = latin1(row.complete) + latin1(row.rest);
        const QString expected = latin1(row.expected).toLower();
        QCOMPARE(row.read(text.toUpper()).toLower(), expected);
        // In lower case a log record has another checksum, and its timestamp another format.
        if (!text.contains(latin1("--read="))) {
            QCOMPARE(row.read(text.toLower()).toLower(), expected);
        }
    }

    void ignoresTheRepliesToOtherCommands()
    {
        for (const Row &reader : grammar()) {
            for (const Row &reply : grammar()) {
                // A set of a list entry is also a set; the date of a confirmation, followed by a
                // prompt, is also a date.
                const QByteArray pair = QByteArray(reader.name) + '/' + reply.name;
                if (&reader != &reply && pair != "parseSetValue/parseSetList"
                    && pair != "parseDate/parseDateUpdated") {
                    QVERIFY2(reader.read(latin1(reply.complete) + latin1(reply.rest)).isNull(),
                             pair.constData());
                }
            }
        }
    }

    void extractsTheValueOrRejects_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        for (const Sample &sample : samples) {
            for (int i = 0; i < grammar().size(); ++i) {
                if (qstrcmp(grammar().at(i).name, sample.function) == 0) {
                    QTest::addRow("%s: %s", sample.function, sample.name)
                        << i << latin1(sample.text) << latin1(sample.expected);
                }
            }
        }
    }
    void extractsTheValueOrRejects()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(fetchRow().read(text), expected);
    }

    void matchReplyRequiresTheWholeText()
    {
        QRegExp rx;
        QVERIFY(DataParser::matchReply(latin1("a\r\nB"), latin1("A..b"), 0, rx));
        QVERIFY(!DataParser::matchReply(latin1("xa\r\nb"), latin1("a..b"), 0, rx));
        QVERIFY(!DataParser::matchReply(latin1("a\r\nbx"), latin1("a..b"), 0, rx));
        QVERIFY(DataParser::matchReply(latin1("xa\r\nbx"), latin1(".*a..b.*"), 0, rx));
    }

    void matchReplyRequiresTheNumberOfCaptures()
    {
        QRegExp rx;
        QVERIFY(DataParser::matchReply(latin1("a1b2"), latin1("a(.)b(.)"), 2, rx));
        QCOMPARE(rx.capturedTexts().mid(1), QStringList({latin1("1"), latin1("2")}));
        QVERIFY(DataParser::matchReply(latin1("a1b2"), latin1("a(.)b(.)"), 1, rx));
        QVERIFY(!DataParser::matchReply(latin1("a1b2"), latin1("a(.)b(.)"), 3, rx));
    }

    void nameIsNotEscapedInThePattern()
    {
        QCOMPARE(valueReader(latin1("a.c"))(latin1("show: abc=1\r\n$")), latin1("[1]"));
        QVERIFY(valueReader(latin1("a\\.c"))(latin1("show: abc=1\r\n$")).isNull());
        QVERIFY(valueReader(latin1("a("))(latin1("show: a(=1\r\n$")).isNull());
    }

    void parseMeasurementsClearsTheMapFirst()
    {
        QMap<QString, QString> values = {{latin1("old"), latin1("1")}};
        QVERIFY(DataParser::parseMeasurements(latin1("show: meas=a=1\r\n$"), values));
        QCOMPARE(joined(values), latin1("a=1"));
        QVERIFY(!DataParser::parseMeasurements(latin1("show: meas=\"a=1;\"\r\n$"), values));
        QVERIFY(values.isEmpty());
    }

    void datesAreNotConvertedFromLocalTime_data()
    {
        QTest::addColumn<QDate>("day");
        QTest::addRow("summer time") << QDate(2021, 7, 1);
        QTest::addRow("hour skipped at the start of summer time") << QDate(2021, 3, 28);
        QTest::addRow("hour repeated at the end of summer time") << QDate(2021, 10, 31);
    }
    void datesAreNotConvertedFromLocalTime()
    {
        QFETCH(QDate, day);
        const TimeZoneScope zone(easternEurope);
        QCOMPARE(QDateTime(QDate(2021, 7, 1), QTime(12, 0)).offsetFromUtc(), 3 * 3600);
        const QDateTime expected(day, QTime(3, 30), Qt::UTC);
        const QString text = day.toString(Qt::ISODate) + latin1("T03:30:00");

        QDateTime date;
        QVERIFY(DataParser::parseDate(dateReply(text), date));
        QCOMPARE(date, expected);
        QCOMPARE(date.timeSpec(), Qt::UTC);
        QDateTime time;
        QVector<double> values;
        QVERIFY(DataParser::parseLogRecord(text, time, values));
        QCOMPARE(time, expected);
    }

    void impossibleDateIsReturnedAsInvalid()
    {
        for (const QString &date : {latin1("2017-13-01T10:20:30"), latin1("2017-02-30T10:20:30"),
                                    latin1("2017-13-45T25:00:00")}) {
            QDateTime time = someTime;
            QVERIFY(DataParser::parseDateUpdated(dateUpdatedReply(date), time));
            QVERIFY(!time.isValid());
            time = someTime;
            QVERIFY(DataParser::parseDate(dateReply(date), time));
            QVERIFY(!time.isValid());
        }
    }

    void dateFieldThatExceedsIntIsRejected()
    {
        for (const QString &date :
             {latin1("99999999999-11-13T10:20:30"), latin1("2017-99999999999-13T10:20:30"),
              latin1("2017-11-99999999999T10:20:30"), latin1("2017-11-13T99999999999:20:30"),
              latin1("2017-11-13T10:99999999999:30"), latin1("2017-11-13T10:20:99999999999")}) {
            QDateTime time;
            QVERIFY(!DataParser::parseDate(dateReply(date), time));
            QVERIFY(!DataParser::parseDateUpdated(dateUpdatedReply(date), time));
        }
    }

    void acceptsAYearThatExceedsTheRangeOfQDateTime()
    {
        QDateTime time;
        QVERIFY(DataParser::parseDate(dateReply(latin1("999999917-11-13T10:20:30")), time));
        QCOMPARE(time.timeSpec(), Qt::UTC);
    }

    void convertsTheLettersOfTheDevicesCharacterSet()
    {
        const QString user = latin1("\xe4\xf6\xc4\xd6\xe5\xc5 a\xfc").repeated(2);
        const QString device = latin1("\x84\x94\x8e\x99\x86\x8f a\xfc").repeated(2);
        QCOMPARE(DataParser::toDeviceText(user), device);
        QCOMPARE(DataParser::fromDeviceText(device), user);
        QCOMPARE(DataParser::toDeviceText(QString()), QString());
    }

private:
    static void addGrammarRows()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < grammar().size(); ++i) {
            QTest::addRow("%s", grammar().at(i).name) << i;
        }
    }

    static Row fetchRow()
    {
        QFETCH(int, index);
        return grammar().at(index);
    }
};

KV_TEST_CORE_MAIN(TestDataParser)
#include "tst_dataparser.moc"
