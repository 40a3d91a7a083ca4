// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/deviceharness.h"

using namespace Simulator;

namespace {

const char versionAnswer[] = "show: swver=2.4.1\r\n";

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void rejectsAnInvalidFault()
    {
        for (const char *text : {"", "thunder", "silence@", "bad-checksum@first", "final-star@3",
                                 "block-rejected@next@", "-always", "delay:", "delay:-1",
                                 "delay@1:soon", "delay:20000@show altitude"}) {
            Faults faults;
            QByteArray error;
            QVERIFY2(!faults.add(text, error), text);
            QVERIFY2(!error.isEmpty(), text);
        }
    }

    void acceptsEachKind()
    {
        for (const DeviceFaultInfo &info : deviceFaultKinds()) {
            for (const char *ending : {"", ":5", "-always:5"}) {
                Faults faults;
                QByteArray error;
                QVERIFY2(faults.add(QByteArray(info.name) + ending, error), error.constData());
            }
        }
    }

    void occursAtItsPlace()
    {
        const struct
        {
            const char *fault;
            QByteArray exchanges;
        } places[] = {
            {"silence", "12345"},       {"silence@2", "2"},
            {"silence@3+", "345"},      {"silence@next", "1"},
            {"silence@next+", "12345"}, {"silence@show b", "2"},
            {"silence@show b+", "24"},  {"silence-always@show b", "24"},
            {"silence@set", ""},
        };
        for (const auto &place : places) {
            Faults faults;
            QByteArray error;
            QVERIFY(faults.add(place.fault, error));
            QByteArray seen;
            for (const char *command : {"show a", "show bat", "show c", "show bit", "show e"}) {
                faults.beginExchange(command);
                if (faults.triggersInExchange(DeviceFaultKind::Silence)) {
                    seen += QByteArray::number(faults.exchange());
                }
                QVERIFY(!faults.triggersInExchange(DeviceFaultKind::Nul));
            }
            QVERIFY2(seen == place.exchanges, place.fault);
        }
    }

    void occursAtRowsAndBlocks()
    {
        const struct
        {
            const char *fault;
            QByteArray rows;
        } places[] = {
            {"bad-checksum", "0123123"},     {"bad-checksum@2", "2"},     {"bad-checksum@0", "0"},
            {"bad-checksum-always@2", "22"}, {"bad-checksum@2+", "2323"},
        };
        for (const auto &place : places) {
            Faults faults;
            QByteArray error;
            QVERIFY(faults.add(place.fault, error));
            QByteArray seen;
            for (const int row : {0, 1, 2, 3, 1, 2, 3}) {
                if (faults.triggersAt(DeviceFaultKind::BadChecksum, row)) {
                    seen += QByteArray::number(row);
                }
            }
            QVERIFY2(seen == place.rows, place.fault);
        }
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

    void answersInSingleBytes()
    {
        const struct
        {
            const char *fault;
            int gapMs;
        } faults[] = {{"single-bytes@1", 1}, {"single-bytes@1:4", 4}, {"single-bytes:3", 3}};
        for (const auto &fault : faults) {
            DeviceHarness harness;
            QVERIFY(harness.fault(fault.fault));
            QCOMPARE(harness.answer("show swver"), QByteArray(versionAnswer));
            const DeviceHarness::Piece answer = harness.pieces.at(harness.pieces.size() - 2);
            QCOMPARE(answer.bytes, QByteArray(versionAnswer));
            QCOMPARE(answer.delivery, Delivery::SingleBytes);
            QCOMPARE(answer.gapMs, fault.gapMs);
        }
    }

    void damagesTheAnswer()
    {
        const struct
        {
            const char *fault;
            QByteArray answer;
        } damages[] = {
            {"lost-byte@1:7", "show: wver=2.4.1\r\n"},
            {"lost-byte", "show: swvr=2.4.1\r\n"},
            {"lost-byte@1:500", "show: swver=2.4.1\r"},
            {"flipped-bit@1:1", "rhow: swver=2.4.1\r\n"},
            {"nul@1:3", QByteArray("sh\0ow: swver=2.4.1\r\n", 20)},
            {"nul@show", QByteArray("show: swv\0er=2.4.1\r\n", 20)},
        };
        for (const auto &damage : damages) {
            DeviceHarness harness;
            QVERIFY(harness.fault(damage.fault));
            QCOMPARE(harness.answer("show swver"), damage.answer);
        }
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

    void reportsAnotherModel()
    {
        const QPair<const char *, QByteArray> faults[] = {{"unknown-model", "KVT-900"},
                                                          {"unknown-model:XYZ 1", "XYZ 1"}};
        for (const auto &fault : faults) {
            DeviceHarness harness;
            QVERIFY(harness.fault(fault.first));
            QVERIFY(harness.answer("show unit")
                        .contains("\r\nModel: " + fault.second + "\r\nSerial: "));
            QCOMPARE(harness.answer("show model"), "show: model=" + fault.second + "\r\n");
        }
    }

    void hangsUp()
    {
        const struct
        {
            const char *fault;
            QByteArray output;
        } hangUps[] = {
            {"hangup@2", "show swver\r\n"},
            {"hangup@2:6", "show swver\r\nshow: "},
            {"hangup@2:29", "show swver\r\nshow: swver=2.4.1\r\nKVT $ show"},
        };
        for (const auto &hangUp : hangUps) {
            DeviceHarness harness;
            QVERIFY(harness.fault(hangUp.fault));
            harness.type("show hwver");
            QCOMPARE(harness.hangUps, 0);
            harness.type("show swver");
            harness.device.receive("show hwver\r\n");
            QCOMPARE(harness.output, hangUp.output);
            QCOMPARE(harness.hangUps, 1);

            harness.device.lineRestored();
            QCOMPARE(harness.answer("show swver"), QByteArray(versionAnswer));
        }
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
        QVERIFY(harness.fault("replies-in-one-chunk@1"));
        QCOMPARE(harness.type("show swver"), QByteArray("show swver\r\n"));
        harness.pieces.clear();
        harness.type("show hwver");
        QCOMPARE(harness.pieces.size(), 1);
        QCOMPARE(harness.pieces.first().delivery, Delivery::OneChunk);
        QCOMPARE(harness.output,
                 QByteArray("show: swver=2.4.1\r\nKVT $ show hwver\r\nshow: hwver=B\r\nKVT $ "));
        QCOMPARE(harness.answer("show hwver"), QByteArray("show: hwver=B\r\n"));
    }

    void damagesALogLineOnce()
    {
        DeviceHarness harness;
        const auto line = [&harness](int row) {
            return harness.answer("log --read=" + QByteArray::number(row)).trimmed();
        };
        const QByteArray titles = line(0);
        const QByteArray good = line(3);
        QByteArray wrongEntry = good;
        wrongEntry.replace(0, 5, "00004");
        QByteArray overflow = good.mid(6, good.lastIndexOf(',') - 5) + "over";
        overflow = DeviceLog::line(3, overflow, recordChecksum(overflow));
        const auto withWrongChecksum = [](const QByteArray &text) {
            const int checksum = text.right(2).toInt(nullptr, 16) ^ 1;
            return text.left(text.size() - 2)
                + QByteArray::number(checksum, 16).rightJustified(2, '0');
        };
        const struct
        {
            const char *fault;
            int row;
            QByteArray damaged;
        } faults[] = {
            {"bad-checksum@3", 3, withWrongChecksum(good)},
            {"bad-checksum@0", 0, withWrongChecksum(titles)},
            {"wrong-entry@3", 3, wrongEntry},
            {"malformed-record@3", 3, overflow},
            {"malformed-record@0", 0, "00000=Time,W0,W1,W2,A2,A4,LUX"},
        };
        for (const auto &fault : faults) {
            QVERIFY(harness.fault(fault.fault));
            const QByteArray other = line(2);
            QCOMPARE(line(fault.row), fault.damaged);
            QCOMPARE(line(2), other);
            QCOMPARE(line(3), good);
            QCOMPARE(line(0), titles);
        }
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
