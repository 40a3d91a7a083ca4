// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/devicedesk.h"

#include <QtTest/QtTest>

using namespace Simulator;

namespace {

const char versionAnswer[] = "show: swver=2.4.1\r\n";

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void refusesWhatIsNoFault_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char *text : {"", "thunder", "silence@", "bad-checksum@first", "final-star@3",
                                 "block-refused@next@", "-always", "delay:", "delay:-1",
                                 "delay@1:soon", "delay:20000@show altitude"}) {
            QTest::addRow("%s", text) << QByteArray(text);
        }
    }

    void refusesWhatIsNoFault()
    {
        QFETCH(QByteArray, text);
        Faults faults;
        QByteArray error;
        QVERIFY(!faults.add(text, error));
        QVERIFY(!error.isEmpty());
    }

    void knowsEachKind_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const FaultKindInfo &info : faultKinds()) {
            QTest::addRow("%s", info.name) << QByteArray(info.name);
        }
    }

    void knowsEachKind()
    {
        QFETCH(QByteArray, text);
        Faults faults;
        QByteArray error;
        QVERIFY(faults.add(text, error));
        QVERIFY(faults.add(text + ":5", error));
        QVERIFY(faults.add(text + "-always:5", error));
    }

    void strikesAtItsPlace_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("struckExchanges");
        QTest::addRow("everywhere") << QByteArray("silence") << QByteArray("12345");
        QTest::addRow("one exchange") << QByteArray("silence@2") << QByteArray("2");
        QTest::addRow("from one on") << QByteArray("silence@3+") << QByteArray("345");
        QTest::addRow("next") << QByteArray("silence@next") << QByteArray("1");
        QTest::addRow("next on") << QByteArray("silence@next+") << QByteArray("12345");
        QTest::addRow("a command once") << QByteArray("silence@show b") << QByteArray("2");
        QTest::addRow("a command each time") << QByteArray("silence@show b+") << QByteArray("24");
        QTest::addRow("a command always")
            << QByteArray("silence-always@show b") << QByteArray("24");
        QTest::addRow("another command") << QByteArray("silence@set") << QByteArray("");
    }

    void strikesAtItsPlace()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, struckExchanges);
        Faults faults;
        QByteArray error;
        QVERIFY(faults.add(fault, error));
        QByteArray struck;
        for (const char *command : {"show a", "show bat", "show c", "show bit", "show e"}) {
            faults.beginExchange(command);
            if (faults.strikeExchange(FaultKind::Silence)) {
                struck += QByteArray::number(faults.exchange());
            }
            QVERIFY(!faults.strikeExchange(FaultKind::Nul));
        }
        QCOMPARE(struck, struckExchanges);
    }

    void strikesAtRowsAndBlocks_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("struckRows");
        QTest::addRow("everywhere") << QByteArray("bad-checksum") << QByteArray("0123123");
        QTest::addRow("once") << QByteArray("bad-checksum@2") << QByteArray("2");
        QTest::addRow("titles") << QByteArray("bad-checksum@0") << QByteArray("0");
        QTest::addRow("always") << QByteArray("bad-checksum-always@2") << QByteArray("22");
        QTest::addRow("from there on") << QByteArray("bad-checksum@2+") << QByteArray("2323");
    }

    void strikesAtRowsAndBlocks()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, struckRows);
        Faults faults;
        QByteArray error;
        QVERIFY(faults.add(fault, error));
        QByteArray struck;
        for (const int row : {0, 1, 2, 3, 1, 2, 3}) {
            if (faults.strikeAt(FaultKind::BadChecksum, row)) {
                struck += QByteArray::number(row);
            }
        }
        QCOMPARE(struck, struckRows);
    }

    void isGoneWhenCleared()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("silence"));
        QCOMPARE(desk.type("show swver"), QByteArray());
        desk.device.faults().clear();
        QCOMPARE(desk.answer("show swver"), QByteArray(versionAnswer));
    }

    void saysNothingAtOneExchange()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("silence@2"));
        QCOMPARE(desk.answer("show swver"), QByteArray(versionAnswer));
        QCOMPARE(desk.type("show swver"), QByteArray("show swver\r\n"));
        QCOMPARE(desk.answer("show swver"), QByteArray(versionAnswer));
        QCOMPARE(desk.events,
                 (QList<QByteArray>{"command show swver", "command show swver", "fault silence@2",
                                    "command show swver"}));
    }

    void saysNothingFromAnExchangeOn()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("silence@2+"));
        QCOMPARE(desk.answer("show swver"), QByteArray(versionAnswer));
        QCOMPARE(desk.type("show swver"), QByteArray("show swver\r\n"));
        QCOMPARE(desk.type("show swver"), QByteArray());
        QCOMPARE(desk.type(""), QByteArray());
    }

    void takesASettingThoughItSaysNothing()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("silence@set"));
        desk.type("set altitude=5");
        QCOMPARE(desk.answer("show altitude"), QByteArray("show: altitude=5\r\n"));
    }

    void answersLate()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("delay@1:80"));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(desk.type("show swver"), QByteArray("show swver\r\n"));
        desk.device.receive("show hwver\r\n");
        QCOMPARE(desk.output, QByteArray("show swver\r\n"));
        QTRY_VERIFY(desk.output.endsWith("show: hwver=B\r\nKVT $ "));
        QVERIFY(timer.elapsed() >= 75);
        QVERIFY(desk.output.contains(versionAnswer));
    }

    void answersInSingleBytes_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<int>("gapMs");
        QTest::addRow("one exchange") << QByteArray("single-bytes@1") << 1;
        QTest::addRow("gap") << QByteArray("single-bytes@1:4") << 4;
        QTest::addRow("always") << QByteArray("single-bytes:3") << 3;
    }

    void answersInSingleBytes()
    {
        QFETCH(QByteArray, fault);
        QFETCH(int, gapMs);
        DeviceDesk desk;
        QVERIFY(desk.fault(fault));
        QCOMPARE(desk.answer("show swver"), QByteArray(versionAnswer));
        bool found = false;
        for (const DeviceDesk::Piece &piece : qAsConst(desk.pieces)) {
            if (piece.bytes == versionAnswer) {
                QCOMPARE(piece.delivery, Delivery::SingleBytes);
                QCOMPARE(piece.gapMs, gapMs);
                found = true;
            }
        }
        QVERIFY(found);
    }

    void spoilsTheAnswer_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("answer");
        const QByteArray whole = versionAnswer;
        QTest::addRow("lost byte") << QByteArray("lost-byte@1:7") << QByteArray(whole).remove(6, 1);
        QTest::addRow("middle byte lost")
            << QByteArray("lost-byte") << QByteArray(whole).remove(9, 1);
        QTest::addRow("byte lost behind the end")
            << QByteArray("lost-byte@1:500") << whole.left(whole.size() - 1);
        QTest::addRow("flipped bit")
            << QByteArray("flipped-bit@1:1") << QByteArray(whole).replace(0, 1, "r");
        QTest::addRow("nul") << QByteArray("nul@1:3") << QByteArray(whole).insert(2, '\0');
        QTest::addRow("nul in the middle")
            << QByteArray("nul@show") << QByteArray(whole).insert(9, '\0');
    }

    void spoilsTheAnswer()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, answer);
        DeviceDesk desk;
        QVERIFY(desk.fault(fault));
        QCOMPARE(desk.answer("show swver"), answer);
    }

    void chattersThoughSwitchedOff()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("chatter@1:20"));
        QSignalSpy before(&desk.device, &Device::transmit);
        QVERIFY(!before.wait(300));
        desk.type("set debug=0");
        desk.output.clear();
        QTRY_VERIFY(desk.output.count("# adc0 ") > 3);
    }

    void holdsChatterBackDuringAnAnswer()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.writeMs = 300;
        DeviceDesk desk(options);
        QVERIFY(desk.fault("chatter:20"));
        QTRY_VERIFY(desk.output.contains("# adc0 "));
        desk.type("write --really");
        QTRY_VERIFY(desk.output.contains("bytes written!"));
        QVERIFY(desk.output.contains("memory... "));
    }

    void callsItselfByAnotherName_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("name");
        QTest::addRow("its own") << QByteArray("unknown-model") << QByteArray("KVT-900");
        QTest::addRow("given") << QByteArray("unknown-model:XYZ 1") << QByteArray("XYZ 1");
    }

    void callsItselfByAnotherName()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, name);
        DeviceDesk desk;
        QVERIFY(desk.fault(fault));
        QVERIFY(desk.answer("show unit").contains("\r\nModel: " + name + "\r\nSerial: "));
        QCOMPARE(desk.answer("show model"), "show: model=" + name + "\r\n");
    }

    void losesTheLine_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("output");
        QTest::addRow("at once") << QByteArray("hangup@2") << QByteArray("show swver\r\n");
        QTest::addRow("within the answer")
            << QByteArray("hangup@2:6") << QByteArray("show swver\r\nshow: ");
        QTest::addRow("within the next echo")
            << QByteArray("hangup@2:29")
            << QByteArray("show swver\r\nshow: swver=2.4.1\r\nKVT $ show");
    }

    void losesTheLine()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, output);
        DeviceDesk desk;
        QVERIFY(desk.fault(fault));
        desk.type("show hwver");
        QCOMPARE(desk.hangUps, 0);
        desk.type("show swver");
        desk.device.receive("show hwver\r\n");
        QCOMPARE(desk.output, output);
        QCOMPARE(desk.hangUps, 1);

        desk.device.lineRestored();
        QCOMPARE(desk.answer("show swver"), QByteArray(versionAnswer));
    }

    void losesTheLineAfterSomeBytesOfABlock()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("hangup-input:10"));
        desk.device.receive("eeprom --write_block 3\r\n123456789");
        QCOMPARE(desk.hangUps, 0);
        desk.device.receive("0");
        QCOMPARE(desk.hangUps, 1);
    }

    void holdsAnAnswerBackUntilTheNext()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("glued-replies@1"));
        QCOMPARE(desk.type("show swver"), QByteArray("show swver\r\n"));
        desk.pieces.clear();
        desk.type("show hwver");
        QCOMPARE(desk.pieces.size(), 1);
        QCOMPARE(desk.pieces.first().delivery, Delivery::OneChunk);
        QCOMPARE(desk.output,
                 QByteArray("show: swver=2.4.1\r\nKVT $ show hwver\r\nshow: hwver=B\r\nKVT $ "));
        QCOMPARE(desk.answer("show hwver"), QByteArray("show: hwver=B\r\n"));
    }

    void spoilsALogLine_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<int>("row");
        QTest::addColumn<QByteArray>("difference");
        QTest::addRow("checksum") << QByteArray("bad-checksum@3") << 3 << QByteArray("checksum");
        QTest::addRow("titles' checksum")
            << QByteArray("bad-checksum@0") << 0 << QByteArray("checksum");
        QTest::addRow("number") << QByteArray("wrong-entry@3") << 3 << QByteArray("number");
        QTest::addRow("record") << QByteArray("malformed-record@3") << 3 << QByteArray("record");
    }

    void spoilsALogLine()
    {
        QFETCH(QByteArray, fault);
        QFETCH(int, row);
        QFETCH(QByteArray, difference);
        DeviceDesk desk;
        const QByteArray command = "log --read=" + QByteArray::number(row);
        const QByteArray sound = desk.answer(command).trimmed();
        QVERIFY(desk.fault(fault));
        desk.answer("log --read=2");
        const QByteArray spoilt = desk.answer(command).trimmed();
        QCOMPARE(spoilt.left(5) != sound.left(5), difference == "number");
        QCOMPARE(spoilt.mid(5, spoilt.size() - 7) != sound.mid(5, sound.size() - 7),
                 difference == "record");
        QCOMPARE(spoilt.right(2) != sound.right(2), difference != "number");
        QCOMPARE(desk.answer(command).trimmed(), sound);
    }

    void keepsTheChecksumRightOverAMalformedRecord()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("malformed-record@3"));
        const QByteArray line = desk.answer("log --read=3").trimmed();
        const QByteArray record = line.mid(6, line.size() - 9);
        QVERIFY(record.endsWith(",over"));
        QCOMPARE(line.right(2).toInt(nullptr, 16), int(recordChecksum(record)));
    }

    void leavesTheChecksumOffMalformedTitles()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("malformed-record@0"));
        QCOMPARE(desk.answer("log --read=0"), QByteArray("00000=Time,W0,W1,W2,A2,A4,LUX\r\n"));
    }

    void givesSomethingElseThanHexadecimalDigits()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("malformed-block@5"));
        QVERIFY(!desk.answer("eeprom --read_block 4").contains("zz"));
        QVERIFY(desk.answer("eeprom --read_block 5").contains("zz"));
        QVERIFY(!desk.answer("eeprom --read_block 5").contains("zz"));
    }
};

KV_TEST_CORE_MAIN(TestFaults)

#include "tst_faults.moc"
