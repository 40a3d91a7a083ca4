// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjobreaddate.h"
#include "serial/serialportjobreadmodel.h"
#include "serial/serialportqueue.h"
#include "tests/kit/fakeserialport.h"
#include "tests/kit/jobdialogue.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/signalrecorder.h"

#include <QtTest/QtTest>

/// A job of another type, and what it sends.
inline JobPointer successorOf(SerialPortJobType type, SerialPortInterface *port)
{
    if (type == SerialPortJobType::JobReadModel) {
        return JobPointer(new SerialPortJobReadDate(port));
    }
    return JobPointer(new SerialPortJobReadModel(port));
}

inline QByteArray successorsCommand(SerialPortJobType type)
{
    return type == SerialPortJobType::JobReadModel ? "\r\ndate\r\n" : "\r\nshow unit\r\n";
}

/// Makes the job time out now.
inline void expire(SerialPortJobInterface *job)
{
    QVERIFY(QMetaObject::invokeMethod(job, "onTimeOut", Qt::DirectConnection));
}

/// The signals of a dialogue's job and of its queue, which relays each result at once.
inline QStringList reportThroughQueue(const JobDialogue &dialogue, bool last)
{
    const QString number = QString::number(static_cast<int>(dialogue.type));
    QStringList report;
    for (const QString &signal : dialogue.report) {
        report << signal;
        if (signal.startsWith(latin1("finished"))) {
            report << latin1("queue: jobFinished ") + number;
            if (last && dialogue.type != SerialPortJobType::JobConnect) {
                report << latin1("queue: allJobsDone");
            }
        } else if (signal.startsWith(latin1("failed"))) {
            report << latin1("queue: jobFailed ") + number;
        } else {
            report << latin1("queue: ") + QString(signal).remove(latin1(", running"));
        }
    }
    return report;
}

/// Tests for every job class, run on the dialogues of one group.
class JobDialogueTest : public QObject
{
    Q_OBJECT

protected:
    explicit JobDialogueTest(const QVector<JobDialogue> &dialogues)
        : m_dialogues(dialogues)
    {
    }

private slots:
    void sendsItsCommandAndNothingElse_data() { addRows(); }
    void sendsItsCommandAndNothingElse()
    {
        const JobDialogue dialogue = row();
        FakeSerialPort port;
        const JobPointer job = dialogue.make(&port);
        QCOMPARE(static_cast<int>(job->type()), static_cast<int>(dialogue.type));
        QCOMPARE(job->timeout(), dialogue.timeoutMs);
        QCOMPARE(job->canRestart(), dialogue.restarts);
        QVERIFY(!job->isRunning());
        QVERIFY(port.sent.isEmpty());

        job->start();
        QVERIFY(job->isRunning());
        QCOMPARE(port.sent, dialogue.command);
        for (int i = 0; i < port.kinds.size(); ++i) {
            const bool raw = i >= port.kinds.size() - dialogue.rawWrites;
            QCOMPARE(port.kinds.at(i) == FakeSerialPort::Kind::Bytes, raw);
        }
        QCOMPARE(port.flushes, 0);
    }

    void sendsTheSameOnARestart_data() { addRows(); }
    void sendsTheSameOnARestart()
    {
        const JobDialogue dialogue = row();
        FakeSerialPort port;
        const JobPointer job = dialogue.make(&port);
        job->start();
        QVERIFY(job->restart());
        QCOMPARE(port.sent, dialogue.command + dialogue.command);
        QCOMPARE(job->timeout(), dialogue.timeoutMs);
    }

    void recognisesTheWholeReply_data() { addRows(); }
    void recognisesTheWholeReply()
    {
        const JobDialogue dialogue = row();
        checkReply(dialogue, {dialogue.reply + dialogue.rest});
    }

    void recognisesTheReplyInTwoChunks_data() { addRows(); }
    void recognisesTheReplyInTwoChunks()
    {
        const JobDialogue dialogue = row();
        const QString text = dialogue.reply + dialogue.rest;
        for (int size = 1; size < text.size(); ++size) {
            checkReply(dialogue, {text.left(size), text.mid(size)});
            if (QTest::currentTestFailed()) {
                qDebug() << "split after" << text.left(size);
                return;
            }
        }
    }

    void recognisesTheReplyInSingleCharacters_data() { addRows(); }
    void recognisesTheReplyInSingleCharacters()
    {
        const JobDialogue dialogue = row();
        const QString text = dialogue.reply + dialogue.rest;
        checkReply(dialogue, text.split(QString(), Qt::SkipEmptyParts));
    }

    void discardsAnIncompleteReplyWhenItTimesOut_data() { addRows(); }
    void discardsAnIncompleteReplyWhenItTimesOut()
    {
        const JobDialogue dialogue = row();
        FakeSerialPort port;
        SignalRecorder recorder;
        const JobPointer job = dialogue.make(&port);
        recorder.record(job.data());
        job->setTimeout(1);
        job->start();
        const int most = dialogue.reply.size() - 1;
        port.receive(dialogue.reply.left(most));
        QTRY_COMPARE(recorder.log, QStringList(latin1("timedOut")));
        QVERIFY(!job->isRunning());
        port.receive(dialogue.reply);
        job->setTimeout(dialogue.timeoutMs);
        QVERIFY(job->restart());
        if (most > 0) {
            port.receive(dialogue.reply.mid(most));
        }
        QCOMPARE(recorder.log.size(), 1);
        QCOMPARE(port.sent, dialogue.command + dialogue.command);
    }

    void reportsBeforeItsSuccessorStarts_data() { addRows(); }
    void reportsBeforeItsSuccessorStarts()
    {
        const JobDialogue dialogue = row();
        const auto port = QSharedPointer<FakeSerialPort>::create();
        SerialPortQueue queue(nullptr);
        queue.setSerialPort(port);
        SignalRecorder recorder;
        recorder.record(&queue);
        JobPointer job = dialogue.make(port.data());
        recorder.record(job.data());
        queue.addJob(job);
        job.clear();
        const JobPointer successor = successorOf(dialogue.type, port.data());
        queue.addJob(successor);
        QCOMPARE(port->sent, dialogue.command);

        const QByteArrayList before = dialogue.command + dialogue.answer;
        recorder.onSignal = [&](int) {
            QCOMPARE(port->sent, before);
            QVERIFY(!successor->isRunning());
        };
        port->receive(dialogue.reply);
        QCOMPARE(recorder.log, reportThroughQueue(dialogue, false));
        QCOMPARE(port->sent, before + QByteArrayList{successorsCommand(dialogue.type)});
        QCOMPARE(queue.currentJob(), successor);
        QVERIFY(successor->isRunning());
        recorder.onSignal = nullptr;
    }

    void reportsBeforeTheQueueIsDone_data() { addRows(); }
    void reportsBeforeTheQueueIsDone()
    {
        const JobDialogue dialogue = row();
        const auto port = QSharedPointer<FakeSerialPort>::create();
        SerialPortQueue queue(nullptr);
        queue.setSerialPort(port);
        SignalRecorder recorder;
        recorder.record(&queue);
        JobPointer job = dialogue.make(port.data());
        recorder.record(job.data());
        queue.addJob(job);
        job.clear();
        port->receive(dialogue.reply);
        QCOMPARE(recorder.log, reportThroughQueue(dialogue, true));
        QVERIFY(queue.currentJob().isNull());

        // Later text is ignored.
        port->receive(dialogue.rest);
        port->receive(dialogue.reply);
        QCOMPARE(recorder.log, reportThroughQueue(dialogue, true));
        QCOMPARE(port->sent, dialogue.command + dialogue.answer);
    }

private:
    void addRows() const
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < m_dialogues.size(); ++i) {
            QTest::newRow(m_dialogues.at(i).name) << i;
        }
    }

    JobDialogue row() const
    {
        QFETCH(int, index);
        return m_dialogues.at(index);
    }

    // The job reports once, with the chunk that completes the reply.
    static void checkReply(const JobDialogue &dialogue, const QStringList &chunks)
    {
        FakeSerialPort port;
        SignalRecorder recorder;
        const JobPointer job = dialogue.make(&port);
        recorder.record(job.data());
        job->start();
        int received = 0;
        for (const QString &chunk : chunks) {
            const bool complete = received >= dialogue.reply.size();
            QCOMPARE(recorder.log, complete ? dialogue.report : QStringList());
            if (complete && !dialogue.stopsItself) {
                job->stop(); // as the queue would
            }
            port.receive(chunk);
            received += chunk.size();
        }
        QCOMPARE(recorder.log, dialogue.report);
        QVERIFY(!dialogue.stopsItself || !job->isRunning());
        QCOMPARE(port.sent, dialogue.command + dialogue.answer);
    }

    QVector<JobDialogue> m_dialogues;
};
