// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/deviceharness.h"

#include <QtTest/QtTest>

using namespace Simulator;

namespace {

const char versionAnswer[] = "show: swver=2.4.1\r\n";

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void refusesAnInvalidFault_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char *text : {"", "thunder", "silence@", "bad-checksum@first", "final-star@3",
                                 "block-refused@next@", "-always", "delay:", "delay:-1",
                                 "delay@1:soon", "delay:20000@show altitude"}) {
            QTest::addRow("%s", text) << QByteArray(text);
        }
    }

    void refusesAnInvalidFault()
    {
        QFETCH(QByteArray, text);
        Faults faults;
        QByteArray error;
        QVERIFY(!faults.add(text, error));
        QVERIFY(!error.isEmpty());
    }

    void acceptsEachKind_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const FaultKindInfo &info : faultKinds()) {
            QTest::addRow("%s", info.name) << QByteArray(info.name);
        }
    }

    void acceptsEachKind()
    {
        QFETCH(QByteArray, text);
        Faults faults;
        QByteArray error;
        QVERIFY(faults.add(text, error));
        QVERIFY(faults.add(text + ":5", error));
        QVERIFY(faults.add(text + "-always:5", error));
    }

    void occursAtItsPlace_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("exchanges");
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

    void occursAtItsPlace()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, exchanges);
        Faults faults;
        QByteArray error;
        QVERIFY(faults.add(fault, error));
        QByteArray seen;
        for (const char *command : {"show a", "show bat", "show c", "show bit", "show e"}) {
            faults.beginExchange(command);
            if (faults.triggersInExchange(FaultKind::Silence)) {
                seen += QByteArray::number(faults.exchange());
            }
            QVERIFY(!faults.triggersInExchange(FaultKind::Nul));
        }
        QCOMPARE(seen, exchanges);
    }

    void occursAtRowsAndBlocks_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("rows");
        QTest::addRow("everywhere") << QByteArray("bad-checksum") << QByteArray("0123123");
        QTest::addRow("once") << QByteArray("bad-checksum@2") << QByteArray("2");
        QTest::addRow("titles") << QByteArray("bad-checksum@0") << QByteArray("0");
        QTest::addRow("always") << QByteArray("bad-checksum-always@2") << QByteArray("22");
        QTest::addRow("from there on") << QByteArray("bad-checksum@2+") << QByteArray("2323");
    }

    void occursAtRowsAndBlocks()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, rows);
        Faults faults;
        QByteArray error;
        QVERIFY(faults.add(fault, error));
        QByteArray seen;
        for (const int row : {0, 1, 2, 3, 1, 2, 3}) {
            if (faults.triggersAt(FaultKind::BadChecksum, row)) {
                seen += QByteArray::number(row);
            }
        }
        QCOMPARE(seen, rows);
    }

    void endsWhenCleared()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("silence"));
        QCOMPARE(harness.type("show swver"), QByteArray());
        harness.device.faults().clear();
        QCOMPARE(harness.answer("show swver"), QByteArray(versionAnswer));
    }

    void givesNoAnswerInOneExchange()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("silence@2"));
        QCOMPARE(harness.answer("show swver"), QByteArray(versionAnswer));
        QCOMPARE(harness.type("show swver"), QByteArray("show swver\r\n"));
        QCOMPARE(harness.answer("show swver"), QByteArray(versionAnswer));
        QCOMPARE(harness.events,
                 (QList<QByteArray>{"command show swver", "command show swver", "fault silence@2",
                                    "command show swver"}));
    }

    void givesNoAnswerFromAnExchangeOn()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("silence@2+"));
        QCOMPARE(harness.answer("show swver"), QByteArray(versionAnswer));
        QCOMPARE(harness.type("show swver"), QByteArray("show swver\r\n"));
        QCOMPARE(harness.type("show swver"), QByteArray());
        QCOMPARE(harness.type(""), QByteArray());
    }

    void acceptsASettingWithoutAnAnswer()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("silence@set"));
        harness.type("set altitude=5");
        QCOMPARE(harness.answer("show altitude"), QByteArray("show: altitude=5\r\n"));
    }

    void answersLate()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("delay@1:80"));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(harness.type("show swver"), QByteArray("show swver\r\n"));
        harness.device.receive("show hwver\r\n");
        QCOMPARE(harness.output, QByteArray("show swver\r\n"));
        QTRY_VERIFY(harness.output.endsWith("show: hwver=B\r\nKVT $ "));
        QVERIFY(timer.elapsed() >= 75);
        QVERIFY(harness.output.contains(versionAnswer));
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
        DeviceHarness harness;
        QVERIFY(harness.fault(fault));
        QCOMPARE(harness.answer("show swver"), QByteArray(versionAnswer));
        bool found = false;
        for (const DeviceHarness::Piece &piece : qAsConst(harness.pieces)) {
            if (piece.bytes == versionAnswer) {
                QCOMPARE(piece.delivery, Delivery::SingleBytes);
                QCOMPARE(piece.gapMs, gapMs);
                found = true;
            }
        }
        QVERIFY(found);
    }

    void damagesTheAnswer_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("answer");
        const QByteArray whole = versionAnswer;
        QTest::addRow("lost byte") << QByteArray("lost-byte@1:7") << QByteArray(whole).remove(6, 1);
        QTest::addRow("middle byte lost")
            << QByteArray("lost-byte") << QByteArray(whole).remove(9, 1);
        QTest::addRow("byte lost after the end")
            << QByteArray("lost-byte@1:500") << whole.left(whole.size() - 1);
        QTest::addRow("flipped bit")
            << QByteArray("flipped-bit@1:1") << QByteArray(whole).replace(0, 1, "r");
        QTest::addRow("nul") << QByteArray("nul@1:3") << QByteArray(whole).insert(2, '\0');
        QTest::addRow("nul in the middle")
            << QByteArray("nul@show") << QByteArray(whole).insert(9, '\0');
    }

    void damagesTheAnswer()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, answer);
        DeviceHarness harness;
        QVERIFY(harness.fault(fault));
        QCOMPARE(harness.answer("show swver"), answer);
    }

    void printsDebugOutputAlthoughSwitchedOff()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("chatter@1:20"));
        QSignalSpy before(&harness.device, &Device::transmit);
        QVERIFY(!before.wait(300));
        harness.type("set debug=0");
        harness.output.clear();
        QTRY_VERIFY(harness.output.count("# adc0 ") > 3);
    }

    void delaysDebugOutputDuringAnAnswer()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.writeMs = 300; });
        QVERIFY(harness.fault("chatter:20"));
        QTRY_VERIFY(harness.output.contains("# adc0 "));
        harness.type("write --really");
        QTRY_VERIFY(harness.output.contains("bytes written!"));
        QVERIFY(harness.output.contains("memory... "));
    }

    void reportsAnotherModel_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("name");
        QTest::addRow("default") << QByteArray("unknown-model") << QByteArray("KVT-900");
        QTest::addRow("given") << QByteArray("unknown-model:XYZ 1") << QByteArray("XYZ 1");
    }

    void reportsAnotherModel()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, name);
        DeviceHarness harness;
        QVERIFY(harness.fault(fault));
        QVERIFY(harness.answer("show unit").contains("\r\nModel: " + name + "\r\nSerial: "));
        QCOMPARE(harness.answer("show model"), "show: model=" + name + "\r\n");
    }

    void hangsUp_data()
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

    void hangsUp()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, output);
        DeviceHarness harness;
        QVERIFY(harness.fault(fault));
        harness.type("show hwver");
        QCOMPARE(harness.hangUps, 0);
        harness.type("show swver");
        harness.device.receive("show hwver\r\n");
        QCOMPARE(harness.output, output);
        QCOMPARE(harness.hangUps, 1);

        harness.device.lineRestored();
        QCOMPARE(harness.answer("show swver"), QByteArray(versionAnswer));
    }

    void hangsUpAfterSomeBytesOfABlock()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("hangup-input:10"));
        harness.device.receive("eeprom --write_block 3\r\n123456789");
        QCOMPARE(harness.hangUps, 0);
        harness.device.receive("0");
        QCOMPARE(harness.hangUps, 1);
    }

    void holdsAnAnswerBackUntilTheNextOne()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("glued-replies@1"));
        QCOMPARE(harness.type("show swver"), QByteArray("show swver\r\n"));
        harness.pieces.clear();
        harness.type("show hwver");
        QCOMPARE(harness.pieces.size(), 1);
        QCOMPARE(harness.pieces.first().delivery, Delivery::OneChunk);
        QCOMPARE(harness.output,
                 QByteArray("show: swver=2.4.1\r\nKVT $ show hwver\r\nshow: hwver=B\r\nKVT $ "));
        QCOMPARE(harness.answer("show hwver"), QByteArray("show: hwver=B\r\n"));
    }

    void damagesALogLine_data()
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

    void damagesALogLine()
    {
        QFETCH(QByteArray, fault);
        QFETCH(int, row);
        QFETCH(QByteArray, difference);
        DeviceHarness harness;
        const QByteArray command = "log --read=" + QByteArray::number(row);
        const QByteArray good = harness.answer(command).trimmed();
        QVERIFY(harness.fault(fault));
        harness.answer("log --read=2");
        const QByteArray damaged = harness.answer(command).trimmed();
        QCOMPARE(damaged.left(5) != good.left(5), difference == "number");
        QCOMPARE(damaged.mid(5, damaged.size() - 7) != good.mid(5, good.size() - 7),
                 difference == "record");
        QCOMPARE(damaged.right(2) != good.right(2), difference != "number");
        QCOMPARE(harness.answer(command).trimmed(), good);
    }

    void keepsTheChecksumRightOverAMalformedRecord()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("malformed-record@3"));
        const QByteArray line = harness.answer("log --read=3").trimmed();
        const QByteArray record = line.mid(6, line.size() - 9);
        QVERIFY(record.endsWith(",over"));
        QCOMPARE(line.right(2).toInt(nullptr, 16), int(recordChecksum(record)));
    }

    void leavesTheChecksumOffMalformedTitles()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("malformed-record@0"));
        QCOMPARE(harness.answer("log --read=0"), QByteArray("00000=Time,W0,W1,W2,A2,A4,LUX\r\n"));
    }

    void answersWithoutHexadecimalDigits()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("malformed-block@5"));
        QVERIFY(!harness.answer("eeprom --read_block 4").contains("zz"));
        QVERIFY(harness.answer("eeprom --read_block 5").contains("zz"));
        QVERIFY(!harness.answer("eeprom --read_block 5").contains("zz"));
    }
};

KV_TEST_CORE_MAIN(TestFaults)

#include "tst_faults.moc"
