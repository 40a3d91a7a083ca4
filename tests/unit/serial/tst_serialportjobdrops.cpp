// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/serial/jobdialoguetest.h"

#include <algorithm>
#include <utility>

namespace {

enum class Drop { None, Clear, Close, AnotherPort, Remove, ClearAndAdd };

struct DropCase
{
    Drop drop;
    bool silent; // the job's time runs out, instead of a reply
    bool waiting; // another job waits behind it
    int event; // which of all the signals, of job and queue, the drop is made in
};

const QString allJobsDone = latin1("queue: allJobsDone");

// One job of a dialogue through a real queue, dropped inside one of the signals on its way.
class Run
{
public:
    Run(const JobDialogue &dialogue, const DropCase &dropCase)
        : m_dialogue(dialogue)
        , m_case(dropCase)
        , port(new FakeSerialPort)
        , queue(nullptr)
    {
        queue.setSerialPort(port);
        ears.listenTo(&queue);
        JobPointer job = dialogue.make(port.data());
        SerialPortJobInterface *raw = job.data();
        watch = job;
        QObject::connect(raw, &QObject::destroyed, port.data(), [this] { ++destroyed; });
        ears.listenTo(raw);
        queue.addJob(std::exchange(job, {}));
        if (m_case.waiting) {
            queue.addJob(successorOf(dialogue.type, port.data()));
        }
        ears.reaction = [this](int before) {
            aliveInside = aliveInside && destroyed == 0 && !watch.isNull();
            if (before == m_case.event) {
                wasCurrent = queue.currentJob() == watch.toStrongRef();
                drop();
            }
        };
        // Connected behind the job: called as soon as the port's call into the job has returned.
        const auto look = QObject::connect(port.data(), &FakeSerialPort::dataReady, port.data(),
                                           [this] { goneOnReturn = destroyed == 1; });
        if (m_case.silent) {
            expire(raw);
            goneOnReturn = destroyed == 1;
        } else {
            port->receive(dialogue.reply);
        }
        QObject::disconnect(look);
        ears.reaction = nullptr;
    }

    int count(const QString &start) const
    {
        return static_cast<int>(
            std::count_if(ears.heard.cbegin(), ears.heard.cend(),
                          [&](const QString &text) { return text.startsWith(start); }));
    }

private:
    void drop()
    {
        switch (m_case.drop) {
        case Drop::None:
            break;
        case Drop::Clear:
            queue.clear();
            break;
        case Drop::Close:
            queue.close();
            break;
        case Drop::AnotherPort:
            queue.setSerialPort(QSharedPointer<SerialPortInterface>(new FakeSerialPort));
            break;
        case Drop::Remove:
            queue.removeJobs(m_dialogue.type);
            break;
        case Drop::ClearAndAdd:
            queue.clear();
            queue.addJob(successorOf(m_dialogue.type, port.data()));
            break;
        }
    }

    JobDialogue m_dialogue;
    DropCase m_case;

public:
    QSharedPointer<FakeSerialPort> port;
    QWeakPointer<SerialPortJobInterface> watch;
    JobEars ears;
    int destroyed = 0;
    bool aliveInside = true;
    bool goneOnReturn = false;
    bool wasCurrent = false;
    SerialPortQueue queue;
};

// What the port must have been sent, and whether another job runs at the end.
struct Outcome
{
    QByteArrayList sent;
    bool anotherRuns = false;
};

Outcome outcomeOf(const JobDialogue &dialogue, const DropCase &dropCase)
{
    Outcome outcome;
    outcome.sent = dialogue.command;
    if (!dropCase.silent) {
        outcome.sent += dialogue.answer;
    }
    outcome.anotherRuns =
        dropCase.drop == Drop::ClearAndAdd || (dropCase.drop == Drop::Remove && dropCase.waiting);
    if (outcome.anotherRuns) {
        outcome.sent += successorsCommand(dialogue.type);
    }
    return outcome;
}

} // namespace

class TestSerialPortJobDrops : public QObject
{
    Q_OBJECT

private slots:
    void isDroppedInsideAnySignal_data();
    void isDroppedInsideAnySignal();
    void isGoneWhenTheCallReturns_data() { isDroppedInsideAnySignal_data(); }
    void isGoneWhenTheCallReturns();
    void badDateIsGoneWhenItWasAdded();
    void badDateLeavesTheJobsThatItsListenerAdds();
    void badDatesInARowAreAllReported();
    void runsOneJobOfTwoThatAreAddedWhenAllIsDone();

private:
    void checkDrop(const JobDialogue &dialogue, const DropCase &dropCase);
};

void TestSerialPortJobDrops::isDroppedInsideAnySignal_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("silent");
    const QVector<JobDialogue> dialogues = allDialogues();
    for (int i = 0; i < dialogues.size(); ++i) {
        QTest::addRow("%s", dialogues.at(i).name) << i << false;
        QTest::addRow("%s, silent", dialogues.at(i).name) << i << true;
    }
}

void TestSerialPortJobDrops::isDroppedInsideAnySignal()
{
    QFETCH(int, index);
    QFETCH(bool, silent);
    const JobDialogue dialogue = allDialogues().at(index);
    for (const bool waiting : {false, true}) {
        const int events = Run(dialogue, {Drop::None, silent, waiting, -1}).ears.heard.size();
        QVERIFY(events > 0);
        for (int event = 0; event < events; ++event) {
            for (const Drop drop :
                 {Drop::Clear, Drop::Close, Drop::AnotherPort, Drop::Remove, Drop::ClearAndAdd}) {
                checkDrop(dialogue, {drop, silent, waiting, event});
                if (QTest::currentTestFailed()) {
                    qDebug() << "waiting" << waiting << "event" << event << "drop"
                             << static_cast<int>(drop);
                    return;
                }
            }
        }
    }
}

void TestSerialPortJobDrops::checkDrop(const JobDialogue &dialogue, const DropCase &dropCase)
{
    Run run(dialogue, dropCase);
    QVERIFY(run.aliveInside);
    QVERIFY(run.goneOnReturn);
    QVERIFY(run.watch.isNull());
    QCOMPARE(run.destroyed, 1);

    const Outcome outcome = outcomeOf(dialogue, dropCase);
    QCOMPARE(run.port->sent, outcome.sent);
    QVERIFY(run.queue.jobs().isEmpty());
    const JobPointer next = run.queue.currentJob();
    QCOMPARE(!next.isNull(), outcome.anotherRuns);

    // The end of a job that is no longer current is nobody's.
    const QString dropped = run.ears.heard.at(dropCase.event);
    const QStringList after = run.ears.heard.mid(dropCase.event + 1);
    for (const QString &text : after) {
        const bool ends = text.startsWith(latin1("queue: job"))
            || text.startsWith(latin1("queue: error")) || text == allJobsDone;
        QVERIFY2(!ends || (text == allJobsDone && dropCase.drop == Drop::Remove),
                 qPrintable(dropped + latin1(" -> ") + text));
    }
    if (dropCase.drop == Drop::Remove && run.wasCurrent) {
        const bool done = !dropCase.waiting && dialogue.type != SerialPortJobType::JobConnect;
        QCOMPARE(run.count(allJobsDone), done ? 1 : 0);
    }

    // The next one ends as if nothing had been.
    if (next) {
        run.ears.heard.clear();
        run.port->receive(dialogue.type == SerialPortJobType::JobReadModel
                              ? latin1("date\r\n2017-11-13T10:20:30\r\n$ ")
                              : latin1("Model: KVT 301\r\nSerial:"));
        QCOMPARE(run.count(latin1("queue: jobFinished")), 1);
        QCOMPARE(run.ears.heard.last(), allJobsDone);
        QVERIFY(run.queue.currentJob().isNull());
    }
}

void TestSerialPortJobDrops::isGoneWhenTheCallReturns()
{
    QFETCH(int, index);
    QFETCH(bool, silent);
    const JobDialogue dialogue = allDialogues().at(index);
    const bool lives = silent && dialogue.restarts;
    for (const bool waiting : {false, true}) {
        const Run run(dialogue, {Drop::None, silent, waiting, -1});
        QVERIFY(run.aliveInside);
        QCOMPARE(run.goneOnReturn, !lives);
        QCOMPARE(run.destroyed, lives ? 0 : 1);
    }
}

void TestSerialPortJobDrops::badDateIsGoneWhenItWasAdded()
{
    const auto port = QSharedPointer<FakeSerialPort>::create();
    JobEars ears;
    SerialPortQueue queue(nullptr);
    queue.setSerialPort(port);
    ears.listenTo(&queue);
    JobPointer job(new SerialPortJobSetDate(port.data(), QDateTime()));
    const QWeakPointer<SerialPortJobInterface> watch = job;
    bool aliveInside = false;
    ears.reaction = [&](int) { aliveInside = !watch.isNull(); };
    queue.addJob(std::exchange(job, {}));
    QVERIFY(aliveInside);
    QVERIFY(watch.isNull());
    QVERIFY(queue.currentJob().isNull());
    QVERIFY(port->sent.isEmpty());
    QCOMPARE(ears.heard,
             QStringList(latin1("queue: error Set device clock failed: Unable to set time, "
                                "invalid timestamp given: ")));
}

void TestSerialPortJobDrops::badDateLeavesTheJobsThatItsListenerAdds()
{
    const auto port = QSharedPointer<FakeSerialPort>::create();
    JobEars ears;
    SerialPortQueue queue(nullptr);
    queue.setSerialPort(port);
    ears.listenTo(&queue);
    ears.reaction = [&](int before) {
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

void TestSerialPortJobDrops::badDatesInARowAreAllReported()
{
    const auto port = QSharedPointer<FakeSerialPort>::create();
    JobEars ears;
    SerialPortQueue queue(nullptr);
    queue.setSerialPort(port);
    ears.listenTo(&queue);
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
    QCOMPARE(ears.heard.filter(latin1("queue: error Set device clock failed: ")).size(), 3);
    QVERIFY(!ears.heard.contains(allJobsDone));
    for (const auto &watch : qAsConst(watches)) {
        QVERIFY(watch.isNull());
    }
    port->receive(latin1("date\r\n2017-11-13T10:20:30\r\n$ "));
    QCOMPARE(ears.heard.last(), allJobsDone);
}

// Kept: a job that waits behind one which a listener has just started is taken out, and lost.
void TestSerialPortJobDrops::runsOneJobOfTwoThatAreAddedWhenAllIsDone()
{
    const auto port = QSharedPointer<FakeSerialPort>::create();
    JobEars ears;
    SerialPortQueue queue(nullptr);
    queue.setSerialPort(port);
    ears.listenTo(&queue);
    ears.reaction = [&](int before) {
        if (ears.heard.at(before) == allJobsDone) {
            queue.addJob(JobPointer(new SerialPortJobReadDate(port.data())));
            queue.addJob(JobPointer(new SerialPortJobReadModel(port.data())));
        }
    };
    queue.addJob(JobPointer(new SerialPortJobReadModel(port.data())));
    QTest::ignoreMessage(QtWarningMsg, "Unable to start job");
    port->receive(latin1("Model: KVT 301\r\nSerial:"));
    ears.reaction = nullptr;
    QCOMPARE(port->sent, QByteArrayList({"\r\nshow unit\r\n", "\r\ndate\r\n"}));
    QCOMPARE(queue.currentJob()->type(), SerialPortJobType::JobReadDate);
    QVERIFY(queue.currentJob()->isRunning());
    QVERIFY(queue.jobs().isEmpty());
}

KV_TEST_CORE_MAIN(TestSerialPortJobDrops)
#include "tst_serialportjobdrops.moc"
