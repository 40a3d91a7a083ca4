// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fakeserialport.h"
#include "tests/kit/testmain.h"
#include "tests/unit/serial/queuefixture.h"

namespace {

// A job that gives up inside its own start, as a bad date makes one do.
class HopelessJob : public FakeJob
{
public:
    using FakeJob::FakeJob;

    void start() override
    {
        FakeJob::start();
        emit error(latin1("no hope"));
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

    void sendsAJobAgainAfterATimeout();
    void standsStillAfterARefusedRestart();
    void isFreedFromAStandstill_data();
    void isFreedFromAStandstill();
    void failsAJobThatCannotBeRestarted();
    void namesTheTypeOfAJobThatTimesOut_data();
    void namesTheTypeOfAJobThatTimesOut();
    void knowsNoNameForAnUnknownType();
    void tellsOfAnErrorAndGoesOn_data();
    void tellsOfAnErrorAndGoesOn();
    void survivesErrorsInsideStart();
    void tellsOfAFailureAndGoesOn();
    void letsAListenerCancelBeforeTheNextJobStarts();
    void raisesAllJobsDoneWhenAFailureIsCancelledToTheEnd();
    void ignoresWhatAFormerJobSays_data();
    void ignoresWhatAFormerJobSays();
    void stillRelaysTheResultsOfAFormerJob();
    void takesACallWithoutASenderForTheCurrentJobs();
    void doesNothingWhenCalledWithoutAnyJob();
    void leavesWhatAListenerStarted_data();
    void leavesWhatAListenerStarted();
};

void TestSerialPortQueueEnds::sendsAJobAgainAfterATimeout()
{
    const auto a = add(Type::JobReadValue, "a");
    add(Type::JobSetValue, "b");
    expectTimeout("Read value");
    expectRestart();
    emit a->timedOut();
    const QStringList diary = {latin1("a start"), latin1("a restart")};
    QCOMPARE(m_diary, diary);
    QCOMPARE(m_queue->currentJob(), JobPointer(a));
    QCOMPARE(m_ears->heard, QStringList());
}

void TestSerialPortQueueEnds::standsStillAfterARefusedRestart()
{
    const auto a = add(Type::JobReadValue, "a");
    const auto b = add(Type::JobSetValue, "b");
    a->stop();
    a->restartResult = false;
    expectTimeout("Read value");
    expectRestart();
    emit a->timedOut();
    const auto c = add(Type::JobReadDate, "c");

    QCOMPARE(m_queue->currentJob(), JobPointer(a));
    const QVector<JobPointer> waiting = {b, c};
    QCOMPARE(m_queue->jobs(), waiting);
    const QStringList diary = {latin1("a start"), latin1("a stop"), latin1("a restart")};
    QCOMPARE(m_diary, diary);
    QCOMPARE(m_ears->heard, QStringList());
}

void TestSerialPortQueueEnds::isFreedFromAStandstill_data()
{
    QTest::addColumn<QString>("by");
    QTest::addColumn<bool>("goesOn");
    QTest::addRow("clear") << latin1("clear") << false;
    QTest::addRow("close") << latin1("close") << false;
    QTest::addRow("another port") << latin1("port") << false;
    QTest::addRow("removal of its type") << latin1("remove") << true;
    QTest::addRow("removal of another type") << latin1("other") << false;
}

void TestSerialPortQueueEnds::isFreedFromAStandstill()
{
    QFETCH(QString, by);
    QFETCH(bool, goesOn);

    const auto a = add(Type::JobReadValue, "a");
    a->stop();
    a->restartResult = false;
    expectTimeout("Read value");
    expectRestart();
    emit a->timedOut();
    add(Type::JobSetValue, "b");
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
        return;
    }
    const auto c = add(Type::JobReadDate, "c");
    QCOMPARE(m_diary.contains(latin1("b start")), goesOn);
    QCOMPARE(m_diary.contains(latin1("c start")), !goesOn);
    QCOMPARE(m_ears->heard, QStringList());
}

void TestSerialPortQueueEnds::failsAJobThatCannotBeRestarted()
{
    const auto a = add(Type::JobTransmitFirmwareBlock, "a");
    add(Type::JobReadValue, "b");
    a->restartable = false;
    expectTimeout("Transmit firmware to device");
    expectNoRestart();
    emit a->timedOut();
    QCOMPARE(m_ears->heard, QStringList(latin1("queue: jobFailed 14")));
    const QStringList diary = {latin1("a start"), latin1("a stop"), latin1("b start")};
    QCOMPARE(m_diary, diary);
}

void TestSerialPortQueueEnds::namesTheTypeOfAJobThatTimesOut_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("name");
    for (const NamedType &named : displayNames) {
        QTest::addRow("%s", named.name) << static_cast<int>(named.type) << QByteArray(named.name);
    }
}

void TestSerialPortQueueEnds::namesTheTypeOfAJobThatTimesOut()
{
    QFETCH(int, type);
    QFETCH(QByteArray, name);

    const auto job = add(static_cast<Type>(type), "a");
    expectTimeout(name.constData());
    expectRestart();
    emit job->timedOut();
}

void TestSerialPortQueueEnds::knowsNoNameForAnUnknownType()
{
    const auto job = add(static_cast<Type>(99), "a");
    emit job->error(latin1("why"));
    QCOMPARE(m_ears->heard, QStringList(latin1("queue: error  failed: why")));
}

void TestSerialPortQueueEnds::tellsOfAnErrorAndGoesOn_data()
{
    namesTheTypeOfAJobThatTimesOut_data();
}

void TestSerialPortQueueEnds::tellsOfAnErrorAndGoesOn()
{
    QFETCH(int, type);
    QFETCH(QByteArray, name);

    QWeakPointer<FakeJob> a = add(static_cast<Type>(type), "a");
    const auto b = add(Type::JobReadValue, "b");
    emit a.toStrongRef()->error(latin1("%1 why %2"));
    QCOMPARE(m_ears->heard,
             QStringList(latin1("queue: error ") + latin1(name.constData())
                         + latin1(" failed: %1 why %2")));
    QVERIFY(a.isNull());
    const QStringList diary = {latin1("a start"), latin1("a stop"), latin1("b start")};
    QCOMPARE(m_diary, diary);

    m_ears->heard.clear();
    emit b->error(latin1("too"));
    QCOMPARE(m_ears->heard, QStringList(latin1("queue: error Read value failed: too")));
    QVERIFY(m_queue->currentJob().isNull());
}

void TestSerialPortQueueEnds::survivesErrorsInsideStart()
{
    m_queue->addJob(JobPointer(new HopelessJob(Type::JobSetDate, &m_diary, latin1("a"))));
    QVERIFY(m_queue->currentJob().isNull());

    const auto b = add(Type::JobReadValue, "b");
    m_queue->addJob(JobPointer(new HopelessJob(Type::JobSetDate, &m_diary, latin1("c"))));
    m_queue->addJob(JobPointer(new HopelessJob(Type::JobSetDate, &m_diary, latin1("d"))));
    const auto e = add(Type::JobReadValue, "e");
    emit b->finished();
    QCOMPARE(m_queue->currentJob(), JobPointer(e));
    const QString error = latin1("queue: error Set device clock failed: no hope");
    const QStringList expected = {error, latin1("queue: jobFinished 1"), error, error};
    QCOMPARE(m_ears->heard, expected);
}

void TestSerialPortQueueEnds::tellsOfAFailureAndGoesOn()
{
    const auto a = add(Type::JobTransmitFirmwareBlock, "a");
    const auto b = add(Type::JobTransmitFirmwareBlock, "b");
    emit a->failed(Type::JobTransmitFirmwareBlock);
    QCOMPARE(m_queue->currentJob(), JobPointer(b));
    emit b->failed(Type::JobTransmitFirmwareBlock);
    const QStringList expected = {latin1("queue: jobFailed 14"), latin1("queue: jobFailed 14")};
    QCOMPARE(m_ears->heard, expected);
    QVERIFY(m_queue->currentJob().isNull());
}

void TestSerialPortQueueEnds::letsAListenerCancelBeforeTheNextJobStarts()
{
    const auto a = add(Type::JobTransmitFirmwareBlock, "a");
    add(Type::JobTransmitFirmwareBlock, "b");
    const auto c = add(Type::JobReadValue, "c");
    connect(m_queue.data(), &SerialPortQueue::jobFailed, this,
            [this](Type type) { m_queue->removeJobs(type); });
    emit a->failed(Type::JobTransmitFirmwareBlock);
    // The one that the cancel has started is not cut down.
    QCOMPARE(m_queue->currentJob(), JobPointer(c));
    const QStringList diary = {latin1("a start"), latin1("a stop"), latin1("c start")};
    QCOMPARE(m_diary, diary);
    QCOMPARE(m_ears->heard, QStringList(latin1("queue: jobFailed 14")));
}

void TestSerialPortQueueEnds::raisesAllJobsDoneWhenAFailureIsCancelledToTheEnd()
{
    const auto a = add(Type::JobTransmitFirmwareBlock, "a");
    add(Type::JobTransmitFirmwareBlock, "b");
    connect(m_queue.data(), &SerialPortQueue::jobFailed, this,
            [this](Type type) { m_queue->removeJobs(type); });
    emit a->failed(Type::JobTransmitFirmwareBlock);
    const QStringList expected = {latin1("queue: jobFailed 14"), latin1("queue: allJobsDone")};
    QCOMPARE(m_ears->heard, expected);
    QVERIFY(m_queue->currentJob().isNull());
}

void TestSerialPortQueueEnds::ignoresWhatAFormerJobSays_data()
{
    QTest::addColumn<bool>("hasSuccessor");
    QTest::addRow("behind its successor's back") << true;
    QTest::addRow("in an idle queue") << false;
}

void TestSerialPortQueueEnds::ignoresWhatAFormerJobSays()
{
    QFETCH(bool, hasSuccessor);

    const auto former = add(Type::JobReadValue, "a");
    m_queue->clear();
    QSharedPointer<FakeJob> successor;
    if (hasSuccessor) {
        successor = add(Type::JobSetValue, "b");
    }
    const QStringList diary = m_diary;
    emit former->finished();
    emit former->timedOut();
    emit former->error(latin1("why"));
    emit former->failed(Type::JobReadValue);
    QCOMPARE(m_diary, diary);
    QCOMPARE(m_ears->heard, QStringList());
    QCOMPARE(m_queue->currentJob(), JobPointer(successor));
}

void TestSerialPortQueueEnds::stillRelaysTheResultsOfAFormerJob()
{
    const auto former = add(Type::JobReadValue, "a");
    m_queue->clear();
    // Its signals are cut by its destruction alone.
    emit former->dataRead(latin1("n"), latin1("v"));
    QCOMPARE(m_ears->heard, QStringList(latin1("queue: dataRead n=v")));
}

void TestSerialPortQueueEnds::takesACallWithoutASenderForTheCurrentJobs()
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
    QCOMPARE(m_ears->heard, expected);
    QVERIFY(m_queue->currentJob().isNull());
}

void TestSerialPortQueueEnds::doesNothingWhenCalledWithoutAnyJob()
{
    m_queue->onJobFinished();
    m_queue->onJobTimedOut();
    m_queue->onJobError(latin1("why"));
    m_queue->onJobFailed(Type::JobReadValue);
    QCOMPARE(m_ears->heard, QStringList());
}

void TestSerialPortQueueEnds::leavesWhatAListenerStarted_data()
{
    QTest::addColumn<QString>("signal");
    QTest::addRow("jobFinished") << latin1("jobFinished 1");
    QTest::addRow("error") << latin1("error Read value failed: why");
    QTest::addRow("jobFailed") << latin1("jobFailed 1");
}

void TestSerialPortQueueEnds::leavesWhatAListenerStarted()
{
    QFETCH(QString, signal);

    const auto a = add(Type::JobReadValue, "a");
    add(Type::JobSetValue, "b");
    QSharedPointer<FakeJob> c;
    QSharedPointer<FakeJob> d;
    m_ears->reaction = [&](int before) {
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
    QCOMPARE(m_ears->heard, QStringList(latin1("queue: ") + signal));
    QCOMPARE(m_queue->currentJob(), JobPointer(c));
    QCOMPARE(m_queue->jobs(), QVector<JobPointer>{d});
    const QStringList diary = {latin1("a start"), latin1("a stop"), latin1("c start")};
    QCOMPARE(m_diary, diary);
}

KV_TEST_CORE_MAIN(TestSerialPortQueueEnds)
#include "tst_serialportqueueends.moc"
