// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/integration/devicelink.h"
#include "tests/kit/testmain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

namespace {

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

const QStringList identity = {text("swver"), text("hwver"),      text("serial"),
                              text("model"), text("meas_state"), text("health")};

// An empty value arrives as a null text, as an unknown one does: the pattern's engine makes no
// difference.
QString readEvent(const QString &name, const QString &value)
{
    return QStringLiteral("read %1=%2").arg(name, value.isEmpty() ? text("(null)") : value);
}

QStringList commandsOf(const QString &journal)
{
    QStringList commands;
    QFile file(journal);
    if (!file.open(QIODevice::ReadOnly)) {
        return commands;
    }
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("command ")) {
            commands += QString::fromLatin1(line.mid(int(qstrlen("command "))));
        }
    }
    return commands;
}

QStringList settingsOf(SimulatorProcess &simulator)
{
    QStringList names;
    for (const QByteArray &line : simulator.control("settings")) {
        names += QString::fromLatin1(line.left(line.indexOf('=')));
    }
    return names;
}

// The whole course of a connect: first contact, debug off, model, identity, settings, clock.
bool walkThroughConnect(DeviceLink &link, const QStringList &settings)
{
    if (!link.connectDevice()) {
        return false;
    }
    link.handler.setValue(text("debug"), text("0"));
    link.handler.readModel();
    link.handler.readValues(identity);
    link.handler.readValues(settings);
    link.handler.readDate();
    return link.waitForDone();
}

// What the walk has to report, by the device's own word; all but the clock, which is last.
QStringList expectedOfWalk(SimulatorProcess &simulator, const QStringList &settings)
{
    QStringList expected = {text("written debug=0"),
                            text("value 3 ") + QString::fromLatin1(simulator.setting("model"))};
    for (const QString &name : identity + settings) {
        expected += readEvent(name, QString::fromLatin1(simulator.setting(name.toLatin1())));
    }
    return expected;
}

} // namespace

class TestConversation : public QObject
{
    Q_OBJECT

private slots:
    void readsTheWholeOfEachModel_data();
    void readsTheWholeOfEachModel();
    void sendsTheCommandsInOrderWithTheirLineEnds();
    void reportsTheValueThatTheDeviceEchoes_data();
    void reportsTheValueThatTheDeviceEchoes();
    void setsFromATextOfPairs();
    void sendsTheSixLettersInTheDevicesCharacterSet();
    void takesAnUnknownParameterForAnAnswer();
    void readsMeasurementsWithTheUnavailableAsN();
    void readsAndSetsTheClock();
    void tellsAnInvalidDateTwiceAndGoesOn();
    void keepsSettingsOverARestart();
    void loadsTheFactoryValues();
    void joinsAnAnswerOfSingleBytes();
    void waitsForALateAnswer();
    void takesTwoLateAnswersInOneChunkForOne();
    void stallsAfterFiveSendsAndIsFreed_data();
    void stallsAfterFiveSendsAndIsFreed();
    void reconnectsOnTheOpenPort();
    void reconnectsOnAnotherTransport();
    void reportsAPortThatCannotBeOpened();
    void disconnectsAndConnectsAgain();
    void passesOverDebugChatter();
    void isNotDisturbedByChatterThatCannotBeSwitchedOff();
};

void TestConversation::readsTheWholeOfEachModel_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<int>("settings");
    QTest::addColumn<QString>("options");
    const struct
    {
        const char *name;
        int settings;
    } models[] = {{"KVT-100", 8}, {"KVT-200", 10}, {"KVT-300", 12}};
    for (const auto &model : models) {
        QTest::addRow("%s", model.name) << text(model.name) << model.settings << QString();
        QTest::addRow("%s with debug output", model.name)
            << text(model.name) << model.settings << text(" --debug");
        QTest::addRow("%s under chatter", model.name)
            << text(model.name) << model.settings << text(" --fault chatter:3");
    }
}

void TestConversation::readsTheWholeOfEachModel()
{
    QFETCH(QString, model);
    QFETCH(int, settings);
    QFETCH(QString, options);
    DeviceLink link;
    QVERIFY(link.start(text("--model ") + model + options));
    const QStringList names = settingsOf(link.simulator);
    QCOMPARE(names.size(), settings);
    QVERIFY(walkThroughConnect(link, names));

    QStringList events = link.events;
    QCOMPARE(events.takeLast(), text("allJobsDone"));
    const QString clock = events.takeLast();
    QCOMPARE(events, expectedOfWalk(link.simulator, names));
    QVERIFY2(clock.startsWith(text("value 0 ")) && clock.endsWith(QLatin1Char('Z')),
             qPrintable(clock));
    QCOMPARE(link.simulator.setting("debug"), QByteArray("0"));
    // Each went out once, and nothing else did.
    QCOMPARE(link.port->texts.size(), 3 + identity.size() + settings);
}

void TestConversation::sendsTheCommandsInOrderWithTheirLineEnds()
{
    QTemporaryDir folder;
    const QString journal = folder.filePath(text("journal"));
    DeviceLink link;
    QVERIFY(link.start(text("--write-ms 1 --journal ") + journal));
    QVERIFY(link.connectDevice());
    link.handler.setValue(text("altitude"), text("7"));
    link.handler.readModel();
    link.handler.readValue(text("altitude"));
    link.handler.readMeasurements();
    link.handler.readDate();
    link.handler.setDate(QDateTime(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC));
    link.handler.writeToEeprom();
    link.handler.eraseLog();
    link.handler.factoryReset();
    QVERIFY(link.waitForDone());

    QCOMPARE(link.port->bytes,
             QByteArray("\r\nset altitude=7\r\n"
                        "\r\nshow unit\r\n"
                        "\r\nshow altitude\r\n"
                        "\r\nshow meas\r\n"
                        "\r\ndate\r\n"
                        "\r\ndate 2017-11-13T10:20:30\r\n"
                        "write --really\r\n"
                        "log --erase\r\n"
                        "\r\ninitconf --really\r\n"));
    const QStringList heard = {text("show swver"),
                               text("set altitude=7"),
                               text("show unit"),
                               text("show altitude"),
                               text("show meas"),
                               text("date"),
                               text("date 2017-11-13T10:20:30"),
                               text("write --really"),
                               text("log --erase"),
                               text("initconf --really")};
    QCOMPARE(commandsOf(journal), heard);
}

void TestConversation::reportsTheValueThatTheDeviceEchoes_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("asked");
    QTest::addColumn<QString>("echoed");
    QTest::addRow("in range") << text("altitude") << text("321") << text("321");
    QTest::addRow("above the range") << text("altitude") << text("99999") << text("9000");
    QTest::addRow("below the range") << text("altitude") << text("-500") << text("-400");
    QTest::addRow("no number") << text("altitude") << text("high") << text("120");
    QTest::addRow("rounded") << text("gain_co") << text("1.23456") << text("1.235");
    QTest::addRow("real above the range") << text("gain_co") << text("7") << text("2");
    QTest::addRow("text") << text("location") << text("Room 2") << text("Room 2");
    QTest::addRow("text too long") << text("location") << text("abcdefghijklmnopqrstuvwxyz")
                                   << text("abcdefghijklmnopqrstuvwx");
    QTest::addRow("no text") << text("location") << text("") << text("");
    QTest::addRow("not for setting") << text("health") << text("1%") << text("98%");
}

void TestConversation::reportsTheValueThatTheDeviceEchoes()
{
    QFETCH(QString, name);
    QFETCH(QString, asked);
    QFETCH(QString, echoed);
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    link.handler.setValue(name, asked);
    link.handler.readValue(name);
    QVERIFY(link.waitForDone());
    const QStringList expected = {QStringLiteral("written %1=%2").arg(name, echoed),
                                  readEvent(name, echoed), text("allJobsDone")};
    QCOMPARE(link.events, expected);
    QCOMPARE(link.simulator.setting(name.toLatin1()), echoed.toLatin1());
}

void TestConversation::setsFromATextOfPairs()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    link.handler.setValues(text("\r\naltitude=5\r\nnot a pair\r\nlog_interval=20\r\n"));
    QVERIFY(link.waitForDone());
    const QStringList expected = {text("written altitude=5"), text("written log_interval=20"),
                                  text("allJobsDone")};
    QCOMPARE(link.events, expected);
}

void TestConversation::sendsTheSixLettersInTheDevicesCharacterSet()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    const QString letters = QString::fromUtf8("\u00e4\u00f6\u00c4\u00d6\u00e5\u00c5");
    link.handler.setValue(text("location"), letters);
    QVERIFY(link.waitForDone());
    QCOMPARE(link.simulator.setting("location"), QByteArray("\x84\x94\x8e\x99\x86\x8f"));
    // On the way back they are no UTF-8, as which the chunk is read: kept.
    QCOMPARE(link.events.first(),
             text("written location=") + QString(6, QChar(QChar::ReplacementCharacter)));
}

void TestConversation::takesAnUnknownParameterForAnAnswer()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    link.handler.readValue(text("nonsense"));
    link.handler.readValue(text("altitude"));
    QVERIFY(link.waitForDone());
    const QStringList expected = {text("read nonsense=(null)"), text("read altitude=120"),
                                  text("allJobsDone")};
    QCOMPARE(link.events, expected);
    QCOMPARE(link.sends(text("show nonsense")), 1);
}

void TestConversation::readsMeasurementsWithTheUnavailableAsN()
{
    DeviceLink link;
    QVERIFY(link.start(text("--unavailable W1 --warmup 600000")));
    QVERIFY(link.connectDevice());
    const QDateTime before = QDateTime::currentDateTimeUtc();
    link.handler.readMeasurements();
    QVERIFY(link.waitForDone());
    QMap<QString, QString> told;
    for (const QByteArray &pair : link.simulator.measurements()) {
        const int equals = pair.indexOf('=');
        told.insert(QString::fromLatin1(pair.left(equals)),
                    QString::fromLatin1(pair.mid(equals + 1)));
    }
    QCOMPARE(link.measurements, told);
    QCOMPARE(told.size(), 6);
    QCOMPARE(told.value(text("W1")), text("N"));
    QCOMPARE(told.value(text("A2")), text("N"));
    QVERIFY(told.value(text("W0")) != text("N"));
    QCOMPARE(link.measuredAt.timeSpec(), Qt::UTC);
    QVERIFY(link.measuredAt >= before && link.measuredAt <= QDateTime::currentDateTimeUtc());
}

void TestConversation::readsAndSetsTheClock()
{
    DeviceLink link;
    QVERIFY(link.start(text("--clock-offset -86400")));
    QVERIFY(link.connectDevice());
    link.handler.readDate();
    QVERIFY(link.waitForDone());
    const QString yesterday =
        QDateTime::currentDateTimeUtc().addDays(-1).date().toString(Qt::ISODate);
    QVERIFY2(link.events.first().startsWith(text("value 0 ") + yesterday),
             qPrintable(link.events.first()));

    link.forget();
    link.handler.setDate(QDateTime(QDate(2030, 1, 2), QTime(3, 4, 5), Qt::UTC));
    link.handler.readDate();
    QVERIFY(link.waitForDone());
    QCOMPARE(link.events.value(0), text("finished 1 2030-01-02T03:04:05Z"));
    QVERIFY2(link.events.value(1).startsWith(text("value 0 2030-01-02T03:04:")),
             qPrintable(link.events.value(1)));
    QVERIFY(link.simulator.control("clock").value(0).startsWith("2030-01-02T03:04:"));
    QVERIFY(link.port->bytes.startsWith("\r\ndate 2030-01-02T03:04:05\r\n"));
}

void TestConversation::tellsAnInvalidDateTwiceAndGoesOn()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    link.handler.readValue(text("altitude"));
    link.handler.setDate(QDateTime());
    link.handler.readValue(text("altitude"));
    QVERIFY(link.waitForDone());
    const QString error = text("error Set device clock failed: Unable to set time, invalid "
                               "timestamp given: ");
    const QStringList expected = {text("read altitude=120"), error, error,
                                  text("read altitude=120"), text("allJobsDone")};
    QCOMPARE(link.events, expected);
    QVERIFY(!link.port->bytes.contains("date"));
}

void TestConversation::keepsSettingsOverARestart()
{
    DeviceLink link;
    QVERIFY(link.start(text("--write-ms 50 --reboot-ms 10 --boot-wait 20")));
    QVERIFY(link.connectDevice());
    link.handler.setValue(text("altitude"), text("321"));
    link.handler.writeToEeprom();
    link.handler.setValue(text("altitude"), text("322"));
    link.handler.reboot();
    link.handler.readValue(text("altitude"));
    QVERIFY(link.waitForDone());
    const QStringList expected = {text("written altitude=321"), text("finished 0"),
                                  text("written altitude=322"), text("finished 3"),
                                  text("read altitude=321"),    text("allJobsDone")};
    QCOMPARE(link.events, expected);
}

void TestConversation::loadsTheFactoryValues()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    link.handler.setValue(text("altitude"), text("321"));
    link.handler.factoryReset();
    link.handler.readValue(text("altitude"));
    QVERIFY(link.waitForDone());
    // Nothing tells of the reset itself.
    const QStringList expected = {text("written altitude=321"), text("read altitude=120"),
                                  text("allJobsDone")};
    QCOMPARE(link.events, expected);
}

void TestConversation::joinsAnAnswerOfSingleBytes()
{
    DeviceLink link;
    QVERIFY(link.start(text("--fault single-bytes:1")));
    const QStringList names = settingsOf(link.simulator);
    QVERIFY(walkThroughConnect(link, names));
    QStringList events = link.events;
    events.removeLast();
    events.removeLast();
    QCOMPARE(events, expectedOfWalk(link.simulator, names));
    QCOMPARE(link.port->texts.size(), 3 + identity.size() + names.size());
}

void TestConversation::waitsForALateAnswer()
{
    DeviceLink link;
    QVERIFY(link.start(text("--fault delay:150")));
    QVERIFY(link.connectDevice());
    link.handler.readValue(text("altitude"));
    link.handler.readModel();
    link.handler.readMeasurements();
    QVERIFY(link.waitForDone());
    const QStringList expected = {text("read altitude=120"), text("value 3 KVT-100"),
                                  text("measurements"), text("allJobsDone")};
    QCOMPARE(link.events, expected);
    QCOMPARE(link.port->texts.size(), 3);
}

void TestConversation::takesTwoLateAnswersInOneChunkForOne()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    QVERIFY(link.simulator.fault("delay@show altitude:1500"));
    link.handler.readValue(text("altitude"));
    link.hurry(1000);
    QVERIFY(runUntil([&] { return link.sends(text("show altitude")) == 2; }));
    link.port->flush();
    // Until both answers are there, and before the second time-out.
    QThread::msleep(800);
    QVERIFY(link.waitForDone());
    // The value ends at the last line end that has a prompt behind it: kept.
    const QStringList expected = {text("read altitude=120\r\nKVT $ \r\nKVT $ show altitude\r\n"
                                       "show: altitude=120"),
                                  text("allJobsDone")};
    QCOMPARE(link.events, expected);
    QCOMPARE(link.sends(text("show altitude")), 2);
}

void TestConversation::stallsAfterFiveSendsAndIsFreed_data()
{
    QTest::addColumn<QString>("way");
    for (const char *way :
         {"clearJobs", "disconnectFromDevice", "setSerialPort", "removeJobs", "connectToDevice"}) {
        QTest::addRow("%s", way) << text(way);
    }
}

void TestConversation::stallsAfterFiveSendsAndIsFreed()
{
    QFETCH(QString, way);
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    QVERIFY(link.simulator.fault("silence"));
    link.handler.readValue(text("altitude"));
    link.handler.readValue(text("health"));
    link.hurry(100);
    QVERIFY(link.waitForStall());
    QCOMPARE(link.sends(text("show altitude")), 5);
    QCOMPARE(link.sends(text("show health")), 0);
    QCOMPARE(link.simulator.state("exchanges"), QByteArray("6"));
    QCOMPARE(link.events, QStringList());

    // Jobs that are added wait behind it.
    link.simulator.control("fault clear");
    link.handler.readValue(text("serial"));
    QTest::qWait(600);
    QVERIFY(link.isStalled());
    QCOMPARE(link.events, QStringList());
    QCOMPARE(link.queue->jobs().size(), 2);

    if (way == text("clearJobs")) {
        link.handler.clearJobs();
    } else if (way == text("disconnectFromDevice")) {
        link.handler.disconnectFromDevice();
        QVERIFY(link.handler.openPort());
    } else if (way == text("setSerialPort")) {
        link.plugIn();
        QVERIFY(link.handler.openPort());
    } else if (way == text("removeJobs")) {
        link.queue->removeJobs(SerialPortJobType::JobReadValue);
    } else {
        link.handler.connectToDevice();
        QVERIFY(link.waitFor(text("connected")));
    }
    QVERIFY(link.isIdle());
    link.forget();
    link.handler.readValue(text("hwver"));
    QVERIFY(link.waitFor(text("read hwver=B")));
}

void TestConversation::reconnectsOnTheOpenPort()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    link.handler.readValue(text("altitude"));
    link.handler.readValue(text("health"));
    QVERIFY(link.connectDevice());
    QVERIFY(link.isIdle());
    QVERIFY(link.port->isOpen());
}

void TestConversation::reconnectsOnAnotherTransport()
{
    DeviceLink link;
    SimulatorProcess other;
    QVERIFY(link.start());
    QVERIFY(other.start({text("--model"), text("KVT-300")}));
    QVERIFY(link.connectDevice());
    const QSharedPointer<RecordedPort> first = link.port;

    link.port = QSharedPointer<RecordedPort>::create(other.port(), nullptr);
    link.handler.setSerialPort(link.port);
    QVERIFY(!first->isOpen());
    QVERIFY(link.connectDevice());
    QCOMPARE(link.handler.portName(), link.port->portName());
    link.handler.readModel();
    QVERIFY(link.waitForDone());
    QCOMPARE(link.events.first(), text("value 3 KVT-300"));

    link.plugIn();
    QVERIFY(link.connectDevice());
    link.handler.readModel();
    QVERIFY(link.waitForDone());
    QCOMPARE(link.events.first(), text("value 3 KVT-100"));
}

void TestConversation::reportsAPortThatCannotBeOpened()
{
    DeviceLink link;
    QVERIFY(link.start());
    link.port = QSharedPointer<RecordedPort>::create(text("/dev/no-such-port"), nullptr);
    link.handler.setSerialPort(link.port);
    link.handler.connectToDevice();
    QCOMPARE(link.events, QStringList{text("error Unable to open port!")});
    QVERIFY(link.isIdle());
    QVERIFY(!link.handler.isConnected());
    link.plugIn();
    QVERIFY(link.connectDevice());
}

void TestConversation::disconnectsAndConnectsAgain()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    link.handler.readValues(identity);
    link.handler.disconnectFromDevice();
    QVERIFY(!link.port->isOpen());
    QVERIFY(link.isIdle());
    QVERIFY(link.handler.isConnected());
    QTest::qWait(50);
    QCOMPARE(link.events, QStringList());
    QVERIFY(link.connectDevice());
    link.handler.readValue(text("altitude"));
    QVERIFY(link.waitForDone());
    QCOMPARE(link.events.first(), text("read altitude=120"));
}

void TestConversation::passesOverDebugChatter()
{
    DeviceLink link;
    QVERIFY(link.start(text("--debug --fault chatter:1")));
    QVERIFY(link.connectDevice());
    QCOMPARE(link.simulator.setting("debug"), QByteArray("1"));
    link.simulator.control("fault clear");
    link.handler.setValue(text("debug"), text("0"));
    QVERIFY(link.waitForDone());
    QCOMPARE(link.simulator.setting("debug"), QByteArray("0"));
}

void TestConversation::isNotDisturbedByChatterThatCannotBeSwitchedOff()
{
    DeviceLink link;
    QVERIFY(link.start(text("--fault chatter:1")));
    QVERIFY(link.connectDevice());
    QStringList expected;
    for (int round = 1; round <= 20; ++round) {
        const QString number = QString::number(round);
        link.handler.setValue(text("altitude"), number);
        link.handler.readValue(text("altitude"));
        link.handler.readMeasurements();
        expected += text("written altitude=") + number;
        expected += text("read altitude=") + number;
        expected += text("measurements");
    }
    QVERIFY(link.waitForDone());
    QCOMPARE(link.events, expected << text("allJobsDone"));
    QCOMPARE(link.port->texts.size(), 60);
}

KV_TEST_CORE_MAIN(TestConversation)

#include "tst_conversation.moc"
