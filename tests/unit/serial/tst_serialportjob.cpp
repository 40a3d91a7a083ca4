// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjob.h"
#include "tests/kit/fakeserialport.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"

#include <QtCore/QElapsedTimer>
#include <QtTest/QtTest>
#include <functional>

namespace {

// A port that counts the connections to its signal.
class ProbePort : public FakeSerialPort
{
public:
    int connections() const { return receivers(SIGNAL(dataReady(QString))); }
};

// A job whose reply ends with "done", with functions that are called while it sends and parses.
class ProbeJob : public SerialPortJob
{
public:
    explicit ProbeJob(SerialPortInterface *port, QObject *parent = nullptr)
        : SerialPortJob(port, SerialPortJobType::JobReadValue, parent)
    { }

    using SerialPortJob::dataReady;
    using SerialPortJob::fail;
    using SerialPortJob::onTimeOut;
    using SerialPortJob::write;

    std::function<void()> whileSending = [] {};
    std::function<void()> whileParsing = [] {};
    QStringList parsed;

protected:
    void sendCommand() override
    {
        write(text("command"));
        whileSending();
    }
    void parseData(QString buffer) override
    {
        parsed.append(buffer);
        whileParsing();
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

void expectRefusedRestart()
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
    void init()
    {
        m_port.reset(new ProbePort);
        m_job.reset(new ProbeJob(m_port.data()));
    }

    void isInitiallyStoppedWithATimeoutOf500Ms()
    {
        QVERIFY(!m_job->isRunning());
        QVERIFY(m_job->canRestart());
        QCOMPARE(m_job->timeout(), 500);
        QCOMPARE(m_port->connections(), 0);
        QVERIFY(m_port->sent.isEmpty());
    }

    void hasTheTypeAndParentPassedToTheConstructor()
    {
        const auto *job = new ProbeJob(nullptr, m_port.data());
        QCOMPARE(job->parent(), m_port.data());
        QCOMPARE(m_job->type(), SerialPortJobType::JobReadValue);
    }

    void timesOutOnceAfterTheTimeThatWasSet()
    {
        m_job->setTimeout(20);
        QSignalSpy timedOut(m_job.data(), &ProbeJob::timedOut);
        m_job->start();
        QVERIFY(timedOut.wait(400));
        QVERIFY(!timedOut.wait(60));
        QCOMPARE(m_job->timeout(), 20);
    }

    void isConnectedAndRunningWhenItSends()
    {
        bool running = false;
        m_job->whileSending = [&] {
            running = m_job->isRunning();
            m_port->receive(text("echo"));
        };
        m_job->start();
        QVERIFY(running);
        QCOMPARE(m_job->parsed, texts("echo"));
        QCOMPARE(m_port->sent.join(), QByteArray("command"));
    }

    void startsTheTimerBeforeItSends()
    {
        m_job->setTimeout(1);
        QSignalSpy timedOut(m_job.data(), &ProbeJob::timedOut);
        bool firedWhileSending = false;
        m_job->whileSending = [&] { firedWhileSending = timedOut.wait(1000); };
        m_job->start();
        QVERIFY(firedWhileSending);
    }

    void finishesOnTheChunkThatCompletesTheReply()
    {
        QSignalSpy finished(m_job.data(), &ProbeJob::finished);
        m_job->start();
        m_port->receive(text("not "));
        m_port->receive(text("yet do"));
        QCOMPARE(finished.count(), 0);
        m_port->receive(text("ne"));
        QCOMPARE(finished.count(), 1);
        QCOMPARE(m_job->parsed, texts("not |not yet do|not yet done"));
        QVERIFY(!m_job->isRunning());
    }

    void discardsTextWhenStoppedAndWhileNotRunning()
    {
        m_job->dataReady(text("early"));
        m_job->start();
        QCOMPARE(m_port->connections(), 1);
        m_port->receive(text("old"));
        m_job->stop();
        QCOMPARE(m_port->connections(), 0);
        QVERIFY(!m_job->isRunning());
        m_port->receive(text("late"));
        m_job->dataReady(text("late"));
        m_job->start();
        m_port->receive(text("new"));
        QCOMPARE(m_job->parsed, texts("old|new"));
    }

    void keepsTextAndConnectionOnASecondStart()
    {
        m_job->start();
        m_port->receive(text("old "));
        m_job->start();
        QCOMPARE(m_port->connections(), 1);
        m_port->receive(text("new"));
        QCOMPARE(m_job->parsed, texts("old |old new"));
        QCOMPARE(m_port->sent.join(), QByteArray("commandcommand"));
    }

    void countsTheTimeoutFromTheSecondStart()
    {
        constexpr int timeoutMs = 200;
        m_job->setTimeout(timeoutMs);
        QSignalSpy timedOut(m_job.data(), &ProbeJob::timedOut);
        QElapsedTimer clock;
        clock.start();
        m_job->start();
        QTRY_VERIFY(clock.elapsed() >= timeoutMs / 2);
        clock.start();
        m_job->start();
        QTRY_COMPARE(timedOut.count(), 1);
        // A coarse timer may time out 5 % early.
        QVERIFY(clock.elapsed() >= timeoutMs * 9 / 10);
    }

    void timesOutWhileTextArrives()
    {
        m_job->setTimeout(50);
        QTimer chatter;
        connect(&chatter, &QTimer::timeout, this, [this] { m_port->receive(text("debug ")); });
        QSignalSpy timedOut(m_job.data(), &ProbeJob::timedOut);
        m_job->start();
        chatter.start(5);
        QVERIFY(timedOut.wait(2000));
        QVERIFY(!m_job->parsed.isEmpty());
    }

    void hasStoppedWhenItTimesOut()
    {
        m_job->start();
        m_port->receive(text("half"));
        bool running = true;
        int connections = -1;
        connect(m_job.data(), &ProbeJob::timedOut, this, [&] {
            running = m_job->isRunning();
            connections = m_port->connections();
        });
        m_job->onTimeOut();
        QVERIFY(!running);
        QCOMPARE(connections, 0);
        m_job->start();
        m_port->receive(text("fresh"));
        QCOMPARE(m_job->parsed.last(), text("fresh"));
    }

    void refusesTheFifthRestart()
    {
        m_job->start();
        expectRestarts(4);
        for (int restart = 0; restart < 4; ++restart) {
            QVERIFY(m_job->restart());
        }
        m_job->stop();
        for (int refusal = 0; refusal < 2; ++refusal) {
            expectRefusedRestart();
            QVERIFY(!m_job->restart());
            QVERIFY(!m_job->isRunning());
            QCOMPARE(m_port->connections(), 0);
        }
        QCOMPARE(m_port->sent.count(), 5);
    }

    void countsEveryRestartWhateverItsCause()
    {
        m_job->start();
        expectRestarts(4);
        QVERIFY(m_job->restart()); // while running
        m_job->onTimeOut();
        QVERIFY(m_job->restart());
        m_port->receive(text("done"));
        QVERIFY(m_job->restart()); // a reply does not increase the number of restarts left
        m_job->stop();
        m_job->start();
        QVERIFY(m_job->restart()); // neither does a start
        expectRefusedRestart();
        QVERIFY(!m_job->restart());
        // The refused restart discards nothing: the job continues with the received text.
        QVERIFY(m_job->isRunning());
        QCOMPARE(m_port->connections(), 1);
    }

    void failedReportsTheJobType()
    {
        QVector<SerialPortJobType> failures;
        connect(m_job.data(), &ProbeJob::failed, this,
                [&](SerialPortJobType type) { failures.append(type); });
        m_job->fail();
        QCOMPARE(failures, QVector<SerialPortJobType>{SerialPortJobType::JobReadValue});
    }

    void sendsTextAndBytes()
    {
        using Kind = FakeSerialPort::Kind;
        m_job->write(text("text"));
        m_job->write(QByteArray("bytes\0", 6));
        QCOMPARE(m_port->kinds, QVector<Kind>({Kind::Text, Kind::Bytes}));
        QCOMPARE(m_port->sent, QByteArrayList({"text", QByteArray("bytes\0", 6)}));
        QCOMPARE(m_port->flushCount, 0);
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
        m_job->start();
        m_port.reset();
        expectRestarts(1);
        QVERIFY(m_job->restart());
        m_job->write(QByteArray("bytes"));
        m_job->stop();
        m_job->start();
        m_job.reset();
    }

    void disconnectsFromThePortWhenDestroyed()
    {
        m_job->start();
        QCOMPARE(m_port->connections(), 1);
        m_job.reset();
        QCOMPARE(m_port->connections(), 0);
    }

    void isDeletedOnlyWhenTheCallReturns_data()
    {
        QTest::addColumn<QString>("call");
        for (const char *call : {"start", "restart", "dataReady", "onTimeOut"}) {
            QTest::addRow("%s", call) << text(call);
        }
    }
    void isDeletedOnlyWhenTheCallReturns()
    {
        QFETCH(QString, call);
        ProbeJob *job = m_job.data();
        const QWeakPointer<ProbeJob> weakJob = m_job;
        QSignalSpy finished(job, &ProbeJob::finished);
        bool aliveDuringCall = false;
        const auto release = [&] {
            m_job.reset();
            aliveDuringCall = !weakJob.isNull();
        };
        if (call == text("start")) {
            job->whileSending = release;
            job->start();
        } else if (call == text("restart")) {
            job->whileSending = release;
            expectRestarts(1);
            QVERIFY(job->restart());
        } else if (call == text("dataReady")) {
            job->whileParsing = release;
            job->start();
            m_port->receive(text("done"));
            QCOMPARE(finished.count(), 1); // it has emitted its signal nevertheless
        } else {
            connect(job, &ProbeJob::timedOut, this, release);
            job->setTimeout(1);
            job->start();
            QTRY_VERIFY(aliveDuringCall);
        }
        QVERIFY(aliveDuringCall);
        QVERIFY(weakJob.isNull());
    }

    void isDeletedAfterTheOutermostCall()
    {
        ProbeJob *job = m_job.data();
        const QWeakPointer<ProbeJob> weakJob = m_job;
        job->start();
        bool aliveAfterTheInnerCall = false;
        job->whileParsing = [&] {
            job->restart();
            aliveAfterTheInnerCall = !weakJob.isNull();
        };
        job->whileSending = [this] { m_job.reset(); };
        expectRestarts(1);
        m_port->receive(text("bad line"));
        QVERIFY(aliveAfterTheInnerCall);
        QVERIFY(weakJob.isNull());
    }

private:
    QSharedPointer<ProbePort> m_port;
    QSharedPointer<ProbeJob> m_job;
};

KV_TEST_CORE_MAIN(TestSerialPortJob)
#include "tst_serialportjob.moc"
