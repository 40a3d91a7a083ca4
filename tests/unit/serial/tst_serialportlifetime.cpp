// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreaddate.h"
#include "serial/serialportjobreadmodel.h"
#include "serial/serialportjobreadvalue.h"
#include "serial/serialportjobsetdate.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/testmain.h"
#include "tests/unit/serial/jobdialoguetest.h"

#include <algorithm>
#include <utility>

namespace {

enum class Removal { None, Clear, Close, AnotherPort, Remove, ClearAndAdd };

struct RemovalCase
{
    Removal removal;
    bool timesOut; // instead of receiving a reply
    bool waiting; // another job waits
    int event; // the number of the signal, of job or queue, in which the job is removed
};

constexpr int mostSends = 5;
const QString allJobsDone = latin1("queue: allJobsDone");

// Removes the current job, which is of that type, from the queue.
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
        queue.addJob(successorOf(type, port.data()));
        break;
    }
    }
}

// Runs the job of a dialogue in a real queue and removes it inside one of the signals.
class Run
{
public:
    Run(const JobDialogue &dialogue, const RemovalCase &removalCase)
        : m_dialogue(dialogue)
        , m_case(removalCase)
        , port(new FakeSerialPort)
        , queue(nullptr)
    {
        queue.setSerialPort(port);
        recorder.record(&queue);
        JobPointer job = dialogue.make(port.data());
        SerialPortJobInterface *raw = job.data();
        watch = job;
        QObject::connect(raw, &QObject::destroyed, port.data(), [this] { ++destroyed; });
        recorder.record(raw);
        queue.addJob(std::exchange(job, {}));
        if (m_case.waiting) {
            queue.addJob(successorOf(dialogue.type, port.data()));
        }
        recorder.onSignal = [this](int before) {
            aliveInside = aliveInside && destroyed == 0 && !watch.isNull();
            if (before == m_case.event) {
                wasCurrent = queue.currentJob() == watch.toStrongRef();
                removeFrom(queue, m_dialogue.type, m_case.removal);
            }
        };
        // Connected after the job, so called when the job's slot has returned.
        const auto connection =
            QObject::connect(port.data(), &FakeSerialPort::dataReady, port.data(),
                             [this] { deletedOnReturn = destroyed == 1; });
        if (m_case.timesOut) {
            expire(raw);
            deletedOnReturn = destroyed == 1;
        } else {
            port->receive(dialogue.reply);
        }
        QObject::disconnect(connection);
        recorder.onSignal = nullptr;
    }

    int count(const QString &start) const
    {
        return static_cast<int>(
            std::count_if(recorder.log.cbegin(), recorder.log.cend(),
                          [&](const QString &text) { return text.startsWith(start); }));
    }

private:
    JobDialogue m_dialogue;
    RemovalCase m_case;

public:
    QSharedPointer<FakeSerialPort> port;
    QWeakPointer<SerialPortJobInterface> watch;
    SignalRecorder recorder;
    int destroyed = 0;
    bool aliveInside = true;
    bool deletedOnReturn = false;
    bool wasCurrent = false;
    SerialPortQueue queue;
};

// What must have been sent, and whether another job runs at the end.
struct Outcome
{
    QByteArrayList sent;
    bool anotherRuns = false;
};

Outcome outcomeOf(const JobDialogue &dialogue, const RemovalCase &removalCase)
{
    Outcome outcome;
    outcome.sent = dialogue.command;
    if (!removalCase.timesOut) {
        outcome.sent += dialogue.answer;
    }
    outcome.anotherRuns = removalCase.removal == Removal::ClearAndAdd
        || (removalCase.removal == Removal::Remove && removalCase.waiting);
    if (outcome.anotherRuns) {
        outcome.sent += successorsCommand(dialogue.type);
    }
    return outcome;
}

} // namespace

class TestSerialPortLifetime : public QObject
{
    Q_OBJECT

private slots:
    void survivesItsRemovalInsideAnySignal_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("timesOut");
        const QVector<JobDialogue> dialogues = allDialogues();
        for (int i = 0; i < dialogues.size(); ++i) {
            QTest::addRow("%s", dialogues.at(i).name) << i << false;
            QTest::addRow("%s, times out", dialogues.at(i).name) << i << true;
        }
    }

    void survivesItsRemovalInsideAnySignal()
    {
        QFETCH(int, index);
        QFETCH(bool, timesOut);
        const JobDialogue dialogue = allDialogues().at(index);
        for (const bool waiting : {false, true}) {
            const int events =
                Run(dialogue, {Removal::None, timesOut, waiting, -1}).recorder.log.size();
            QVERIFY(events > 0);
            for (int event = 0; event < events; ++event) {
                for (const Removal removal : {Removal::Clear, Removal::Close, Removal::AnotherPort,
                                              Removal::Remove, Removal::ClearAndAdd}) {
                    checkRemoval(dialogue, {removal, timesOut, waiting, event});
                    if (QTest::currentTestFailed()) {
                        qDebug() << "waiting" << waiting << "event" << event << "removal"
                                 << static_cast<int>(removal);
                        return;
                    }
                }
            }
        }
    }

    void isDeletedWhenItsLastCallReturns_data() { survivesItsRemovalInsideAnySignal_data(); }

    void isDeletedWhenItsLastCallReturns()
    {
        QFETCH(int, index);
        QFETCH(bool, timesOut);
        const JobDialogue dialogue = allDialogues().at(index);
        const bool lives = timesOut && dialogue.restarts;
        for (const bool waiting : {false, true}) {
            const Run run(dialogue, {Removal::None, timesOut, waiting, -1});
            QVERIFY(run.aliveInside);
            QCOMPARE(run.deletedOnReturn, !lives);
            Outcome outcome = outcomeOf(dialogue, {Removal::None, timesOut, waiting, -1});
            if (waiting && !lives) {
                outcome.sent += successorsCommand(dialogue.type);
            } else if (lives) {
                outcome.sent += dialogue.command;
            }
            QCOMPARE(run.port->sent, outcome.sent);
            QCOMPARE(run.destroyed, lives ? 0 : 1);
        }
    }

    void survivesItsRemovalInsideStart_data()
    {
        QTest::addColumn<int>("how");
        QTest::addColumn<bool>("waits");
        const char *names[] = {"not removed", "clear", "close", "another port", "removeJobs"};
        for (int how = 0; how < 5; ++how) {
            QTest::addRow("%s, first in the queue", names[how]) << how << false;
            QTest::addRow("%s, after another job", names[how]) << how << true;
        }
    }

    void survivesItsRemovalInsideStart()
    {
        QFETCH(int, how);
        QFETCH(bool, waits);

        const auto removal = static_cast<Removal>(how);
        const JobDialogue first = valueDialogues().first();
        const auto port = QSharedPointer<FakeSerialPort>::create();
        SignalRecorder recorder;
        SignalRecorder queueRecorder;
        SerialPortQueue queue(nullptr);
        queue.setSerialPort(port);
        queueRecorder.record(&queue);
        if (waits) {
            queue.addJob(first.make(port.data()));
        }
        // Raises error() inside start().
        JobPointer job(new SerialPortJobSetDate(port.data(), QDateTime()));
        const QWeakPointer<SerialPortJobInterface> watch = job;
        recorder.record(job.data());
        bool aliveInside = false;
        recorder.onSignal = [&](int) {
            removeFrom(queue, SerialPortJobType::JobSetDate, removal);
            aliveInside = !watch.isNull();
        };
        queue.addJob(std::exchange(job, {}));
        if (waits) {
            port->receive(first.reply);
        }

        const QString reason = latin1("Unable to set time, invalid timestamp given: ");
        QVERIFY(aliveInside);
        QVERIFY(watch.isNull());
        QVERIFY(queue.currentJob().isNull());
        QCOMPARE(recorder.log, QStringList(latin1("error ") + reason + latin1(", running")));
        QCOMPARE(port->sent, waits ? first.command : QByteArrayList());
        // The error of a removed job is not reported.
        QStringList expected;
        if (waits) {
            expected << latin1("queue: jobFinished 0");
        }
        if (removal == Removal::None) {
            expected << latin1("queue: error Set device clock failed: ") + reason;
        } else if (removal == Removal::Remove) {
            expected << allJobsDone;
        }
        QCOMPARE(queueRecorder.log, expected);
    }

    void runsTheJobsThatASlotAddsInsideItsError()
    {
        const auto port = QSharedPointer<FakeSerialPort>::create();
        SignalRecorder recorder;
        SerialPortQueue queue(nullptr);
        queue.setSerialPort(port);
        recorder.record(&queue);
        recorder.onSignal = [&](int before) {
            if (before == 0) {
                queue.addJob(JobPointer(new SerialPortJobReadModel(port.data())));
                queue.addJob(JobPointer(new SerialPortJobReadDate(port.data())));
                QVERIFY(port->sent.isEmpty());
            }
        };
        queue.addJob(JobPointer(new SerialPortJobSetDate(port.data(), QDateTime())));
        QCOMPARE(port->sent, QByteArrayList({"\r\nshow unit\r\n"}));
        QCOMPARE(queue.jobs().size(), 1);
        port->receive(latin1("Model: KVT 301\r\nSerial:"));
        QCOMPARE(port->sent, QByteArrayList({"\r\nshow unit\r\n", "\r\ndate\r\n"}));
    }

    void reportsEachOfSeveralInvalidDates()
    {
        const auto port = QSharedPointer<FakeSerialPort>::create();
        SignalRecorder recorder;
        SerialPortQueue queue(nullptr);
        queue.setSerialPort(port);
        recorder.record(&queue);
        queue.addJob(JobPointer(new SerialPortJobReadModel(port.data())));
        QVector<QWeakPointer<SerialPortJobInterface>> watches;
        for (int i = 0; i < 3; ++i) {
            const JobPointer job(new SerialPortJobSetDate(port.data(), QDateTime()));
            watches.append(job);
            queue.addJob(job);
        }
        queue.addJob(JobPointer(new SerialPortJobReadDate(port.data())));
        port->receive(latin1("Model: KVT 301\r\nSerial:"));
        QCOMPARE(port->sent, QByteArrayList({"\r\nshow unit\r\n", "\r\ndate\r\n"}));
        QCOMPARE(recorder.log.filter(latin1("queue: error Set device clock failed: ")).size(), 3);
        QVERIFY(!recorder.log.contains(allJobsDone));
        for (const auto &watch : qAsConst(watches)) {
            QVERIFY(watch.isNull());
        }
        port->receive(latin1("date\r\n2017-11-13T10:20:30\r\n$ "));
        QCOMPARE(recorder.log.last(), allJobsDone);
    }

    void staysStoppedAfterTheFifthTimeout_data()
    {
        QTest::addColumn<int>("dialogue");
        const QVector<JobDialogue> dialogues = allDialogues();
        for (int index = 0; index < dialogues.size(); ++index) {
            if (dialogues.at(index).restarts) {
                QTest::addRow("%s", dialogues.at(index).name) << index;
            }
        }
    }

    void staysStoppedAfterTheFifthTimeout()
    {
        QFETCH(int, dialogue);

        const JobDialogue words = allDialogues().at(dialogue);
        const auto port = QSharedPointer<FakeSerialPort>::create();
        SignalRecorder recorder;
        SerialPortQueue queue(nullptr);
        queue.setSerialPort(port);
        recorder.record(&queue);
        const JobPointer job = words.make(port.data());
        QSignalSpy timedOut(job.data(), &SerialPortJobInterface::timedOut);
        queue.addJob(job);
        queue.addJob(successorOf(words.type, port.data()));
        job->setTimeout(1);
        QTRY_COMPARE(timedOut.size(), mostSends);

        QByteArrayList expected;
        for (int send = 0; send < mostSends; ++send) {
            expected += words.command;
        }
        QCOMPARE(port->sent, expected);
        QVERIFY(!job->isRunning());
        QCOMPARE(queue.currentJob(), job);

        // A late reply is ignored, and no added job starts.
        queue.addJob(JobPointer(new SerialPortJobReadValue(port.data(), latin1("late"))));
        port->receive(words.reply);
        QCOMPARE(queue.jobs().size(), 2);
        QCOMPARE(port->sent, expected);
        QCOMPARE(recorder.log, QStringList());
        QCOMPARE(timedOut.size(), mostSends);

        queue.removeJobs(words.type);
        QCOMPARE(port->sent, expected + QByteArrayList{successorsCommand(words.type)});
    }

    // Quirk: the next waiting job is lost if a slot of allJobsDone() has started another one.
    void losesTheSecondJobAddedInsideAllJobsDone()
    {
        const auto port = QSharedPointer<FakeSerialPort>::create();
        SignalRecorder recorder;
        SerialPortQueue queue(nullptr);
        queue.setSerialPort(port);
        recorder.record(&queue);
        recorder.onSignal = [&](int before) {
            if (recorder.log.at(before) == allJobsDone) {
                queue.addJob(JobPointer(new SerialPortJobReadDate(port.data())));
                queue.addJob(JobPointer(new SerialPortJobReadModel(port.data())));
            }
        };
        queue.addJob(JobPointer(new SerialPortJobReadModel(port.data())));
        QTest::ignoreMessage(QtWarningMsg, "Unable to start job");
        port->receive(latin1("Model: KVT 301\r\nSerial:"));
        recorder.onSignal = nullptr;
        QCOMPARE(port->sent, QByteArrayList({"\r\nshow unit\r\n", "\r\ndate\r\n"}));
        QCOMPARE(queue.currentJob()->type(), SerialPortJobType::JobReadDate);
        QVERIFY(queue.currentJob()->isRunning());
        QVERIFY(queue.jobs().isEmpty());
    }

private:
    void checkRemoval(const JobDialogue &dialogue, const RemovalCase &removalCase)
    {
        Run run(dialogue, removalCase);
        QVERIFY(run.aliveInside);
        QVERIFY(run.deletedOnReturn);
        QVERIFY(run.watch.isNull());
        QCOMPARE(run.destroyed, 1);

        const Outcome outcome = outcomeOf(dialogue, removalCase);
        QCOMPARE(run.port->sent, outcome.sent);
        QVERIFY(run.queue.jobs().isEmpty());
        const JobPointer next = run.queue.currentJob();
        QCOMPARE(!next.isNull(), outcome.anotherRuns);

        // The end of a job that is no longer current is not reported.
        const QString removed = run.recorder.log.at(removalCase.event);
        const QStringList after = run.recorder.log.mid(removalCase.event + 1);
        for (const QString &text : after) {
            const bool ends = text.startsWith(latin1("queue: job"))
                || text.startsWith(latin1("queue: error")) || text == allJobsDone;
            QVERIFY2(!ends || (text == allJobsDone && removalCase.removal == Removal::Remove),
                     qPrintable(removed + latin1(" -> ") + text));
        }
        if (removalCase.removal == Removal::Remove && run.wasCurrent) {
            const bool done =
                !removalCase.waiting && dialogue.type != SerialPortJobType::JobConnect;
            QCOMPARE(run.count(allJobsDone), done ? 1 : 0);
        }

        // The next job is not affected.
        if (next) {
            run.recorder.log.clear();
            run.port->receive(dialogue.type == SerialPortJobType::JobReadModel
                                  ? latin1("date\r\n2017-11-13T10:20:30\r\n$ ")
                                  : latin1("Model: KVT 301\r\nSerial:"));
            QCOMPARE(run.count(latin1("queue: jobFinished")), 1);
            QCOMPARE(run.recorder.log.last(), allJobsDone);
            QVERIFY(run.queue.currentJob().isNull());
        }
    }
};

KV_TEST_CORE_MAIN(TestSerialPortLifetime)
#include "tst_serialportlifetime.moc"
