// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/devicelink.h"
#include "tests/kit/eventlooplatencymonitor.h"
#include "tests/kit/fileio.h"
#include "tests/kit/testmain.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

namespace {

const QStringList infoVariables = {text("swver"), text("hwver"),      text("serial"),
                                   text("model"), text("meas_state"), text("health")};

// An empty value and that of an unknown variable are both reported as a null string: QRegExp does
// not distinguish them.
QString variableEvent(const char *what, const QString &name, const QString &value)
{
    return text("%1 %2=%3").arg(text(what), name, value.isEmpty() ? text("null") : value);
}

using Call = void (*)(DeviceLink &);

} // namespace

Q_DECLARE_METATYPE(Call)

class TestDeviceCommands : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_link.reset(new DeviceLink); }

    void readsAllDataOfEachModel_data()
    {
        QTest::addColumn<int>("settings");
        for (const char *options : {"", "--debug", "--debug --fault chatter:1"}) {
            QTest::addRow("--model KVT-100 %s", options) << 8;
            QTest::addRow("--model KVT-200 %s", options) << 10;
            QTest::addRow("--model KVT-300 %s", options) << 12;
        }
        QTest::addRow("--fault single-bytes:1") << 8;
        QTest::addRow("--fault delay:150") << 8;
    }

    void readsAllDataOfEachModel()
    {
        QFETCH(int, settings);
        QVERIFY(m_link->startConnected(text(QTest::currentDataTag())));
        QStringList names = infoVariables;
        for (const QByteArray &line : simulator().control("settings")) {
            names += QString::fromLatin1(line.left(line.indexOf('=')));
        }
        QCOMPARE(names.size(), infoVariables.size() + settings);
        handler().setValue(text("debug"), text("0"));
        handler().readModel();
        handler().readMeasurements();
        handler().readValues(names);
        handler().readDate();
        QVERIFY(m_link->waitForAllJobsDone());

        QStringList expected = {text("written debug=0"),
                                text("value ValueDeviceModel QString ")
                                    + QString::fromLatin1(simulator().setting("model")),
                                text("measurements")};
        for (const QString &name : names) {
            expected += variableEvent("read", name,
                                      QString::fromLatin1(simulator().setting(name.toLatin1())));
        }
        QStringList seen = m_link->events;
        QCOMPARE(seen.takeLast(), text("allJobsDone"));
        const QString clock = seen.takeLast();
        QCOMPARE(seen, expected);
        QVERIFY2(clock.startsWith(text("value ValueDeviceDate QDateTime "))
                     && clock.endsWith(QLatin1Char('Z')),
                 qPrintable(clock));
        QVERIFY(m_link->measurementsMatchDevice());
        QCOMPARE(simulator().setting("debug"), QByteArray("0"));
        // Each command was sent once, and nothing else was sent.
        QCOMPARE(m_link->port->texts.size(), 4 + names.size());
    }

    void sendsCommandsInOrderWithTheirLineEndings()
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
        QVERIFY(m_link->waitForAllJobsDone());

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
        const QByteArrayList lines = FileIo::contents(journal).trimmed().split('\n');
        QCOMPARE(lines.mid(1), commands); // after the line with the port
    }

    void reportsTheValueThatTheDeviceEchoes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("echoed");
        const auto row = [](const char *name, const char *value, const char *echoed) {
            QTest::addRow("%s=%s", name, value) << text(name) << text(value) << text(echoed);
        };
        row("altitude", "321", "321");
        row("altitude", "99999", "9000"); // limited to the range
        row("altitude", "-500", "-400");
        row("altitude", "high", "120");
        row("gain_co", "1.23456", "1.235");
        row("gain_co", "7", "2");
        row("location", "Room 2", "Room 2");
        row("location", "abcdefghijklmnopqrstuvwxyz", "abcdefghijklmnopqrstuvwx");
        row("location", "", "");
        row("health", "1%", "98%"); // read-only
    }

    void reportsTheValueThatTheDeviceEchoes()
    {
        QFETCH(QString, name);
        QFETCH(QString, value);
        QFETCH(QString, echoed);
        QVERIFY(m_link->startConnected());
        handler().setValue(name, value);
        handler().readValue(name);
        QVERIFY(m_link->waitForAllJobsDone());
        QCOMPARE(m_link->events,
                 QStringList({variableEvent("written", name, echoed),
                              variableEvent("read", name, echoed), text("allJobsDone")}));
        QCOMPARE(simulator().setting(name.toLatin1()), echoed.toLatin1());
    }

    void acceptsTheReplyToAnUnknownVariable()
    {
        QVERIFY(m_link->startConnected());
        handler().readValue(text("nonsense"));
        handler().readValue(text("altitude"));
        QVERIFY(m_link->waitForAllJobsDone());
        QCOMPARE(events(), text("read nonsense=null; read altitude=120; allJobsDone"));
        QCOMPARE(m_link->sendCount(text("show nonsense")), 1);
    }

    void readsUnavailableMeasurementsAsN()
    {
        QVERIFY(m_link->startConnected(text("--unavailable W1 --warmup 600000")));
        const QDateTime before = QDateTime::currentDateTimeUtc();
        handler().readMeasurements();
        QVERIFY(m_link->waitForAllJobsDone());
        QVERIFY(m_link->measurementsMatchDevice());
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
        QVERIFY(m_link->waitForAllJobsDone());
        const QDate yesterday = QDateTime::currentDateTimeUtc().addDays(-1).date();
        QVERIFY2(events().startsWith(text("value ValueDeviceDate QDateTime ")
                                     + yesterday.toString(Qt::ISODate)),
                 qPrintable(events()));

        m_link->clearRecords();
        handler().setDate(QDateTime(QDate(2030, 1, 2), QTime(3, 4, 5), Qt::UTC));
        handler().readDate();
        QVERIFY(m_link->waitForAllJobsDone());
        QVERIFY2(events().startsWith(text("finished ActionSetDate QDateTime 2030-01-02T03:04:05Z; "
                                          "value ValueDeviceDate QDateTime 2030-01-02T03:04:")),
                 qPrintable(events()));
        QVERIFY(simulator().control("clock").value(0).startsWith("2030-01-02T03:04:"));
        QVERIFY(m_link->port->bytes.startsWith("\r\ndate 2030-01-02T03:04:05\r\n"));
    }

    void restartRestoresStoredSettingsAndFactoryResetRestoresDefaults()
    {
        QVERIFY(m_link->startConnected(text("--write-ms 50 --reboot-ms 10 --boot-wait 20")));
        handler().setValue(text("altitude"), text("321"));
        handler().writeToEeprom();
        handler().setValue(text("altitude"), text("322"));
        handler().reboot();
        handler().readValue(text("altitude"));
        handler().factoryReset(); // emits no signal
        handler().readValue(text("altitude"));
        QVERIFY(m_link->waitForAllJobsDone());
        QCOMPARE(events(),
                 text("written altitude=321; finished ActionWriteToEeprom (no value); "
                      "written altitude=322; finished ActionReboot (no value); "
                      "read altitude=321; read altitude=120; allJobsDone"));
    }

    void stopsAfterFiveSendsUntilTheQueueIsCleared_data()
    {
        using Link = DeviceLink;
        QTest::addColumn<Call>("call");
        QTest::addRow("clearJobs") << Call([](Link &link) { link.handler.clearJobs(); });
        QTest::addRow("disconnectFromDevice") << Call([](Link &link) {
            link.handler.disconnectFromDevice();
            QVERIFY(link.handler.openPort());
        });
        QTest::addRow("setSerialPort") << Call([](Link &link) {
            link.replacePort();
            QVERIFY(link.handler.openPort());
        });
        QTest::addRow("removeJobs")
            << Call([](Link &link) { link.queue->removeJobs(SerialPortJobType::JobReadValue); });
        QTest::addRow("connectToDevice") << Call([](Link &link) { QVERIFY(link.connectDevice()); });
    }

    void stopsAfterFiveSendsUntilTheQueueIsCleared()
    {
        QFETCH(Call, call);
        QVERIFY(m_link->startConnected());
        QVERIFY(simulator().fault("silence"));
        handler().readValue(text("altitude"));
        handler().readValue(text("health"));
        m_link->setTimeouts(100);
        QVERIFY(m_link->waitForStall());
        QCOMPARE(m_link->sendCount(text("show altitude")), 5);
        QCOMPARE(m_link->sendCount(text("show health")), 0);
        QCOMPARE(simulator().state("exchanges"), QByteArray("6")); // connect and five sends

        // Jobs that are added later wait too.
        simulator().control("fault clear");
        handler().readValue(text("serial"));
        QTest::qWait(600);
        QVERIFY(m_link->isStalled());
        QCOMPARE(events(), QString());
        QCOMPARE(m_link->queue->jobs().size(), 2);

        call(*m_link);
        QVERIFY(m_link->isIdle());
        QVERIFY(m_link->readReturns("hwver", "B"));
    }

    void connectsAgainWhileThePortIsOpen()
    {
        QVERIFY(m_link->startConnected());
        handler().readValue(text("altitude"));
        handler().readValue(text("health"));
        QVERIFY(m_link->connectDevice());
        QVERIFY(m_link->isIdle());
        QVERIFY(m_link->port->isOpen());
    }

    void connectsThroughAnotherTransport()
    {
        SimulatorProcess other;
        QVERIFY(other.start({text("--model"), text("KVT-300")}));
        QVERIFY(m_link->startConnected());
        const auto first = m_link->port;
        m_link->setPort(other.port());
        QVERIFY(!first->isOpen());
        QVERIFY(m_link->connectDevice());
        QCOMPARE(handler().portName(), m_link->port->portName());
        QVERIFY(m_link->readReturns("model", "KVT-300"));
        m_link->replacePort();
        QVERIFY(m_link->connectDevice());
        QVERIFY(m_link->readReturns("model", "KVT-100"));
    }

    void reportsAPortThatCannotBeOpened()
    {
        QVERIFY(m_link->start());
        m_link->setPort(text("/dev/no-such-port"));
        handler().connectToDevice();
        QCOMPARE(events(), text("error Unable to open port!"));
        QVERIFY(m_link->isIdle());
        QVERIFY(!handler().isConnected());
        m_link->replacePort();
        QVERIFY(m_link->connectDevice());
    }

    void disconnectsAndConnectsAgain()
    {
        QVERIFY(m_link->startConnected());
        handler().readValues(infoVariables);
        handler().disconnectFromDevice();
        QVERIFY(!m_link->port->isOpen());
        QVERIFY(m_link->isIdle());
        // Quirk: the device counts as connected after a disconnection.
        QVERIFY(handler().isConnected());
        QTest::qWait(50);
        QCOMPARE(events(), QString());
        QVERIFY(m_link->connectDevice());
        QVERIFY(m_link->readReturns("altitude", "120"));
    }

    // After a hang-up the jobs time out until the port is closed; the port's errors are ignored.
    void keepsTheEventLoopRunningAfterAHangUp_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addRow("before the exchange") << QByteArray("hangup");
        QTest::addRow("instead of the reply") << QByteArray("fault hangup@show altitude:0");
        QTest::addRow("during the reply") << QByteArray("fault hangup@show altitude:9");
    }

    void keepsTheEventLoopRunningAfterAHangUp()
    {
        QFETCH(QByteArray, command);
        constexpr int observationMs = 1000;
        constexpr int maxBlockedMs = 250;
        QVERIFY(m_link->startConnected());
        simulator().control(command);
        QVERIFY(simulator().succeeded());

        const EventLoopLatencyMonitor monitor;
        QElapsedTimer time;
        time.start();
        handler().readValue(text("altitude"));
        handler().readEeprom(); // adds many jobs
        m_link->setTimeouts(100);
        QVERIFY(runUntil([&] { return m_link->isStalled() && time.elapsed() > observationMs; }));
        monitor.print(QTest::currentDataTag());
        QVERIFY2(monitor.longestGap() < maxBlockedMs,
                 qPrintable(QString::number(monitor.longestGap())));
        QVERIFY(monitor.ticks() > observationMs / 50);
        QCOMPARE(m_link->sendCount(text("show altitude")), 5);
        QCOMPARE(events(), QString());
        QVERIFY(m_link->port->isOpen());

        handler().disconnectFromDevice();
        QVERIFY(!m_link->port->isOpen());
        QVERIFY(m_link->isIdle());
        QVERIFY(m_link->queue->jobs().isEmpty());
        // Quirk: the device counts as connected after a disconnection.
        QVERIFY(handler().isConnected());
        simulator().control("fault clear");
        QVERIFY(simulator().resume());
        m_link->replacePort();
        QVERIFY(m_link->connectDevice());
        QVERIFY(m_link->readReturns("altitude", "120"));
    }

    void treatsTheExitOfTheSimulatorAsAHangUp()
    {
        QVERIFY(m_link->startConnected());
        simulator().kill();
        handler().readMeasurements();
        m_link->setTimeouts(50);
        QVERIFY(m_link->waitForStall());
        QCOMPARE(events(), QString());
        handler().disconnectFromDevice();
        QVERIFY(m_link->startConnected());
    }

    void canBeDestroyedWhileAHungUpPortIsOpen()
    {
        const EventLoopLatencyMonitor monitor;
        QVERIFY(m_link->startConnected());
        handler().readEeprom();
        QVERIFY(runUntil([&] { return m_link->eepromProgress.size() > 10; }));
        simulator().hangUp();
        QVERIFY(
            runUntil([&] { return m_link->sendCount(m_link->port->texts.last().trimmed()) > 1; }));
        m_link.reset();
        QTest::qWait(50);
        QVERIFY(monitor.ticks() > 1);
    }

private:
    SerialPortHandler &handler() { return m_link->handler; }
    SimulatorProcess &simulator() { return m_link->simulator; }
    QString events() const { return m_link->events.join(text("; ")); }

    QScopedPointer<DeviceLink> m_link;
};

KV_TEST_CORE_MAIN(TestDeviceCommands)

#include "tst_devicecommands.moc"
