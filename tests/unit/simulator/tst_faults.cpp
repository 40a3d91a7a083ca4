// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/deviceharness.h"

using namespace Simulator;

namespace {

const char versionReply[] = "show: swver=2.4.1\r\n";

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void rejectsInvalidFaults()
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

    void occursAtSpecifiedExchanges()
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
            QByteArray occurrences;
            for (const char *command : {"show a", "show bat", "show c", "show bit", "show e"}) {
                faults.beginExchange(command);
                if (faults.triggersInExchange(DeviceFaultKind::Silence)) {
                    occurrences += QByteArray::number(faults.exchange());
                }
                QVERIFY(!faults.triggersInExchange(DeviceFaultKind::Nul));
            }
            QVERIFY2(occurrences == place.exchanges, place.fault);
        }
    }

    void occursAtSpecifiedRows()
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
            QByteArray occurrences;
            for (const int row : {0, 1, 2, 3, 1, 2, 3}) {
                if (faults.triggersAt(DeviceFaultKind::BadChecksum, row)) {
                    occurrences += QByteArray::number(row);
                }
            }
            QVERIFY2(occurrences == place.rows, place.fault);
        }
    }

    void silenceSuppressesReplyOfOneExchange()
    {
        DeviceHarness harness;
        QVERIFY(harness.addFault("silence@2"));
        QCOMPARE(harness.reply("show swver"), QByteArray(versionReply));
        QCOMPARE(harness.type("show swver"), QByteArray("show swver\r\n"));
        QCOMPARE(harness.reply("show swver"), QByteArray(versionReply));
        QCOMPARE(harness.events,
                 (QList<QByteArray>{"command show swver", "command show swver", "fault silence@2",
                                    "command show swver"}));
    }

    void silenceSuppressesRepliesFromAnExchangeOn()
    {
        DeviceHarness harness;
        QVERIFY(harness.addFault("silence@2+"));
        QCOMPARE(harness.reply("show swver"), QByteArray(versionReply));
        QCOMPARE(harness.type("show swver"), QByteArray("show swver\r\n"));
        QCOMPARE(harness.type("show swver"), QByteArray());
        QCOMPARE(harness.type(""), QByteArray());
    }

    void silencedCommandIsExecuted()
    {
        DeviceHarness harness;
        QVERIFY(harness.addFault("silence@set"));
        harness.type("set altitude=5");
        QCOMPARE(harness.reply("show altitude"), QByteArray("show: altitude=5\r\n"));
    }

    void delaysReply()
    {
        DeviceHarness harness;
        QVERIFY(harness.addFault("delay@1:80"));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(harness.type("show swver"), QByteArray("show swver\r\n"));
        harness.device.receive("show hwver\r\n");
        QCOMPARE(harness.output, QByteArray("show swver\r\n"));
        QTRY_VERIFY(harness.output.endsWith("show: hwver=B\r\nKVT $ "));
        QVERIFY(timer.elapsed() >= 75);
        QVERIFY(harness.output.contains(versionReply));
    }

    void repliesInSingleBytes()
    {
        const struct
        {
            const char *fault;
            int gapMs;
        } faults[] = {{"single-bytes@1", 1}, {"single-bytes@1:4", 4}, {"single-bytes:3", 3}};
        for (const auto &fault : faults) {
            DeviceHarness harness;
            QVERIFY(harness.addFault(fault.fault));
            QCOMPARE(harness.reply("show swver"), QByteArray(versionReply));
            const DeviceHarness::Transmission reply =
                harness.transmissions.at(harness.transmissions.size() - 2);
            QCOMPARE(reply.bytes, QByteArray(versionReply));
            QCOMPARE(reply.delivery, Delivery::SingleBytes);
            QCOMPARE(reply.gapMs, fault.gapMs);
        }
    }

    void corruptsReply()
    {
        const struct
        {
            const char *fault;
            QByteArray reply;
        } corruptions[] = {
            {"lost-byte@1:7", "show: wver=2.4.1\r\n"},
            {"lost-byte", "show: swvr=2.4.1\r\n"},
            {"lost-byte@1:500", "show: swver=2.4.1\r"},
            {"flipped-bit@1:1", "rhow: swver=2.4.1\r\n"},
            {"nul@1:3", QByteArray("sh\0ow: swver=2.4.1\r\n", 20)},
            {"nul@show", QByteArray("show: swv\0er=2.4.1\r\n", 20)},
        };
        for (const auto &corruption : corruptions) {
            DeviceHarness harness;
            QVERIFY(harness.addFault(corruption.fault));
            QCOMPARE(harness.reply("show swver"), corruption.reply);
        }
    }

    void printsDebugOutputEvenIfSwitchedOff()
    {
        DeviceHarness harness;
        QVERIFY(harness.addFault("chatter@1:20"));
        QSignalSpy before(&harness.device, &Device::transmit);
        QVERIFY(!before.wait(300));
        harness.type("set debug=0");
        harness.output.clear();
        QTRY_VERIFY(harness.output.count("# adc0 ") > 3);
    }

    void printsNoDebugOutputDuringReply()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.writeMs = 300; });
        QVERIFY(harness.addFault("chatter:20"));
        QTRY_VERIFY(harness.output.contains("# adc0 "));
        harness.type("write --really");
        QTRY_VERIFY(harness.output.contains("bytes written!"));
        QVERIFY(harness.output.contains("memory... "));
    }

    void reportsUnknownModel()
    {
        const QPair<const char *, QByteArray> faults[] = {{"unknown-model", "KVT-900"},
                                                          {"unknown-model:XYZ 1", "XYZ 1"}};
        for (const auto &fault : faults) {
            DeviceHarness harness;
            QVERIFY(harness.addFault(fault.first));
            QVERIFY(
                harness.reply("show unit").contains("\r\nModel: " + fault.second + "\r\nSerial: "));
            QCOMPARE(harness.reply("show model"), "show: model=" + fault.second + "\r\n");
        }
    }

    void hangsUpAfterSpecifiedBytes()
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
            QVERIFY(harness.addFault(hangUp.fault));
            harness.type("show hwver");
            QCOMPARE(harness.hangUps, 0);
            harness.type("show swver");
            harness.device.receive("show hwver\r\n");
            QCOMPARE(harness.output, hangUp.output);
            QCOMPARE(harness.hangUps, 1);

            harness.device.lineRestored();
            QCOMPARE(harness.reply("show swver"), QByteArray(versionReply));
        }
    }

    void hangsUpDuringRawBlock()
    {
        DeviceHarness harness;
        QVERIFY(harness.addFault("hangup-input:10"));
        harness.device.receive("eeprom --write_block 3\r\n123456789");
        QCOMPARE(harness.hangUps, 0);
        harness.device.receive("0");
        QCOMPARE(harness.hangUps, 1);
    }

    void holdsReplyBackUntilTheNextOne()
    {
        DeviceHarness harness;
        QVERIFY(harness.addFault("replies-in-one-chunk@1"));
        QCOMPARE(harness.type("show swver"), QByteArray("show swver\r\n"));
        harness.transmissions.clear();
        harness.type("show hwver");
        QCOMPARE(harness.transmissions.size(), 1);
        QCOMPARE(harness.transmissions.first().delivery, Delivery::OneChunk);
        QCOMPARE(harness.output,
                 QByteArray("show: swver=2.4.1\r\nKVT $ show hwver\r\nshow: hwver=B\r\nKVT $ "));
        QCOMPARE(harness.reply("show hwver"), QByteArray("show: hwver=B\r\n"));
    }

    void corruptsLogLineOnce()
    {
        DeviceHarness harness;
        const auto line = [&harness](int row) {
            return harness.reply("log --read=" + QByteArray::number(row)).trimmed();
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
            QByteArray corrupted;
        } faults[] = {
            {"bad-checksum@3", 3, withWrongChecksum(good)},
            {"bad-checksum@0", 0, withWrongChecksum(titles)},
            {"wrong-entry@3", 3, wrongEntry},
            {"malformed-record@3", 3, overflow},
            {"malformed-record@0", 0, "00000=Time,W0,W1,W2,A2,A4,LUX"},
        };
        for (const auto &fault : faults) {
            QVERIFY(harness.addFault(fault.fault));
            const QByteArray other = line(2);
            QCOMPARE(line(fault.row), fault.corrupted);
            QCOMPARE(line(2), other);
            QCOMPARE(line(3), good);
            QCOMPARE(line(0), titles);
        }
    }

    void corruptsHexadecimalDigitsOnce()
    {
        DeviceHarness harness;
        QVERIFY(harness.addFault("malformed-block@5"));
        QVERIFY(!harness.reply("eeprom --read_block 4").contains("zz"));
        QVERIFY(harness.reply("eeprom --read_block 5").contains("zz"));
        QVERIFY(!harness.reply("eeprom --read_block 5").contains("zz"));
    }
};

KV_TEST_CORE_MAIN(TestFaults)

#include "tst_faults.moc"
