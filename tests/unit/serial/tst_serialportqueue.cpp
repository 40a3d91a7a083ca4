// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fakeserialport.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/testmain.h"
#include "tests/unit/serial/queuefixture.h"

class TestSerialPortQueue : public QueueFixture
{
    Q_OBJECT

private slots:
    void init() { renew(); }
    void cleanup() { drop(); }

    void isEmptyAtFirst()
    {
        QVERIFY(m_queue->currentJob().isNull());
        QVERIFY(m_queue->jobs().isEmpty());
        QVERIFY(m_queue->serialPort().isNull());
        QVERIFY(m_queue->portName().isNull());
        QCOMPARE(QueueWithPublicSlots(this).parent(), this);
    }

    void ignoresNull()
    {
        const auto job = add(Type::JobReadValue, "a");
        QTest::ignoreMessage(QtDebugMsg, "Trying to add null job");
        m_queue->addJob(JobPointer());
        QCOMPARE(m_queue->currentJob(), JobPointer(job));
        QVERIFY(m_queue->jobs().isEmpty());
        QCOMPARE(m_recorder->log, QStringList());
    }

    void startsTheFirstJobAtOnceAndNoOther()
    {
        const auto first = add(Type::JobReadValue, "a");
        const auto second = add(Type::JobReadValue, "b");
        QCOMPARE(m_callLog, QStringList(latin1("a start")));
        QCOMPARE(m_queue->currentJob(), JobPointer(first));
        QCOMPARE(m_queue->jobs(), QVector<JobPointer>{second});
    }

    void countsOnlyWaitingJobs()
    {
        add(Type::JobReadEepromBlock, "a");
        QVERIFY(!m_queue->hasJob(Type::JobReadEepromBlock));
        add(Type::JobReadEepromBlock, "b");
        QVERIFY(m_queue->hasJob(Type::JobReadEepromBlock));
        QVERIFY(!m_queue->hasJob(Type::JobWriteEepromBlock));
    }

    void runsJobsInOrder()
    {
        QVector<JobPointer> jobs = {add(Type::JobConnect, "first")};
        for (const char *name : {"a", "b", "c", "d", "e", "f", "g", "h"}) {
            jobs.append(add(*name < 'd' ? Type::JobReadValue : Type::JobSetValue, name));
        }
        m_queue->removeJobs(Type::JobReboot); // none
        for (int left = 0; left < 3; ++left) {
            emit m_queue->currentJob()->finished();
            QCOMPARE(m_queue->currentJob(), jobs.at(left + 1));
            QCOMPARE(m_queue->jobs(), jobs.mid(left + 2));
            QCOMPARE(m_queue->hasJob(Type::JobReadValue), left < 2);
        }
        m_queue->removeJobs(Type::JobReadValue);
        QCOMPARE(m_queue->currentJob(), jobs.at(4));
        QCOMPARE(m_queue->jobs(), jobs.mid(5));
        jobs.append(add(Type::JobReadValue, "i"));
        emit m_queue->currentJob()->finished();
        m_queue->removeJobs(Type::JobSetValue);
        QCOMPARE(m_queue->currentJob(), jobs.constLast());
        QCOMPARE(m_queue->jobs(), QVector<JobPointer>());
        emit m_queue->currentJob()->finished();
        QVERIFY(m_queue->currentJob().isNull());
    }

    void relaysResultsAtOnce()
    {
        const auto job = add(Type::JobReadValue, "a");
        const QDateTime time(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC);
        emit job->dataRead(latin1("n"), latin1("v"));
        emit job->dataWritten(latin1("n"), latin1("w"));
        emit job->measurementsRead(time, {{latin1("co2"), latin1("1")}});
        emit job->logValueRead(3, {1.5, 2}, time);
        emit job->logTitlesRead({latin1("T"), latin1("H")});
        emit job->actionFinished(SerialPortActionType::ActionSetDate, time);
        emit job->valueRead(SerialPortValueType::ValueLogCount, 7);
        emit job->eepromBlockRead(9, QByteArray("\x01\xff"));
        emit job->eepromBlockWritten(10);
        emit job->dataWrittenToEeprom(); // not relayed
        const QStringList expected = {
            latin1("queue: dataRead n=v"),
            latin1("queue: dataWritten n=w"),
            latin1("queue: measurementsRead co2=1"),
            latin1("queue: logValueRead 3 1.5|2 2017-11-13T10:20:30Z"),
            latin1("queue: logTitlesRead T|H"),
            latin1("queue: actionFinished 1 QDateTime 2017-11-13T10:20:30Z"),
            latin1("queue: valueRead 2 int 7"),
            latin1("queue: eepromBlockRead 9 01ff"),
            latin1("queue: eepromBlockWritten 10")};
        QCOMPARE(m_recorder->log, expected);
        QCOMPARE(m_callLog, QStringList(latin1("a start")));
    }

    void endsAJobThenStartsTheNext()
    {
        const auto a = add(Type::JobReadValue, "a");
        add(Type::JobSetValue, "b");
        QStringList callsAtJobFinished;
        connect(m_queue.data(), &SerialPortQueue::jobFinished, this,
                [&] { callsAtJobFinished = m_callLog; });
        emit a->dataRead(latin1("n"), latin1("v"));
        emit a->finished();
        QCOMPARE(callsAtJobFinished, QStringList(latin1("a start")));
        const QStringList log = {latin1("queue: dataRead n=v"), latin1("queue: jobFinished 1")};
        QCOMPARE(m_recorder->log, log);
        const QStringList calls = {latin1("a start"), latin1("a stop"), latin1("b start")};
        QCOMPARE(m_callLog, calls);
        QVERIFY(m_queue->jobs().isEmpty());
    }

    void raisesAllJobsDoneAfterTheLastJob_data()
    {
        QTest::addColumn<int>("type");
        for (const NamedType &named : displayNames) {
            QTest::addRow("%s", named.name) << static_cast<int>(named.type);
        }
    }

    void raisesAllJobsDoneAfterTheLastJob()
    {
        QFETCH(int, type);

        const auto job = add(static_cast<Type>(type), "a");
        emit job->finished();
        QStringList expected = {latin1("queue: jobFinished %1").arg(type)};
        if (static_cast<Type>(type) != Type::JobConnect) {
            expected << latin1("queue: allJobsDone");
        }
        QCOMPARE(m_recorder->log, expected);
        QVERIFY(m_queue->currentJob().isNull());
    }

    void startsAJobAddedInsideAllJobsDone()
    {
        const auto a = add(Type::JobReadValue, "a");
        QSharedPointer<FakeJob> b;
        connect(m_queue.data(), &SerialPortQueue::allJobsDone, this,
                [&] { b = add(Type::JobSetValue, "b"); });
        emit a->finished();
        QCOMPARE(m_queue->currentJob(), JobPointer(b));
        QVERIFY(b->isRunning());
    }

    void removesWaitingJobsWithoutASignal()
    {
        const auto a = add(Type::JobReadValue, "a");
        QWeakPointer<FakeJob> b = add(Type::JobSetValue, "b");
        const auto c = add(Type::JobReadDate, "c");
        QWeakPointer<FakeJob> d = add(Type::JobSetValue, "d");
        m_queue->removeJobs(Type::JobSetValue);
        QVERIFY(b.isNull());
        QVERIFY(d.isNull());
        QCOMPARE(m_queue->currentJob(), JobPointer(a));
        QCOMPARE(m_queue->jobs(), QVector<JobPointer>{c});
        QCOMPARE(m_recorder->log, QStringList());
        QCOMPARE(m_callLog, QStringList(latin1("a start")));
    }

    void endsTheCurrentJobWhenItsTypeIsRemoved_data() { raisesAllJobsDoneAfterTheLastJob_data(); }

    void endsTheCurrentJobWhenItsTypeIsRemoved()
    {
        QFETCH(int, type);

        QWeakPointer<FakeJob> job = add(static_cast<Type>(type), "a");
        m_queue->removeJobs(static_cast<Type>(type));
        const bool isConnect = static_cast<Type>(type) == Type::JobConnect;
        QCOMPARE(m_recorder->log,
                 isConnect ? QStringList() : QStringList(latin1("queue: allJobsDone")));
        const QStringList calls = {latin1("a start"), latin1("a stop")};
        QCOMPARE(m_callLog, calls);
        QVERIFY(job.isNull());
    }

    void startsTheNextJobWhenTheCurrentIsRemoved()
    {
        add(Type::JobReadEepromBlock, "a");
        add(Type::JobReadEepromBlock, "b");
        const auto c = add(Type::JobReadValue, "c");
        m_queue->removeJobs(Type::JobReadEepromBlock);
        QCOMPARE(m_queue->currentJob(), JobPointer(c));
        QCOMPARE(m_recorder->log, QStringList());
        const QStringList calls = {latin1("a start"), latin1("a stop"), latin1("c start")};
        QCOMPARE(m_callLog, calls);
    }

    void clearsWithoutASignal()
    {
        QWeakPointer<FakeJob> a = add(Type::JobReadValue, "a");
        QWeakPointer<FakeJob> b = add(Type::JobSetValue, "b");
        m_queue->clear();
        m_queue->clear();
        QVERIFY(a.isNull());
        QVERIFY(b.isNull());
        QVERIFY(m_queue->currentJob().isNull());
        QCOMPARE(m_recorder->log, QStringList());
        const QStringList calls = {latin1("a start"), latin1("a stop")};
        QCOMPARE(m_callLog, calls);
    }

    void opensAClosedPort()
    {
        QSharedPointer<FakeSerialPort> port(new FakeSerialPort);
        m_queue->setSerialPort(port);
        port->openResult = false;
        QVERIFY(!m_queue->open());
        port->openResult = true;
        QVERIFY(m_queue->open());
        QCOMPARE(port->opens, 2);
        QVERIFY(m_queue->open());
        QCOMPARE(port->opens, 2);
    }

    void closesWithAndWithoutAPort()
    {
        add(Type::JobReadValue, "a");
        add(Type::JobSetValue, "b");
        m_queue->close();
        QVERIFY(m_queue->currentJob().isNull());
        QVERIFY(m_queue->jobs().isEmpty());

        QSharedPointer<FakeSerialPort> port(new FakeSerialPort);
        m_queue->setSerialPort(port);
        QVERIFY(m_queue->open());
        add(Type::JobReadValue, "c");
        add(Type::JobSetValue, "d");
        m_queue->close();
        QVERIFY(!port->isOpen());
        QCOMPARE(port->closes, 1);
        QVERIFY(m_queue->currentJob().isNull());
        QVERIFY(m_queue->jobs().isEmpty());
        const QStringList calls = {latin1("a start"), latin1("a stop"), latin1("c start"),
                                   latin1("c stop")};
        QCOMPARE(m_callLog, calls);
        QCOMPARE(m_recorder->log, QStringList());
        QCOMPARE(m_queue->serialPort(), QSharedPointer<SerialPortInterface>(port));
    }

    void returnsTheNameOfItsPort()
    {
        QVERIFY(m_queue->portName().isNull());
        QSharedPointer<FakeSerialPort> port(new FakeSerialPort);
        port->name = latin1("ttyUSB3");
        m_queue->setSerialPort(port);
        QCOMPARE(m_queue->portName(), latin1("ttyUSB3"));
    }

    void replacesThePort()
    {
        QSharedPointer<FakeSerialPort> first(new FakeSerialPort);
        QSharedPointer<FakeSerialPort> second(new FakeSerialPort);
        m_queue->setSerialPort(first);
        QCOMPARE(first->closes, 0);
        QVERIFY(m_queue->open());
        QWeakPointer<FakeJob> a = add(Type::JobReadValue, "a");
        QWeakPointer<FakeJob> b = add(Type::JobSetValue, "b");
        m_queue->setSerialPort(second);
        QCOMPARE(m_queue->serialPort(), QSharedPointer<SerialPortInterface>(second));
        QVERIFY(!first->isOpen());
        QCOMPARE(first->closes, 2);
        QCOMPARE(second->closes, 0);
        QVERIFY(a.isNull());
        QVERIFY(b.isNull());
        QCOMPARE(m_recorder->log, QStringList());

        const QWeakPointer<FakeSerialPort> released = first;
        first.clear();
        QVERIFY(released.isNull());
        m_queue->setSerialPort(QSharedPointer<SerialPortInterface>());
        QVERIFY(m_queue->serialPort().isNull());
        QCOMPARE(second->closes, 2);
    }

    void takesTheSamePortAgain()
    {
        QSharedPointer<FakeSerialPort> port(new FakeSerialPort);
        m_queue->setSerialPort(port);
        m_queue->setSerialPort(port);
        QCOMPARE(m_queue->serialPort(), QSharedPointer<SerialPortInterface>(port));
        QCOMPARE(port->closes, 2);
    }

    void closesThePortWhenDestroyed()
    {
        QSharedPointer<FakeSerialPort> port(new FakeSerialPort);
        m_queue->setSerialPort(port);
        QVERIFY(m_queue->open());
        QWeakPointer<FakeJob> a = add(Type::JobReadValue, "a");
        QWeakPointer<FakeJob> b = add(Type::JobSetValue, "b");
        m_queue.reset();
        QVERIFY(!port->isOpen());
        QCOMPARE(port->closes, 1);
        QVERIFY(a.isNull());
        QVERIFY(b.isNull());
        const QStringList calls = {latin1("a start"), latin1("a stop")};
        QCOMPARE(m_callLog, calls);
    }
};

KV_TEST_CORE_MAIN(TestSerialPortQueue)
#include "tst_serialportqueue.moc"
