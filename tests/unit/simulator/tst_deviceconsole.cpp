// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/devicedesk.h"

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
    void givesAFreshPromptForAnEmptyLine()
    {
        DeviceDesk desk;
        QCOMPARE(desk.type(""), QByteArray("\r\nKVT $ "));
        QCOMPARE(desk.device.faults().exchange(), 0);
    }

    void echoesWhatIsTypedByteByByte()
    {
        DeviceDesk desk;
        desk.device.receive("sh");
        QCOMPARE(desk.output, QByteArray("sh"));
        desk.device.receive("ow");
        QCOMPARE(desk.output, QByteArray("show"));
    }

    void answersBetweenEchoAndPrompt()
    {
        DeviceDesk desk;
        QCOMPARE(desk.type("show swver"), QByteArray("show swver\r\nshow: swver=2.4.1\r\nKVT $ "));
    }

    void takesCarriageReturnAndLineFeedTogetherOrAlone_data()
    {
        QTest::addColumn<QByteArray>("typed");
        QTest::addRow("CR LF") << QByteArray("show hwver\r\nshow debug\r\n");
        QTest::addRow("CR") << QByteArray("show hwver\rshow debug\r");
        QTest::addRow("LF") << QByteArray("show hwver\nshow debug\n");
    }

    void takesCarriageReturnAndLineFeedTogetherOrAlone()
    {
        QFETCH(QByteArray, typed);
        DeviceDesk desk;
        desk.device.receive(typed);
        QCOMPARE(desk.output,
                 QByteArray("show hwver\r\nshow: hwver=B\r\nKVT $ "
                            "show debug\r\nshow: debug=0\r\nKVT $ "));
    }

    void takesBackATypedByte()
    {
        DeviceDesk desk;
        desk.device.receive("show hwverx\b\r");
        QVERIFY(desk.output.contains("show: hwver=B\r\n"));
        desk.device.receive("\x7f\x01");
        QVERIFY(desk.output.endsWith("KVT $ "));
    }

    void losesWhatIsTypedBeyondTheLine()
    {
        DeviceDesk desk;
        desk.device.receive(QByteArray(1000, 'x'));
        QCOMPARE(desk.output.size(), 255);
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
        DeviceOptions options = DeviceDesk::fast();
        options.serial = "S-17";
        DeviceDesk desk(options);
        QCOMPARE(desk.answer(command), answer);
    }

    void isTheSameDeviceForTheSameSeed()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.seed = 7;
        DeviceDesk one(options);
        DeviceDesk same(options);
        options.seed = 8;
        DeviceDesk other(options);
        QCOMPARE(one.answer("show serial"), same.answer("show serial"));
        QVERIFY(one.answer("show serial") != other.answer("show serial"));
        QCOMPARE(one.answer("eeprom --read_block 1000"), same.answer("eeprom --read_block 1000"));
        QVERIFY(one.answer("eeprom --read_block 1000") != other.answer("eeprom --read_block 1000"));
    }

    void tellsAllMeasurementsOfItsModel()
    {
        DeviceDesk desk;
        const QByteArray answer = desk.answer("show meas");
        const QRegExp form(
            QStringLiteral("show: meas=\"W0=[\\d.]+;W1=[\\d.]+;W2=[\\d.]+;A2=[\\d.]+;"
                           "A4=[\\d.]+;LUX=[\\d.]+\"\r\n"));
        QVERIFY2(form.exactMatch(QString::fromLatin1(answer)), answer.constData());
        QCOMPARE("show: meas=\"" + desk.device.state().lastMeasurements() + "\"\r\n", answer);
    }

    void hasNoValueForAnUnavailableMeasurement()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.unavailable = {"W1", "LUX"};
        DeviceDesk desk(options);
        const QByteArray answer = desk.answer("show meas");
        QVERIFY2(answer.contains(";W1=N;") && answer.contains(";LUX=N\""), answer.constData());
    }

    void warmsUp()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.warmUpMs = 100;
        DeviceDesk desk(options);
        QCOMPARE(desk.answer("show meas_state"), QByteArray("show: meas_state=0\r\n"));
        QVERIFY(desk.answer("show meas").contains(";A2=N;"));
        QTRY_COMPARE(desk.answer("show meas_state"), QByteArray("show: meas_state=1\r\n"));
        QVERIFY(!desk.answer("show meas").contains("N;"));
    }

    void showsAnotherStateAndHealth()
    {
        DeviceDesk desk;
        desk.device.state().setMeasurementState(3);
        desk.device.state().setHealth("");
        QCOMPARE(desk.answer("show meas_state"), QByteArray("show: meas_state=3\r\n"));
        QCOMPARE(desk.answer("show health"), QByteArray("show: health=\r\n"));
    }

    void runsAClockOnUtc()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.clockOffsetMs = -3600000;
        DeviceDesk desk(options);
        const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-3600);
        const QByteArray told = desk.answer("date");
        const QDateTime after = QDateTime::currentDateTimeUtc().addSecs(-3600);
        QVERIFY(told == dateOf(before) + "\r\n" || told == dateOf(after) + "\r\n");

        desk.answer("date 2030-01-02T03:04:05");
        QTRY_COMPARE(desk.answer("date"), QByteArray("2030-01-02T03:04:06\r\n"));
    }

    void printsDebugOutputUntilItIsSwitchedOff()
    {
        DeviceDesk desk;
        desk.answer("set debug=1");
        desk.output.clear();
        QTRY_VERIFY(desk.output.contains("# adc0 "));
        QCOMPARE(desk.answer("set debug=0"), QByteArray("set: debug=0\r\n"));
        QSignalSpy spy(&desk.device, &Device::transmit);
        QVERIFY(!spy.wait(700));
    }

    void readsTheLogTitlesWithTheirChecksum()
    {
        DeviceDesk desk;
        QCOMPARE(desk.answer("log --read=0"), QByteArray("00000=Time,W0,W1,W2,A2,A4,LUX#58\r\n"));
    }

    void readsLogRows()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.logRows = 3;
        DeviceDesk desk(options);
        QDateTime last;
        for (int index = 1; index <= 3; ++index) {
            const QByteArray line =
                desk.answer("log --read=" + QByteArray::number(index)).trimmed();
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

    void knowsTheChecksumOfRecords()
    {
        QCOMPARE(int(recordChecksum("")), 0);
        // The check value of this CRC in the catalogues.
        QCOMPARE(int(recordChecksum("123456789")), 0xa2);
    }

    void erasesTheLog()
    {
        DeviceDesk desk;
        desk.answer("log --erase");
        QCOMPARE(desk.answer("log --count"), QByteArray("count=0\r\n"));
        QVERIFY(desk.answer("log --read=0").startsWith("00000=Time,"));
        QCOMPARE(desk.answer("log --read=1"), QByteArray("log: No such entry!\r\n"));
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
        DeviceOptions options = DeviceDesk::fast();
        options.logOption = false;
        DeviceDesk desk(options);
        QCOMPARE(desk.answer(command), QByteArray("No LOG option installed!\r\n"));
        QVERIFY(desk.answer("show unit").contains("Options: none\r\n"));
    }

    void takesItsTimeToStoreTheSettings()
    {
        DeviceDesk desk;
        const QByteArray begun = desk.type("write --really");
        QCOMPARE(begun,
                 QByteArray("write --really\r\n"
                            "Writing current configuration to non-volatile memory..."));
        desk.device.receive("show hwver\r\n");
        QCOMPARE(desk.output, begun);
        QTRY_VERIFY(desk.output.contains("hwver"));
        const QByteArray settings = desk.device.state().memory().settingsText();
        QCOMPARE(desk.output,
                 begun + ' ' + QByteArray::number(settings.size() + 1)
                     + " bytes written!\r\nKVT $ show hwver\r\nshow: hwver=B\r\nKVT $ ");
        QVERIFY(settings.contains("altitude=120\n"));
    }

    void readsABlockOfMemory()
    {
        DeviceDesk desk;
        const QByteArray first = desk.answer("eeprom --read_block 0");
        QCOMPARE(first, desk.device.state().memory().block(0).toHex() + "\r\nDone\r\n");
        QVERIFY(QByteArray::fromHex(first.left(128)).startsWith("settings of KVT-100\nlocation="));
        QCOMPARE(desk.answer("eeprom --read_block 1023"),
                 desk.device.state().memory().block(1023).toHex() + "\r\nDone\r\n");
    }

    void takesARawBlockOfAnyBytes_data()
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
        QTest::addRow("behind a line feed alone") << QByteArray("\n") << QByteArray(64, '\n');
    }

    void takesARawBlockOfAnyBytes()
    {
        QFETCH(QByteArray, lineEnd);
        QFETCH(QByteArray, block);
        DeviceDesk desk;
        desk.device.receive("eeprom --write_block 9" + lineEnd + block + "\r\n");
        QCOMPARE(desk.output,
                 QByteArray("eeprom --write_block 9\r\nPlease input 64 bytes\r\n\r\nDone\r\nKVT $ "
                            "\r\nKVT $ "));
        QCOMPARE(desk.device.state().memory().block(9), block);
    }

    void givesUpABlockThatStaysShort()
    {
        DeviceDesk desk;
        const QByteArray before = desk.device.state().memory().block(9);
        desk.device.receive("eeprom --write_block 9\r\nabc");
        QTRY_VERIFY(desk.output.endsWith("\r\nTimed out, nothing written\r\nKVT $ "));
        QCOMPARE(desk.device.state().memory().block(9), before);
        QCOMPARE(desk.answer("show hwver"), QByteArray("show: hwver=B\r\n"));
    }

    void returnsToTheStoredSettingsWhenRestarted()
    {
        DeviceDesk desk;
        desk.type("set altitude=1");
        desk.type("write --really");
        QTRY_VERIFY(desk.output.endsWith("$ "));
        desk.type("set altitude=2");
        desk.type("reboot --really");
        QTRY_VERIFY(desk.output.endsWith("\r\nKVT $ "));
        QCOMPARE(desk.answer("show altitude"), QByteArray("show: altitude=1\r\n"));
    }

    void loadsFactorySettingsIntoForceOnly()
    {
        DeviceDesk desk;
        desk.type("set altitude=1");
        desk.type("write --really");
        QTRY_VERIFY(desk.output.endsWith("$ "));
        desk.type("initconf --really");
        QCOMPARE(desk.answer("show altitude"), QByteArray("show: altitude=120\r\n"));
        desk.type("reboot --really");
        QTRY_VERIFY(desk.output.endsWith("\r\nKVT $ "));
        QCOMPARE(desk.answer("show altitude"), QByteArray("show: altitude=1\r\n"));
    }

    void startsWithFactorySettingsFromSpoiltMemory()
    {
        DeviceDesk desk;
        desk.type("set altitude=1");
        desk.device.receive("eeprom --write_block 0\r\n" + QByteArray(64, 'x'));
        desk.type("reboot --really");
        QTRY_VERIFY(desk.output.endsWith("\r\nKVT $ "));
        QCOMPARE(desk.answer("show altitude"), QByteArray("show: altitude=120\r\n"));
    }

    void keepsSettingsLogAndClockOverAPowerCut()
    {
        QTemporaryDir folder;
        DeviceOptions options = DeviceDesk::fast();
        options.stateFile = folder.filePath(QStringLiteral("state"));
        QByteArray image;
        {
            DeviceDesk desk(options);
            desk.type("set altitude=5");
            desk.type("write --really");
            QTRY_VERIFY(desk.output.endsWith("$ "));
            desk.type("set altitude=6");
            desk.device.receive("eeprom --write_block 700\r\n" + QByteArray(64, '7'));
            desk.type("log --erase");
            desk.type("date 2031-01-01T00:00:00");
            image = desk.device.state().memory().image();
        }
        DeviceDesk again(options);
        QCOMPARE(again.device.state().memory().image(), image);
        QCOMPARE(again.answer("show altitude"), QByteArray("show: altitude=5\r\n"));
        QCOMPARE(again.answer("log --count"), QByteArray("count=0\r\n"));
        QVERIFY(again.answer("date").startsWith("2031-01-01T00:0"));

        options.model = "KVT-200";
        DeviceDesk other(options);
        QCOMPARE(other.answer("show altitude"), QByteArray("show: altitude=120\r\n"));
    }

    void announcesAResetAndThenTestsItself()
    {
        DeviceDesk desk;
        desk.type("reboot --really");
        QCOMPARE(desk.output, QByteArray("reboot --really\r\nReseting device in 5 seconds\r\n"));
        desk.device.receive("show hwver\r\n");
        QTRY_VERIFY(desk.output.endsWith("BOOT"));
        QTRY_VERIFY(desk.output.endsWith("KVT $ "));
        const QRegExp text(QStringLiteral(".*BOOT\r\nPerforming selftest\\.\\.\\.\r\n.*"
                                          "All tests passed\\.\r\n\r\nOrvanta KVT.*\r\n"
                                          "Compiled on .*\r\nCopyright .*\r\nKVT \\$ "));
        QVERIFY2(text.exactMatch(QString::fromLatin1(desk.output)), desk.output.constData());
        QVERIFY(!desk.output.contains("hwver"));
    }

    void takesItsPauseBeforeAReset()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.rebootMs = 150;
        DeviceDesk desk(options);
        QElapsedTimer timer;
        timer.start();
        desk.type("reboot --really");
        QTRY_VERIFY(desk.output.endsWith("BOOT"));
        QVERIFY(timer.elapsed() >= 140);
    }

    void greetsFromTheBootloaderAfterAPowerCycle()
    {
        DeviceDesk desk;
        desk.device.powerCycle();
        QVERIFY(desk.output.endsWith("BOOT"));
        QCOMPARE(desk.device.mode(), Device::Mode::Bootloader);
        QTRY_COMPARE(desk.device.mode(), Device::Mode::Console);
        QVERIFY(desk.output.endsWith("KVT $ "));
    }
};

KV_TEST_CORE_MAIN(TestDeviceConsole)

#include "tst_deviceconsole.moc"
