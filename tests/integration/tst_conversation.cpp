// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/devicelink.h"
#include "tests/kit/testmain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtTest/QtTest>

namespace {

const QStringList identity = {text("swver"), text("hwver"),      text("serial"),
                              text("model"), text("meas_state"), text("health")};

// An empty value arrives as a null text, as an unknown one does: QRegExp does not
// distinguish them.
QString readEvent(const QString &name, const QString &value)
{
    return text("read %1=%2").arg(name, value.isEmpty() ? text("(null)") : value);
}

QStringList settingNames(SimulatorProcess &simulator)
{
    QStringList names;
    for (const QByteArray &line : simulator.control("settings")) {
        names += QString::fromLatin1(line.left(line.indexOf('=')));
    }
    return names;
}

} // namespace

class TestConversation : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_link.reset(new DeviceLink); }

    void readsEverythingOfEachModel_data()
    {
        QTest::addColumn<QString>("options");
        QTest::addColumn<int>("settings");
        const struct
        {
            const char *name;
            int settings;
        } models[] = {{"KVT-100", 8}, {"KVT-200", 10}, {"KVT-300", 12}};
        for (const auto &model : models) {
            for (const char *options : {"", " --debug", " --debug --fault chatter:1"}) {
                QTest::addRow("%s%s", model.name, options)
                    << text("--model %1%2").arg(text(model.name), text(options)) << model.settings;
            }
        }
        for (const char *options : {"--fault single-bytes:1", "--fault delay:150"}) {
            QTest::addRow("KVT-100 %s", options) << text(options) << 8;
        }
    }

    void readsEverythingOfEachModel()
    {
        QFETCH(QString, options);
        QFETCH(int, settings);
        QVERIFY(m_link->startConnected(options));
        const QStringList names = settingNames(simulator());
        QCOMPARE(names.size(), settings);
        handler().setValue(text("debug"), text("0"));
        handler().readModel();
        handler().readValues(identity);
        handler().readValues(names);
        handler().readDate();
        QVERIFY(m_link->waitForDone());

        QStringList expected = {text("written debug=0"),
                                text("value 3 ")
                                    + QString::fromLatin1(simulator().setting("model"))};
        for (const QString &name : identity + names) {
            expected += readEvent(name, QString::fromLatin1(simulator().setting(name.toLatin1())));
        }
        QStringList seen = m_link->events;
        QCOMPARE(seen.takeLast(), text("allJobsDone"));
        const QString clock = seen.takeLast();
        QCOMPARE(seen, expected);
        QVERIFY2(clock.startsWith(text("value 0 ")) && clock.endsWith(QLatin1Char('Z')),
                 qPrintable(clock));
        QCOMPARE(simulator().setting("debug"), QByteArray("0"));
        // Each command has been sent once, and nothing else.
        QCOMPARE(m_link->port->texts.size(), 3 + identity.size() + settings);
    }

    void sendsTheCommandsInOrderWithTheirLineEnds()
    {
        QTemporaryDir folder;
        const QString journal = folder.filePath(text("journal"));
        QVERIFY(m_link->startConnected(text("--write-ms 1 --journal ") + journal));
        handler().setValue(text("altitude"), text("7"));
        handler().readModel();
        handler().readValue(text("altitude"));
        handler().readMeasurements();
        handler().readDate();
        handler().setDate(QDateTime(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC));
        handler().writeToEeprom();
        handler().eraseLog();
        handler().factoryReset();
        QVERIFY(m_link->waitForDone());

        const QByteArray sent = "\r\nset altitude=7\r\n"
                                "\r\nshow unit\r\n"
                                "\r\nshow altitude\r\n"
                                "\r\nshow meas\r\n"
                                "\r\ndate\r\n"
                                "\r\ndate 2017-11-13T10:20:30\r\n"
                                "write --really\r\n"
                                "log --erase\r\n"
                                "\r\ninitconf --really\r\n";
        QCOMPARE(m_link->port->bytes, sent);
        QByteArrayList commands = {"command show swver"};
        for (const QByteArray &line : sent.split('\n')) {
            if (!line.trimmed().isEmpty()) {
                commands += "command " + line.trimmed();
            }
        }
        QFile file(journal);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArrayList lines = file.readAll().trimmed().split('\n');
        QCOMPARE(lines.mid(1), commands); // after the line with the port
    }

    void reportsTheValueThatTheDeviceEchoes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("echoed");
        const auto row = [](const char *title, const char *name, const char *value,
                            const char *echoed) {
            QTest::addRow("%s", title) << text(name) << text(value) << text(echoed);
        };
        row("in range", "altitude", "321", "321");
        row("above the range", "altitude", "99999", "9000");
        row("below the range", "altitude", "-500", "-400");
        row("no number", "altitude", "high", "120");
        row("rounded", "gain_co", "1.23456", "1.235");
        row("real above the range", "gain_co", "7", "2");
        row("text", "location", "Room 2", "Room 2");
        row("text too long", "location", "abcdefghijklmnopqrstuvwxyz", "abcdefghijklmnopqrstuvwx");
        row("empty text", "location", "", "");
        row("read-only", "health", "1%", "98%");
    }

    void reportsTheValueThatTheDeviceEchoes()
    {
        QFETCH(QString, name);
        QFETCH(QString, value);
        QFETCH(QString, echoed);
        QVERIFY(m_link->startConnected());
        handler().setValue(name, value);
        handler().readValue(name);
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events,
                 QStringList({text("written %1=%2").arg(name, echoed), readEvent(name, echoed),
                              text("allJobsDone")}));
        QCOMPARE(simulator().setting(name.toLatin1()), echoed.toLatin1());
    }

    void setsFromATextOfPairs()
    {
        QVERIFY(m_link->startConnected());
        handler().setValues(text("\r\naltitude=5\r\nnot a pair\r\nlog_interval=20\r\n"));
        QVERIFY(m_link->waitForDone());
        QCOMPARE(events(), text("written altitude=5; written log_interval=20; allJobsDone"));
    }

    void sendsTheSixLettersInTheDevicesCharacterSet()
    {
        QVERIFY(m_link->startConnected());
        handler().setValue(text("location"), text("\u00e4\u00f6\u00c4\u00d6\u00e5\u00c5"));
        QVERIFY(m_link->waitForDone());
        QCOMPARE(simulator().setting("location"), QByteArray("\x84\x94\x8e\x99\x86\x8f"));
        // Quirk: a chunk is read as UTF-8, which the device's character set isn't.
        QCOMPARE(m_link->events.first(),
                 text("written location=") + QString(6, QChar(QChar::ReplacementCharacter)));
    }

    void treatsAnUnknownParameterAsAnAnswer()
    {
        QVERIFY(m_link->startConnected());
        handler().readValue(text("nonsense"));
        handler().readValue(text("altitude"));
        QVERIFY(m_link->waitForDone());
        QCOMPARE(events(), text("read nonsense=(null); read altitude=120; allJobsDone"));
        QCOMPARE(m_link->sends(text("show nonsense")), 1);
    }

    void readsUnavailableMeasurementsAsN()
    {
        QVERIFY(m_link->startConnected(text("--unavailable W1 --warmup 600000")));
        const QDateTime before = QDateTime::currentDateTimeUtc();
        handler().readMeasurements();
        QVERIFY(m_link->waitForDone());
        QVERIFY(m_link->hasDevicesMeasurements());
        const QMap<QString, QString> values = m_link->measurements;
        QCOMPARE(values.size(), 6);
        QCOMPARE(values.value(text("W1")), text("N"));
        QCOMPARE(values.value(text("A2")), text("N"));
        QVERIFY(values.value(text("W0")) != text("N"));
        QCOMPARE(m_link->measuredAt.timeSpec(), Qt::UTC);
        QVERIFY(m_link->measuredAt >= before
                && m_link->measuredAt <= QDateTime::currentDateTimeUtc());
    }

    void readsAndSetsTheClock()
    {
        QVERIFY(m_link->startConnected(text("--clock-offset -86400")));
        handler().readDate();
        QVERIFY(m_link->waitForDone());
        const QDate yesterday = QDateTime::currentDateTimeUtc().addDays(-1).date();
        QVERIFY2(events().startsWith(text("value 0 ") + yesterday.toString(Qt::ISODate)),
                 qPrintable(events()));

        m_link->clearRecords();
        handler().setDate(QDateTime(QDate(2030, 1, 2), QTime(3, 4, 5), Qt::UTC));
        handler().readDate();
        QVERIFY(m_link->waitForDone());
        QVERIFY2(
            events().startsWith(text("finished 1 2030-01-02T03:04:05Z; value 0 2030-01-02T03:04:")),
            qPrintable(events()));
        QVERIFY(simulator().control("clock").value(0).startsWith("2030-01-02T03:04:"));
        QVERIFY(m_link->port->bytes.startsWith("\r\ndate 2030-01-02T03:04:05\r\n"));
    }

    void reportsAnInvalidDateTwiceAndContinues()
    {
        QVERIFY(m_link->startConnected());
        handler().readValue(text("altitude"));
        handler().setDate(QDateTime());
        handler().readValue(text("altitude"));
        QVERIFY(m_link->waitForDone());
        const QString error = text("error Set device clock failed: Unable to set time, invalid "
                                   "timestamp given: ");
        QCOMPARE(m_link->events,
                 QStringList({text("read altitude=120"), error, error, text("read altitude=120"),
                              text("allJobsDone")}));
        QVERIFY(!m_link->port->bytes.contains("date"));
    }

    void keepsStoredSettingsOverARestart()
    {
        QVERIFY(m_link->startConnected(text("--write-ms 50 --reboot-ms 10 --boot-wait 20")));
        handler().setValue(text("altitude"), text("321"));
        handler().writeToEeprom();
        handler().setValue(text("altitude"), text("322"));
        handler().reboot();
        handler().readValue(text("altitude"));
        QVERIFY(m_link->waitForDone());
        QCOMPARE(events(),
                 text("written altitude=321; finished 0; written altitude=322; finished 3; "
                      "read altitude=321; allJobsDone"));
    }

    void loadsTheFactoryValues()
    {
        QVERIFY(m_link->startConnected());
        handler().setValue(text("altitude"), text("321"));
        handler().factoryReset();
        handler().readValue(text("altitude"));
        QVERIFY(m_link->waitForDone());
        // The reset itself is not reported.
        QCOMPARE(events(), text("written altitude=321; read altitude=120; allJobsDone"));
    }

    void treatsTwoLateAnswersInOneChunkAsOne()
    {
        constexpr unsigned long untilBothHaveArrivedMs = 800;
        QVERIFY(m_link->startConnected());
        QVERIFY(simulator().fault("delay@show altitude:1500"));
        handler().readValue(text("altitude"));
        m_link->setTimeouts(1000);
        QVERIFY(runUntil([&] { return m_link->sends(text("show altitude")) == 2; }));
        m_link->port->flush();
        QThread::msleep(untilBothHaveArrivedMs);
        QVERIFY(m_link->waitForDone());
        // Quirk: the value ends at the last line end that is followed by a prompt.
        QCOMPARE(events(),
                 text("read altitude=120\r\nKVT $ \r\nKVT $ show altitude\r\nshow: altitude=120; "
                      "allJobsDone"));
        QCOMPARE(m_link->sends(text("show altitude")), 2);
    }

    void stopsAfterFiveSendsUntilItIsCleared_data()
    {
        QTest::addColumn<QString>("call");
        for (const char *call : {"clearJobs", "disconnectFromDevice", "setSerialPort", "removeJobs",
                                 "connectToDevice"}) {
            QTest::addRow("%s", call) << text(call);
        }
    }

    void stopsAfterFiveSendsUntilItIsCleared()
    {
        QFETCH(QString, call);
        QVERIFY(m_link->startConnected());
        QVERIFY(simulator().fault("silence"));
        handler().readValue(text("altitude"));
        handler().readValue(text("health"));
        m_link->setTimeouts(100);
        QVERIFY(m_link->waitForStall());
        QCOMPARE(m_link->sends(text("show altitude")), 5);
        QCOMPARE(m_link->sends(text("show health")), 0);
        QCOMPARE(simulator().state("exchanges"), QByteArray("6"));
        QCOMPARE(events(), QString());

        // Jobs that are added later wait too.
        simulator().control("fault clear");
        handler().readValue(text("serial"));
        QTest::qWait(600);
        QVERIFY(m_link->isStalled());
        QCOMPARE(events(), QString());
        QCOMPARE(m_link->queue->jobs().size(), 2);

        if (call == text("clearJobs")) {
            handler().clearJobs();
        } else if (call == text("disconnectFromDevice")) {
            handler().disconnectFromDevice();
            QVERIFY(handler().openPort());
        } else if (call == text("setSerialPort")) {
            m_link->renewPort();
            QVERIFY(handler().openPort());
        } else if (call == text("removeJobs")) {
            m_link->queue->removeJobs(SerialPortJobType::JobReadValue);
        } else {
            handler().connectToDevice();
            QVERIFY(m_link->waitFor(text("connected")));
        }
        QVERIFY(m_link->isIdle());
        QVERIFY(m_link->canRead("hwver", "B"));
    }

    void connectsAgainOnTheOpenPort()
    {
        QVERIFY(m_link->startConnected());
        handler().readValue(text("altitude"));
        handler().readValue(text("health"));
        QVERIFY(m_link->connectDevice());
        QVERIFY(m_link->isIdle());
        QVERIFY(m_link->port->isOpen());
    }

    void connectsOnAnotherTransport()
    {
        SimulatorProcess other;
        QVERIFY(other.start({text("--model"), text("KVT-300")}));
        QVERIFY(m_link->startConnected());
        const auto first = m_link->port;
        m_link->setPort(other.port());
        QVERIFY(!first->isOpen());
        QVERIFY(m_link->connectDevice());
        QCOMPARE(handler().portName(), m_link->port->portName());
        QVERIFY(m_link->canRead("model", "KVT-300"));

        m_link->renewPort();
        QVERIFY(m_link->connectDevice());
        QVERIFY(m_link->canRead("model", "KVT-100"));
    }

    void reportsAPortThatCannotBeOpened()
    {
        QVERIFY(m_link->start());
        m_link->setPort(text("/dev/no-such-port"));
        handler().connectToDevice();
        QCOMPARE(events(), text("error Unable to open port!"));
        QVERIFY(m_link->isIdle());
        QVERIFY(!handler().isConnected());
        m_link->renewPort();
        QVERIFY(m_link->connectDevice());
    }

    void disconnectsAndConnectsAgain()
    {
        QVERIFY(m_link->startConnected());
        handler().readValues(identity);
        handler().disconnectFromDevice();
        QVERIFY(!m_link->port->isOpen());
        QVERIFY(m_link->isIdle());
        QVERIFY(handler().isConnected());
        QTest::qWait(50);
        QCOMPARE(events(), QString());
        QVERIFY(m_link->connectDevice());
        QVERIFY(m_link->canRead("altitude", "120"));
    }

    void ignoresDebugOutputThatCannotBeSwitchedOff()
    {
        QVERIFY(m_link->startConnected(text("--fault chatter:1")));
        QStringList expected;
        for (int round = 1; round <= 20; ++round) {
            const QString number = QString::number(round);
            handler().setValue(text("altitude"), number);
            handler().readValue(text("altitude"));
            handler().readMeasurements();
            expected += {text("written altitude=") + number, text("read altitude=") + number,
                         text("measurements")};
        }
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events, expected << text("allJobsDone"));
        QCOMPARE(m_link->port->texts.size(), 60);
    }

private:
    SerialPortHandler &handler() { return m_link->handler; }
    SimulatorProcess &simulator() { return m_link->simulator; }
    QString events() const { return m_link->events.join(text("; ")); }

    QScopedPointer<DeviceLink> m_link;
};

KV_TEST_CORE_MAIN(TestConversation)

#include "tst_conversation.moc"
