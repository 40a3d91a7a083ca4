// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobconnect.h"
#include "serial/serialportjobreadlog.h"
#include "serial/serialportjobreadlogvalue.h"
#include "serial/serialportjobreadmeasurements.h"
#include "serial/serialportjobreadvalue.h"
#include "serial/serialportjobreboot.h"
#include "serial/serialportjobsetdate.h"
#include "serial/serialportjobsetvalue.h"
#include "serial/serialportjobtransmitfirmwareblock.h"
#include "serial/serialportjobwriteeepromblock.h"
#include "tests/kit/devicereplies.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"
#include "tests/unit/serial/jobhelpers.h"

#include <QtCore/QTimeZone>

static_assert(int(RebootMode::RebootAndWaitForSelftest) == 0
              && int(RebootMode::RebootForFirmwareUpdate) == 1);

namespace {

using Kind = FakeSerialPort::Kind;

const QVector<JobDialogue> &dialogues()
{
    static const QVector<JobDialogue> all = allDialogues();
    return all;
}

// The signals of the job of a dialogue and of its queue, which forwards each result immediately.
QStringList signalsOfJobAndQueue(const JobDialogue &dialogue, bool last)
{
    const QString type = enumeratorName(dialogue.type);
    QStringList report;
    for (const QString &signal : dialogue.expectedSignals) {
        report << signal;
        if (signal.startsWith(latin1("finished"))) {
            report << latin1("queue: jobFinished ") + type;
            if (last && dialogue.type != SerialPortJobType::JobConnect) {
                report << latin1("queue: allJobsDone");
            }
        } else if (signal.startsWith(latin1("failed"))) {
            report << latin1("queue: jobFailed ") + type;
        } else {
            report << latin1("queue: ") + QString(signal).remove(latin1(", running"));
        }
    }
    return report;
}

QString goodTitles() { return logTitlesReply(latin1("TIME,CO2")); }

QString goodRow() { return logRowReply(1, latin1("00001"), latin1("2017-11-13T10:20:30,400.5")); }

// The last digit of a reply with a checksum is changed.
QString withWrongChecksum(const QString &reply)
{
    const int digit = reply.rightRef(1).toInt(nullptr, 16);
    return reply.chopped(1) + QString::number(digit ^ 1, 16);
}

} // namespace

/// The job classes: their dialogues with the device, then cases specific to one class.
class TestSerialPortJobs : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_recorder = SignalRecorder();
        m_port.reset(new FakeSerialPort);
        m_queue.reset(new SerialPortQueue(nullptr));
        m_queue->setSerialPort(m_port);
        m_recorder.record(m_queue.data());
    }

    void sendsItsCommandAndNothingElse_data() { addDialogueRows(); }
    void sendsItsCommandAndNothingElse()
    {
        const JobDialogue dialogue = fetchDialogue();
        const JobPointer job = dialogue.makeJob(m_port.data());
        QCOMPARE(job->type(), dialogue.type);
        QCOMPARE(job->timeout(), dialogue.timeoutMs);
        QCOMPARE(job->canRestart(), dialogue.canRestart);
        QVERIFY(!job->isRunning());
        QVERIFY(m_port->sent.isEmpty());

        job->start();
        QVERIFY(job->isRunning());
        QCOMPARE(m_port->sent, dialogue.command);
        for (int i = 0; i < m_port->sent.size(); ++i) {
            const bool isLine = m_port->sent.at(i).endsWith("\r\n");
            QCOMPARE(m_port->kinds.at(i), isLine ? Kind::Text : Kind::Bytes);
        }
        QCOMPARE(m_port->flushCount, 0);

        QVERIFY(job->restart());
        QCOMPARE(m_port->sent, dialogue.command + dialogue.command);
        QCOMPARE(job->timeout(), dialogue.timeoutMs);
    }

    void recognisesTheReplyHoweverItIsSplit_data() { addDialogueRows(); }
    void recognisesTheReplyHoweverItIsSplit()
    {
        const JobDialogue dialogue = fetchDialogue();
        const QString text = dialogue.reply + dialogue.textAfterReply;
        QVector<QStringList> splits = {{text}, text.split(QString(), Qt::SkipEmptyParts)};
        for (int size = 1; size < text.size(); ++size) {
            splits << QStringList({text.left(size), text.mid(size)});
        }
        for (const QStringList &chunks : qAsConst(splits)) {
            init();
            checkReply(dialogue, chunks);
            if (QTest::currentTestFailed()) {
                qDebug() << chunks;
                return;
            }
        }
    }

    void discardsAnIncompleteReplyWhenItTimesOut_data() { addDialogueRows(); }
    void discardsAnIncompleteReplyWhenItTimesOut()
    {
        const JobDialogue dialogue = fetchDialogue();
        const JobPointer job = recorded(dialogue.makeJob(m_port.data()));
        job->setTimeout(1);
        job->start();
        const int partialLength = dialogue.reply.size() - 1;
        m_port->receive(dialogue.reply.left(partialLength));
        QTRY_COMPARE(m_recorder.log, QStringList(latin1("timedOut")));
        QVERIFY(!job->isRunning());
        m_port->receive(dialogue.reply);
        QCOMPARE(m_recorder.log.size(), 1);

        job->setTimeout(dialogue.timeoutMs);
        QVERIFY(job->restart());
        if (partialLength > 0) { // otherwise the reply has one byte, and this would be all of it
            m_port->receive(dialogue.reply.mid(partialLength));
        }
        QCOMPARE(m_recorder.log.size(), 1);
        m_port->receive(dialogue.reply);
        QCOMPARE(m_recorder.log.mid(1), dialogue.expectedSignals);
        QCOMPARE(m_port->sent, dialogue.command + dialogue.command + dialogue.sentAfterReply);
    }

    void keepsWaitingAfterUnexpectedReply_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reply");
        const auto add = [](const char *dialogue, const char *what, const QString &reply) {
            QTest::addRow("%s: %s", dialogue, what) << latin1(dialogue) << reply;
        };
        add("connect", "unknown parameter", latin1("show: Unknown parameter!\r\n$ "));
        add("set value", "rejected value", latin1("set: Unknown parameter!\r\n$ "));
        add("set date", "date without confirmation", latin1("2017-11-13T10:20:30\r\n$ "));
        add("read log titles", "row in place of the titles", goodRow());
        add("read log row", "row with another index", goodRow());
        add("read log row", "non-numeric value",
            logRowReply(12, latin1("00012"), latin1("2017-11-13T10:20:30,400.5,x")));
        add("read eeprom block", "block number with the same prefix",
            eepromBlockReply(10230, latin1("00")));
        add("read eeprom block", "non-hexadecimal digits", eepromBlockReply(1023, latin1("00GG")));
        add("restart", "boot messages without the last line",
            latin1("Reseting device in 5 seconds\r\nPerforming selftest...\r\nAll tests passed.\r\n"
                   "Orvanta KVT 3\r\nCompiled on Nov 13 2017\r\n$ "));
        add("restart for firmware", "boot messages",
            latin1("Performing selftest...All tests passed.Orvanta KVT\r\nCompiled on x\r\n"
                   "Copyright "));
        add("enter bootloader", "line end after the prompt", latin1("\r\nBOOT\r\n"));
        add("block accepted", "'*' and '.' in one chunk", latin1("*."));
        add("block accepted", "leading text", latin1("\n*"));
    }
    void keepsWaitingAfterUnexpectedReply()
    {
        QFETCH(QString, name);
        QFETCH(QString, reply);
        for (const JobDialogue &dialogue : dialogues()) {
            if (latin1(dialogue.name) == name) {
                const JobPointer job = start(dialogue.makeJob(m_port.data()));
                m_port->receive(reply);
                QCOMPARE(m_recorder.log, QStringList());
                QVERIFY(job->isRunning());
                timeOutNow(job.data());
                QCOMPARE(m_port->sent, dialogue.command);
            }
        }
        QCOMPARE(m_recorder.log, QStringList(latin1("timedOut")));
    }

    void reportsBeforeTheQueueContinues_data() { addDialogueRows(); }
    void reportsBeforeTheQueueContinues()
    {
        const JobDialogue dialogue = fetchDialogue();
        const QByteArrayList sent = dialogue.command + dialogue.sentAfterReply;
        for (const bool last : {false, true}) {
            init();
            m_queue->addJob(recorded(dialogue.makeJob(m_port.data())));
            const JobPointer next = nextJobAfter(dialogue.type, m_port.data());
            if (!last) {
                m_queue->addJob(next);
            }
            QCOMPARE(m_port->sent, dialogue.command);
            m_recorder.onSignal = [&](int) {
                QCOMPARE(m_port->sent, sent);
                QVERIFY(!next->isRunning());
            };
            m_port->receive(dialogue.reply);
            m_recorder.onSignal = nullptr;
            QCOMPARE(m_recorder.log, signalsOfJobAndQueue(dialogue, last));
            if (!last) {
                QCOMPARE(m_port->sent, sent + QByteArrayList{nextJobCommand(dialogue.type)});
                QCOMPARE(m_queue->currentJob(), next);
                QVERIFY(next->isRunning());
                continue;
            }
            QVERIFY(m_queue->currentJob().isNull());
            // Later text is ignored.
            m_port->receive(dialogue.textAfterReply);
            m_port->receive(dialogue.reply);
            QCOMPARE(m_recorder.log, signalsOfJobAndQueue(dialogue, last));
            QCOMPARE(m_port->sent, sent);
        }
    }

    void connectsAsSoonAsThePromptFollowsTheVersion()
    {
        const JobPointer job = start(make<SerialPortJobConnect>());
        m_port->receive(latin1("All tests passed.\r\nOrvanta KVT 3 $\r\nCopyright 2017\r\n$ \r\n"));
        m_port->receive(latin1("$ show swver\r\nshow: swver=1.2.3\r\n"));
        QCOMPARE(m_recorder.log, QStringList());
        m_port->receive(latin1("$"));
        QCOMPARE(m_recorder.log, QStringList(latin1("finished")));
    }

    void nextJobIgnoresRestOfModelReply()
    {
        m_queue->addJob(make<SerialPortJobReadModel>());
        m_queue->addJob(make<SerialPortJobReadValue>(latin1("swver")));
        m_port->receive(latin1("\r\n$ show unit\r\nModel: KVT 301\r\nSerial: 12"));
        m_port->receive(latin1("34\r\n$ "));
        m_port->receive(latin1("\r\n$ show swver\r\nshow: swver=1.2.3\r\n$ "));
        QCOMPARE(
            m_recorder.log,
            QStringList({latin1("queue: valueRead ValueDeviceModel QString KVT 301"),
                         latin1("queue: jobFinished JobReadModel"),
                         latin1("queue: dataRead swver=1.2.3"),
                         latin1("queue: jobFinished JobReadValue"), latin1("queue: allJobsDone")}));
    }

    void sendsNamesAndValuesUnchanged()
    {
        start(make<SerialPortJobReadValue>(latin1("a%1.*")));
        start(make<SerialPortJobSetValue>(latin1("a%2"), latin1(" 50 %1 = ")));
        QCOMPARE(m_port->sent, QByteArrayList({"\r\nshow a%1.*\r\n", "\r\nset a%2= 50 %1 = \r\n"}));
    }

    void timestampsMeasurementsWithCurrentUtcTime()
    {
        const TimeZoneScope zone("Asia/Tokyo");
        const JobPointer job = start(make<SerialPortJobReadMeasurements>());
        QDateTime stamp;
        connect(job.data(), &SerialPortJobInterface::measurementsRead, this,
                [&stamp](const QDateTime &timestamp) { stamp = timestamp; });
        const QDateTime before = QDateTime::currentDateTimeUtc();
        m_port->receive(latin1("show: meas=co2=1\r\n$ "));
        const QDateTime after = QDateTime::currentDateTimeUtc();
        QCOMPARE(stamp.timeSpec(), Qt::UTC);
        QVERIFY(before <= stamp && stamp <= after);
    }

    void sendsDateWithoutConversionToUtc()
    {
        const TimeZoneScope zone("Europe/Helsinki");
        const QDate day(2017, 11, 13);
        const QTime time(10, 20, 30, 987);
        start(make<SerialPortJobSetDate>(QDateTime(day, time, Qt::UTC)));
        start(make<SerialPortJobSetDate>(QDateTime(day, time)));
        start(make<SerialPortJobSetDate>(QDateTime(day, time, Qt::OffsetFromUTC, 7200)));
        start(make<SerialPortJobSetDate>(QDateTime(day, time, QTimeZone("Asia/Tokyo"))));
        QCOMPARE(
            m_port->sent,
            QByteArrayList({"\r\ndate 2017-11-13T10:20:30\r\n", "\r\ndate 2017-11-13T10:20:30\r\n",
                            "\r\ndate 2017-11-13T10:20:30+02:00\r\n",
                            "\r\ndate 2017-11-13T10:20:30+09:00\r\n"}));
    }

    void sendsNothingForAnInvalidDate()
    {
        start(make<SerialPortJobSetDate>(QDateTime()));
        QCOMPARE(
            m_recorder.log,
            QStringList(latin1("error Unable to set time, invalid timestamp given: , running")));
        QVERIFY(m_port->sent.isEmpty());
    }

    void reportsAnImpossibleDate()
    {
        const JobPointer readJob = start(make<SerialPortJobReadDate>());
        m_port->receive(latin1("date\r\n2017-13-45T25:00:00\r\n$ "));
        const JobPointer setJob = start(make<SerialPortJobSetDate>(QDateTime::currentDateTime()));
        m_port->receive(latin1("Date updated to 2017-13-45T25:00:00\r\n"));
        QCOMPARE(
            m_recorder.log,
            QStringList({latin1("valueRead ValueDeviceDate QDateTime "), latin1("finished"),
                         latin1("actionFinished ActionSetDate QDateTime "), latin1("finished")}));
    }

    void reportsAnEmptyLog()
    {
        const JobPointer job = start(make<SerialPortJobReadLog>());
        m_port->receive(latin1("$ log --count\r\ncount=0\r\n$ "));
        QCOMPARE(m_recorder.log,
                 QStringList({latin1("valueRead ValueLogOption bool true"),
                              latin1("valueRead ValueLogCount int 0"), latin1("finished")}));
    }

    void resendsOnChecksumError_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("reply");
        QTest::addRow("row") << 1 << withWrongChecksum(goodRow());
        QTest::addRow("titles") << 0 << withWrongChecksum(goodTitles());
    }
    void resendsOnChecksumError()
    {
        QFETCH(int, index);
        QFETCH(QString, reply);
        const JobPointer job = addLogJob(index);
        m_port->receive(reply);
        const QByteArray command = "\r\nlog --read=" + QByteArray::number(index) + "\r\n";
        QCOMPARE(m_port->sent, QByteArrayList({command, command}));
        QCOMPARE(m_recorder.log, QStringList());
        QVERIFY(job->isRunning());
        QCOMPARE(m_queue->currentJob(), job);
    }

    void keepsADamagedRowUntilTheTimeout()
    {
        const JobPointer job = addLogJob(1);
        m_port->receive(withWrongChecksum(goodRow()));
        // The two rows together are not a valid record.
        m_port->receive(goodRow());
        QCOMPARE(m_port->sent.size(), 2);
        QCOMPARE(m_recorder.log, QStringList());

        timeOutNow(job.data());
        QCOMPARE(m_port->sent.size(), 3);
        m_port->receive(goodRow());
        QCOMPARE(
            m_recorder.log.mid(0, 2),
            QStringList({latin1("timedOut"), latin1("logValueRead 1 400.5 2017-11-13T10:20:30Z")}));
    }

    void damagedTitlesInvalidateTheResentOnes()
    {
        const JobPointer job = addLogJob(0);
        m_port->receive(withWrongChecksum(goodTitles()));
        for (int sendCount = 2; sendCount <= 5; ++sendCount) {
            QCOMPARE(m_port->sent.size(), sendCount);
            m_port->receive(goodTitles());
        }
        // No restart is left: the job fails at its time-out.
        QCOMPARE(m_port->sent.size(), 5);
        QVERIFY(job->isRunning());
        QCOMPARE(m_recorder.log, QStringList());
        timeOutNow(job.data());
        m_port->receive(goodTitles());
        QCOMPARE(m_recorder.log, QStringList(latin1("timedOut")));
        QCOMPARE(m_port->sent.size(), 5);
        QVERIFY(!job->isRunning());
    }

    void checksumErrorsAndTimeoutsShareRestartLimit()
    {
        const JobPointer job = addLogJob(1);
        for (const int sendCount : {2, 4}) {
            m_port->receive(withWrongChecksum(goodRow()));
            QCOMPARE(m_port->sent.size(), sendCount);
            timeOutNow(job.data());
            QCOMPARE(m_port->sent.size(), sendCount + 1);
        }
        m_port->receive(withWrongChecksum(goodRow()));
        timeOutNow(job.data());
        QCOMPARE(m_port->sent.size(), 5);
        QCOMPARE(m_recorder.log.size(), 3);
        QVERIFY(!job->isRunning());
    }

    void writesBlocksOfAnySize()
    {
        for (const QByteArray &data :
             {QByteArray(""), QByteArray(1, '\0'), consecutiveBytes(192), QByteArray(65, '\r')}) {
            init();
            start(make<SerialPortJobWriteEepromBlock>(quint16(70), data, 3));
            QCOMPARE(m_port->sent, QByteArrayList({"\r\neeprom --write_block 70\r\n", data}));
            QCOMPARE(m_port->kinds, QVector<Kind>({Kind::Text, Kind::Bytes}));
        }
    }

    void ignoresAnUnknownRestartMode()
    {
        const JobPointer job = start(make<SerialPortJobReboot>(static_cast<RebootMode>(2)));
        for (const JobDialogue &dialogue : dialogues()) {
            m_port->receive(dialogue.reply);
        }
        QCOMPARE(m_recorder.log, QStringList());
        QCOMPARE(m_port->sent, QByteArrayList({"reboot --really\r\n"}));
    }

    void sendsACompleteImage_data()
    {
        QTest::addColumn<QString>("lastReply");
        QTest::addColumn<QString>("lastReport");
        const QString imageComplete =
            latin1("queue: actionFinished ActionFirmwareTransmitted int 100");
        const QString blockAccepted =
            latin1("queue: actionFinished ActionFirmwareBlockTransmitted double 100");
        QTest::addRow("image complete") << latin1(".") << imageComplete;
        // No job waits for the '.' that the device then sends.
        QTest::addRow("block accepted") << latin1("*") << blockAccepted;
    }
    void sendsACompleteImage()
    {
        QFETCH(QString, lastReply);
        QFETCH(QString, lastReport);
        const QByteArray first("*!.BOOT\0\r\n\x11\x13\xff***", 16);
        m_queue->addJob(make<SerialPortJobTransmitFirmwareBlock>(first, 94.125));
        m_queue->addJob(make<SerialPortJobTransmitFirmwareBlock>(QByteArray("\xff"), 100.0));
        QCOMPARE(m_port->sent, QByteArrayList({first}));
        m_port->receive(latin1("*"));
        QCOMPARE(m_port->sent, QByteArrayList({first, "\xff"}));
        m_port->receive(lastReply);
        m_port->receive(latin1("."));
        QCOMPARE(m_recorder.log,
                 QStringList(
                     {latin1("queue: actionFinished ActionFirmwareBlockTransmitted double 94.125"),
                      latin1("queue: jobFinished JobTransmitFirmwareBlock"), lastReport,
                      latin1("queue: jobFinished JobTransmitFirmwareBlock"),
                      latin1("queue: allJobsDone")}));
        QCOMPARE(m_port->sent.size(), 2);
    }

    void sendsNoBlockAfterAFailedOne_data()
    {
        QTest::addColumn<bool>("rejected");
        QTest::addRow("rejected") << true;
        QTest::addRow("no reply") << false;
    }
    void sendsNoBlockAfterAFailedOne()
    {
        QFETCH(bool, rejected);
        for (const char *block : {"1", "2", "3"}) {
            m_queue->addJob(make<SerialPortJobTransmitFirmwareBlock>(QByteArray(block), 50.0));
        }
        connect(m_queue.data(), &SerialPortQueue::jobFailed, m_queue.data(),
                [this](SerialPortJobType type) { m_queue->removeJobs(type); });
        m_port->receive(latin1("*"));
        m_recorder.log.clear();
        if (rejected) {
            m_port->receive(latin1("!"));
        } else {
            timeOutNow(m_queue->currentJob().data());
        }
        QCOMPARE(m_recorder.log,
                 QStringList({latin1("queue: jobFailed JobTransmitFirmwareBlock"),
                              latin1("queue: allJobsDone")}));
        QCOMPARE(m_port->sent, QByteArrayList({"1", "2"}));
        QVERIFY(m_queue->currentJob().isNull());
        QVERIFY(m_queue->jobs().isEmpty());
    }

private:
    static void addDialogueRows()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < dialogues().size(); ++i) {
            QTest::addRow("%s", dialogues().at(i).name) << i;
        }
    }

    static JobDialogue fetchDialogue()
    {
        QFETCH(int, index);
        return dialogues().at(index);
    }

    template <typename Job, typename... Arguments>
    JobPointer make(const Arguments &...arguments) const
    {
        return JobPointer(new Job(m_port.data(), arguments...));
    }

    JobPointer recorded(const JobPointer &job)
    {
        m_recorder.record(job.data());
        return job;
    }

    // Starts a job without the queue.
    JobPointer start(const JobPointer &job)
    {
        recorded(job)->start();
        return job;
    }

    JobPointer addLogJob(int index)
    {
        const JobPointer job = recorded(make<SerialPortJobReadLogValue>(index));
        m_queue->addJob(job);
        return job;
    }

    // The job reports once, with the chunk that completes the reply.
    void checkReply(const JobDialogue &dialogue, const QStringList &chunks)
    {
        const JobPointer job = start(dialogue.makeJob(m_port.data()));
        int received = 0;
        for (const QString &chunk : chunks) {
            const bool complete = received >= dialogue.reply.size();
            QCOMPARE(m_recorder.log, complete ? dialogue.expectedSignals : QStringList());
            if (complete && !dialogue.stopsItself) {
                job->stop(); // as the queue would
            }
            m_port->receive(chunk);
            received += chunk.size();
        }
        QCOMPARE(m_recorder.log, dialogue.expectedSignals);
        QVERIFY(!dialogue.stopsItself || !job->isRunning());
        QCOMPARE(m_port->sent, dialogue.command + dialogue.sentAfterReply);
        QVERIFY(dialogue.sentAfterReply.isEmpty() || m_port->kinds.last() == Kind::Text);
    }

    SignalRecorder m_recorder;
    QSharedPointer<FakeSerialPort> m_port;
    QScopedPointer<SerialPortQueue> m_queue;
};

KV_TEST_CORE_MAIN(TestSerialPortJobs)
#include "tst_serialportjobs.moc"
