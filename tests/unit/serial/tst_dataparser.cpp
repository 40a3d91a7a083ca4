// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/dataparser.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"

#include <QtTest/QtTest>
#include <functional>

namespace {

QString iso(const QDateTime &time)
{
    return time.toString(Qt::ISODate);
}

// What a function reads from a text: a null text on false.
using Reader = std::function<QString(const QString &)>;

Reader recogniser(bool (*function)(const QString &))
{
    return [function](const QString &text) { return function(text) ? latin1("yes") : QString(); };
}

Reader textReader(bool (*function)(const QString &, QString &))
{
    return [function](const QString &text) {
        QString result;
        return function(text, result) ? latin1("[%1]").arg(result) : QString();
    };
}

Reader dateReader(bool (*function)(const QString &, QDateTime &))
{
    return [function](const QString &text) {
        QDateTime result;
        return function(text, result) ? iso(result) : QString();
    };
}

Reader listReader(bool (*function)(const QString &, ListItem &))
{
    return [function](const QString &text) {
        ListItem item;
        return function(text, item) ? latin1("%1:%2").arg(item.index).arg(item.value) : QString();
    };
}

Reader valueReader(const QString &name)
{
    return [name](const QString &text) {
        QString result;
        return DataParser::parseValue(name, text, result) ? latin1("[%1]").arg(result) : QString();
    };
}

QString readMeasurements(const QString &text)
{
    QMap<QString, QString> values;
    return DataParser::parseMeasurements(text, values) ? joined(values) : QString();
}

QString readLogCount(const QString &text)
{
    int count = -1;
    return DataParser::parseLogCount(text, count) ? QString::number(count) : QString();
}

QString readLogTitles(const QString &text)
{
    QStringList titles;
    return DataParser::parseLogTitles(text, titles) == DataParserResult::Matched
        ? titles.join(QLatin1Char('|'))
        : QString();
}

Reader logValueReader(int index)
{
    return [index](const QString &text) {
        QDateTime time;
        QVector<double> values;
        return DataParser::parseLogValue(text, index, time, values) == DataParserResult::Matched
            ? iso(time) + QLatin1Char(' ') + joined(values)
            : QString();
    };
}

Reader eepromReader(quint16 index)
{
    return [index](const QString &text) {
        QByteArray data;
        return DataParser::parseEepromBlock(text, index, data)
            ? latin1("[") + QString::fromLatin1(data.toHex()) + latin1("]")
            : QString();
    };
}

// One row of the grammar: the reply up to the character that completes it, the text that a device
// sends after it, and the result.
struct Row
{
    const char *name;
    Reader read;
    QString complete;
    QString rest;
    QString expected;
    bool takesStaleText = true;
};

const char selfTest[] =
    "\r\nPerforming selftest...\r\nRAM OK\r\nROM OK\r\nAll tests passed.\r\n\r\n"
    "Orvanta KVT 3 sw 1.2\r\nCompiled on Nov 13 2017\r\nCopyright ";

QVector<Row> grammar()
{
    return {
        {"parseModel", textReader(DataParser::parseModel),
         latin1("\r\n$ show unit\r\nUnit information\r\nModel: KVT 301\r\nSerial:"),
         latin1(" 1234\r\n$ "), latin1("[KVT 301]")},
        {"parseValue", valueReader(latin1("swver")),
         latin1("\r\n$ show swver\r\nshow: swver=1.2.3\r\n$"), latin1(" "), latin1("[1.2.3]")},
        {"isUnknownParameter", recogniser(DataParser::isUnknownParameter),
         latin1("\r\n$ show foo\r\nshow: Unknown parameter!"), latin1("\r\n$ "), latin1("yes")},
        {"parseSetValue", textReader(DataParser::parseSetValue),
         latin1("\r\n$ set debug=0\r\nset: debug=0\r\n$"), latin1(" "), latin1("[0]")},
        {"parseMeasurements", readMeasurements,
         latin1("\r\n$ show meas\r\nshow: meas=\"co2=400.5;t=N\"\r\n$"), latin1(" "),
         latin1("co2=400.5|t=N")},
        {"parseDate", dateReader(DataParser::parseDate),
         latin1("\r\n$ date\r\n2017-11-13T10:20:30\r\n$"), latin1(" "),
         latin1("2017-11-13T10:20:30Z")},
        {"parseDateUpdated", dateReader(DataParser::parseDateUpdated),
         latin1("\r\n$ date 2017-11-13T10:20:30\r\nDate updated to 2017-11-13T10:20:31\r\n"),
         latin1("$ "), latin1("2017-11-13T10:20:31Z")},
        {"parseLogCount", readLogCount, latin1("\r\n$ log --count\r\ncount=1234\r\n$"), latin1(" "),
         latin1("1234")},
        {"isNoLogOption", recogniser(DataParser::isNoLogOption),
         latin1("\r\n$ log --count\r\nNo LOG option installed!\r\n$"), latin1(" "), latin1("yes")},
        {"isLogErased", recogniser(DataParser::isLogErased),
         latin1("log --erase\r\nLog erased!\r\n$"), latin1(" "), latin1("yes")},
        {"parseLogTitles", readLogTitles, titlesReply(latin1("TIME,CO2,T")), latin1("\r\n$ "),
         latin1("TIME|CO2|T")},
        {"parseLogValue", logValueReader(12),
         rowReply(12, latin1("00012"), latin1("2017-11-13T10:20:30,400.5,-2")), latin1("\r\n$ "),
         latin1("2017-11-13T10:20:30Z 400.5|-2")},
        {"isConfigurationWritten", recogniser(DataParser::isConfigurationWritten),
         latin1("write --really\r\nWriting current configuration to non-volatile memory... "
                "512 bytes written!\r\n$"),
         latin1(" "), latin1("yes")},
        {"isFactoryResetDone", recogniser(DataParser::isFactoryResetDone),
         latin1("\r\n$ initconf --really\r\nLoading default configuration... OK!\r\n"
                "Write the default configuration to non-volatile memory by using write command"),
         latin1(".\r\n$ "), latin1("yes")},
        {"parseEepromBlock", eepromReader(7), eepromReply(7, latin1("00FF0A7B")), latin1("$ "),
         latin1("[00ff0a7b]")},
        {"isEepromBlockWritten", recogniser(DataParser::isEepromBlockWritten),
         latin1("\r\n$ eeprom --write_block 7\r\nPlease input 64 bytes\r\n\r\nDone\r\n"),
         latin1("$ "), latin1("yes")},
        {"isRebooted", recogniser(DataParser::isRebooted), latin1(selfTest), latin1("2017\r\n$ "),
         latin1("yes")},
        {"isResetting", recogniser(DataParser::isResetting),
         latin1("reboot --really\r\nReseting device in 5 seconds"), latin1("...\r\n"),
         latin1("yes")},
        {"isBootPrompt", recogniser(DataParser::isBootPrompt), latin1("loader 1.0\r\nBOOT"),
         QString(), latin1("yes")},
        {"isFirmwareBlockAccepted", recogniser(DataParser::isFirmwareBlockAccepted), latin1("*"),
         QString(), latin1("yes"), false},
        {"isFirmwareBlockRejected", recogniser(DataParser::isFirmwareBlockRejected), latin1("!"),
         QString(), latin1("yes"), false},
        {"isFirmwareDone", recogniser(DataParser::isFirmwareDone), latin1("."),
         latin1("\r\ndone *"), latin1("yes"), false},
        {"parseShowList", listReader(DataParser::parseShowList),
         latin1("\r\n$ show list3\r\nshow: list3=abc def\r\n$"), latin1(" "), latin1("3:abc def")},
        {"parseSetList", listReader(DataParser::parseSetList),
         latin1("\r\n$ set list12=x\r\nset: list12=x\r\n$"), latin1(" "), latin1("12:x")},
    };
}

const char stale[] = " 1234\r\n$ show p\r\nshow: p=990\r\n$ \r\nNUL? 12-13\r\n$ ";

} // namespace

class TestDataParser : public QObject
{
    Q_OBJECT

private slots:
    void recognisesTheWholeReply_data() { addGrammarRows(); }

    void recognisesTheWholeReply()
    {
        const Row reply = row();
        QCOMPARE(reply.read(reply.complete + reply.rest), reply.expected);
    }

    void rejectsEveryPrefix_data() { addGrammarRows(); }

    void rejectsEveryPrefix()
    {
        const Row reply = row();
        for (int size = 0; size < reply.complete.size(); ++size) {
            const QString prefix = reply.complete.left(size);
            QVERIFY2(reply.read(prefix).isNull(), qPrintable(prefix));
            if (reply.takesStaleText) {
                QVERIFY2(reply.read(latin1(stale) + prefix).isNull(), qPrintable(prefix));
            }
        }
    }

    void needsNothingAfterTheCompletingCharacter_data() { addGrammarRows(); }

    void needsNothingAfterTheCompletingCharacter()
    {
        const Row reply = row();
        QCOMPARE(reply.read(reply.complete), reply.expected);
    }

    void ignoresCase_data() { addGrammarRows(); }

    void ignoresCase()
    {
        const Row reply = row();
        const QString text = reply.complete + reply.rest;
        QCOMPARE(reply.read(text.toUpper()).toLower(), reply.expected.toLower());
        // In lower case a log record has another checksum and its timestamp another form.
        if (!text.contains(latin1("--read="))) {
            QCOMPARE(reply.read(text.toLower()).toLower(), reply.expected.toLower());
        }
    }

    void skipsEarlierText_data() { addGrammarRows(); }

    void skipsEarlierText()
    {
        const Row reply = row();
        if (reply.takesStaleText) {
            QCOMPARE(reply.read(latin1(stale) + reply.complete + reply.rest), reply.expected);
        }
    }

    void refusesEarlierTextBeforeAnAcknowledgement_data() { addGrammarRows(); }

    void refusesEarlierTextBeforeAnAcknowledgement()
    {
        const Row reply = row();
        if (!reply.takesStaleText) {
            QVERIFY(reply.read(latin1("\n") + reply.complete).isNull());
            QVERIFY(reply.read(latin1(stale) + reply.complete).isNull());
        }
    }

    void ignoresTheRepliesToOtherCommands()
    {
        const QVector<Row> rows = grammar();
        for (const Row &reader : rows) {
            for (const Row &reply : rows) {
                if (&reader == &reply) {
                    continue;
                }
                // The echo of a set has a value, and a confirmed date is a date when the prompt
                // follows.
                const QByteArray pair = QByteArray(reader.name) + '/' + reply.name;
                if (pair == "parseSetValue/parseSetList" || pair == "parseDate/parseDateUpdated") {
                    continue;
                }
                QVERIFY2(reader.read(reply.complete + reply.rest).isNull(), pair.constData());
            }
        }
    }

    void matcherRequiresTheWholeText()
    {
        QRegExp rx;
        QVERIFY(DataParser::matchReply(latin1("a\r\nB"), latin1("A..b"), 0, rx));
        QVERIFY(!DataParser::matchReply(latin1("xa\r\nb"), latin1("a..b"), 0, rx));
        QVERIFY(!DataParser::matchReply(latin1("a\r\nbx"), latin1("a..b"), 0, rx));
        QVERIFY(DataParser::matchReply(latin1("xa\r\nbx"), latin1(".*a..b.*"), 0, rx));
    }

    void matcherRequiresTheDeclaredCaptures()
    {
        QRegExp rx;
        QVERIFY(DataParser::matchReply(latin1("a1b2"), latin1("a(.)b(.)"), 2, rx));
        QCOMPARE(rx.cap(1), latin1("1"));
        QCOMPARE(rx.cap(2), latin1("2"));
        QVERIFY(DataParser::matchReply(latin1("a1b2"), latin1("a(.)b(.)"), 1, rx));
        QVERIFY(!DataParser::matchReply(latin1("a1b2"), latin1("a(.)b(.)"), 3, rx));
    }

    void picksItsCapture_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");

        const QVector<Row> rows = grammar();
        const auto add = [&rows](const char *name, const char *function, const char *text,
                                 const char *expected) {
            for (int i = 0; i < rows.size(); ++i) {
                if (qstrcmp(rows.at(i).name, function) == 0) {
                    QTest::newRow(name) << i << latin1(text) << latin1(expected);
                }
            }
        };
        add("value to the last line end before a prompt", "parseValue",
            "show: swver=1\r\n2\r\n3\r\n$ \r\ntail", "[1\r\n2\r\n3]");
        add("value from the first matching line", "parseValue",
            "show: swver=1\r\n$ show swver\r\nshow: swver=2\r\n$ ",
            "[1\r\n$ show swver\r\nshow: swver=2]");
        add("value with text after the last prompt", "parseValue", "show: swver=1\r\n$ \r\nx\r\ny",
            "[1]");
        add("prompt with text in front of its sign", "parseValue", "show: swver=1\r\nuser@kvt$ ",
            "[1]");
        add("value that is empty", "parseValue", "show: swver=\r\n$", "[]");
        add("value that contains a sign of equality", "parseValue", "show: swver=a=b\r\n$",
            "[a=b]");
        add("any space after the colon", "parseValue", "show:\tswver=1\r\n$", "[1]");
        add("set value after the first sign of equality", "parseSetValue", "set: a=b=c\r\n$ ",
            "[b=c]");
        add("set value that is empty", "parseSetValue", "set: a=\r\n$ ", "[]");
        add("model to the last serial line", "parseModel",
            "Model: KVT\r\nSerial: 1\r\nModel: X\r\nSerial: 2", "[KVT\r\nSerial: 1\r\nModel: X]");
        add("whole year", "parseDate", "date\r\n2017-11-13T10:20:30\r\n$ ", "2017-11-13T10:20:30Z");
        add("single digits", "parseDate", "date\r\n2017-1-3T1:2:3\r\n$ ", "2017-01-03T01:02:03Z");
        add("whole year of the update", "parseDateUpdated",
            "date x\r\nDate updated to 2017-11-13T10:20:30\r\n$ ", "2017-11-13T10:20:30Z");
        add("measurements without quotes", "parseMeasurements", "show: meas=a=1;b=2\r\n$",
            "a=1|b=2");
        add("measurements in quotes", "parseMeasurements", "show: meas=\"a=1;b=2\"\r\n$",
            "a=1|b=2");
        add("later measurement of a name wins", "parseMeasurements", "show: meas=\"a=1;a=2\"\r\n$",
            "a=2");
        add("count of zero", "parseLogCount", "log --count\r\ncount=0\r\n$", "0");
        add("count with leading zeros", "parseLogCount", "log --count\r\ncount=00012\r\n$", "12");
        add("list entry", "parseShowList", "show: list07=a=b\r\n$", "7:a=b");
        add("set list entry that is empty", "parseSetList", "set: list0=\r\n$", "0:");
        add("boot prompt alone", "isBootPrompt", "BOOT", "yes");
        add("boot prompt in lower case", "isBootPrompt", "xboot", "yes");
        add("end of transfer and more", "isFirmwareDone", ".*!\r\n", "yes");
        add("written by any number of bytes", "isConfigurationWritten",
            "Writing current configuration to non-volatile memory... 0 bytes written!\r\n$", "yes");
    }

    void picksItsCapture()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(row().read(text), expected);
    }

    void waitsForOrRefuses_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");

        const QVector<Row> rows = grammar();
        const auto add = [&rows](const char *name, const char *function, const char *text) {
            for (int i = 0; i < rows.size(); ++i) {
                if (qstrcmp(rows.at(i).name, function) == 0) {
                    QTest::newRow(name) << i << latin1(text);
                }
            }
        };
        add("value of another name", "parseValue", "show: hwver=1\r\n$ ");
        add("value without its prompt", "parseValue", "$ show swver\r\nshow: swver=1.2\r\n");
        add("value whose line does not end", "parseValue", "show: swver=1.2$ ");
        add("value after a lone line feed", "parseValue", "show: swver=1.2\n$ ");
        add("echo alone", "parseValue", "\r\n$ show swver\r\n$ ");
        add("model without the serial line", "parseModel", "Model: KVT\r\nRange: 1\r\n$ ");
        add("serial line before the model", "parseModel", "Serial: 1\r\nModel: KVT\r\n$ ");
        add("unknown parameter of a set", "isUnknownParameter", "set: Unknown parameter!\r\n$ ");
        add("set refused", "parseSetValue", "set debug=9\r\nset: Invalid value!\r\n$ ");
        add("measurements that are empty", "parseMeasurements", "show: meas=\"\"\r\n$ ");
        add("measurements after a bare sign", "parseMeasurements", "show: meas=\r\n$ ");
        add("measurements with a trailing separator", "parseMeasurements",
            "show: meas=\"a=1;\"\r\n$ ");
        add("measurement without a value", "parseMeasurements", "show: meas=\"a=1;b\"\r\n$ ");
        add("measurements with a third quote", "parseMeasurements", "show: meas=\"a=\"1\"\r\n$ ");
        add("date without seconds", "parseDate", "date\r\n2017-11-13T10:20\r\n$ ");
        add("date with text after it", "parseDate", "date\r\n2017-11-13T10:20:30Z\r\n$ ");
        add("date with a space for its letter", "parseDate", "date\r\n2017-11-13 10:20:30\r\n$ ");
        add("update whose line has not ended", "parseDateUpdated",
            "Date updated to 2017-11-13T10:20:30");
        add("count that does not begin its line", "parseLogCount",
            "log --count\r\nlogcount=5\r\n$ ");
        add("count beyond int", "parseLogCount", "log --count\r\ncount=99999999999\r\n$ ");
        add("negative count", "parseLogCount", "log --count\r\ncount=-1\r\n$ ");
        add("log erased with text after it", "isLogErased", "Log erased!?\r\n$ ");
        add("no bytes written", "isConfigurationWritten",
            "Writing current configuration to non-volatile memory... bytes written!\r\n$ ");
        add("dots of the memory are dots", "isConfigurationWritten",
            "Writing current configuration to non-volatile memoryxxx 5 bytes written!\r\n$ ");
        add("factory reset without its command", "isFactoryResetDone",
            "Loading default configuration... OK!\r\n"
            "Write the default configuration to non-volatile memory by using\r\n$ ");
        add("block written without the request", "isEepromBlockWritten", "\r\n\r\nDone\r\n$ ");
        add("block written after a request for less", "isEepromBlockWritten",
            "\r\nPlease input 32 bytes\r\n\r\nDone\r\n$ ");
        add("self test that failed", "isRebooted",
            "Performing selftest...\r\nRAM failed.\r\nOrvanta KVT\r\nCompiled on x\r\nCopyright y");
        add("self test of another make", "isRebooted",
            "Performing selftest...\r\nAll tests passed.\r\nKVT\r\nCompiled on x\r\nCopyright y");
        add("reset announced in correct spelling", "isResetting", "Resetting device in 5 seconds");
        add("boot prompt with a line end", "isBootPrompt", "BOOT\r\n");
        add("accepted and done at once", "isFirmwareBlockAccepted", "*.");
        add("accepted twice", "isFirmwareBlockAccepted", "**");
        add("rejected twice", "isFirmwareBlockRejected", "!!");
        add("rejected with a line end", "isFirmwareBlockRejected", "!\r\n");
        add("done in second place", "isFirmwareDone", "*.");
        add("list number beyond int", "parseShowList", "show: list99999999999=a\r\n$ ");
        add("list without a number", "parseShowList", "show: list=a\r\n$ ");
        add("set list without a number", "parseSetList", "set: list=a\r\n$ ");
    }

    void waitsForOrRefuses()
    {
        QFETCH(QString, text);
        QCOMPARE(row().read(text), QString());
        QVERIFY(row().read(text).isNull());
    }

    void nameGoesIntoThePatternUnescaped()
    {
        QCOMPARE(valueReader(latin1("a.c"))(latin1("show: abc=1\r\n$")), latin1("[1]"));
        QVERIFY(valueReader(latin1("a\\.c"))(latin1("show: abc=1\r\n$")).isNull());
        QVERIFY(valueReader(latin1("a("))(latin1("show: a(=1\r\n$")).isNull());
    }

    void measurementLineEmptiesTheMapFirst()
    {
        QMap<QString, QString> values = {{latin1("old"), latin1("1")}};
        QVERIFY(DataParser::parseMeasurements(latin1("show: meas=a=1\r\n$"), values));
        QCOMPARE(joined(values), latin1("a=1"));
        QVERIFY(!DataParser::parseMeasurements(latin1("show: meas=\"a=1;\"\r\n$"), values));
        QVERIFY(values.isEmpty());
    }

    void dateKeepsItsFieldsInTheZoneOfTheUser_data()
    {
        QTest::addColumn<QDate>("day");
        QTest::newRow("summer") << QDate(2021, 7, 1);
        QTest::newRow("an hour that the user's clock leaves out") << QDate(2021, 3, 28);
        QTest::newRow("an hour that the user's clock has twice") << QDate(2021, 10, 31);
    }

    void dateKeepsItsFieldsInTheZoneOfTheUser()
    {
        QFETCH(QDate, day);
        const TimeZoneScope zone("EET-2EEST,M3.5.0/3,M10.5.0/4");
        QCOMPARE(QDateTime(QDate(2021, 7, 1), QTime(12, 0)).offsetFromUtc(), 3 * 3600);
        const QDateTime expected(day, QTime(3, 30), Qt::UTC);
        const QString text = day.toString(Qt::ISODate) + latin1("T03:30:00");

        QDateTime date;
        QVERIFY(DataParser::parseDate(latin1("date\r\n%1\r\n$").arg(text), date));
        QCOMPARE(date, expected);
        QCOMPARE(date.timeSpec(), Qt::UTC);
        QDateTime time;
        QVector<double> values;
        QVERIFY(DataParser::parseLogRecord(text, time, values));
        QCOMPARE(time, expected);
    }

    void impossibleDateIsReadAsInvalid_data()
    {
        QTest::addColumn<QString>("date");
        QTest::newRow("month 13") << latin1("2017-13-01T10:20:30");
        QTest::newRow("30 February") << latin1("2017-02-30T10:20:30");
        QTest::newRow("everything") << latin1("2017-13-45T25:00:00");
    }

    void impossibleDateIsReadAsInvalid()
    {
        QFETCH(QString, date);
        QDateTime time(QDate(2000, 1, 1), QTime(0, 0), Qt::UTC);
        QVERIFY(DataParser::parseDateUpdated(latin1("Date updated to %1\r\n").arg(date), time));
        QVERIFY(!time.isValid());
        time = QDateTime(QDate(2000, 1, 1), QTime(0, 0), Qt::UTC);
        QVERIFY(DataParser::parseDate(latin1("date\r\n%1\r\n$").arg(date), time));
        QVERIFY(!time.isValid());
    }

    void dateNumberBeyondIntIsRefused()
    {
        const QStringList dates = {
            latin1("99999999999-11-13T10:20:30"),   latin1("2017-99999999999-13T10:20:30"),
            latin1("2017-11-99999999999T10:20:30"), latin1("2017-11-13T99999999999:20:30"),
            latin1("2017-11-13T10:99999999999:30"), latin1("2017-11-13T10:20:99999999999")};
        for (const QString &date : dates) {
            QDateTime time;
            QVERIFY(!DataParser::parseDate(latin1("date\r\n%1\r\n$").arg(date), time));
            QVERIFY(
                !DataParser::parseDateUpdated(latin1("Date updated to %1\r\n").arg(date), time));
        }
    }

    void takesAYearThatNoTimeCanHold()
    {
        QDateTime time;
        QVERIFY(DataParser::parseDate(latin1("date\r\n999999917-11-13T10:20:30\r\n$"), time));
        QCOMPARE(time.timeSpec(), Qt::UTC);
    }

    void deviceLetters_data()
    {
        QTest::addColumn<int>("letter");
        QTest::addColumn<int>("onDevice");
        QTest::newRow("a umlaut") << 0xe4 << 0x84;
        QTest::newRow("o umlaut") << 0xf6 << 0x94;
        QTest::newRow("A umlaut") << 0xc4 << 0x8e;
        QTest::newRow("O umlaut") << 0xd6 << 0x99;
        QTest::newRow("a ring") << 0xe5 << 0x86;
        QTest::newRow("A ring") << 0xc5 << 0x8f;
        QTest::newRow("u umlaut stays") << 0xfc << 0xfc;
        QTest::newRow("ASCII stays") << int('a') << int('a');
    }

    void deviceLetters()
    {
        QFETCH(int, letter);
        QFETCH(int, onDevice);
        const QString user = QString(QChar(letter)) + latin1("x") + QChar(letter);
        const QString device = QString(QChar(onDevice)) + latin1("x") + QChar(onDevice);
        QCOMPARE(DataParser::toDeviceText(user), device);
        QCOMPARE(DataParser::fromDeviceText(device), user);
    }

    void deviceTextRestoresTheSixLetters()
    {
        const QString letters = latin1("set name=\xe4\xf6\xc4\xd6\xe5\xc5\r\n");
        QCOMPARE(DataParser::fromDeviceText(DataParser::toDeviceText(letters)), letters);
        QCOMPARE(DataParser::toDeviceText(QString()), QString());
    }

    void resultsHaveTheirNumbers()
    {
        QCOMPARE(int(DataParserResult::Matched), 0);
        QCOMPARE(int(DataParserResult::NoMatch), 1);
        QCOMPARE(int(DataParserResult::ChecksumMismatch), 2);
    }

private:
    static void addGrammarRows()
    {
        QTest::addColumn<int>("index");
        const QVector<Row> rows = grammar();
        for (int i = 0; i < rows.size(); ++i) {
            QTest::newRow(rows.at(i).name) << i;
        }
    }

    Row row() const
    {
        QFETCH(int, index);
        return grammar().at(index);
    }
};

KV_TEST_CORE_MAIN(TestDataParser)
#include "tst_dataparser.moc"
