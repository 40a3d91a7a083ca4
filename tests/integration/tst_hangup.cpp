// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/devicelink.h"
#include "tests/kit/eventlooplatencymonitor.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>

// The line hangs up while the port is open. The port's errors are not evaluated: jobs time out,
// until the port is closed.
class TestHangUp : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_link.reset(new DeviceLink); }

    void keepsTheEventLoopRunning_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<bool>("afterExchange");
        QTest::addColumn<bool>("manyJobs");
        QTest::addRow("before the exchange") << QByteArray() << false << false;
        QTest::addRow("instead of the answer")
            << QByteArray("hangup@show altitude:0") << false << false;
        QTest::addRow("during the answer")
            << QByteArray("hangup@show altitude:9") << false << false;
        QTest::addRow("after the exchange") << QByteArray() << true << false;
        QTest::addRow("with many jobs waiting")
            << QByteArray("hangup@show altitude:9") << false << true;
    }

    void keepsTheEventLoopRunning()
    {
        QFETCH(QByteArray, fault);
        QFETCH(bool, afterExchange);
        QFETCH(bool, manyJobs);
        constexpr int watchMs = 1000;
        constexpr int noticeableMs = 250;
        QVERIFY(m_link->startConnected());
        if (afterExchange) {
            QVERIFY(m_link->canRead("hwver", "B"));
            QVERIFY(m_link->waitForDone());
        }
        if (fault.isEmpty()) {
            m_link->simulator.hangUp();
        } else {
            QVERIFY(m_link->simulator.fault(fault));
        }
        m_link->clearRecords();

        const EventLoopLatencyMonitor monitor;
        QElapsedTimer time;
        time.start();
        m_link->handler.readValue(text("altitude"));
        if (manyJobs) {
            m_link->handler.readEeprom();
        }
        m_link->setTimeouts(100);
        QVERIFY(runUntil([&] { return m_link->isStalled() && time.elapsed() > watchMs; }));
        monitor.print(QTest::currentDataTag());
        QVERIFY2(monitor.longestGap() < noticeableMs,
                 qPrintable(QString::number(monitor.longestGap())));
        QVERIFY(monitor.ticks() > watchMs / 50);
        QCOMPARE(m_link->sends(text("show altitude")), 5);
        QCOMPARE(m_link->events, QStringList());
        QVERIFY(m_link->port->isOpen());

        m_link->handler.disconnectFromDevice();
        QVERIFY(!m_link->port->isOpen());
        QVERIFY(m_link->isIdle());
        QVERIFY(m_link->queue->jobs().isEmpty());
        QVERIFY(m_link->handler.isConnected());
        m_link->simulator.control("fault clear");
        QVERIFY(m_link->simulator.resume());
        m_link->renewPort();
        QVERIFY(m_link->connectDevice());
        QVERIFY(m_link->canRead("altitude", "120"));
    }

    void treatsTheEndOfTheSimulatorAsAHangUp()
    {
        QVERIFY(m_link->startConnected());
        m_link->simulator.kill();
        m_link->handler.readMeasurements();
        m_link->setTimeouts(50);
        QVERIFY(m_link->waitForStall());
        QCOMPARE(m_link->events, QStringList());
        m_link->handler.disconnectFromDevice();
        QVERIFY(m_link->startConnected());
    }

    void canBeDestroyedWithAHungUpPortOpen()
    {
        const EventLoopLatencyMonitor monitor;
        QVERIFY(m_link->startConnected());
        m_link->handler.readEeprom();
        QVERIFY(runUntil([&] { return m_link->memoryProgress.size() > 10; }));
        m_link->simulator.hangUp();
        QVERIFY(runUntil([&] { return m_link->sends(m_link->port->texts.last().trimmed()) > 1; }));
        m_link.reset();
        QTest::qWait(50);
        QVERIFY(monitor.ticks() > 1);
    }

private:
    QScopedPointer<DeviceLink> m_link;
};

KV_TEST_CORE_MAIN(TestHangUp)

#include "tst_hangup.moc"
