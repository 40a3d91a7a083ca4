// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/serial/jobdialoguetest.h"

#include <QtCore/QPointer>
#include <QtTest/QtTest>
#include <utility>

namespace {

constexpr int mostSends = 5;

enum class Drop { Clear, RemoveJobs, Close, AnotherPort };

struct NamedDrop
{
    Drop drop;
    const char *name;
};

constexpr NamedDrop drops[] = {{Drop::Clear, "clear"},
                               {Drop::RemoveJobs, "removeJobs"},
                               {Drop::Close, "close"},
                               {Drop::AnotherPort, "another port"}};

// The kind of a signal, without what it carries or whether the job still ran.
QStringList kindsOf(const QStringList &heard)
{
    QStringList kinds;
    for (const QString &signal : heard) {
        kinds << signal.section(QLatin1Char(' '), 0, 0).remove(QLatin1Char(','));
    }
    return kinds;
}

// Makes the queue let go of its current job, which is of that type. Returns the port that it has
// been given in place of its own, if it has.
QSharedPointer<FakeSerialPort> dropFrom(SerialPortQueue &queue, SerialPortJobType type, Drop how)
{
    switch (how) {
    case Drop::Clear:
        queue.clear();
        break;
    case Drop::RemoveJobs:
        queue.removeJobs(type);
        break;
    case Drop::Close:
        queue.close();
        break;
    case Drop::AnotherPort: {
        const QSharedPointer<FakeSerialPort> port(new FakeSerialPort);
        queue.setSerialPort(port);
        return port;
    }
    }
    return {};
}

// A real queue in which a dialogue's job runs and another job waits, held by the queue alone.
class Scene
{
public:
    explicit Scene(const JobDialogue &dialogue)
        : type(dialogue.type)
        , m_port(new FakeSerialPort)
        , port(m_port.data())
        , queue(nullptr)
    {
        queue.setSerialPort(m_port);
        m_port.clear();

        JobPointer job = dialogue.make(port);
        watch = job;
        QObject::connect(job.data(), &QObject::destroyed, &queue, [this] { ++destroyed; });
        ears.listenTo(job.data()); // hears each signal before the queue does
        queue.addJob(job);
        job.clear();
        const JobPointer next = successorOf(type, port);
        successor = next;
        queue.addJob(next);
    }

    void drop(Drop how) { newPort = dropFrom(queue, type, how); }

    bool successorStarted() const
    {
        const auto job = successor.toStrongRef();
        return job && job->isRunning();
    }

    SerialPortJobType type;

private:
    QSharedPointer<FakeSerialPort> m_port;

public:
    QPointer<FakeSerialPort> port; // the queue holds the only share of it
    JobEars ears;
    QSharedPointer<FakeSerialPort> newPort;
    int destroyed = 0;
    QWeakPointer<SerialPortJobInterface> watch;
    QWeakPointer<SerialPortJobInterface> successor;
    SerialPortQueue queue;
};

void addDropRows()
{
    QTest::addColumn<int>("dialogue");
    QTest::addColumn<int>("signal");
    QTest::addColumn<int>("how");
    const QVector<JobDialogue> dialogues = allDialogues();
    for (int index = 0; index < dialogues.size(); ++index) {
        const JobDialogue &dialogue = dialogues.at(index);
        for (int signal = 0; signal < dialogue.report.size(); ++signal) {
            for (const NamedDrop &named : drops) {
                const QByteArray kind = kindsOf(dialogue.report).at(signal).toLatin1();
                QTest::addRow("%s: %s in %s", dialogue.name, named.name, kind.constData())
                    << index << signal << static_cast<int>(named.drop);
            }
        }
    }
}

} // namespace

class TestSerialPortLifetime : public QObject
{
    Q_OBJECT

private slots:
    void releasesAFinishedJobAtOnce_data();
    void releasesAFinishedJobAtOnce();
    void survivesADropInside_data();
    void survivesADropInside();
    void survivesADropBehindTheQueuesBack_data();
    void survivesADropBehindTheQueuesBack();
    void survivesADropInItsTimeout_data();
    void survivesADropInItsTimeout();
    void survivesADropInsideStart_data();
    void survivesADropInsideStart();
    void staysSilentAfterTheFifthTimeout_data();
    void staysSilentAfterTheFifthTimeout();
    void neverSendsABlockAgain();
    void endsAMemoryBackupThatCancelsItself_data();
    void endsAMemoryBackupThatCancelsItself();
};

void TestSerialPortLifetime::releasesAFinishedJobAtOnce_data()
{
    QTest::addColumn<int>("dialogue");
    const QVector<JobDialogue> dialogues = allDialogues();
    for (int index = 0; index < dialogues.size(); ++index) {
        QTest::addRow("%s", dialogues.at(index).name) << index;
    }
}

void TestSerialPortLifetime::releasesAFinishedJobAtOnce()
{
    QFETCH(int, dialogue);

    const JobDialogue words = allDialogues().at(dialogue);
    Scene scene(words);
    scene.port->receive(words.reply);
    QVERIFY(scene.watch.isNull());
    QCOMPARE(scene.destroyed, 1);
    QCOMPARE(scene.ears.heard, words.report);
    QVERIFY(scene.successorStarted());
}

void TestSerialPortLifetime::survivesADropInside_data()
{
    addDropRows();
}

void TestSerialPortLifetime::survivesADropInside()
{
    QFETCH(int, dialogue);
    QFETCH(int, signal);
    QFETCH(int, how);

    const JobDialogue words = allDialogues().at(dialogue);
    const auto drop = static_cast<Drop>(how);
    Scene scene(words);
    bool aliveInside = false;
    scene.ears.reaction = [&](int before) {
        if (before == signal) {
            scene.drop(drop);
            aliveInside = !scene.watch.isNull();
        }
    };
    scene.port->receive(words.reply);

    // It said all that it had to say, and was gone when the port's call returned.
    QVERIFY(aliveInside);
    QCOMPARE(kindsOf(scene.ears.heard), kindsOf(words.report));
    QVERIFY(scene.watch.isNull());
    QCOMPARE(scene.destroyed, 1);

    // Only the removal goes on to the job that waits, and starts it once.
    const bool goesOn = drop == Drop::RemoveJobs;
    QCOMPARE(scene.successorStarted(), goesOn);
    QCOMPARE(!scene.successor.isNull(), goesOn);
    QCOMPARE(scene.queue.currentJob().isNull(), !goesOn);
    QVERIFY(scene.queue.jobs().isEmpty());
    QCOMPARE(scene.port.isNull(), drop == Drop::AnotherPort);
    if (scene.port) {
        const QByteArrayList successor =
            goesOn ? QByteArrayList{successorsCommand(words.type)} : QByteArrayList();
        QCOMPARE(scene.port->sent, words.command + words.answer + successor);
        QCOMPARE(scene.port->closes, drop == Drop::Close ? 1 : 0);
    } else {
        QVERIFY(scene.newPort->sent.isEmpty());
        QCOMPARE(scene.newPort->closes, 0);
    }
}

void TestSerialPortLifetime::survivesADropBehindTheQueuesBack_data()
{
    addDropRows();
}

void TestSerialPortLifetime::survivesADropBehindTheQueuesBack()
{
    QFETCH(int, dialogue);
    QFETCH(int, signal);
    QFETCH(int, how);

    const JobDialogue words = allDialogues().at(dialogue);
    const auto drop = static_cast<Drop>(how);
    Scene scene(words);
    JobEars queueEars;
    queueEars.listenTo(&scene.queue);
    bool dropped = false;
    queueEars.reaction = [&](int before) {
        if (before == signal && !dropped) {
            dropped = true;
            scene.drop(drop);
        }
    };
    scene.port->receive(words.reply);

    QVERIFY(dropped);
    QCOMPARE(kindsOf(scene.ears.heard), kindsOf(words.report));
    QVERIFY(scene.watch.isNull());
    QCOMPARE(scene.destroyed, 1);
    QCOMPARE(scene.successorStarted(), drop == Drop::RemoveJobs);
}

void TestSerialPortLifetime::survivesADropInItsTimeout_data()
{
    QTest::addColumn<int>("dialogue");
    QTest::addColumn<int>("how");
    const QVector<JobDialogue> dialogues = allDialogues();
    for (int index = 0; index < dialogues.size(); ++index) {
        for (const NamedDrop &named : drops) {
            QTest::addRow("%s: %s", dialogues.at(index).name, named.name)
                << index << static_cast<int>(named.drop);
        }
    }
}

void TestSerialPortLifetime::survivesADropInItsTimeout()
{
    QFETCH(int, dialogue);
    QFETCH(int, how);

    const JobDialogue words = allDialogues().at(dialogue);
    const auto drop = static_cast<Drop>(how);
    Scene scene(words);
    bool aliveInside = false;
    scene.ears.reaction = [&](int before) {
        if (before == 0) {
            scene.drop(drop);
            aliveInside = !scene.watch.isNull();
        }
    };
    scene.watch.toStrongRef()->setTimeout(1);
    QTRY_VERIFY(aliveInside);
    QVERIFY(scene.watch.isNull());
    QCOMPARE(scene.destroyed, 1);
    QCOMPARE(scene.ears.heard, QStringList(latin1("timedOut")));
    QCOMPARE(scene.successorStarted(), drop == Drop::RemoveJobs);
}

void TestSerialPortLifetime::survivesADropInsideStart_data()
{
    QTest::addColumn<int>("how");
    QTest::addColumn<bool>("waits");
    for (const NamedDrop &named : drops) {
        QTest::addRow("%s, first in the queue", named.name)
            << static_cast<int>(named.drop) << false;
        QTest::addRow("%s, behind another job", named.name) << static_cast<int>(named.drop) << true;
    }
}

void TestSerialPortLifetime::survivesADropInsideStart()
{
    QFETCH(int, how);
    QFETCH(bool, waits);

    const JobDialogue first = everydayDialogues().first();
    QSharedPointer<FakeSerialPort> port(new FakeSerialPort);
    JobEars ears;
    JobEars queueEars;
    SerialPortQueue queue(nullptr);
    queue.setSerialPort(port);
    queueEars.listenTo(&queue);
    if (waits) {
        queue.addJob(first.make(port.data()));
    }
    // A bad date is an error before start() has returned.
    JobPointer job(new SerialPortJobSetDate(port.data(), QDateTime()));
    const QWeakPointer<SerialPortJobInterface> watch = job;
    ears.listenTo(job.data());
    bool aliveInside = false;
    ears.reaction = [&](int) {
        dropFrom(queue, SerialPortJobType::JobSetDate, static_cast<Drop>(how));
        aliveInside = !watch.isNull();
    };
    queue.addJob(std::exchange(job, {}));
    if (waits) {
        port->receive(first.reply);
    }

    QVERIFY(aliveInside);
    QVERIFY(watch.isNull());
    QVERIFY(queue.currentJob().isNull());
    QCOMPARE(ears.heard,
             QStringList(latin1("error Unable to set time, invalid timestamp given: , running")));
    QCOMPARE(port->sent, waits ? first.command : QByteArrayList());
    // The queue passes over the error of a job that it has let go of.
    QStringList expected;
    if (waits) {
        expected << latin1("queue: jobFinished 0");
    }
    if (static_cast<Drop>(how) == Drop::RemoveJobs) {
        expected << latin1("queue: allJobsDone");
    }
    QCOMPARE(queueEars.heard, expected);
}

void TestSerialPortLifetime::staysSilentAfterTheFifthTimeout_data()
{
    QTest::addColumn<int>("dialogue");
    const QVector<JobDialogue> dialogues = allDialogues();
    for (int index = 0; index < dialogues.size(); ++index) {
        if (dialogues.at(index).restarts) {
            QTest::addRow("%s", dialogues.at(index).name) << index;
        }
    }
}

void TestSerialPortLifetime::staysSilentAfterTheFifthTimeout()
{
    QFETCH(int, dialogue);

    const JobDialogue words = allDialogues().at(dialogue);
    Scene scene(words);
    JobEars queueEars;
    queueEars.listenTo(&scene.queue);
    const JobPointer job = scene.watch.toStrongRef();
    job->setTimeout(1);
    QTRY_COMPARE(scene.ears.heard.size(), mostSends);
    QCOMPARE(kindsOf(scene.ears.heard).count(latin1("timedOut")), mostSends);

    QByteArrayList expected;
    for (int send = 0; send < mostSends; ++send) {
        expected += words.command;
    }
    QCOMPARE(scene.port->sent, expected);
    QVERIFY(!job->isRunning());
    QCOMPARE(scene.queue.currentJob(), job);

    // A reply that comes now reaches nobody, and nothing that is added starts.
    scene.queue.addJob(JobPointer(new SerialPortJobReadValue(scene.port, latin1("late"))));
    scene.port->receive(words.reply);
    QCOMPARE(scene.queue.jobs().size(), 2);
    QCOMPARE(scene.port->sent, expected);
    QCOMPARE(queueEars.heard, QStringList());
    QCOMPARE(scene.ears.heard.size(), mostSends);

    scene.queue.removeJobs(words.type);
    QVERIFY(scene.successorStarted());
}

void TestSerialPortLifetime::neverSendsABlockAgain()
{
    for (const JobDialogue &words : firmwareDialogues()) {
        if (words.restarts) {
            continue;
        }
        Scene scene(words);
        JobEars queueEars;
        queueEars.listenTo(&scene.queue);
        scene.watch.toStrongRef()->setTimeout(1);
        QTRY_VERIFY(scene.watch.isNull());
        QCOMPARE(queueEars.heard, QStringList(latin1("queue: jobFailed 14")));
        QCOMPARE(scene.port->sent.size(), 2);
        QVERIFY(scene.successorStarted());
    }
}

void TestSerialPortLifetime::endsAMemoryBackupThatCancelsItself_data()
{
    QTest::addColumn<bool>("byRemoval");
    QTest::addRow("removeJobs") << true;
    QTest::addRow("clear") << false;
}

// The report of the last block closes a dialog, whose close cancels the backup.
void TestSerialPortLifetime::endsAMemoryBackupThatCancelsItself()
{
    QFETCH(bool, byRemoval);

    using Type = SerialPortJobType;
    QSharedPointer<FakeSerialPort> port(new FakeSerialPort);
    JobEars queueEars;
    SerialPortQueue queue(nullptr);
    queue.setSerialPort(port);
    queueEars.listenTo(&queue);
    bool cancelled = false;
    connect(&queue, &SerialPortQueue::eepromBlockRead, this, [&] {
        if (!queue.hasJob(Type::JobReadEepromBlock)) {
            cancelled = true;
            if (byRemoval) {
                queue.removeJobs(Type::JobReadEepromBlock);
            } else {
                queue.clear();
            }
        }
    });
    QVector<QWeakPointer<SerialPortJobInterface>> watches;
    for (quint16 block = 0; block < 2; ++block) {
        const JobPointer job(new SerialPortJobReadEepromBlock(port.data(), block, 50 * block));
        watches.append(job);
        queue.addJob(job);
    }
    port->receive(eepromReply(0, latin1("00")));
    QVERIFY(!cancelled);
    port->receive(eepromReply(1, latin1("ff")));
    QVERIFY(cancelled);

    QStringList expected = {latin1("queue: eepromBlockRead 0 00"),
                            latin1("queue: actionFinished 10 int 0"),
                            latin1("queue: jobFinished 15"), latin1("queue: eepromBlockRead 1 ff")};
    if (byRemoval) {
        expected << latin1("queue: allJobsDone");
    }
    // The job was still there to say this, but its end was no longer anybody's.
    expected << latin1("queue: actionFinished 10 int 50");
    QCOMPARE(queueEars.heard, expected);
    for (const auto &watch : qAsConst(watches)) {
        QVERIFY(watch.isNull());
    }
    QVERIFY(queue.currentJob().isNull());
}

KV_TEST_CORE_MAIN(TestSerialPortLifetime)
#include "tst_serialportlifetime.moc"
