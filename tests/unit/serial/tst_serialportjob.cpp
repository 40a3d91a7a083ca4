// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjob.h"
#include "tests/kit/fakeserialport.h"
#include "tests/kit/testmain.h"

#include <QtCore/QElapsedTimer>
#include <QtTest/QtTest>
#include <functional>

namespace {

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

// A port that counts its connections.
class ProbePort : public FakeSerialPort
{
public:
    int connections() const { return receivers(SIGNAL(dataReady(QString))); }
};

// A job whose reply ends with "done", with a hook at each step.
class ProbeJob : public SerialPortJob
{
public:
    explicit ProbeJob(SerialPortInterface *port)
        : SerialPortJob(port, SerialPortJobType::JobReadValue, nullptr)
    {
    }

    using SerialPortJob::dataReady;
    using SerialPortJob::fail;
    using SerialPortJob::onTimeOut;
    using SerialPortJob::write;

    std::function<void()> whileSending;
    std::function<void()> whileParsing;
    QStringList parsed;

protected:
    void sendCommand() override
    {
        write(text("command"));
        if (whileSending) {
            whileSending();
        }
    }
    void parseData(QString buffer) override
    {
        parsed.append(buffer);
        if (whileParsing) {
            whileParsing();
        }
        if (buffer.endsWith(text("done"))) {
            stop();
            emit finished();
        }
    }
};

void expectRestarts(int count)
{
    for (int restart = 0; restart < count; ++restart) {
        QTest::ignoreMessage(QtDebugMsg, "virtual bool SerialPortJob::restart() Restarted");
    }
}

void expectRefusal()
{
    QTest::ignoreMessage(QtDebugMsg,
                         "virtual bool SerialPortJob::restart() Job failed after 5 restart "
                         "attempts");
}

} // namespace

class TestSerialPortJob : public QObject
{
    Q_OBJECT

private slots:
    void isIdleWithHalfASecondAtFirst()
    {
        ProbePort port;
        ProbeJob job(&port);
        QVERIFY(!job.isRunning());
        QVERIFY(job.canRestart());
        QCOMPARE(job.timeout(), 500);
        QCOMPARE(port.connections(), 0);
        QVERIFY(port.sent.isEmpty());
    }

    void keepsItsTypeAndItsParent()
    {
        class OwnedJob : public SerialPortJob
        {
        public:
            using SerialPortJob::SerialPortJob;

        protected:
            void sendCommand() override { }
            void parseData(QString buffer) override { Q_UNUSED(buffer) }
        };
        OwnedJob job(nullptr, SerialPortJobType::JobReboot, this);
        QCOMPARE(job.type(), SerialPortJobType::JobReboot);
        QCOMPARE(job.parent(), this);
    }

    void takesAnotherTimeout()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.setTimeout(20);
        QCOMPARE(job.timeout(), 20);
        QSignalSpy timedOut(&job, &ProbeJob::timedOut);
        job.start();
        QVERIFY(timedOut.wait(400));
        QCOMPARE(job.timeout(), 20);
    }

    void isConnectedAndRunningWhenItSends()
    {
        ProbePort port;
        ProbeJob job(&port);
        bool running = false;
        job.whileSending = [&] {
            running = job.isRunning();
            port.receive(text("echo"));
        };
        job.start();
        QVERIFY(running);
        QCOMPARE(job.parsed, QStringList(text("echo")));
        QCOMPARE(port.sent.join(), QByteArray("command"));
    }

    void armsTheTimerBeforeItSends()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.setTimeout(1);
        QSignalSpy timedOut(&job, &ProbeJob::timedOut);
        bool firedWhileSending = false;
        job.whileSending = [&] { firedWhileSending = timedOut.wait(1000); };
        job.start();
        QVERIFY(firedWhileSending);
    }

    void finishesOnTheChunkThatCompletesTheReply()
    {
        ProbePort port;
        ProbeJob job(&port);
        QSignalSpy finished(&job, &ProbeJob::finished);
        job.start();
        port.receive(text("not "));
        port.receive(text("yet do"));
        QCOMPARE(finished.count(), 0);
        port.receive(text("ne"));
        QCOMPARE(finished.count(), 1);
        const QStringList expected = {text("not "), text("not yet do"), text("not yet done")};
        QCOMPARE(job.parsed, expected);
        QVERIFY(!job.isRunning());
    }

    void dropsChunksAfterAStop()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.start();
        QCOMPARE(port.connections(), 1);
        job.stop();
        QCOMPARE(port.connections(), 0);
        QVERIFY(!job.isRunning());
        port.receive(text("done"));
        job.dataReady(text("done"));
        QVERIFY(job.parsed.isEmpty());
    }

    void dropsChunksWhenNotRunning()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.dataReady(text("early"));
        job.start();
        job.dataReady(text("later"));
        QCOMPARE(job.parsed, QStringList(text("later")));
    }

    void discardsTheTextOnAStop()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.start();
        port.receive(text("old"));
        job.stop();
        job.start();
        port.receive(text("new"));
        QCOMPARE(job.parsed.last(), text("new"));
    }

    void keepsTheTextOnASecondStart()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.start();
        port.receive(text("old "));
        job.start();
        port.receive(text("new"));
        QCOMPARE(job.parsed.last(), text("old new"));
    }

    void connectsOnceAfterASecondStart()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.start();
        job.start();
        QCOMPARE(port.connections(), 1);
        port.receive(text("once"));
        QCOMPARE(job.parsed.count(), 1);
        QCOMPARE(port.sent.join(), QByteArray("commandcommand"));
    }

    void countsTheTimeoutFromTheSecondStart()
    {
        constexpr int timeoutMs = 200;
        ProbePort port;
        ProbeJob job(&port);
        job.setTimeout(timeoutMs);
        QSignalSpy timedOut(&job, &ProbeJob::timedOut);
        QElapsedTimer sinceFirst;
        sinceFirst.start();
        job.start();
        QTRY_VERIFY(sinceFirst.elapsed() >= timeoutMs / 2);
        QElapsedTimer sinceSecond;
        sinceSecond.start();
        job.start();
        QVERIFY(timedOut.count() == 1 || timedOut.wait(10 * timeoutMs));
        // A coarse timer may be early by 5 %.
        QVERIFY(sinceSecond.elapsed() >= timeoutMs * 9 / 10);
        QCOMPARE(timedOut.count(), 1);
    }

    void timesOutWhileTextArrives()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.setTimeout(50);
        QTimer chatter;
        connect(&chatter, &QTimer::timeout, &port, [&port] { port.receive(text("debug ")); });
        QSignalSpy timedOut(&job, &ProbeJob::timedOut);
        job.start();
        chatter.start(5);
        QVERIFY(timedOut.wait(2000));
        QVERIFY(!job.parsed.isEmpty());
    }

    void hasStoppedWhenItTimesOut()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.start();
        port.receive(text("half"));
        bool running = true;
        int connections = -1;
        connect(&job, &ProbeJob::timedOut, this, [&] {
            running = job.isRunning();
            connections = port.connections();
        });
        job.onTimeOut();
        QVERIFY(!running);
        QCOMPARE(connections, 0);
        job.start();
        port.receive(text("fresh"));
        QCOMPARE(job.parsed.last(), text("fresh"));
    }

    void timesOutOnce()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.setTimeout(1);
        QSignalSpy timedOut(&job, &ProbeJob::timedOut);
        job.start();
        QVERIFY(timedOut.wait(1000));
        QVERIFY(!timedOut.wait(30));
    }

    void refusesTheFifthRestart()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.start();
        expectRestarts(4);
        for (int restart = 0; restart < 4; ++restart) {
            QVERIFY(job.restart());
        }
        QCOMPARE(port.sent.count(), 5);
        job.stop();
        for (int refusal = 0; refusal < 2; ++refusal) {
            expectRefusal();
            QVERIFY(!job.restart());
            QVERIFY(!job.isRunning());
            QCOMPARE(port.connections(), 0);
        }
        QCOMPARE(port.sent.count(), 5);
    }

    void countsEveryRestartWhateverItsCause()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.start();
        expectRestarts(4);
        QVERIFY(job.restart()); // while running
        job.onTimeOut();
        QVERIFY(job.restart());
        port.receive(text("done"));
        QVERIFY(job.restart()); // a success does not increase the number left
        job.stop();
        job.start();
        QVERIFY(job.restart()); // neither does a start
        expectRefusal();
        QVERIFY(!job.restart());
        // The refusal discards nothing: the job continues with the received text.
        QVERIFY(job.isRunning());
        QCOMPARE(port.connections(), 1);
    }

    void failsWithItsType()
    {
        ProbeJob job(nullptr);
        QVector<SerialPortJobType> failures;
        connect(&job, &ProbeJob::failed, this,
                [&](SerialPortJobType type) { failures.append(type); });
        job.fail();
        QCOMPARE(failures, QVector<SerialPortJobType>{SerialPortJobType::JobReadValue});
    }

    void sendsTextAndBytes()
    {
        ProbePort port;
        ProbeJob job(&port);
        job.write(text("text"));
        job.write(QByteArray("bytes\0", 6));
        const QVector<FakeSerialPort::Kind> kinds = {FakeSerialPort::Kind::Text,
                                                     FakeSerialPort::Kind::Bytes};
        QCOMPARE(port.kinds, kinds);
        const QByteArrayList sent = {QByteArray("text"), QByteArray("bytes\0", 6)};
        QCOMPARE(port.sent, sent);
        QCOMPARE(port.flushes, 0);
    }

    void worksWithoutAPort()
    {
        ProbeJob job(nullptr);
        job.setTimeout(1);
        QSignalSpy timedOut(&job, &ProbeJob::timedOut);
        job.start();
        job.write(QByteArray("bytes"));
        QVERIFY(job.isRunning());
        QVERIFY(timedOut.wait(1000));
        QVERIFY(!job.isRunning());
    }

    void doesNotUseADeletedPort()
    {
        auto port = QSharedPointer<FakeSerialPort>::create();
        QScopedPointer<ProbeJob> job(new ProbeJob(port.data()));
        job->start();
        port.clear();
        expectRestarts(1);
        QVERIFY(job->restart());
        job->write(QByteArray("bytes"));
        job->stop();
        job->start();
        job.reset();
    }

    void stopsListeningWhenDestroyed()
    {
        ProbePort port;
        {
            ProbeJob job(&port);
            job.start();
            QCOMPARE(port.connections(), 1);
        }
        QCOMPARE(port.connections(), 0);
    }

    void staysAliveUntilStartReturns()
    {
        ProbePort port;
        QSharedPointer<ProbeJob> job(new ProbeJob(&port));
        const QWeakPointer<ProbeJob> watch = job;
        ProbeJob *raw = job.data();
        bool aliveInside = false;
        raw->whileSending = [&] {
            job.clear();
            aliveInside = !watch.isNull();
        };
        raw->start();
        QVERIFY(aliveInside);
        QVERIFY(watch.isNull());
    }

    void staysAliveUntilRestartReturns()
    {
        ProbePort port;
        QSharedPointer<ProbeJob> job(new ProbeJob(&port));
        const QWeakPointer<ProbeJob> watch = job;
        ProbeJob *raw = job.data();
        raw->whileSending = [&] { job.clear(); };
        expectRestarts(1);
        QVERIFY(raw->restart());
        QVERIFY(watch.isNull());
    }

    void staysAliveUntilTheChunkIsProcessed()
    {
        ProbePort port;
        QSharedPointer<ProbeJob> job(new ProbeJob(&port));
        const QWeakPointer<ProbeJob> watch = job;
        QSignalSpy destroyed(job.data(), &QObject::destroyed);
        QSignalSpy finished(job.data(), &ProbeJob::finished);
        bool aliveInside = false;
        job->whileParsing = [&] {
            job.clear();
            aliveInside = !watch.isNull();
        };
        job->start();
        port.receive(text("done"));
        QVERIFY(aliveInside);
        // It has raised all its signals.
        QCOMPARE(finished.count(), 1);
        QVERIFY(watch.isNull());
        QCOMPARE(destroyed.count(), 1);
    }

    void staysAliveUntilItsTimeoutIsProcessed()
    {
        ProbePort port;
        QSharedPointer<ProbeJob> job(new ProbeJob(&port));
        const QWeakPointer<ProbeJob> watch = job;
        bool aliveInside = false;
        connect(job.data(), &ProbeJob::timedOut, this, [&] {
            job.clear();
            aliveInside = !watch.isNull();
        });
        job->setTimeout(1);
        job->start();
        QTRY_VERIFY(aliveInside);
        QVERIFY(watch.isNull());
    }

    void isDeletedAfterTheOutermostCall()
    {
        ProbePort port;
        QSharedPointer<ProbeJob> job(new ProbeJob(&port));
        const QWeakPointer<ProbeJob> watch = job;
        ProbeJob *raw = job.data();
        int sends = 0;
        bool aliveAfterTheInnerCall = false;
        raw->whileParsing = [&] {
            raw->restart();
            aliveAfterTheInnerCall = !watch.isNull();
        };
        raw->whileSending = [&] {
            ++sends;
            if (sends == 2) {
                job.clear();
            }
        };
        raw->start();
        expectRestarts(1);
        port.receive(text("bad line"));
        QVERIFY(aliveAfterTheInnerCall);
        QVERIFY(watch.isNull());
    }
};

KV_TEST_CORE_MAIN(TestSerialPortJob)
#include "tst_serialportjob.moc"
