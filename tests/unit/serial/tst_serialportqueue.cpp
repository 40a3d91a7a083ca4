// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportqueue.h"
#include "tests/kit/fakejob.h"
#include "tests/kit/fakeserialport.h"
#include "tests/kit/signalrecorder.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"

#include <QtCore/QScopedPointer>
#include <QtTest/QtTest>

namespace {

using Type = SerialPortJobType;
using PortPointer = QSharedPointer<FakeSerialPort>;

/// A queue whose slots can be called directly, without a signal of a job.
class QueueWithPublicSlots : public SerialPortQueue
{
public:
    using SerialPortQueue::onJobError;
    using SerialPortQueue::onJobFailed;
    using SerialPortQueue::onJobFinished;
    using SerialPortQueue::onJobTimedOut;
    using SerialPortQueue::SerialPortQueue;
};

void expectTimeout(const QByteArray &name, const char *consequence)
{
    const QByteArray line = "void SerialPortQueue::onJobTimedOut() \"" + name + "\" timed out";
    QTest::ignoreMessage(QtDebugMsg, line.constData());
    QTest::ignoreMessage(QtDebugMsg, consequence);
}

constexpr char restarting[] = "Restarting current job";
constexpr char notRestarting[] = "Job can't be restarted, notifying user and starting next job";

} // namespace

class TestSerialPortQueue : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_queue.reset();
        m_recorder = {};
        m_queue.reset(new QueueWithPublicSlots(nullptr));
        m_recorder.record(m_queue.data());
    }

    void isInitiallyEmpty()
    {
        QCOMPARE(names(), texts(""));
        QVERIFY(m_queue->currentJob().isNull());
        QVERIFY(m_queue->serialPort().isNull());
        QVERIFY(m_queue->portName().isNull());
        QCOMPARE(SerialPortQueue(this).parent(), this);
    }

    void ignoresANullJob()
    {
        add(Type::JobReadValue, "a");
        QTest::ignoreMessage(QtDebugMsg, "Trying to add null job");
        m_queue->addJob(nullptr);
        QCOMPARE(names(), texts("a"));
        QCOMPARE(log(), texts("a start"));
    }

    void hasJobIgnoresTheCurrentJob()
    {
        add(Type::JobReadEepromBlock, "a");
        QVERIFY(!m_queue->hasJob(Type::JobReadEepromBlock));
        add(Type::JobReadEepromBlock, "b");
        QVERIFY(m_queue->hasJob(Type::JobReadEepromBlock));
        QVERIFY(!m_queue->hasJob(Type::JobWriteEepromBlock));
    }

    void runsJobsInOrder()
    {
        add(Type::JobReadValue, "a");
        add(Type::JobSetValue, "b");
        add(Type::JobReadValue, "c");
        add(Type::JobReadValue, "d");
        QCOMPARE(names(), texts("a|b|c|d"));
        QCOMPARE(log(), texts("a start"));
        finishCurrentJob();
        QCOMPARE(log(), texts("a start|queue: jobFinished JobReadValue|a stop|b start"));
        QCOMPARE(names(), texts("b|c|d"));
        QVERIFY(m_queue->hasJob(Type::JobReadValue));
        add(Type::JobReadDate, "e");
        finishCurrentJob();
        finishCurrentJob();
        QCOMPARE(names(), texts("d|e"));
        QVERIFY(!m_queue->hasJob(Type::JobReadValue));
    }

    void forwardsResultsImmediately()
    {
        const auto job = add(Type::JobReadValue, "a");
        const QDateTime time(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC);
        emit job->dataRead(text("n"), text("v"));
        emit job->dataWritten(text("n"), text("w"));
        emit job->measurementsRead(time, {{text("co2"), text("1")}});
        emit job->logValueRead(3, {1.5, 2}, time);
        emit job->logTitlesRead({text("T"), text("H")});
        emit job->actionFinished(SerialPortActionType::ActionSetDate, time);
        emit job->valueRead(SerialPortValueType::ValueLogCount, 7);
        emit job->eepromBlockRead(9, QByteArray("\x01\xff"));
        emit job->eepromBlockWritten(10);
        emit job->dataWrittenToEeprom(); // not forwarded
        const QStringList expected = {
            text("a start"),
            text("queue: dataRead n=v"),
            text("queue: dataWritten n=w"),
            text("queue: measurementsRead co2=1"),
            text("queue: logValueRead 3 1.5|2 2017-11-13T10:20:30Z"),
            text("queue: logTitlesRead T|H"),
            text("queue: actionFinished ActionSetDate QDateTime 2017-11-13T10:20:30Z"),
            text("queue: valueRead ValueLogCount int 7"),
            text("queue: eepromBlockRead 9 01ff"),
            text("queue: eepromBlockWritten 10")};
        QCOMPARE(log(), expected);
    }

    // Quirk: not after a connect job, because the handler then adds more jobs.
    void emitsAllJobsDoneAfterTheLastJob_data() { addTypes(); }
    void emitsAllJobsDoneAfterTheLastJob()
    {
        QFETCH(int, type);
        const auto jobType = static_cast<Type>(type);
        QStringList done;
        if (jobType != Type::JobConnect) {
            done << text("queue: allJobsDone");
        }
        add(jobType, "a");
        finishCurrentJob();
        QCOMPARE(log(),
                 text("a start|queue: jobFinished %1|a stop")
                         .arg(enumeratorName(jobType))
                         .split(text("|"))
                     + done);
        QVERIFY(m_queue->currentJob().isNull());

        // The removal of the last job emits the same signal.
        m_recorder.log.clear();
        const QWeakPointer<FakeJob> removed = add(jobType, "b");
        m_queue->removeJobs(jobType);
        QCOMPARE(log(), texts("b start|b stop") + done);
        QVERIFY(removed.isNull());
    }

    void startsAJobAddedInsideAllJobsDone()
    {
        add(Type::JobReadValue, "a");
        connect(m_queue.data(), &SerialPortQueue::allJobsDone, this,
                [this] { add(Type::JobSetValue, "b"); });
        finishCurrentJob();
        QCOMPARE(names(), texts("b"));
        QCOMPARE(log().last(), text("b start"));
    }

    void removesWaitingJobsWithoutASignal()
    {
        add(Type::JobReadValue, "a");
        const QWeakPointer<FakeJob> b = add(Type::JobSetValue, "b");
        add(Type::JobReadDate, "c");
        const QWeakPointer<FakeJob> d = add(Type::JobSetValue, "d");
        add(Type::JobReadDate, "e");
        m_queue->removeJobs(Type::JobReboot); // there is none
        QCOMPARE(names(), texts("a|b|c|d|e"));
        m_queue->removeJobs(Type::JobSetValue);
        QVERIFY(b.isNull());
        QVERIFY(d.isNull());
        QCOMPARE(names(), texts("a|c|e"));
        QCOMPARE(log(), texts("a start"));
    }

    void startsTheNextJobWhenTheCurrentIsRemoved()
    {
        add(Type::JobReadEepromBlock, "a");
        add(Type::JobReadEepromBlock, "b");
        add(Type::JobReadValue, "c");
        m_queue->removeJobs(Type::JobReadEepromBlock);
        QCOMPARE(names(), texts("c"));
        QCOMPARE(log(), texts("a start|a stop|c start"));
    }

    void clearsWithoutASignal()
    {
        const QWeakPointer<FakeJob> a = add(Type::JobReadValue, "a");
        const QWeakPointer<FakeJob> b = add(Type::JobSetValue, "b");
        m_queue->clear();
        m_queue->clear();
        QVERIFY(a.isNull());
        QVERIFY(b.isNull());
        QVERIFY(m_queue->currentJob().isNull());
        QCOMPARE(log(), texts("a start|a stop"));
    }

    void opensAClosedPort()
    {
        const auto port = PortPointer::create();
        m_queue->setSerialPort(port);
        port->openResult = false;
        QVERIFY(!m_queue->open());
        port->openResult = true;
        QVERIFY(m_queue->open());
        QCOMPARE(port->openCount, 2);
        QVERIFY(m_queue->open());
        QCOMPARE(port->openCount, 2);
    }

    void closesWithAndWithoutAPort()
    {
        add(Type::JobReadValue, "a");
        add(Type::JobSetValue, "b");
        m_queue->close();
        QCOMPARE(names(), texts(""));

        const auto port = PortPointer::create();
        m_queue->setSerialPort(port);
        QVERIFY(m_queue->open());
        add(Type::JobReadValue, "c");
        add(Type::JobSetValue, "d");
        m_queue->close();
        QVERIFY(!port->isOpen());
        QCOMPARE(port->closeCount, 1);
        QCOMPARE(names(), texts(""));
        QCOMPARE(log(), texts("a start|a stop|c start|c stop"));
        QCOMPARE(m_queue->serialPort().data(), port.data());
    }

    void replacesThePort()
    {
        auto first = PortPointer::create();
        const auto second = PortPointer::create();
        second->name = text("ttyUSB3");
        m_queue->setSerialPort(first);
        QCOMPARE(first->closeCount, 0);
        QVERIFY(m_queue->open());
        add(Type::JobReadValue, "a");
        add(Type::JobSetValue, "b");
        m_queue->setSerialPort(second);
        QCOMPARE(m_queue->serialPort().data(), second.data());
        QCOMPARE(m_queue->portName(), text("ttyUSB3"));
        QVERIFY(!first->isOpen());
        QCOMPARE(first->closeCount, 2);
        QCOMPARE(second->closeCount, 0);
        QCOMPARE(names(), texts(""));
        QCOMPARE(log(), texts("a start|a stop"));

        const QWeakPointer<FakeSerialPort> released = first;
        first.clear();
        QVERIFY(released.isNull());
        m_queue->setSerialPort(nullptr);
        QVERIFY(m_queue->serialPort().isNull());
        QCOMPARE(second->closeCount, 2);
    }

    void setsTheSamePortAgain()
    {
        const auto port = PortPointer::create();
        m_queue->setSerialPort(port);
        m_queue->setSerialPort(port);
        QCOMPARE(m_queue->serialPort().data(), port.data());
        QCOMPARE(port->closeCount, 2);
    }

    void closesThePortWhenDestroyed()
    {
        const auto port = PortPointer::create();
        m_queue->setSerialPort(port);
        QVERIFY(m_queue->open());
        const QWeakPointer<FakeJob> a = add(Type::JobReadValue, "a");
        const QWeakPointer<FakeJob> b = add(Type::JobSetValue, "b");
        m_queue.reset();
        QVERIFY(!port->isOpen());
        QCOMPARE(port->closeCount, 1);
        QVERIFY(a.isNull());
        QVERIFY(b.isNull());
        QCOMPARE(log(), texts("a start|a stop"));
    }

    // Quirk: a refused restart is ignored. The queue stops without a signal.
    void staysStoppedUntilTheJobIsRemoved()
    {
        using Release = void (*)(SerialPortQueue &);
        const QVector<QPair<Release, QStringList>> releases = {
            {[](SerialPortQueue &queue) { queue.removeJobs(Type::JobReboot); }, texts("a|b|c")},
            {[](SerialPortQueue &queue) { queue.removeJobs(Type::JobReadValue); }, texts("b|c")},
            {[](SerialPortQueue &queue) { queue.clear(); }, texts("c")},
            {[](SerialPortQueue &queue) { queue.close(); }, texts("c")},
            {[](SerialPortQueue &queue) { queue.setSerialPort(PortPointer::create()); },
             texts("c")},
        };
        for (const auto &[release, remaining] : releases) {
            init();
            const auto a = add(Type::JobReadValue, "a");
            a->stop();
            a->restartResult = false;
            expectTimeout("Read value", restarting);
            emit a->timedOut();
            add(Type::JobSetValue, "b");
            QCOMPARE(log(), texts("a start|a stop|a restart"));
            release(*m_queue);
            add(Type::JobReadDate, "c");
            QCOMPARE(names(), remaining);
            QCOMPARE(log().filter(text(" start")).last(), remaining.first() + text(" start"));
            QVERIFY(log().filter(text("queue")).isEmpty());
        }
    }

    void failsAJobThatCannotBeRestarted()
    {
        const auto a = add(Type::JobTransmitFirmwareBlock, "a");
        add(Type::JobReadValue, "b");
        a->restartable = false;
        expectTimeout("Transmit firmware to device", notRestarting);
        emit a->timedOut();
        QCOMPARE(log(), texts("a start|queue: jobFailed JobTransmitFirmwareBlock|a stop|b start"));
    }

    void messagesContainTheNameOfTheJobType_data() { addTypes(); }
    void messagesContainTheNameOfTheJobType()
    {
        QFETCH(int, type);
        QFETCH(QString, name);
        const auto jobType = static_cast<Type>(type);
        const auto a = add(jobType, "a");
        expectTimeout(name.toUtf8(), restarting);
        emit a->timedOut();
        emit a->error(text("%1 why %2"));
        QCOMPARE(log(),
                 QStringList({text("a start"), text("a restart"),
                              text("queue: error ") + name + text(" failed: %1 why %2"),
                              text("a stop")}));
    }

    void hasNoNameForAnUnknownType()
    {
        emit add(static_cast<Type>(99), "a")->error(text("why"));
        QCOMPARE(log(), texts("a start|queue: error  failed: why|a stop"));
    }

    void reportsAnErrorAndStartsTheNextJob()
    {
        const QWeakPointer<FakeJob> a = add(Type::JobSetDate, "a");
        const auto b = add(Type::JobReadValue, "b");
        emit a.toStrongRef()->error(text("why"));
        QVERIFY(a.isNull());
        emit b->error(text("too"));
        QCOMPARE(log(),
                 texts("a start|queue: error Set device clock failed: why|a stop|b start|queue: "
                       "error Read value failed: too|b stop"));
        QVERIFY(m_queue->currentJob().isNull());
    }

    void reportsAFailureAndStartsTheNextJob()
    {
        const auto a = add(Type::JobTransmitFirmwareBlock, "a");
        const auto b = add(Type::JobTransmitFirmwareBlock, "b");
        emit a->failed(Type::JobTransmitFirmwareBlock);
        emit b->failed(Type::JobTransmitFirmwareBlock);
        QCOMPARE(log(),
                 texts("a start|queue: jobFailed JobTransmitFirmwareBlock|a stop|b start|"
                       "queue: jobFailed JobTransmitFirmwareBlock|b stop"));
        QVERIFY(m_queue->currentJob().isNull());
    }

    void allowsARemovalInsideJobFailed()
    {
        connect(m_queue.data(), &SerialPortQueue::jobFailed, this,
                [this](Type type) { m_queue->removeJobs(type); });
        const auto a = add(Type::JobTransmitFirmwareBlock, "a");
        add(Type::JobTransmitFirmwareBlock, "b");
        const auto c = add(Type::JobReadValue, "c");
        emit a->failed(Type::JobTransmitFirmwareBlock);
        // The job that was started by the removal continues.
        QCOMPARE(names(), texts("c"));
        QCOMPARE(log(), texts("a start|queue: jobFailed JobTransmitFirmwareBlock|a stop|c start"));

        // Without another job, the removal empties the queue.
        m_recorder.log.clear();
        emit c->failed(Type::JobReadValue);
        QCOMPARE(log(), texts("queue: jobFailed JobReadValue|c stop|queue: allJobsDone"));
        QVERIFY(m_queue->currentJob().isNull());
    }

    void ignoresTheEndOfARemovedJob()
    {
        const auto removed = add(Type::JobReadValue, "a");
        m_queue->clear();
        const auto emitEveryEnd = [&removed] {
            emit removed->finished();
            emit removed->timedOut();
            emit removed->error(text("why"));
            emit removed->failed(Type::JobReadValue);
        };
        emitEveryEnd();
        add(Type::JobSetValue, "b");
        emitEveryEnd();
        QCOMPARE(log(), texts("a start|a stop|b start"));
        QCOMPARE(names(), texts("b"));
    }

    // Quirk: the queue calls disconnect() with itself as the sender, which disconnects nothing.
    void forwardsResultsOfARemovedJob()
    {
        const auto removed = add(Type::JobReadValue, "a");
        m_queue->clear();
        emit removed->dataRead(text("n"), text("v"));
        QCOMPARE(log().last(), text("queue: dataRead n=v"));
    }

    void slotCalledWithoutASenderAppliesToTheCurrentJob()
    {
        m_queue->onJobFinished();
        m_queue->onJobTimedOut();
        m_queue->onJobError(text("why"));
        m_queue->onJobFailed(Type::JobReadValue);
        QCOMPARE(log(), QStringList());

        add(Type::JobReadValue, "a");
        add(Type::JobSetValue, "b");
        add(Type::JobReadDate, "c");
        expectTimeout("Read value", restarting);
        m_queue->onJobTimedOut();
        m_queue->onJobFinished();
        m_queue->onJobError(text("why"));
        m_queue->onJobFailed(Type::JobReboot);
        QCOMPARE(log().filter(text("queue")),
                 texts("queue: jobFinished JobReadValue|"
                       "queue: error Write value failed: why|queue: jobFailed JobReboot"));
        QVERIFY(m_queue->currentJob().isNull());
    }

    void keepsJobsAddedInsideASignal()
    {
        using End = void (*)(FakeJob &);
        const QVector<QPair<End, QString>> ends = {
            {[](FakeJob &job) { emit job.finished(); }, text("queue: jobFinished JobReadValue")},
            {[](FakeJob &job) { emit job.error(text("why")); },
             text("queue: error Read value failed: why")},
            {[](FakeJob &job) { emit job.failed(Type::JobReadValue); },
             text("queue: jobFailed JobReadValue")},
        };
        for (const auto &[end, signal] : ends) {
            init();
            const auto a = add(Type::JobReadValue, "a");
            add(Type::JobSetValue, "b");
            m_recorder.onSignal = [this](int) {
                m_queue->clear();
                add(Type::JobReadDate, "c");
                add(Type::JobReadDate, "d");
            };
            end(*a);
            QCOMPARE(log(),
                     QStringList({text("a start"), signal, text("a stop"), text("c start")}));
            QCOMPARE(names(), texts("c|d"));
        }
    }

private:
    static void addTypes()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("name");
        // In the order of the enumerators.
        const QStringList displayNames =
            texts("Connect to device|Read value|Write value|Read measurements|Read all log entries|"
                  "Read single log value|Writing settings to EEPROM|Erasing log|Set device clock|"
                  "Read device clock|Read device model|Factory reset|Restart device|"
                  "Update firmware|Transmit firmware to device|Read eeprom block from device|"
                  "Write eeprom block to device");
        for (int type = 0; type < displayNames.size(); ++type) {
            QTest::addRow("%s", qPrintable(displayNames.at(type))) << type << displayNames.at(type);
        }
    }

    QSharedPointer<FakeJob> add(Type type, const char *name)
    {
        QSharedPointer<FakeJob> job(new FakeJob(type, &m_recorder.log, text(name)));
        m_queue->addJob(job);
        return job;
    }

    void finishCurrentJob() { emit m_queue->currentJob()->finished(); }

    // The name of the current job, empty without one, then those of the waiting jobs.
    QStringList names() const
    {
        auto jobs = m_queue->jobs();
        jobs.prepend(m_queue->currentJob());
        QStringList names;
        for (const auto &job : qAsConst(jobs)) {
            names.append(job ? job.staticCast<FakeJob>()->name : QString());
        }
        return names;
    }

    // The calls of all jobs and the signals of the queue.
    const QStringList &log() const { return m_recorder.log; }

    SignalRecorder m_recorder;
    QScopedPointer<QueueWithPublicSlots> m_queue;
};

KV_TEST_CORE_MAIN(TestSerialPortQueue)
#include "tst_serialportqueue.moc"
