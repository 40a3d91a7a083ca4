// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/deviceharness.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

using namespace Simulator;

namespace {

QByteArray dateOf(const QDateTime &time)
{
    return time.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")).toLatin1();
}

} // namespace

class TestDeviceConsole : public QObject
{
    Q_OBJECT

private slots:
    void answersAnEmptyLineWithAPrompt()
    {
        DeviceHarness harness;
        QCOMPARE(harness.type(""), QByteArray("\r\nKVT $ "));
        QCOMPARE(harness.device.faults().exchange(), 0);
    }

    void echoesWhatIsTypedByteByByte()
    {
        DeviceHarness harness;
        harness.device.receive("sh");
        QCOMPARE(harness.output, QByteArray("sh"));
        harness.device.receive("ow");
        QCOMPARE(harness.output, QByteArray("show"));
    }

    void answersBetweenEchoAndPrompt()
    {
        DeviceHarness harness;
        QCOMPARE(harness.type("show swver"),
                 QByteArray("show swver\r\nshow: swver=2.4.1\r\nKVT $ "));
    }

    void acceptsCarriageReturnAndLineFeedTogetherOrAlone_data()
    {
        QTest::addColumn<QByteArray>("typed");
        QTest::addRow("CR LF") << QByteArray("show hwver\r\nshow debug\r\n");
        QTest::addRow("CR") << QByteArray("show hwver\rshow debug\r");
        QTest::addRow("LF") << QByteArray("show hwver\nshow debug\n");
    }

    void acceptsCarriageReturnAndLineFeedTogetherOrAlone()
    {
        QFETCH(QByteArray, typed);
        DeviceHarness harness;
        harness.device.receive(typed);
        QCOMPARE(harness.output,
                 QByteArray("show hwver\r\nshow: hwver=B\r\nKVT $ "
                            "show debug\r\nshow: debug=0\r\nKVT $ "));
    }

    void deletesATypedByte()
    {
        DeviceHarness harness;
        harness.device.receive("show hwverx\b\r");
        QVERIFY(harness.output.contains("show: hwver=B\r\n"));
        harness.device.receive("\x7f\x01");
        QVERIFY(harness.output.endsWith("KVT $ "));
    }

    void ignoresBytesBeyondTheLongestLine()
    {
        DeviceHarness harness;
        harness.device.receive(QByteArray(1000, 'x'));
        QCOMPARE(harness.output.size(), 255);
    }

    void answersCommands_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QByteArray>("answer");
        const auto row = [](const char *command, const char *answer) {
            QTest::addRow("%s", command) << QByteArray(command) << QByteArray(answer);
        };
        row("show swver", "show: swver=2.4.1\r\n");
        row("show hwver", "show: hwver=B\r\n");
        row("show serial", "show: serial=S-17\r\n");
        row("show model", "show: model=KVT-100\r\n");
        row("show meas_state", "show: meas_state=1\r\n");
        row("show health", "show: health=98%\r\n");
        row("show debug", "show: debug=0\r\n");
        row("show altitude", "show: altitude=120\r\n");
        row("show location", "show: location=Room 1\r\n");
        row("show", "show: Unknown parameter!\r\n");
        row("show nonsense", "show: Unknown parameter!\r\n");
        row("show Altitude", "show: Unknown parameter!\r\n");
        row("show unit",
            "Orvanta KVT\r\nModel: KVT-100\r\nSerial: S-17\r\nSoftware: 2.4.1\r\n"
            "Hardware: B\r\nOptions: LOG\r\n");
        row("set altitude=77", "set: altitude=77\r\n");
        row("set altitude=99999", "set: altitude=9000\r\n");
        row("set altitude=-99999", "set: altitude=-400\r\n");
        row("set altitude=high", "set: altitude=120\r\n");
        row("set altitude=7.5", "set: altitude=120\r\n");
        row("set altitude=", "set: altitude=120\r\n");
        row("set temp_offset=1.50", "set: temp_offset=1.5\r\n");
        row("set temp_offset=-0.0001", "set: temp_offset=0\r\n");
        row("set temp_offset=100", "set: temp_offset=9\r\n");
        row("set temp_offset=nan", "set: temp_offset=0\r\n");
        row("set temp_offset=inf", "set: temp_offset=0\r\n");
        row("set temp_offset=1,5", "set: temp_offset=0\r\n");
        row("set gain_co=1.23456", "set: gain_co=1.235\r\n");
        row("set gain_co=0", "set: gain_co=0.5\r\n");
        row("set location=Hall \"A\"; 2=3", "set: location=Hall \"A\"; 2=3\r\n");
        row("set location=123456789012345678901234567890",
            "set: location=123456789012345678901234\r\n");
        row("set location=\x84\x94\x86", "set: location=\x84\x94\x86\r\n");
        row("set location=", "set: location=\r\n");
        row("set swver=9", "set: swver=2.4.1\r\n");
        row("set debug=7", "set: debug=0\r\n");
        row("set nonsense=1", "set: Unknown parameter!\r\n");
        row("set altitude", "set: Unknown parameter!\r\n");
        row("set", "set: Unknown parameter!\r\n");
        row("date 2026-11-21T10:20:30", "Date updated to 2026-11-21T10:20:30\r\n");
        row("date 2024-02-29T23:59:59", "Date updated to 2024-02-29T23:59:59\r\n");
        row("date 2026-13-01T00:00:00", "date: Invalid date!\r\n");
        row("date 2026-11-21T24:20:30", "date: Invalid date!\r\n");
        row("date 2026-11-21T10:20:30+02:00", "date: Invalid date!\r\n");
        row("date 2026-11-21T10:20:30Z", "date: Invalid date!\r\n");
        row("date tomorrow", "date: Invalid date!\r\n");
        row("log --count", "count=25\r\n");
        row("log --read=26", "log: No such entry!\r\n");
        row("log --read=-1", "log: No such entry!\r\n");
        row("log", "log: use --count, --read=N or --erase\r\n");
        row("log --read=x", "log: use --count, --read=N or --erase\r\n");
        row("log --erase", "Log erased!\r\n");
        row("write", "write: add --really to store the configuration\r\n");
        row("initconf", "initconf: add --really to load the default configuration\r\n");
        row("initconf --really",
            "Loading default configuration... OK!\r\nWrite the default configuration to "
            "non-volatile memory by using write --really command.\r\n");
        row("reboot", "reboot: add --really to restart the device\r\n");
        row("eeprom", "eeprom: use --read_block N or --write_block N, N from 0 to 1023\r\n");
        row("eeprom --read_block 1024",
            "eeprom: use --read_block N or --write_block N, N from 0 to 1023\r\n");
        row("eeprom --write_block -1",
            "eeprom: use --read_block N or --write_block N, N from 0 to 1023\r\n");
        row("fly", "Unknown command! Try help.\r\n");
        row("help", "Commands: show set date log write initconf eeprom reboot help\r\n");
    }

    void answersCommands()
    {
        QFETCH(QByteArray, command);
        QFETCH(QByteArray, answer);
        DeviceHarness harness([](DeviceOptions &o) { o.serial = "S-17"; });
        QCOMPARE(harness.answer(command), answer);
    }

    void isTheSameDeviceForTheSameSeed()
    {
        DeviceOptions options = DeviceHarness::fastOptions();
        options.seed = 7;
        DeviceHarness one(options);
        DeviceHarness same(options);
        options.seed = 8;
        DeviceHarness other(options);
        QCOMPARE(one.answer("show serial"), same.answer("show serial"));
        QVERIFY(one.answer("show serial") != other.answer("show serial"));
        QCOMPARE(one.answer("eeprom --read_block 1000"), same.answer("eeprom --read_block 1000"));
        QVERIFY(one.answer("eeprom --read_block 1000") != other.answer("eeprom --read_block 1000"));
    }

    void showsAllMeasurementsOfItsModel()
    {
        DeviceHarness harness;
        const QByteArray answer = harness.answer("show meas");
        const QRegExp form(
            QStringLiteral("show: meas=\"W0=[\\d.]+;W1=[\\d.]+;W2=[\\d.]+;A2=[\\d.]+;"
                           "A4=[\\d.]+;LUX=[\\d.]+\"\r\n"));
        QVERIFY2(form.exactMatch(QString::fromLatin1(answer)), answer.constData());
        QCOMPARE("show: meas=\"" + harness.device.state().lastMeasurements() + "\"\r\n", answer);
    }

    void hasNoValueForAnUnavailableMeasurement()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.unavailable = {"W1", "LUX"}; });
        const QByteArray answer = harness.answer("show meas");
        QVERIFY2(answer.contains(";W1=N;") && answer.contains(";LUX=N\""), answer.constData());
    }

    void warmsUp()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.warmUpMs = 100; });
        QCOMPARE(harness.answer("show meas_state"), QByteArray("show: meas_state=0\r\n"));
        QVERIFY(harness.answer("show meas").contains(";A2=N;"));
        QTRY_COMPARE(harness.answer("show meas_state"), QByteArray("show: meas_state=1\r\n"));
        QVERIFY(!harness.answer("show meas").contains("N;"));
    }

    void showsAChangedStateAndHealth()
    {
        DeviceHarness harness;
        harness.device.state().setMeasurementState(3);
        harness.device.state().setHealth("");
        QCOMPARE(harness.answer("show meas_state"), QByteArray("show: meas_state=3\r\n"));
        QCOMPARE(harness.answer("show health"), QByteArray("show: health=\r\n"));
    }

    void runsAClockOnUtc()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.clockOffsetMs = -3600000; });
        const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-3600);
        const QByteArray date = harness.answer("date");
        const QDateTime after = QDateTime::currentDateTimeUtc().addSecs(-3600);
        QVERIFY(date == dateOf(before) + "\r\n" || date == dateOf(after) + "\r\n");

        harness.answer("date 2030-01-02T03:04:05");
        QTRY_COMPARE(harness.answer("date"), QByteArray("2030-01-02T03:04:06\r\n"));
    }

    void printsDebugOutputUntilItIsSwitchedOff()
    {
        DeviceHarness harness;
        harness.answer("set debug=1");
        harness.output.clear();
        QTRY_VERIFY(harness.output.contains("# adc0 "));
        QCOMPARE(harness.answer("set debug=0"), QByteArray("set: debug=0\r\n"));
        QSignalSpy spy(&harness.device, &Device::transmit);
        QVERIFY(!spy.wait(700));
    }

    void readsTheLogTitlesWithTheirChecksum()
    {
        DeviceHarness harness;
        QCOMPARE(harness.answer("log --read=0"),
                 QByteArray("00000=Time,W0,W1,W2,A2,A4,LUX#58\r\n"));
    }

    void readsLogRows()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.logRows = 3; });
        QDateTime last;
        for (int index = 1; index <= 3; ++index) {
            const QByteArray line =
                harness.answer("log --read=" + QByteArray::number(index)).trimmed();
            QVERIFY(line.startsWith(QByteArray::number(index).rightJustified(5, '0') + '='));
            const QByteArray record = line.mid(6, line.lastIndexOf('#') - 6);
            QCOMPARE(line.mid(line.lastIndexOf('#') + 1).toInt(nullptr, 16),
                     int(recordChecksum(record)));
            const QList<QByteArray> fields = record.split(',');
            QCOMPARE(fields.size(), 7);
            const QDateTime time =
                QDateTime::fromString(QString::fromLatin1(fields.first()), Qt::ISODate);
            QVERIFY(time.isValid());
            QVERIFY(!last.isValid() || last.secsTo(time) == 15 * 60);
            last = time;
            for (int column = 1; column < fields.size(); ++column) {
                bool ok = false;
                fields.at(column).toDouble(&ok);
                QVERIFY(ok);
            }
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
        harness.answer("log --erase");
        QCOMPARE(harness.answer("log --count"), QByteArray("count=0\r\n"));
        QVERIFY(harness.answer("log --read=0").startsWith("00000=Time,"));
        QCOMPARE(harness.answer("log --read=1"), QByteArray("log: No such entry!\r\n"));
    }

    void hasNoLogWithoutTheOption_data()
    {
        QTest::addColumn<QByteArray>("command");
        for (const char *command : {"log --count", "log --read=0", "log --read=1", "log --erase"}) {
            QTest::addRow("%s", command) << QByteArray(command);
        }
    }

    void hasNoLogWithoutTheOption()
    {
        QFETCH(QByteArray, command);
        DeviceHarness harness([](DeviceOptions &o) { o.logOption = false; });
        QCOMPARE(harness.answer(command), QByteArray("No LOG option installed!\r\n"));
        QVERIFY(harness.answer("show unit").contains("Options: none\r\n"));
    }

    void storesTheSettingsAfterADelay()
    {
        DeviceHarness harness;
        const QByteArray begun = harness.type("write --really");
        QCOMPARE(begun,
                 QByteArray("write --really\r\n"
                            "Writing current configuration to non-volatile memory..."));
        harness.device.receive("show hwver\r\n");
        QCOMPARE(harness.output, begun);
        QTRY_VERIFY(harness.output.contains("hwver"));
        const QByteArray settings = harness.device.state().memory().settingsText();
        QCOMPARE(harness.output,
                 begun + ' ' + QByteArray::number(settings.size() + 1)
                     + " bytes written!\r\nKVT $ show hwver\r\nshow: hwver=B\r\nKVT $ ");
        QVERIFY(settings.contains("altitude=120\n"));
    }

    void readsABlockOfMemory()
    {
        DeviceHarness harness;
        const QByteArray first = harness.answer("eeprom --read_block 0");
        QCOMPARE(first, harness.device.state().memory().block(0).toHex() + "\r\nDone\r\n");
        QVERIFY(QByteArray::fromHex(first.left(128)).startsWith("settings of KVT-100\nlocation="));
        QCOMPARE(harness.answer("eeprom --read_block 1023"),
                 harness.device.state().memory().block(1023).toHex() + "\r\nDone\r\n");
    }

    void acceptsARawBlockOfAnyBytes_data()
    {
        QTest::addColumn<QByteArray>("lineEnd");
        QTest::addColumn<QByteArray>("block");
        QByteArray all;
        for (int value = 0; value < 256; ++value) {
            all += static_cast<char>(value);
        }
        for (int part = 0; part < 4; ++part) {
            QTest::addRow("bytes from %d", part * 64)
                << QByteArray("\r\n") << all.mid(part * 64, 64);
        }
        QTest::addRow("line feeds") << QByteArray("\r\n") << QByteArray(64, '\n');
        QTest::addRow("carriage returns") << QByteArray("\r\n") << QByteArray(64, '\r');
        QTest::addRow("after a line feed alone") << QByteArray("\n") << QByteArray(64, '\n');
    }

    void acceptsARawBlockOfAnyBytes()
    {
        QFETCH(QByteArray, lineEnd);
        QFETCH(QByteArray, block);
        DeviceHarness harness;
        harness.device.receive("eeprom --write_block 9" + lineEnd + block + "\r\n");
        QCOMPARE(harness.output,
                 QByteArray("eeprom --write_block 9\r\nPlease input 64 bytes\r\n\r\nDone\r\nKVT $ "
                            "\r\nKVT $ "));
        QCOMPARE(harness.device.state().memory().block(9), block);
    }

    void timesOutWaitingForABlock()
    {
        DeviceHarness harness;
        const QByteArray before = harness.device.state().memory().block(9);
        harness.device.receive("eeprom --write_block 9\r\nabc");
        QTRY_VERIFY(harness.output.endsWith("\r\nTimed out, nothing written\r\nKVT $ "));
        QCOMPARE(harness.device.state().memory().block(9), before);
        QCOMPARE(harness.answer("show hwver"), QByteArray("show: hwver=B\r\n"));
    }

    void loadsTheStoredSettingsWhenRestarted_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");
        QTest::addRow("a setting that is not stored")
            << QByteArray("set altitude=2") << QByteArray("2") << QByteArray("1");
        QTest::addRow("factory settings that are not stored")
            << QByteArray("initconf --really") << QByteArray("120") << QByteArray("1");
        QTest::addRow("factory settings for damaged memory") << "eeprom --write_block 0\r\n"
                + QByteArray(64, 'x') << QByteArray("1") << QByteArray("120");
    }

    void loadsTheStoredSettingsWhenRestarted()
    {
        QFETCH(QByteArray, command);
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        DeviceHarness harness;
        harness.type("set altitude=1");
        harness.type("write --really");
        QTRY_VERIFY(harness.output.endsWith("$ "));
        harness.type(command);
        QCOMPARE(harness.answer("show altitude"), "show: altitude=" + before + "\r\n");
        harness.type("reboot --really");
        QTRY_VERIFY(harness.output.endsWith("\r\nKVT $ "));
        QCOMPARE(harness.answer("show altitude"), "show: altitude=" + after + "\r\n");
    }

    void keepsSettingsLogAndClockInTheStateFile()
    {
        QTemporaryDir folder;
        DeviceOptions options = DeviceHarness::fastOptions();
        options.stateFile = folder.filePath(QStringLiteral("state"));
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
        DeviceHarness again(options);
        QCOMPARE(again.device.state().memory().image(), image);
        QCOMPARE(again.answer("show altitude"), QByteArray("show: altitude=5\r\n"));
        QCOMPARE(again.answer("log --count"), QByteArray("count=0\r\n"));
        QVERIFY(again.answer("date").startsWith("2031-01-01T00:0"));

        options.model = "KVT-200";
        DeviceHarness other(options);
        QCOMPARE(other.answer("show altitude"), QByteArray("show: altitude=120\r\n"));
    }

    void announcesAResetAndRunsItsSelfTest()
    {
        DeviceHarness harness;
        harness.type("reboot --really");
        QCOMPARE(harness.output, QByteArray("reboot --really\r\nReseting device in 5 seconds\r\n"));
        harness.device.receive("show hwver\r\n");
        QTRY_VERIFY(harness.output.endsWith("BOOT"));
        QTRY_VERIFY(harness.output.endsWith("KVT $ "));
        const QRegExp text(QStringLiteral(".*BOOT\r\nPerforming selftest\\.\\.\\.\r\n.*"
                                          "All tests passed\\.\r\n\r\nOrvanta KVT.*\r\n"
                                          "Compiled on .*\r\nCopyright .*\r\nKVT \\$ "));
        QVERIFY2(text.exactMatch(QString::fromLatin1(harness.output)), harness.output.constData());
        QVERIFY(!harness.output.contains("hwver"));
    }

    void waitsBeforeAReset()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.rebootMs = 150; });
        QElapsedTimer timer;
        timer.start();
        harness.type("reboot --really");
        QTRY_VERIFY(harness.output.endsWith("BOOT"));
        QVERIFY(timer.elapsed() >= 140);
    }

    void startsTheBootloaderAfterAPowerCycle()
    {
        DeviceHarness harness;
        harness.device.powerCycle();
        QVERIFY(harness.output.endsWith("BOOT"));
        QCOMPARE(harness.device.mode(), Device::Mode::Bootloader);
        QTRY_COMPARE(harness.device.mode(), Device::Mode::Console);
        QVERIFY(harness.output.endsWith("KVT $ "));
    }
};

KV_TEST_CORE_MAIN(TestDeviceConsole)

#include "tst_deviceconsole.moc"
