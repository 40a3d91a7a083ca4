// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fakeserialport.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/testmain.h"
#include "tests/unit/serial/queuefixture.h"

namespace {

// A job that raises error() inside start(), as one with an invalid date does.
class JobFailingInStart : public FakeJob
{
public:
    using FakeJob::FakeJob;

    void start() override
    {
        FakeJob::start();
        emit error(latin1("reason"));
    }
};

void expectTimeout(const char *name)
{
    const QByteArray line =
        QByteArray("void SerialPortQueue::onJobTimedOut() \"") + name + "\" timed out";
    QTest::ignoreMessage(QtDebugMsg, line.constData());
}

void expectRestart()
{
    QTest::ignoreMessage(QtDebugMsg, "Restarting current job");
}

void expectNoRestart()
{
    QTest::ignoreMessage(QtDebugMsg,
                         "Job can't be restarted, notifying user and starting next job");
}

} // namespace

class TestSerialPortQueueEnds : public QueueFixture
{
    Q_OBJECT

private slots:
    void init() { renew(); }
    void cleanup() { drop(); }

    void canBeClearedAfterARefusedRestart_data()
    {
        QTest::addColumn<QString>("by");
        QTest::addColumn<bool>("goesOn");
        QTest::addRow("clear") << latin1("clear") << false;
        QTest::addRow("close") << latin1("close") << false;
        QTest::addRow("another port") << latin1("port") << false;
        QTest::addRow("removal of its type") << latin1("remove") << true;
        QTest::addRow("removal of another type") << latin1("other") << false;
    }

    void canBeClearedAfterARefusedRestart()
    {
        QFETCH(QString, by);
        QFETCH(bool, goesOn);

        const auto a = add(Type::JobReadValue, "a");
        a->stop();
        a->restartResult = false;
        expectTimeout("Read value");
        expectRestart();
        emit a->timedOut();
        const auto b = add(Type::JobSetValue, "b");
        if (by == latin1("clear")) {
            m_queue->clear();
        } else if (by == latin1("close")) {
            m_queue->close();
        } else if (by == latin1("port")) {
            m_queue->setSerialPort(QSharedPointer<SerialPortInterface>(new FakeSerialPort));
        } else if (by == latin1("remove")) {
            m_queue->removeJobs(Type::JobReadValue);
        } else {
            m_queue->removeJobs(Type::JobReboot);
            QCOMPARE(m_queue->currentJob(), JobPointer(a));
            QCOMPARE(m_queue->jobs(), QVector<JobPointer>{b});
            QCOMPARE(m_recorder->log, QStringList());
            return;
        }
        const auto c = add(Type::JobReadDate, "c");
        QCOMPARE(m_callLog.contains(latin1("b start")), goesOn);
        QCOMPARE(m_callLog.contains(latin1("c start")), !goesOn);
        QCOMPARE(m_recorder->log, QStringList());
    }

    void failsAJobThatCannotBeRestarted()
    {
        const auto a = add(Type::JobTransmitFirmwareBlock, "a");
        add(Type::JobReadValue, "b");
        a->restartable = false;
        expectTimeout("Transmit firmware to device");
        expectNoRestart();
        emit a->timedOut();
        QCOMPARE(m_recorder->log, QStringList(latin1("queue: jobFailed 14")));
        const QStringList calls = {latin1("a start"), latin1("a stop"), latin1("b start")};
        QCOMPARE(m_callLog, calls);
    }

    void logsTheTypeOfATimedOutJob_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("name");
        for (const NamedType &named : displayNames) {
            QTest::addRow("%s", named.name)
                << static_cast<int>(named.type) << QByteArray(named.name);
        }
    }

    void logsTheTypeOfATimedOutJob()
    {
        QFETCH(int, type);
        QFETCH(QByteArray, name);

        const auto job = add(static_cast<Type>(type), "a");
        expectTimeout(name.constData());
        expectRestart();
        emit job->timedOut();
    }

    void hasNoNameForAnUnknownType()
    {
        const auto job = add(static_cast<Type>(99), "a");
        emit job->error(latin1("why"));
        QCOMPARE(m_recorder->log, QStringList(latin1("queue: error  failed: why")));
    }

    void reportsAnErrorAndStartsTheNextJob_data() { logsTheTypeOfATimedOutJob_data(); }

    void reportsAnErrorAndStartsTheNextJob()
    {
        QFETCH(int, type);
        QFETCH(QByteArray, name);

        QWeakPointer<FakeJob> a = add(static_cast<Type>(type), "a");
        const auto b = add(Type::JobReadValue, "b");
        emit a.toStrongRef()->error(latin1("%1 why %2"));
        QCOMPARE(m_recorder->log,
                 QStringList(latin1("queue: error ") + latin1(name.constData())
                             + latin1(" failed: %1 why %2")));
        QVERIFY(a.isNull());
        const QStringList calls = {latin1("a start"), latin1("a stop"), latin1("b start")};
        QCOMPARE(m_callLog, calls);

        m_recorder->log.clear();
        emit b->error(latin1("too"));
        QCOMPARE(m_recorder->log, QStringList(latin1("queue: error Read value failed: too")));
        QVERIFY(m_queue->currentJob().isNull());
    }

    void survivesErrorsInsideStart()
    {
        m_queue->addJob(
            JobPointer(new JobFailingInStart(Type::JobSetDate, &m_callLog, latin1("a"))));
        QVERIFY(m_queue->currentJob().isNull());

        const auto b = add(Type::JobReadValue, "b");
        m_queue->addJob(
            JobPointer(new JobFailingInStart(Type::JobSetDate, &m_callLog, latin1("c"))));
        m_queue->addJob(
            JobPointer(new JobFailingInStart(Type::JobSetDate, &m_callLog, latin1("d"))));
        const auto e = add(Type::JobReadValue, "e");
        emit b->finished();
        QCOMPARE(m_queue->currentJob(), JobPointer(e));
        const QString error = latin1("queue: error Set device clock failed: reason");
        const QStringList expected = {error, latin1("queue: jobFinished 1"), error, error};
        QCOMPARE(m_recorder->log, expected);
    }

    void reportsAFailureAndStartsTheNextJob()
    {
        const auto a = add(Type::JobTransmitFirmwareBlock, "a");
        const auto b = add(Type::JobTransmitFirmwareBlock, "b");
        emit a->failed(Type::JobTransmitFirmwareBlock);
        QCOMPARE(m_queue->currentJob(), JobPointer(b));
        emit b->failed(Type::JobTransmitFirmwareBlock);
        const QStringList expected = {latin1("queue: jobFailed 14"), latin1("queue: jobFailed 14")};
        QCOMPARE(m_recorder->log, expected);
        QVERIFY(m_queue->currentJob().isNull());
    }

    void allowsARemovalBeforeTheNextJobStarts()
    {
        const auto a = add(Type::JobTransmitFirmwareBlock, "a");
        add(Type::JobTransmitFirmwareBlock, "b");
        const auto c = add(Type::JobReadValue, "c");
        connect(m_queue.data(), &SerialPortQueue::jobFailed, this,
                [this](Type type) { m_queue->removeJobs(type); });
        emit a->failed(Type::JobTransmitFirmwareBlock);
        // The job that the removal has started continues.
        QCOMPARE(m_queue->currentJob(), JobPointer(c));
        const QStringList calls = {latin1("a start"), latin1("a stop"), latin1("c start")};
        QCOMPARE(m_callLog, calls);
        QCOMPARE(m_recorder->log, QStringList(latin1("queue: jobFailed 14")));
    }

    void raisesAllJobsDoneWhenAFailureIsCancelledToTheEnd()
    {
        const auto a = add(Type::JobTransmitFirmwareBlock, "a");
        add(Type::JobTransmitFirmwareBlock, "b");
        connect(m_queue.data(), &SerialPortQueue::jobFailed, this,
                [this](Type type) { m_queue->removeJobs(type); });
        emit a->failed(Type::JobTransmitFirmwareBlock);
        const QStringList expected = {latin1("queue: jobFailed 14"), latin1("queue: allJobsDone")};
        QCOMPARE(m_recorder->log, expected);
        QVERIFY(m_queue->currentJob().isNull());
    }

    void ignoresTheEndOfARemovedJob_data()
    {
        QTest::addColumn<bool>("hasSuccessor");
        QTest::addRow("while its successor runs") << true;
        QTest::addRow("in an idle queue") << false;
    }

    void ignoresTheEndOfARemovedJob()
    {
        QFETCH(bool, hasSuccessor);

        const auto former = add(Type::JobReadValue, "a");
        m_queue->clear();
        QSharedPointer<FakeJob> successor;
        if (hasSuccessor) {
            successor = add(Type::JobSetValue, "b");
        }
        const QStringList calls = m_callLog;
        emit former->finished();
        emit former->timedOut();
        emit former->error(latin1("why"));
        emit former->failed(Type::JobReadValue);
        QCOMPARE(m_callLog, calls);
        QCOMPARE(m_recorder->log, QStringList());
        QCOMPARE(m_queue->currentJob(), JobPointer(successor));
    }

    void relaysResultsOfARemovedJob()
    {
        const auto former = add(Type::JobReadValue, "a");
        m_queue->clear();
        emit former->dataRead(latin1("n"), latin1("v"));
        QCOMPARE(m_recorder->log, QStringList(latin1("queue: dataRead n=v")));
    }

    void treatsACallWithoutASenderAsTheCurrentJobs()
    {
        add(Type::JobReadValue, "a");
        add(Type::JobSetValue, "b");
        add(Type::JobReadDate, "c");
        expectTimeout("Read value");
        expectRestart();
        m_queue->onJobTimedOut();
        m_queue->onJobFinished();
        m_queue->onJobError(latin1("why"));
        m_queue->onJobFailed(Type::JobReadDate);
        const QStringList expected = {latin1("queue: jobFinished 1"),
                                      latin1("queue: error Write value failed: why"),
                                      latin1("queue: jobFailed ") + latin1("9")};
        QCOMPARE(m_recorder->log, expected);
        QVERIFY(m_queue->currentJob().isNull());
    }

    void doesNothingWhenCalledWithoutAnyJob()
    {
        m_queue->onJobFinished();
        m_queue->onJobTimedOut();
        m_queue->onJobError(latin1("why"));
        m_queue->onJobFailed(Type::JobReadValue);
        QCOMPARE(m_recorder->log, QStringList());
    }

    void keepsJobsAddedInsideASignal_data()
    {
        QTest::addColumn<QString>("signal");
        QTest::addRow("jobFinished") << latin1("jobFinished 1");
        QTest::addRow("error") << latin1("error Read value failed: why");
        QTest::addRow("jobFailed") << latin1("jobFailed 1");
    }

    void keepsJobsAddedInsideASignal()
    {
        QFETCH(QString, signal);

        const auto a = add(Type::JobReadValue, "a");
        add(Type::JobSetValue, "b");
        QSharedPointer<FakeJob> c;
        QSharedPointer<FakeJob> d;
        m_recorder->onSignal = [&](int before) {
            if (before == 0) {
                m_queue->clear();
                c = add(Type::JobReadDate, "c");
                d = add(Type::JobReadDate, "d");
            }
        };
        if (signal.startsWith(latin1("jobFinished"))) {
            emit a->finished();
        } else if (signal.startsWith(latin1("error"))) {
            emit a->error(latin1("why"));
        } else {
            emit a->failed(Type::JobReadValue);
        }
        QCOMPARE(m_recorder->log, QStringList(latin1("queue: ") + signal));
        QCOMPARE(m_queue->currentJob(), JobPointer(c));
        QCOMPARE(m_queue->jobs(), QVector<JobPointer>{d});
        const QStringList calls = {latin1("a start"), latin1("a stop"), latin1("c start")};
        QCOMPARE(m_callLog, calls);
    }
};

KV_TEST_CORE_MAIN(TestSerialPortQueueEnds)
#include "tst_serialportqueueends.moc"
