// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/dataparser.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>

class TestDataParserRecords : public QObject
{
    Q_OBJECT

private slots:
    void measurementPairs_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("good");
        QTest::addColumn<QString>("expected");
        QTest::newRow("one") << latin1("a=1") << true << latin1("a=1|old=0");
        QTest::newRow("two") << latin1("a=1;b=N") << true << latin1("a=1|b=N|old=0");
        QTest::newRow("overwrites") << latin1("old=2") << true << latin1("old=2");
        QTest::newRow("third piece is ignored") << latin1("a=1=2") << true << latin1("a=1|old=0");
        QTest::newRow("empty value") << latin1("a=") << true << latin1("a=|old=0");
        QTest::newRow("empty name") << latin1("=1") << true << latin1("=1|old=0");
        QTest::newRow("empty") << QString() << false << QString();
        QTest::newRow("trailing separator") << latin1("a=1;") << false << QString();
        QTest::newRow("leading separator") << latin1(";a=1") << false << QString();
        QTest::newRow("no sign of equality") << latin1("a=1;b;c=2") << false << QString();
    }

    void measurementPairs()
    {
        QFETCH(QString, text);
        QFETCH(bool, good);
        QFETCH(QString, expected);
        QMap<QString, QString> values = {{latin1("old"), latin1("0")}};
        QCOMPARE(DataParser::parseMeasurementPairs(text, values), good);
        QCOMPARE(joined(values), expected);
    }

    void logTitles_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("result");
        const int matched = int(DataParserResult::Matched);
        const int noMatch = int(DataParserResult::NoMatch);
        const int mismatch = int(DataParserResult::ChecksumMismatch);
        const QString good = latin1("a,b#") + checksumOf(latin1("a,b"));
        const QString echo = latin1("$ log --read=0\r\n");
        QTest::newRow("good") << echo + latin1("00000=") + good << matched;
        QTest::newRow("more space after the prompt")
            << latin1("$ \t log --read=0\r\n00000=") + good << matched;
        QTest::newRow("nothing in the record") << echo + latin1("00000=#00") << matched;
        QTest::newRow("no prompt") << latin1("log --read=0\r\n00000=") + good << noMatch;
        QTest::newRow("no space after the prompt")
            << latin1("$log --read=0\r\n00000=") + good << noMatch;
        QTest::newRow("fewer zeros") << echo + latin1("0000=") + good << noMatch;
        QTest::newRow("another row") << latin1("$ log --read=1\r\n00001=") + good << noMatch;
        QTest::newRow("no checksum") << echo + latin1("00000=a,b") << noMatch;
        QTest::newRow("half a checksum")
            << echo + latin1("00000=a,b#") + good.right(2).left(1) << noMatch;
        QTest::newRow("checksum of other letters") << echo + latin1("00000=a,b#zz") << noMatch;
        QTest::newRow("wrong checksum") << echo + latin1("00000=a,c#") + good.right(2) << mismatch;
        QTest::newRow("letter beyond ASCII") << echo
                + logLine(latin1("00000"),
                          latin1("T/\xb0"
                                 "C")) << matched;
        QTest::newRow("bad and good line together") << echo + latin1("00000=a,c#") + good.right(2)
                + latin1("\r\n") + echo + latin1("00000=")
                + good << mismatch;
    }

    void logTitles()
    {
        QFETCH(QString, text);
        QFETCH(int, result);
        QStringList titles;
        QCOMPARE(int(DataParser::parseLogTitles(text, titles)), result);
    }

    void logTitlesKeepEmptyFields()
    {
        QStringList titles;
        QCOMPARE(int(DataParser::parseLogTitles(titlesReply(latin1("a,,b,")), titles)),
                 int(DataParserResult::Matched));
        QCOMPARE(titles, QStringList({latin1("a"), QString(), latin1("b"), QString()}));
        QCOMPARE(DataParser::splitLogFields(QString()), QStringList({QString()}));
    }

    void logValue_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("result");
        const int matched = int(DataParserResult::Matched);
        const int noMatch = int(DataParserResult::NoMatch);
        const int mismatch = int(DataParserResult::ChecksumMismatch);
        const QString record = latin1("2017-11-13T10:20:30,1.5");
        const QString good = latin1("2017-11-13T10:20:30,1.5#") + checksumOf(record);
        QTest::newRow("five digits") << rowReply(1, latin1("00001"), record) << 1 << matched;
        QTest::newRow("one digit") << rowReply(1, latin1("1"), record) << 1 << matched;
        QTest::newRow("highest five digits")
            << rowReply(99999, latin1("99999"), record) << 99999 << matched;
        QTest::newRow("no fields but the time")
            << rowReply(1, latin1("00001"), latin1("2017-11-13T10:20:30")) << 1 << matched;
        QTest::newRow("time that is none")
            << rowReply(1, latin1("00001"), latin1("yesterday,1")) << 1 << matched;
        QTest::newRow("nothing in the record")
            << rowReply(1, latin1("00001"), QString()) << 1 << matched;
        QTest::newRow("other entry number") << rowReply(1, latin1("00012"), record) << 1 << noMatch;
        QTest::newRow("reply to another command")
            << rowReply(12, latin1("00012"), record) << 1 << noMatch;
        QTest::newRow("entry number beyond int")
            << rowReply(1, latin1("99999999999"), record) << 1 << noMatch;
        QTest::newRow("field that is no number, wrong checksum too")
            << latin1("log --read=1\r\n00001=2017-11-13T10:20:30,x#00") << 1 << noMatch;
        QTest::newRow("field that is no number, right checksum")
            << rowReply(1, latin1("00001"), latin1("2017-11-13T10:20:30,1,x")) << 1 << noMatch;
        QTest::newRow("empty field")
            << rowReply(1, latin1("00001"), latin1("2017-11-13T10:20:30,1,")) << 1 << noMatch;
        QTest::newRow("checksum of other letters")
            << latin1("log --read=1\r\n00001=2017-11-13T10:20:30,1#g0") << 1 << noMatch;
        QTest::newRow("wrong checksum")
            << latin1("log --read=1\r\n00001=") + latin1("3") + good.mid(1) << 1 << mismatch;
        QTest::newRow("wrong checksum of a good record")
            << latin1("log --read=1\r\n00001=") + record + latin1("#")
                + (checksumOf(record) == latin1("00") ? latin1("01") : latin1("00"))
            << 1 << mismatch;
        QTest::newRow("letter beyond ASCII in the time")
            << rowReply(1, latin1("00001"), latin1("\xe4,1")) << 1 << matched;
        QTest::newRow("bad and good line together") << latin1("log --read=1\r\n00001=3")
                + good.mid(1) + latin1("\r\n") + rowReply(1, latin1("00001"), record)
                                                    << 1 << noMatch;
    }

    void logValue()
    {
        QFETCH(QString, text);
        QFETCH(int, index);
        QFETCH(int, result);
        QDateTime time;
        QVector<double> values;
        QCOMPARE(int(DataParser::parseLogValue(text, index, time, values)), result);
    }

    void logRecord_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("good");
        QTest::addColumn<bool>("validTime");
        QTest::addColumn<QString>("values");
        QTest::newRow("numbers") << latin1("2017-11-13T10:20:30,1,-2.5,3e2") << true << true
                                 << latin1("1|-2.5|300");
        QTest::newRow("time alone") << latin1("2017-11-13T10:20:30") << true << true << QString();
        QTest::newRow("bad time") << latin1("now,7") << true << false << latin1("7");
        QTest::newRow("empty") << QString() << true << false << QString();
        QTest::newRow("bad last field")
            << latin1("2017-11-13T10:20:30,1,N") << false << true << QString();
        QTest::newRow("empty field")
            << latin1("2017-11-13T10:20:30,,1") << false << true << QString();
    }

    void logRecord()
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

    void logRecordIsInUtcWhateverItsZone_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("no zone") << latin1("2017-11-13T10:20:30");
        QTest::newRow("UTC") << latin1("2017-11-13T10:20:30Z");
        QTest::newRow("an offset") << latin1("2017-11-13T10:20:30+05:00");
    }

    void logRecordIsInUtcWhateverItsZone()
    {
        QFETCH(QString, text);
        QDateTime time;
        QVector<double> values;
        QVERIFY(DataParser::parseLogRecord(text, time, values));
        QCOMPARE(time.timeSpec(), Qt::UTC);
        QCOMPARE(time, QDateTime(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC));
    }

    void checksum_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<unsigned>("expected");
        QTest::addColumn<bool>("good");
        QTest::newRow("empty") << QString() << 0u << true;
        QTest::newRow("check value") << latin1("123456789") << 0xa2u << true;
        QTest::newRow("one bit off") << latin1("123456789") << 0xa3u << false;
        QTest::newRow("high bits count") << latin1("123456789") << 0x1a2u << false;
        QTest::newRow("beyond ASCII")
            << latin1("20\xb0") << checksumOf(latin1("20\xb0")).toUInt(nullptr, 16) << true;
        QTest::newRow("beyond ASCII, all bits") << latin1("20\xb0") << 0xffffffffu << false;
    }

    void checksum()
    {
        QFETCH(QString, text);
        QFETCH(unsigned, expected);
        QFETCH(bool, good);
        QCOMPARE(DataParser::crcMatches(text, expected), good);
    }

    void eepromBlock_data()
    {
        QTest::addColumn<QString>("digits");
        QTest::addColumn<QByteArray>("data");
        QString allDigits;
        QByteArray allBytes;
        for (int byte = 0; byte < 256; ++byte) {
            allDigits += latin1("%1").arg(byte, 2, 16, QLatin1Char('0'));
            allBytes += static_cast<char>(byte);
        }
        QTest::newRow("every byte") << allDigits << allBytes;
        QTest::newRow("upper case") << allDigits.toUpper() << allBytes;
        QTest::newRow("odd last digit is dropped") << latin1("0a0b0") << QByteArray("\x0a\x0b");
        QTest::newRow("one digit") << latin1("0") << QByteArray();
        QTest::newRow("odd last letter is dropped") << latin1("0ag") << QByteArray("\x0a");
        QTest::newRow("empty") << QString() << QByteArray();
        QTest::newRow("64 bytes") << latin1("5A").repeated(64) << QByteArray(64, 'Z');
    }

    void eepromBlock()
    {
        QFETCH(QString, digits);
        QFETCH(QByteArray, data);
        QByteArray result;
        QVERIFY(DataParser::parseEepromBlock(eepromReply(1023, digits), 1023, result));
        QCOMPARE(result, data);
    }

    void eepromBlockOfBadDigitsEmptiesTheData()
    {
        QByteArray result = "old";
        QVERIFY(!DataParser::parseEepromBlock(eepromReply(7, latin1("0A0G0B")), 7, result));
        QVERIFY(result.isEmpty());
        // The line of another block, or of one whose number begins alike, is not this one's.
        QVERIFY(!DataParser::parseEepromBlock(eepromReply(70, latin1("0A")), 7, result));
        QVERIFY(!DataParser::parseEepromBlock(eepromReply(7, latin1("0A")), 70, result));
    }

    void eepromBlockNumberIsUnsigned()
    {
        QByteArray result;
        QVERIFY(DataParser::parseEepromBlock(eepromReply(65535, latin1("0A")), 65535, result));
        QCOMPARE(result, QByteArray("\x0a"));
    }

    void parseInt_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("good");
        QTest::addColumn<int>("value");
        QTest::newRow("zero") << latin1("0") << true << 0;
        QTest::newRow("leading zeros") << latin1("0012") << true << 12;
        QTest::newRow("negative") << latin1("-5") << true << -5;
        QTest::newRow("highest") << latin1("2147483647") << true << 2147483647;
        QTest::newRow("too high") << latin1("2147483648") << false << 0;
        QTest::newRow("hexadecimal") << latin1("0x10") << false << 0;
        QTest::newRow("empty") << QString() << false << 0;
        QTest::newRow("letters") << latin1("12a") << false << 0;
    }

    void parseInt()
    {
        QFETCH(QString, text);
        QFETCH(bool, good);
        QFETCH(int, value);
        int result = 77;
        QCOMPARE(DataParser::parseInt(text, result), good);
        if (good) {
            QCOMPARE(result, value);
        }
    }

    void parseHex_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("good");
        QTest::addColumn<unsigned>("value");
        QTest::newRow("zero") << latin1("00") << true << 0u;
        QTest::newRow("upper case") << latin1("A2") << true << 0xa2u;
        QTest::newRow("lower case") << latin1("a2") << true << 0xa2u;
        QTest::newRow("one digit") << latin1("f") << true << 15u;
        QTest::newRow("highest") << latin1("ffffffff") << true << 0xffffffffu;
        QTest::newRow("too high") << latin1("100000000") << false << 0u;
        QTest::newRow("empty") << QString() << false << 0u;
        QTest::newRow("null") << QStringLiteral("") << false << 0u;
        QTest::newRow("other letters") << latin1("g0") << false << 0u;
        QTest::newRow("underscore") << latin1("_1") << false << 0u;
    }

    void parseHex()
    {
        QFETCH(QString, text);
        QFETCH(bool, good);
        QFETCH(unsigned, value);
        unsigned result = 77;
        QCOMPARE(DataParser::parseHex(text, result), good);
        if (good) {
            QCOMPARE(result, value);
        }
    }

    void intEquals()
    {
        QVERIFY(DataParser::intEquals(latin1("00012"), 12));
        QVERIFY(!DataParser::intEquals(latin1("00012"), 13));
        QVERIFY(!DataParser::intEquals(latin1("x"), 0));
        QVERIFY(!DataParser::intEquals(QString(), 0));
    }
};

KV_TEST_CORE_MAIN(TestDataParserRecords)
#include "tst_dataparserrecords.moc"
