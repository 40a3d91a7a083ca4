// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreaddate.h"
#include "serial/serialportjobreadmodel.h"
#include "serial/serialportjobreadvalue.h"
#include "serial/serialportjobsetdate.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/unit/serial/jobhelpers.h"

#include <QtCore/QRegularExpression>
#include <utility>

namespace {

enum class Removal { None, Clear, Close, AnotherPort, Remove, ClearAndAdd };

struct RemovalCase
{
    Removal removal;
    bool timesOut; // instead of receiving a reply
    bool waiting; // another job waits
    int signalIndex; // of the signal, of job or queue, inside which the job is removed
};

constexpr int maxSendCount = 5;
constexpr char showUnit[] = "\r\nshow unit\r\n";
constexpr char modelReply[] = "Model: KVT 301\r\nSerial:";
constexpr char showDate[] = "\r\ndate\r\n";
constexpr char dateReply[] = "date\r\n2017-11-13T10:20:30\r\n$ ";
const QString allJobsDone = text("queue: allJobsDone");
const QString invalidDate = text("Unable to set time, invalid timestamp given: ");
const QString dateError = text("queue: error Set device clock failed: ") + invalidDate;

// Removes the current job, which has this type, from the queue.
void removeFrom(SerialPortQueue &queue, SerialPortJobType type, Removal removal)
{
    switch (removal) {
    case Removal::None:
        break;
    case Removal::Clear:
        queue.clear();
        break;
    case Removal::Close:
        queue.close();
        break;
    case Removal::AnotherPort:
        queue.setSerialPort(QSharedPointer<SerialPortInterface>(new FakeSerialPort));
        break;
    case Removal::Remove:
        queue.removeJobs(type);
        break;
    case Removal::ClearAndAdd: {
        const auto port = queue.serialPort();
        queue.clear();
        queue.addJob(nextJobAfter(type, port.data()));
        break;
    }
    }
}

// A queue with its transport and a recorder of its signals.
struct RecordedQueue
{
    RecordedQueue()
    {
        queue.setSerialPort(port);
        recorder.record(&queue);
    }

    template <typename Job, typename... Arguments>
    JobPointer add(const Arguments &...arguments)
    {
        const JobPointer job(new Job(port.data(), arguments...));
        queue.addJob(job);
        return job;
    }

    QSharedPointer<FakeSerialPort> port = QSharedPointer<FakeSerialPort>::create();
    SignalRecorder recorder;
    SerialPortQueue queue{nullptr};
};

// Runs the job of a dialogue in the queue and removes it inside one of its signals.
struct RemovalRun : RecordedQueue
{
    RemovalRun(const JobDialogue &dialogue, const RemovalCase &removalCase)
    {
        JobPointer job = dialogue.makeJob(port.data());
        SerialPortJobInterface *raw = job.data();
        weakJob = job;
        QObject::connect(raw, &QObject::destroyed, port.data(), [this] { ++destroyed; });
        recorder.record(raw);
        queue.addJob(std::exchange(job, {}));
        if (removalCase.waiting) {
            queue.addJob(nextJobAfter(dialogue.type, port.data()));
        }
        recorder.onSignal = [&](int signalIndex) {
            aliveDuringSignals = aliveDuringSignals && destroyed == 0 && !weakJob.isNull();
            if (signalIndex == removalCase.signalIndex) {
                wasCurrent = queue.currentJob() == weakJob.toStrongRef();
                removeFrom(queue, dialogue.type, removalCase.removal);
            }
        };
        // Connected after the job, so called when the job's slot has returned.
        const auto connection =
            QObject::connect(port.data(), &FakeSerialPort::dataReady, port.data(),
                             [this] { deletedOnReturn = destroyed == 1; });
        if (removalCase.timesOut) {
            timeOutNow(raw);
            deletedOnReturn = destroyed == 1;
        } else {
            port->receive(dialogue.reply);
        }
        QObject::disconnect(connection);
        recorder.onSignal = nullptr;
    }
    ~RemovalRun() { queue.clear(); }
    Q_DISABLE_COPY(RemovalRun)

    QWeakPointer<SerialPortJobInterface> weakJob;
    int destroyed = 0;
    bool aliveDuringSignals = true;
    bool deletedOnReturn = false;
    bool wasCurrent = false;
};

// What the job of the dialogue has sent.
QByteArrayList sentBy(const JobDialogue &dialogue, bool timesOut)
{
    return timesOut ? dialogue.command : dialogue.command + dialogue.sentAfterReply;
}

} // namespace

class TestSerialPortJobLifetime : public QObject
{
    Q_OBJECT

private slots:
    void isDeletedWhenLastCallReturns_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("timesOut");
        const QVector<JobDialogue> dialogues = allDialogues();
        for (int i = 0; i < dialogues.size(); ++i) {
            QTest::addRow("%s", dialogues.at(i).name) << i << false;
            QTest::addRow("%s, times out", dialogues.at(i).name) << i << true;
        }
    }

    void isDeletedWhenLastCallReturns()
    {
        QFETCH(int, index);
        QFETCH(bool, timesOut);
        const JobDialogue dialogue = allDialogues().at(index);
        for (const bool waiting : {false, true}) {
            const RemovalRun run(dialogue, {Removal::None, timesOut, waiting, -1});
            const bool restarts = timesOut && dialogue.canRestart;
            QByteArrayList sent = sentBy(dialogue, timesOut);
            if (restarts) {
                sent += dialogue.command;
            } else if (waiting) {
                sent += nextJobCommand(dialogue.type);
            }
            QCOMPARE(run.port->sent, sent);
            QVERIFY(run.aliveDuringSignals);
            QCOMPARE(run.deletedOnReturn, !restarts);
            QCOMPARE(run.destroyed, restarts ? 0 : 1);

            QVERIFY(!run.recorder.log.isEmpty());
            for (int signalIndex = 0; signalIndex < run.recorder.log.size(); ++signalIndex) {
                for (const Removal removal : {Removal::Clear, Removal::Close, Removal::AnotherPort,
                                              Removal::Remove, Removal::ClearAndAdd}) {
                    checkRemoval(dialogue, {removal, timesOut, waiting, signalIndex});
                    if (QTest::currentTestFailed()) {
                        qDebug() << "waiting" << waiting << "signal" << signalIndex << "removal"
                                 << static_cast<int>(removal);
                        return;
                    }
                }
            }
        }
    }

    void canBeRemovedInsideStart_data()
    {
        QTest::addColumn<int>("removalKind");
        QTest::addColumn<bool>("queuedAfterAnotherJob");
        const char *names[] = {"not removed", "clear", "close", "another port", "removeJobs"};
        for (int kind = 0; kind < 5; ++kind) {
            QTest::addRow("%s, first in the queue", names[kind]) << kind << false;
            QTest::addRow("%s, after another job", names[kind]) << kind << true;
        }
    }

    void canBeRemovedInsideStart()
    {
        QFETCH(int, removalKind);
        QFETCH(bool, queuedAfterAnotherJob);

        const auto removal = static_cast<Removal>(removalKind);
        const JobDialogue first = valueDialogues().first();
        SignalRecorder recorder;
        RecordedQueue q;
        if (queuedAfterAnotherJob) {
            q.queue.addJob(first.makeJob(q.port.data()));
        }
        // Emits error() inside start().
        JobPointer job(new SerialPortJobSetDate(q.port.data(), QDateTime()));
        const QWeakPointer<SerialPortJobInterface> weakJob = job;
        recorder.record(job.data());
        bool aliveDuringSignals = false;
        recorder.onSignal = [&](int) {
            removeFrom(q.queue, SerialPortJobType::JobSetDate, removal);
            aliveDuringSignals = !weakJob.isNull();
        };
        q.queue.addJob(std::exchange(job, {}));
        if (queuedAfterAnotherJob) {
            q.port->receive(first.reply);
        }

        QVERIFY(aliveDuringSignals);
        QVERIFY(weakJob.isNull());
        QVERIFY(q.queue.currentJob().isNull());
        QCOMPARE(recorder.log, QStringList(text("error %1, running").arg(invalidDate)));
        QCOMPARE(q.port->sent, queuedAfterAnotherJob ? first.command : QByteArrayList());
        // The error of a removed job is not reported.
        QStringList expected;
        if (queuedAfterAnotherJob) {
            expected << text("queue: jobFinished JobConnect");
        }
        if (removal == Removal::None) {
            expected << dateError;
        } else if (removal == Removal::Remove) {
            expected << allJobsDone;
        }
        QCOMPARE(q.recorder.log, expected);
    }

    void runsJobsAddedInsideErrorSignal()
    {
        RecordedQueue q;
        q.recorder.onSignal = [&q](int signalIndex) {
            if (signalIndex == 0) {
                q.add<SerialPortJobReadModel>();
                q.add<SerialPortJobReadDate>();
                QVERIFY(q.port->sent.isEmpty());
            }
        };
        q.add<SerialPortJobSetDate>(QDateTime());
        QCOMPARE(q.port->sent, QByteArrayList({showUnit}));
        QCOMPARE(q.queue.jobs().size(), 1);
        q.port->receive(text(modelReply));
        QCOMPARE(q.port->sent, QByteArrayList({showUnit, showDate}));
    }

    void reportsEachOfSeveralInvalidDates()
    {
        RecordedQueue q;
        q.add<SerialPortJobReadModel>();
        QVector<QWeakPointer<SerialPortJobInterface>> weakJobs;
        for (int i = 0; i < 3; ++i) {
            weakJobs.append(q.add<SerialPortJobSetDate>(QDateTime()));
        }
        q.add<SerialPortJobReadDate>();
        q.port->receive(text(modelReply));
        QCOMPARE(q.port->sent, QByteArrayList({showUnit, showDate}));
        QStringList expected = {text("queue: valueRead ValueDeviceModel QString KVT 301"),
                                text("queue: jobFinished JobReadModel"), dateError, dateError,
                                dateError};
        QCOMPARE(q.recorder.log, expected);
        for (const auto &weakJob : qAsConst(weakJobs)) {
            QVERIFY(weakJob.isNull());
        }
        q.port->receive(text(dateReply));
        QCOMPARE(q.recorder.log.last(), allJobsDone);
    }

    void staysStoppedAfterTheFifthTimeout_data()
    {
        QTest::addColumn<int>("index");
        const QVector<JobDialogue> dialogues = allDialogues();
        for (int index = 0; index < dialogues.size(); ++index) {
            if (dialogues.at(index).canRestart) {
                QTest::addRow("%s", dialogues.at(index).name) << index;
            }
        }
    }

    void staysStoppedAfterTheFifthTimeout()
    {
        QFETCH(int, index);

        const JobDialogue dialogue = allDialogues().at(index);
        RecordedQueue q;
        const JobPointer job = dialogue.makeJob(q.port.data());
        QSignalSpy timedOut(job.data(), &SerialPortJobInterface::timedOut);
        q.queue.addJob(job);
        q.queue.addJob(nextJobAfter(dialogue.type, q.port.data()));
        job->setTimeout(1);
        QTRY_COMPARE(timedOut.size(), maxSendCount);

        QByteArrayList expected;
        for (int send = 0; send < maxSendCount; ++send) {
            expected += dialogue.command;
        }
        QCOMPARE(q.port->sent, expected);
        QVERIFY(!job->isRunning());
        QCOMPARE(q.queue.currentJob(), job);

        // A late reply is ignored, and a job that is added does not start.
        q.add<SerialPortJobReadValue>(text("late"));
        q.port->receive(dialogue.reply);
        QCOMPARE(q.queue.jobs().size(), 2);
        QCOMPARE(q.port->sent, expected);
        QCOMPARE(q.recorder.log, QStringList());
        QCOMPARE(timedOut.size(), maxSendCount);

        q.queue.removeJobs(dialogue.type);
        QCOMPARE(q.port->sent, expected + QByteArrayList{nextJobCommand(dialogue.type)});
    }

    // Quirk: the next waiting job is lost if a slot connected to allJobsDone() has started another
    // job.
    void secondJobAddedInsideAllJobsDoneIsDropped()
    {
        RecordedQueue q;
        q.recorder.onSignal = [&q](int signalIndex) {
            if (q.recorder.log.at(signalIndex) == allJobsDone) {
                q.add<SerialPortJobReadDate>();
                q.add<SerialPortJobReadModel>();
            }
        };
        q.add<SerialPortJobReadModel>();
        QTest::ignoreMessage(QtWarningMsg, "Unable to start job");
        q.port->receive(text(modelReply));
        q.recorder.onSignal = nullptr;
        QCOMPARE(q.port->sent, QByteArrayList({showUnit, showDate}));
        QCOMPARE(q.queue.currentJob()->type(), SerialPortJobType::JobReadDate);
        QVERIFY(q.queue.currentJob()->isRunning());
        QVERIFY(q.queue.jobs().isEmpty());
    }

private:
    void checkRemoval(const JobDialogue &dialogue, const RemovalCase &removalCase)
    {
        RemovalRun run(dialogue, removalCase);
        QVERIFY(run.aliveDuringSignals);
        QVERIFY(run.deletedOnReturn);
        QVERIFY(run.weakJob.isNull());
        QCOMPARE(run.destroyed, 1);

        const bool nextJobRuns = removalCase.removal == Removal::ClearAndAdd
            || (removalCase.removal == Removal::Remove && removalCase.waiting);
        QByteArrayList sent = sentBy(dialogue, removalCase.timesOut);
        if (nextJobRuns) {
            sent += nextJobCommand(dialogue.type);
        }
        QCOMPARE(run.port->sent, sent);
        QVERIFY(run.queue.jobs().isEmpty());
        const JobPointer next = run.queue.currentJob();
        QCOMPARE(!next.isNull(), nextJobRuns);

        // The queue doesn't report the end of a job that is no longer current.
        const QStringList after = run.recorder.log.mid(removalCase.signalIndex + 1);
        const bool done = removalCase.removal == Removal::Remove && run.wasCurrent
            && !removalCase.waiting && dialogue.type != SerialPortJobType::JobConnect;
        QCOMPARE(after.filter(QRegularExpression(text("^queue: (job|error|allJobsDone)"))),
                 done ? QStringList(allJobsDone) : QStringList());

        // The next job is not affected.
        if (next) {
            run.recorder.log.clear();
            run.port->receive(
                text(dialogue.type == SerialPortJobType::JobReadModel ? dateReply : modelReply));
            QCOMPARE(run.recorder.log.filter(text("queue: jobFinished")).size(), 1);
            QCOMPARE(run.recorder.log.last(), allJobsDone);
            QVERIFY(run.queue.currentJob().isNull());
        }
    }
};

KV_TEST_CORE_MAIN(TestSerialPortJobLifetime)
#include "tst_serialportjoblifetime.moc"
