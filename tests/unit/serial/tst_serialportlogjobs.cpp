// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreadlog.h"
#include "serial/serialportjobreadlogvalue.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/testmain.h"
#include "tests/unit/serial/jobdialoguetest.h"

namespace {

const char rowCommand[] = "\r\nlog --read=1\r\n";

QString goodRow()
{
    return rowReply(1, latin1("00001"), latin1("2017-11-13T10:20:30,400.5"));
}

// A flipped bit in the checksum of the text's last line.
QString spoiled(QString text)
{
    const int last = text.size() - 1;
    bool ok = false;
    const int digit = text.mid(last).toInt(&ok, 16);
    text.replace(last, 1, QString::number(digit ^ 1, 16));
    return text;
}

} // namespace

class TestSerialPortLogJobs : public JobDialogueTest
{
    Q_OBJECT

public:
    TestSerialPortLogJobs()
        : JobDialogueTest(logDialogues())
    {
    }

private slots:
    void cleanup()
    {
        m_queue.reset();
        m_recorder.log.clear();
    }

    void reportsACountOf_data()
    {
        QTest::addColumn<QString>("count");
        QTest::addRow("none") << latin1("0");
        QTest::addRow("one") << latin1("1");
        QTest::addRow("many") << latin1("65535");
    }

    void reportsACountOf()
    {
        QFETCH(QString, count);
        FakeSerialPort port;
        SignalRecorder recorder;
        SerialPortJobReadLog job(&port);
        recorder.record(&job);
        job.start();
        port.receive(latin1("$ log --count\r\ncount=%1\r\n$ ").arg(count));
        QCOMPARE(recorder.log,
                 QStringList({latin1("valueRead 1 bool true"), latin1("valueRead 2 int ") + count,
                              latin1("finished")}));
    }

    void waitsForTheRestOf_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("reply");

        const QString record = latin1("2017-11-13T10:20:30,400.5");
        QTest::addRow("a row of another number") << 1 << rowReply(12, latin1("00012"), record);
        QTest::addRow("a row with another number in it")
            << 1 << rowReply(1, latin1("00012"), record);
        QTest::addRow("a row whose number starts alike")
            << 12 << rowReply(1, latin1("00001"), record);
        QTest::addRow("a value that is no number")
            << 1 << rowReply(1, latin1("00001"), latin1("2017-11-13T10:20:30,400.5,x"));
        QTest::addRow("an empty value")
            << 1 << rowReply(1, latin1("00001"), latin1("2017-11-13T10:20:30,400.5,"));
        QTest::addRow("a malformed record with a wrong checksum")
            << 1 << spoiled(rowReply(1, latin1("00001"), latin1("2017-11-13T10:20:30,x")));
        QTest::addRow("a checksum that is no number")
            << 1 << rowReply(1, latin1("00001"), record).chopped(2) + latin1("zz");
        QTest::addRow("half a checksum") << 1 << goodRow().chopped(1);
        QTest::addRow("titles in place of a row") << 1 << titlesReply(latin1("TIME,CO2"));
        QTest::addRow("a row in place of the titles") << 0 << goodRow();
        QTest::addRow("titles without a prompt in front")
            << 0 << titlesReply(latin1("TIME,CO2")).remove(QLatin1Char('$'));
        QTest::addRow("titles with another number of digits")
            << 0 << titlesReply(latin1("TIME,CO2")).replace(latin1("00000="), latin1("0="));
    }

    void waitsForTheRestOf()
    {
        QFETCH(int, index);
        QFETCH(QString, reply);
        start(index);
        m_port->receive(reply + latin1("\r\n$ "));
        QVERIFY(m_recorder.log.isEmpty());
        QCOMPARE(m_port->sent.size(), 1);
        QVERIFY(m_queue->currentJob()->isRunning());

        expire(m_queue->currentJob().data());
        QCOMPARE(m_port->sent.size(), 2);
        QCOMPARE(m_recorder.log, QStringList(latin1("timedOut")));
    }

    void sendsAgainOnAWrongChecksum_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("reply");
        QTest::addRow("row") << 1 << spoiled(goodRow());
        QTest::addRow("titles") << 0 << spoiled(titlesReply(latin1("TIME,CO2")));
        QTest::addRow("a byte beyond ASCII")
            << 0 << titlesReply(latin1("TIME,\xb5g")).chopped(2) + latin1("00");
    }

    void sendsAgainOnAWrongChecksum()
    {
        QFETCH(int, index);
        QFETCH(QString, reply);
        start(index);
        const JobPointer job = m_queue->currentJob();
        m_port->receive(reply);
        const QByteArray command = "\r\nlog --read=" + QByteArray::number(index) + "\r\n";
        QCOMPARE(m_port->sent, QByteArrayList({command, command}));
        QVERIFY(m_recorder.log.isEmpty());
        QVERIFY(job->isRunning());
        QCOMPARE(m_queue->currentJob(), job);
    }

    void keepsTheBadRowUntilTheTimeOut()
    {
        start(1);
        m_port->receive(spoiled(goodRow()));
        QCOMPARE(m_port->sent.size(), 2);
        // The two rows together are not a valid record.
        m_port->receive(goodRow());
        QVERIFY(m_recorder.log.isEmpty());
        QCOMPARE(m_port->sent.size(), 2);

        expire(m_queue->currentJob().data());
        QCOMPARE(m_port->sent.size(), 3);
        QCOMPARE(m_recorder.log, QStringList(latin1("timedOut")));
        m_port->receive(goodRow());
        QCOMPARE(m_recorder.log.mid(1, 2),
                 QStringList({latin1("logValueRead 1 400.5 2017-11-13T10:20:30Z"),
                              latin1("queue: logValueRead 1 400.5 2017-11-13T10:20:30Z")}));
        QCOMPARE(m_port->sent, QByteArrayList({rowCommand, rowCommand, rowCommand}));
    }

    void parsesABadRowAgainWithEachChunk()
    {
        start(1);
        m_port->receive(spoiled(goodRow()));
        m_port->receive(latin1("\r\n$ "));
        m_port->receive(latin1("\r\n"));
        QCOMPARE(m_port->sent.size(), 4);
        QVERIFY(m_recorder.log.isEmpty());
    }

    void badTitlesInvalidateTheGoodOnesAfterThem()
    {
        start(0);
        const QString good = titlesReply(latin1("TIME,CO2"));
        m_port->receive(spoiled(good));
        for (int sends = 2; sends <= 5; ++sends) {
            QCOMPARE(m_port->sent.size(), sends);
            m_port->receive(good);
        }
        QCOMPARE(m_port->sent.size(), 5);
        QVERIFY(m_recorder.log.isEmpty());
        expire(m_queue->currentJob().data());
        QCOMPARE(m_recorder.log, QStringList(latin1("timedOut")));
        m_port->receive(good);
        QCOMPARE(m_recorder.log.size(), 1);
        QCOMPARE(m_port->sent.size(), 5);
        QVERIFY(!m_queue->currentJob()->isRunning());
    }

    void countsChecksumsAndTimeOutsTogether()
    {
        start(1);
        for (int round = 1; round <= 2; ++round) {
            m_port->receive(spoiled(goodRow()));
            QCOMPARE(m_port->sent.size(), 2 * round);
            expire(m_queue->currentJob().data());
            QCOMPARE(m_port->sent.size(), 2 * round + 1);
        }
        m_port->receive(spoiled(goodRow()));
        QCOMPARE(m_port->sent.size(), 5);
        expire(m_queue->currentJob().data());
        QCOMPARE(m_recorder.log.size(), 3);
        QCOMPARE(m_port->sent.size(), 5);
        QVERIFY(!m_queue->currentJob()->isRunning());
    }

    void endsByItsOwnTimeOutWhenNoRestartIsLeft()
    {
        start(1);
        for (int i = 0; i < 4; ++i) {
            QVERIFY(m_queue->currentJob()->restart());
        }
        QTest::ignoreMessage(QtDebugMsg,
                             "virtual bool SerialPortJob::restart() Job failed after 5 restart "
                             "attempts");
        m_port->receive(spoiled(goodRow()));
        QCOMPARE(m_port->sent.size(), 5);
        QVERIFY(m_queue->currentJob()->isRunning());
        expire(m_queue->currentJob().data());
        QCOMPARE(m_recorder.log, QStringList(latin1("timedOut")));
        QVERIFY(!m_queue->currentJob()->isRunning());
        QCOMPARE(m_port->sent.size(), 5);
    }

private:
    void start(int index)
    {
        m_port.reset(new FakeSerialPort);
        m_queue.reset(new SerialPortQueue(nullptr));
        m_queue->setSerialPort(m_port);
        m_recorder.record(m_queue.data());
        const JobPointer job(new SerialPortJobReadLogValue(m_port.data(), index));
        m_recorder.record(job.data());
        m_queue->addJob(job);
    }

    QSharedPointer<FakeSerialPort> m_port;
    QScopedPointer<SerialPortQueue> m_queue;
    SignalRecorder m_recorder;
};

KV_TEST_CORE_MAIN(TestSerialPortLogJobs)
#include "tst_serialportlogjobs.moc"
