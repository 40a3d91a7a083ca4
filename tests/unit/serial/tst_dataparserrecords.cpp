// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/dataparser.h"
#include "tests/kit/devicereplies.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>

namespace {

constexpr int matched = static_cast<int>(DataParserResult::Matched);
constexpr int noMatch = static_cast<int>(DataParserResult::NoMatch);
constexpr int mismatch = static_cast<int>(DataParserResult::ChecksumMismatch);

} // namespace

class TestDataParserRecords : public QObject
{
    Q_OBJECT

private slots:
    void parsesMeasurementPairs_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected"); // empty if the text is rejected
        QTest::addRow("one") << latin1("a=1") << latin1("a=1|old=0");
        QTest::addRow("two") << latin1("a=1;b=N") << latin1("a=1|b=N|old=0");
        QTest::addRow("overwrites") << latin1("old=2") << latin1("old=2");
        QTest::addRow("text after a second equals sign is ignored")
            << latin1("a=1=2") << latin1("a=1|old=0");
        QTest::addRow("empty value") << latin1("a=") << latin1("a=|old=0");
        QTest::addRow("empty name") << latin1("=1") << latin1("=1|old=0");
        QTest::addRow("empty") << QString() << QString();
        QTest::addRow("trailing separator") << latin1("a=1;") << QString();
        QTest::addRow("leading separator") << latin1(";a=1") << QString();
        QTest::addRow("no equals sign") << latin1("a=1;b;c=2") << QString();
    }
    void parsesMeasurementPairs()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QMap<QString, QString> values = {{latin1("old"), latin1("0")}};
        QCOMPARE(DataParser::parseMeasurementPairs(text, values), !expected.isEmpty());
        QCOMPARE(joined(values), expected);
    }

    void parsesLogTitles_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("result");
        const QString good = latin1("$ log --read=0\r\n00000=a,b#7c");
        const QString bad = latin1("$ log --read=0\r\n00000=a,c#7c");
        QTest::addRow("good") << good << matched;
        QTest::addRow("more white space after the prompt")
            << latin1("$ \t log --read=0\r\n00000=a,b#7c") << matched;
        QTest::addRow("empty record") << logTitlesReply(QString()) << matched;
        QTest::addRow("non-ASCII character") << logTitlesReply(latin1("T/\xb0")) << matched;
        QTest::addRow("no prompt") << good.mid(2) << noMatch;
        QTest::addRow("no white space after the prompt")
            << latin1("$log --read=0\r\n00000=a,b#7c") << noMatch;
        QTest::addRow("fewer leading zeros") << latin1("$ log --read=0\r\n0000=a,b#7c") << noMatch;
        QTest::addRow("another row") << logRowReply(1, latin1("00001"), latin1("a,b")) << noMatch;
        QTest::addRow("no checksum") << good.chopped(3) << noMatch;
        QTest::addRow("checksum of one digit") << good.chopped(1) << noMatch;
        QTest::addRow("non-hexadecimal checksum") << good.chopped(2) + latin1("zz") << noMatch;
        QTest::addRow("wrong checksum") << bad << mismatch;
        QTest::addRow("wrong checksum, then a valid line")
            << bad + latin1("\r\n") + good << mismatch;
    }
    void parsesLogTitles()
    {
        QFETCH(QString, text);
        QFETCH(int, result);
        QStringList titles;
        QCOMPARE(static_cast<int>(DataParser::parseLogTitles(text, titles)), result);
    }

    void keepsEmptyFieldsOfLogTitles()
    {
        QStringList titles;
        DataParser::parseLogTitles(logTitlesReply(latin1("a,,b,")), titles);
        QCOMPARE(titles, QStringList({latin1("a"), QString(), latin1("b"), QString()}));
        QCOMPARE(DataParser::splitLogFields(QString()), QStringList(QString()));
    }

    void parsesLogValue_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("result");
        const QString number = latin1("00001");
        const QString record = latin1("2017-11-13T10:20:30,1.5");
        const QString good = logRowReply(1, number, record);
        const QString bad = latin1("log --read=1\r\n00001=3017-11-13T10:20:30,1.5#ea");
        QTest::addRow("five digits") << good << matched;
        QTest::addRow("one digit") << logRowReply(1, latin1("1"), record) << matched;
        QTest::addRow("time only") << logRowReply(1, number, record.chopped(4)) << matched;
        QTest::addRow("invalid time") << logRowReply(1, number, latin1("yesterday,1")) << matched;
        QTest::addRow("empty record") << logRowReply(1, number, QString()) << matched;
        QTest::addRow("non-ASCII character") << logRowReply(1, number, latin1("\xe4,1")) << matched;
        QTest::addRow("another entry number") << logRowReply(1, latin1("00012"), record) << noMatch;
        QTest::addRow("reply to another command")
            << logRowReply(12, latin1("00012"), record) << noMatch;
        QTest::addRow("entry number that exceeds int")
            << logRowReply(1, latin1("99999999999"), record) << noMatch;
        QTest::addRow("non-numeric field")
            << logRowReply(1, number, record + latin1(",x")) << noMatch;
        QTest::addRow("non-numeric field and wrong checksum")
            << latin1("log --read=1\r\n00001=2017-11-13T10:20:30,x#00") << noMatch;
        QTest::addRow("empty field") << logRowReply(1, number, record + latin1(",")) << noMatch;
        QTest::addRow("non-hexadecimal checksum") << good.chopped(2) + latin1("g0") << noMatch;
        QTest::addRow("wrong checksum") << bad << mismatch;
        QTest::addRow("wrong checksum, then a valid line")
            << bad + latin1("\r\n") + good << noMatch;
    }
    void parsesLogValue()
    {
        QFETCH(QString, text);
        QFETCH(int, result);
        QDateTime time;
        QVector<double> values;
        QCOMPARE(static_cast<int>(DataParser::parseLogValue(text, 1, time, values)), result);
    }

    void parsesLogRecord_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("good");
        QTest::addColumn<bool>("validTime");
        QTest::addColumn<QString>("values");
        QTest::addRow("numbers") << latin1("2017-11-13T10:20:30,1,-2.5,3e2") << true << true
                                 << latin1("1|-2.5|300");
        QTest::addRow("time only") << latin1("2017-11-13T10:20:30") << true << true << QString();
        QTest::addRow("invalid time") << latin1("now,7") << true << false << latin1("7");
        QTest::addRow("empty") << QString() << true << false << QString();
        QTest::addRow("non-numeric last field")
            << latin1("2017-11-13T10:20:30,1,N") << false << true << QString();
        QTest::addRow("empty field")
            << latin1("2017-11-13T10:20:30,,1") << false << true << QString();
    }
    void parsesLogRecord()
    {
        QFETCH(QString, text);
        QFETCH(bool, good);
        QFETCH(bool, validTime);
        QFETCH(QString, values);
        QDateTime time;
        QVector<double> numbers = {99};
        QCOMPARE(DataParser::parseLogRecord(text, time, numbers), good);
        QCOMPARE(time.isValid(), validTime);
        QCOMPARE(joined(numbers), values);
    }

    void timeOfLogRecordIsInUtcWhateverItsOffset()
    {
        for (const char *zone : {"", "Z", "+05:00"}) {
            QDateTime time;
            QVector<double> values;
            QVERIFY(DataParser::parseLogRecord(latin1("2017-11-13T10:20:30") + latin1(zone), time,
                                               values));
            QCOMPARE(time.timeSpec(), Qt::UTC);
            QCOMPARE(time, QDateTime(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC));
        }
    }

    void comparesTheChecksum()
    {
        QVERIFY(DataParser::crcMatches(QString(), 0));
        QVERIFY(DataParser::crcMatches(latin1("123456789"), 0xa2));
        QVERIFY(!DataParser::crcMatches(latin1("123456789"), 0xa3));
        QVERIFY(!DataParser::crcMatches(latin1("123456789"), 0x1a2));
        QVERIFY(DataParser::crcMatches(latin1("20\xb0"), 0x5c));
        QVERIFY(!DataParser::crcMatches(latin1("20\xb0"), 0xffffffff));
    }

    void parsesEepromBlock_data()
    {
        QTest::addColumn<QString>("digits");
        QTest::addColumn<QByteArray>("data");
        QByteArray allBytes;
        for (int byte = 0; byte < 256; ++byte) {
            allBytes += static_cast<char>(byte);
        }
        const QString allDigits = QString::fromLatin1(allBytes.toHex());
        QTest::addRow("every byte") << allDigits << allBytes;
        QTest::addRow("upper case") << allDigits.toUpper() << allBytes;
        QTest::addRow("odd last digit is dropped") << latin1("0a0b0") << QByteArray("\x0a\x0b");
        QTest::addRow("one digit") << latin1("0") << QByteArray();
        QTest::addRow("odd last character is dropped") << latin1("0ag") << QByteArray("\x0a");
        QTest::addRow("empty") << QString() << QByteArray();
    }
    void parsesEepromBlock()
    {
        QFETCH(QString, digits);
        QFETCH(QByteArray, data);
        for (const quint16 block : std::initializer_list<quint16>{0, 1023, 65535}) {
            QByteArray result;
            QVERIFY(DataParser::parseEepromBlock(eepromBlockReply(block, digits), block, result));
            QCOMPARE(result, data);
        }
    }

    void rejectsEepromBlockWithWrongDigitsOrIndex()
    {
        QByteArray result = "old";
        QVERIFY(!DataParser::parseEepromBlock(eepromBlockReply(7, latin1("0A0G0B")), 7, result));
        QVERIFY(result.isEmpty());
        // A block is not confused with one whose number has the same prefix.
        QVERIFY(!DataParser::parseEepromBlock(eepromBlockReply(70, latin1("0A")), 7, result));
        QVERIFY(!DataParser::parseEepromBlock(eepromBlockReply(7, latin1("0A")), 70, result));
    }

    void parsesInt()
    {
        const QMap<QString, int> numbers = {{latin1("0"), 0},
                                            {latin1("0012"), 12},
                                            {latin1("-5"), -5},
                                            {latin1("2147483647"), 2147483647}};
        int result = 77;
        for (auto it = numbers.cbegin(); it != numbers.cend(); ++it) {
            QVERIFY(DataParser::parseInt(it.key(), result));
            QCOMPARE(result, it.value());
        }
        for (const char *text : {"2147483648", "0x10", "", "12a"}) {
            QVERIFY2(!DataParser::parseInt(latin1(text), result), text);
        }
    }

    void parsesHex()
    {
        const QMap<QString, unsigned> numbers = {{latin1("00"), 0},
                                                 {latin1("A2"), 0xa2},
                                                 {latin1("a2"), 0xa2},
                                                 {latin1("f"), 15},
                                                 {latin1("ffffffff"), 0xffffffff}};
        unsigned result = 77;
        for (auto it = numbers.cbegin(); it != numbers.cend(); ++it) {
            QVERIFY(DataParser::parseHex(it.key(), result));
            QCOMPARE(result, it.value());
        }
        for (const char *text : {"100000000", "", "g0", "_1"}) {
            QVERIFY2(!DataParser::parseHex(latin1(text), result), text);
        }
        QVERIFY(!DataParser::parseHex(QString(), result));
    }

    void comparesTextWithInt()
    {
        QVERIFY(DataParser::intEquals(latin1("00012"), 12));
        QVERIFY(!DataParser::intEquals(latin1("00012"), 13));
        QVERIFY(!DataParser::intEquals(latin1("x"), 0));
        QVERIFY(!DataParser::intEquals(QString(), 0));
    }
};

KV_TEST_CORE_MAIN(TestDataParserRecords)
#include "tst_dataparserrecords.moc"
