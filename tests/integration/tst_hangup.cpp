// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/integration/devicelink.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>
#include <cstdio>

namespace {

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

/// The longest time for which the event loop did not get round to a timer of 10 ms.
class Pulse : public QObject
{
public:
    Pulse()
    {
        constexpr int periodMs = 10;
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(periodMs);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            m_longest = qMax(m_longest, m_since.restart());
            ++m_ticks;
        });
        m_since.start();
        m_timer.start();
    }

    qint64 longest() const { return m_longest; }
    int ticks() const { return m_ticks; }

private:
    QTimer m_timer;
    QElapsedTimer m_since;
    qint64 m_longest = 0;
    int m_ticks = 0;
};

} // namespace

// The device goes away while the port is open. No error of the port is listened to: its jobs time
// out, and whoever closes the port ends it.
class TestHangUp : public QObject
{
    Q_OBJECT

private slots:
    void leavesTheEventLoopAlive_data();
    void leavesTheEventLoopAlive();
    void takesTheSimulatorsDeathForAHangUp();
    void letsTheProgramEndWithADeadPortOpen();

private:
    void reconnects(DeviceLink &link);
};

void TestHangUp::reconnects(DeviceLink &link)
{
    QVERIFY(link.simulator.resume());
    link.plugIn();
    QVERIFY(link.connectDevice());
    link.handler.readValue(text("altitude"));
    QVERIFY(link.waitFor(text("read altitude=120")));
}

void TestHangUp::leavesTheEventLoopAlive_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<bool>("answered");
    QTest::addColumn<bool>("together");
    QTest::addRow("before the exchange") << QByteArray() << false << false;
    QTest::addRow("instead of the answer")
        << QByteArray("hangup@show altitude:0") << false << false;
    QTest::addRow("during the answer") << QByteArray("hangup@show altitude:9") << false << false;
    QTest::addRow("after the exchange") << QByteArray() << true << false;
    QTest::addRow("with many jobs waiting")
        << QByteArray("hangup@show altitude:9") << false << true;
}

void TestHangUp::leavesTheEventLoopAlive()
{
    QFETCH(QByteArray, fault);
    QFETCH(bool, answered);
    QFETCH(bool, together);
    constexpr int watchMs = 1000;
    constexpr int longestGapMs = 250; // a window that is gone for longer is felt
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    if (!fault.isEmpty()) {
        QVERIFY(link.simulator.fault(fault));
    } else if (answered) {
        link.handler.readValue(text("hwver"));
        QVERIFY(link.waitForDone());
    }
    if (fault.isEmpty()) {
        link.simulator.hangUp();
    }
    link.forget();

    Pulse pulse;
    QElapsedTimer time;
    time.start();
    link.handler.readValue(text("altitude"));
    if (together) {
        link.handler.readEeprom();
    }
    link.hurry(100);
    QVERIFY(runUntil([&] { return link.isStalled() && time.elapsed() > watchMs; }));
    std::printf("%-24s longest gap %3lld ms, %d ticks in %lld ms\n", QTest::currentDataTag(),
                static_cast<long long>(pulse.longest()), pulse.ticks(),
                static_cast<long long>(time.elapsed()));
    std::fflush(stdout);
    QVERIFY2(pulse.longest() < longestGapMs, qPrintable(QString::number(pulse.longest())));
    QVERIFY(pulse.ticks() > watchMs / 50);
    QCOMPARE(link.sends(text("show altitude")), 5);
    QCOMPARE(link.events, QStringList());
    QVERIFY(link.port->isOpen());

    link.handler.disconnectFromDevice();
    QVERIFY(!link.port->isOpen());
    QVERIFY(link.isIdle());
    QVERIFY(link.queue->jobs().isEmpty());
    QVERIFY(link.handler.isConnected());
    link.simulator.control("fault clear");
    reconnects(link);
}

void TestHangUp::takesTheSimulatorsDeathForAHangUp()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    link.simulator.kill();
    link.handler.readMeasurements();
    link.hurry(50);
    QVERIFY(link.waitForStall());
    QCOMPARE(link.events, QStringList());
    link.handler.disconnectFromDevice();
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
}

void TestHangUp::letsTheProgramEndWithADeadPortOpen()
{
    Pulse pulse;
    {
        DeviceLink link;
        QVERIFY(link.start());
        QVERIFY(link.connectDevice());
        link.handler.readEeprom();
        QVERIFY(runUntil([&] { return link.memoryProgress.size() > 10; }));
        link.simulator.hangUp();
        QVERIFY(runUntil([&] { return link.sends(link.port->texts.last().trimmed()) > 1; }));
    }
    QTest::qWait(50);
    QVERIFY(pulse.ticks() > 1);
}

KV_TEST_CORE_MAIN(TestHangUp)

#include "tst_hangup.moc"
