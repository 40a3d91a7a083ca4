// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fileio.h"
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/deviceharness.h"

#include <QtCore/QTemporaryDir>

using namespace Simulator;

class TestDeviceConsole : public QObject
{
    Q_OBJECT

private slots:
    void echoesAndEditsTypedLines()
    {
        const QByteArray twoReplies =
            "show hwver\r\nshow: hwver=B\r\nKVT $ show debug\r\nshow: debug=0\r\nKVT $ ";
        const struct
        {
            QByteArray typed;
            QByteArray output;
        } lines[] = {
            {"sho", "sho"},
            {"\r\n", "\r\nKVT $ "},
            {"show hwver\r\nshow debug\r\n", twoReplies},
            {"show hwver\rshow debug\r", twoReplies},
            {"show hwver\nshow debug\n", twoReplies},
            {"show hwverx\b\r", "show hwverx\b \b\r\nshow: hwver=B\r\nKVT $ "},
            {"\x7f\x01\r", "\r\nKVT $ "},
            {QByteArray(1000, 'x'), QByteArray(255, 'x')},
        };
        for (const auto &line : lines) {
            DeviceHarness harness;
            harness.device.receive(line.typed);
            QCOMPARE(harness.output, line.output);
        }
    }

    void repliesAfterRandomBytes()
    {
        DeviceHarness harness;
        harness.device.receive(FileIo::pseudoRandomBytes(100000));
        QVERIFY(harness.type("\r\nshow hwver").endsWith("show: hwver=B\r\nKVT $ "));
    }

    void repliesToCommands()
    {
        const struct
        {
            QByteArray command;
            QByteArray reply;
        } exchanges[] = {
            {"show swver", "show: swver=2.4.1\r\n"},
            {"show hwver", "show: hwver=B\r\n"},
            {"show serial", "show: serial=S-17\r\n"},
            {"show model", "show: model=KVT-100\r\n"},
            {"show meas_state", "show: meas_state=1\r\n"},
            {"show health", "show: health=98%\r\n"},
            {"show debug", "show: debug=0\r\n"},
            {"show altitude", "show: altitude=120\r\n"},
            {"show location", "show: location=Room 1\r\n"},
            {"show", "show: Unknown parameter!\r\n"},
            {"show nonsense", "show: Unknown parameter!\r\n"},
            {"show Altitude", "show: Unknown parameter!\r\n"},
            {"show unit",
             "Orvanta KVT\r\nModel: KVT-100\r\nSerial: S-17\r\nSoftware: 2.4.1\r\n"
             "Hardware: B\r\nOptions: LOG\r\n"},
            {"set altitude=77", "set: altitude=77\r\n"},
            {"set altitude=99999", "set: altitude=9000\r\n"},
            {"set altitude=-99999", "set: altitude=-400\r\n"},
            {"set altitude=high", "set: altitude=120\r\n"},
            {"set altitude=7.5", "set: altitude=120\r\n"},
            {"set altitude=", "set: altitude=120\r\n"},
            {"set temp_offset=1.50", "set: temp_offset=1.5\r\n"},
            {"set temp_offset=-0.0001", "set: temp_offset=0\r\n"},
            {"set temp_offset=100", "set: temp_offset=9\r\n"},
            {"set temp_offset=nan", "set: temp_offset=0\r\n"},
            {"set temp_offset=inf", "set: temp_offset=0\r\n"},
            {"set temp_offset=1,5", "set: temp_offset=0\r\n"},
            {"set gain_co=1.23456", "set: gain_co=1.235\r\n"},
            {"set gain_co=0", "set: gain_co=0.5\r\n"},
            {"set location=Hall \"A\"; 2=3", "set: location=Hall \"A\"; 2=3\r\n"},
            {"set location=123456789012345678901234567890",
             "set: location=123456789012345678901234\r\n"},
            {"set location=\x84\x94\x86", "set: location=\x84\x94\x86\r\n"},
            {"set location=", "set: location=\r\n"},
            {"set swver=9", "set: swver=2.4.1\r\n"},
            {"set debug=7", "set: debug=0\r\n"},
            {"set nonsense=1", "set: Unknown parameter!\r\n"},
            {"set altitude", "set: Unknown parameter!\r\n"},
            {"set", "set: Unknown parameter!\r\n"},
            {"date 2026-11-21T10:20:30", "Date updated to 2026-11-21T10:20:30\r\n"},
            {"date 2024-02-29T23:59:59", "Date updated to 2024-02-29T23:59:59\r\n"},
            {"date 2026-13-01T00:00:00", "date: Invalid date!\r\n"},
            {"date 2026-11-21T24:20:30", "date: Invalid date!\r\n"},
            {"date 2026-11-21T10:20:30+02:00", "date: Invalid date!\r\n"},
            {"date 2026-11-21T10:20:30Z", "date: Invalid date!\r\n"},
            {"date tomorrow", "date: Invalid date!\r\n"},
            {"log --read=0", "00000=Time,W0,W1,W2,A2,A4,LUX#58\r\n"},
            {"log --count", "count=25\r\n"},
            {"log --read=26", "log: No such entry!\r\n"},
            {"log --read=-1", "log: No such entry!\r\n"},
            {"log", "log: use --count, --read=N or --erase\r\n"},
            {"log --read=x", "log: use --count, --read=N or --erase\r\n"},
            {"log --erase", "Log erased!\r\n"},
            {"write", "write: add --really to store the configuration\r\n"},
            {"initconf", "initconf: add --really to load the default configuration\r\n"},
            {"initconf --really",
             "Loading default configuration... OK!\r\nWrite the default configuration to "
             "non-volatile memory by using write --really command.\r\n"},
            {"reboot", "reboot: add --really to restart the device\r\n"},
            {"eeprom", "eeprom: use --read_block N or --write_block N, N from 0 to 1023\r\n"},
            {"eeprom --read_block 1024",
             "eeprom: use --read_block N or --write_block N, N from 0 to 1023\r\n"},
            {"eeprom --write_block -1",
             "eeprom: use --read_block N or --write_block N, N from 0 to 1023\r\n"},
            {"fly", "Unknown command! Try help.\r\n"},
            {"help", "Commands: show set date log write initconf eeprom reboot help\r\n"},
        };
        for (const auto &exchange : exchanges) {
            DeviceHarness harness([](DeviceOptions &o) { o.serial = "S-17"; });
            QCOMPARE(harness.type(exchange.command),
                     exchange.command + "\r\n" + exchange.reply + "KVT $ ");
        }
    }

    void seedDeterminesDevice()
    {
        const auto replies = [](quint32 seed) {
            DeviceHarness harness([seed](DeviceOptions &o) { o.seed = seed; });
            return QList<QByteArray>{harness.reply("show serial"),
                                     harness.reply("eeprom --read_block 1000")};
        };
        const QList<QByteArray> seed7 = replies(7);
        const QList<QByteArray> seed8 = replies(8);
        QCOMPARE(replies(7), seed7);
        QVERIFY(seed7.at(0) != seed8.at(0));
        QVERIFY(seed7.at(1) != seed8.at(1));
    }

    void showsAllMeasurementsOfModel()
    {
        DeviceHarness harness;
        const QByteArray reply = harness.reply("show meas");
        const QRegExp pattern(
            QStringLiteral("show: meas=\"W0=[\\d.]+;W1=[\\d.]+;W2=[\\d.]+;A2=[\\d.]+;"
                           "A4=[\\d.]+;LUX=[\\d.]+\"\r\n"));
        QVERIFY2(pattern.exactMatch(QString::fromLatin1(reply)), reply.constData());
        QCOMPARE("show: meas=\"" + harness.device.state().lastMeasurements() + "\"\r\n", reply);
    }

    void reportsWarmUp()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.warmUpMs = 100; });
        QCOMPARE(harness.reply("show meas_state"), QByteArray("show: meas_state=0\r\n"));
        QVERIFY(harness.reply("show meas").contains(";A2=N;"));
        QTRY_COMPARE(harness.reply("show meas_state"), QByteArray("show: meas_state=1\r\n"));
        QVERIFY(!harness.reply("show meas").contains("N;"));
    }

    void clockRunsInUtc()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.clockOffsetMs = -3600000; });
        const auto expected = [] {
            const QDateTime time = QDateTime::currentDateTimeUtc().addSecs(-3600);
            return time.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")).toLatin1() + "\r\n";
        };
        const QByteArray before = expected();
        const QByteArray shown = harness.reply("date");
        QVERIFY2(shown == before || shown == expected(), shown.constData());
        harness.reply("date 2030-01-02T03:04:05");
        QTRY_COMPARE(harness.reply("date"), QByteArray("2030-01-02T03:04:06\r\n"));
    }

    void printsDebugOutputUntilItIsSwitchedOff()
    {
        DeviceHarness harness;
        harness.reply("set debug=1");
        harness.output.clear();
        QTRY_VERIFY(harness.output.contains("# adc0 "));
        QCOMPARE(harness.reply("set debug=0"), QByteArray("set: debug=0\r\n"));
        QSignalSpy spy(&harness.device, &Device::transmit);
        QVERIFY(!spy.wait(700));
    }

    void readsLogRows()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.logRows = 3; });
        QDateTime last;
        for (int index = 1; index <= 3; ++index) {
            const QByteArray line = harness.reply("log --read=" + QByteArray::number(index));
            const QRegularExpressionMatch match =
                QRegularExpression(QStringLiteral("^0000(\\d)=(([^,]+)(,[-\\d.]+){6})#(..)\r\n$"))
                    .match(QString::fromLatin1(line));
            QVERIFY2(match.hasMatch(), line.constData());
            QCOMPARE(match.captured(1).toInt(), index);
            QCOMPARE(match.captured(5).toInt(nullptr, 16),
                     int(recordChecksum(match.captured(2).toLatin1())));
            const QDateTime time = QDateTime::fromString(match.captured(3), Qt::ISODate);
            QVERIFY(time.isValid());
            QVERIFY(index == 1 || last.secsTo(time) == 15 * 60);
            last = time;
        }
    }

    void calculatesTheChecksumOfRecords()
    {
        QCOMPARE(int(recordChecksum("")), 0);
        // The published check value of this CRC.
        QCOMPARE(int(recordChecksum("123456789")), 0xa2);
    }

    void erasesTheLog()
    {
        DeviceHarness harness;
        harness.reply("log --erase");
        QCOMPARE(harness.reply("log --count"), QByteArray("count=0\r\n"));
        QVERIFY(harness.reply("log --read=0").startsWith("00000=Time,"));
        QCOMPARE(harness.reply("log --read=1"), QByteArray("log: No such entry!\r\n"));
    }

    void hasNoLogWithoutLogOption()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.logOption = false; });
        for (const char *command : {"log --count", "log --read=0", "log --read=1", "log --erase"}) {
            QCOMPARE(harness.reply(command), QByteArray("No LOG option installed!\r\n"));
        }
        QVERIFY(harness.reply("show unit").contains("Options: none\r\n"));
    }

    void storesSettingsAfterDelay()
    {
        DeviceHarness harness;
        const QByteArray outputBeforeDelay = harness.type("write --really");
        QCOMPARE(outputBeforeDelay,
                 QByteArray("write --really\r\n"
                            "Writing current configuration to non-volatile memory..."));
        harness.device.receive("show hwver\r\n");
        QCOMPARE(harness.output, outputBeforeDelay);
        QTRY_VERIFY(harness.output.contains("hwver"));
        const QByteArray settings = harness.device.state().memory().settingsText();
        QCOMPARE(harness.output,
                 outputBeforeDelay + ' ' + QByteArray::number(settings.size() + 1)
                     + " bytes written!\r\nKVT $ show hwver\r\nshow: hwver=B\r\nKVT $ ");
        QVERIFY(settings.contains("altitude=120\n"));
    }

    void readsABlockOfMemory()
    {
        DeviceHarness harness;
        const QByteArray first = harness.reply("eeprom --read_block 0");
        QCOMPARE(first, harness.device.state().memory().block(0).toHex() + "\r\nDone\r\n");
        QVERIFY(QByteArray::fromHex(first.left(128)).startsWith("settings of KVT-100\nlocation="));
        QCOMPARE(harness.reply("eeprom --read_block 1023"),
                 harness.device.state().memory().block(1023).toHex() + "\r\nDone\r\n");
    }

    void acceptsAnyBytesInRawBlock()
    {
        QByteArray all;
        for (int value = 0; value < 256; ++value) {
            all += static_cast<char>(value);
        }
        const struct
        {
            QByteArray lineEnd;
            QByteArray block;
        } inputs[] = {
            {"\r\n", all.mid(0, 64)},       {"\r\n", all.mid(64, 64)},
            {"\r\n", all.mid(128, 64)},     {"\r\n", all.mid(192, 64)},
            {"\r\n", QByteArray(64, '\n')}, {"\r\n", QByteArray(64, '\r')},
            {"\n", QByteArray(64, '\n')},
        };
        for (const auto &input : inputs) {
            DeviceHarness harness;
            harness.device.receive("eeprom --write_block 9" + input.lineEnd + input.block + "\r\n");
            QCOMPARE(harness.output,
                     QByteArray("eeprom --write_block 9\r\nPlease input 64 bytes\r\n\r\nDone\r\n"
                                "KVT $ \r\nKVT $ "));
            QCOMPARE(harness.device.state().memory().block(9), input.block);
        }
    }

    void abandonsIncompleteBlock()
    {
        DeviceHarness harness;
        const QByteArray before = harness.device.state().memory().block(9);
        harness.device.receive("eeprom --write_block 9\r\nabc");
        QTRY_VERIFY(harness.output.endsWith("\r\nTimed out, nothing written\r\nKVT $ "));
        QCOMPARE(harness.device.state().memory().block(9), before);
        QCOMPARE(harness.reply("show hwver"), QByteArray("show: hwver=B\r\n"));
    }

    void loadsStoredSettingsAfterRestart()
    {
        const struct
        {
            QByteArray command;
            QByteArray before;
            QByteArray after;
        } changes[] = {
            {"set altitude=2", "2", "1"},
            {"initconf --really", "120", "1"},
            // Corrupted settings in memory: the device loads the factory settings.
            {"eeprom --write_block 0\r\n" + QByteArray(64, 'x'), "1", "120"},
        };
        for (const auto &change : changes) {
            DeviceHarness harness;
            harness.type("set altitude=1");
            harness.type("write --really");
            QTRY_VERIFY(harness.output.endsWith("$ "));
            harness.type(change.command);
            QCOMPARE(harness.reply("show altitude"), "show: altitude=" + change.before + "\r\n");
            harness.type("reboot --really");
            QTRY_VERIFY(harness.output.endsWith("\r\nKVT $ "));
            QCOMPARE(harness.reply("show altitude"), "show: altitude=" + change.after + "\r\n");
        }
    }

    void keepsMemoryLogAndClockInTheStateFile()
    {
        QTemporaryDir folder;
        const auto options = [&folder](DeviceOptions &o) {
            o.stateFile = folder.filePath(QStringLiteral("state"));
        };
        QByteArray image;
        {
            DeviceHarness harness(options);
            harness.type("set altitude=5");
            harness.type("write --really");
            QTRY_VERIFY(harness.output.endsWith("$ "));
            harness.type("set altitude=6");
            harness.device.receive("eeprom --write_block 700\r\n" + QByteArray(64, '7'));
            harness.type("log --erase");
            harness.type("date 2031-01-01T00:00:00");
            image = harness.device.state().memory().image();
        }
        DeviceHarness reopened(options);
        QCOMPARE(reopened.device.state().memory().image(), image);
        QCOMPARE(reopened.reply("show altitude"), QByteArray("show: altitude=5\r\n"));
        QCOMPARE(reopened.reply("log --count"), QByteArray("count=0\r\n"));
        QVERIFY(reopened.reply("date").startsWith("2031-01-01T00:0"));

        DeviceHarness otherModel([&options](DeviceOptions &o) {
            options(o);
            o.model = "KVT-200";
        });
        QCOMPARE(otherModel.reply("log --count"), QByteArray("count=25\r\n"));
    }

    void announcesRestartAndRunsSelfTest()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.rebootMs = 150; });
        QElapsedTimer timer;
        timer.start();
        harness.type("reboot --really");
        QCOMPARE(harness.output, QByteArray("reboot --really\r\nReseting device in 5 seconds\r\n"));
        harness.device.receive("show hwver\r\n");
        QTRY_VERIFY(harness.output.endsWith("BOOT"));
        QVERIFY(timer.elapsed() >= 140);
        QTRY_VERIFY(harness.output.endsWith("KVT $ "));
        const QRegExp text(QStringLiteral(".*BOOT\r\nPerforming selftest\\.\\.\\.\r\n.*"
                                          "All tests passed\\.\r\n\r\nOrvanta KVT.*\r\n"
                                          "Compiled on .*\r\nCopyright .*\r\nKVT \\$ "));
        QVERIFY2(text.exactMatch(QString::fromLatin1(harness.output)), harness.output.constData());
        QVERIFY(!harness.output.contains("hwver"));
    }
};

KV_TEST_CORE_MAIN(TestDeviceConsole)

#include "tst_deviceconsole.moc"
