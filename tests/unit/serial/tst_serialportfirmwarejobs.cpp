// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobreboot.h"
#include "serial/serialportjobtransmitfirmwareblock.h"
#include "serial/serialportjobupdatefirmware.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/testmain.h"
#include "tests/unit/serial/jobdialoguetest.h"

class TestSerialPortFirmwareJobs : public JobDialogueTest
{
    Q_OBJECT

public:
    TestSerialPortFirmwareJobs()
        : JobDialogueTest(firmwareDialogues())
    {
    }

private slots:
    void init()
    {
        m_recorder.log.clear();
        m_port.reset(new FakeSerialPort);
        m_queue.reset(new SerialPortQueue(nullptr));
        m_queue->setSerialPort(m_port);
        m_recorder.record(m_queue.data());
    }

    void restartModesHaveTheirNumbers()
    {
        QCOMPARE(static_cast<int>(RebootMode::RebootAndWaitForSelftest), 0);
        QCOMPARE(static_cast<int>(RebootMode::RebootForFirmwareUpdate), 1);
    }

    void waitsForTheBannersLastLine()
    {
        SerialPortJobReboot job(m_port.data(), RebootMode::RebootAndWaitForSelftest);
        m_recorder.record(&job);
        job.start();
        m_port->receive(latin1("Reseting device in 5 seconds\r\nPerforming selftest...\r\n"));
        m_port->receive(
            latin1("All tests passed.\r\nOrvanta KVT 3\r\nCompiled on Nov 13 2017\r\n"));
        m_port->receive(latin1("$ "));
        QVERIFY(m_recorder.log.isEmpty());
        QVERIFY(job.isRunning());
    }

    void waitsInEachModeForItsOwnText()
    {
        SerialPortJobReboot toBootloader(m_port.data(), RebootMode::RebootForFirmwareUpdate);
        m_recorder.record(&toBootloader);
        toBootloader.start();
        m_port->receive(
            latin1("Performing selftest...All tests passed.Orvanta KVT\r\nCompiled on x\r\n"
                   "Copyright "));
        QVERIFY(m_recorder.log.isEmpty());
        m_port->receive(latin1("Resetting device in 5 seconds"));
        QVERIFY(m_recorder.log.isEmpty());
        m_port->receive(latin1("RESETING DEVICE IN 5 SECONDS"));
        QCOMPARE(m_recorder.log.last(), latin1("finished"));
    }

    void ignoresAnUnknownMode()
    {
        SerialPortJobReboot job(m_port.data(), static_cast<RebootMode>(2));
        m_recorder.record(&job);
        job.start();
        for (const JobDialogue &dialogue : firmwareDialogues()) {
            m_port->receive(dialogue.reply);
        }
        QVERIFY(m_recorder.log.isEmpty());
        QCOMPARE(m_port->sent, QByteArrayList({"reboot --really\r\n"}));
    }

    void recognisesTheBootloaderAtTheEndOfAChunk_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addRow("upper case") << latin1("\r\nBOOT");
        QTest::addRow("lower case") << latin1("\r\nboot");
        QTest::addRow("alone") << latin1("BOOT");
        QTest::addRow("after one that was missed") << latin1("BOOT\r\nBOOT");
    }

    void recognisesTheBootloaderAtTheEndOfAChunk()
    {
        QFETCH(QString, text);
        SerialPortJobUpdateFirmware job(m_port.data());
        m_recorder.record(&job);
        job.start();
        QVERIFY(m_port->sent.isEmpty());
        m_port->receive(text);
        QCOMPARE(m_recorder.log,
                 QStringList({latin1("actionFinished 6 nothing"), latin1("finished")}));
        QCOMPARE(m_port->sent, QByteArrayList({"b"}));
        QCOMPARE(m_port->kinds.first(), FakeSerialPort::Kind::Text);
    }

    void missesTheBootloaderWithTextAfterIt_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addRow("a line end") << latin1("\r\nBOOT\r\n");
        QTest::addRow("a space") << latin1("BOOT ");
        QTest::addRow("a word") << latin1("BOOTLOADER");
    }

    void missesTheBootloaderWithTextAfterIt()
    {
        QFETCH(QString, text);
        SerialPortJobUpdateFirmware job(m_port.data());
        m_recorder.record(&job);
        job.start();
        m_port->receive(text);
        QVERIFY(m_recorder.log.isEmpty());
        QVERIFY(m_port->sent.isEmpty());
        QVERIFY(job.isRunning());
    }

    void recognisesTheBootloaderAgainAfterATimeOut()
    {
        m_queue->addJob(JobPointer(new SerialPortJobUpdateFirmware(m_port.data())));
        m_port->receive(latin1("BO"));
        expire(m_queue->currentJob().data());
        QVERIFY(m_queue->currentJob()->isRunning());
        m_port->receive(latin1("OT"));
        QVERIFY(m_port->sent.isEmpty());
        m_port->receive(latin1("BOOT"));
        QCOMPARE(m_port->sent, QByteArrayList({"b"}));
        QCOMPARE(m_recorder.log.first(), latin1("queue: actionFinished 6 nothing"));
    }

    void sendsAWholeImage()
    {
        const QByteArray first = QByteArray("*!.BOOT\0\r\n\x11\x13\xff***", 16);
        const QByteArray second("\xff");
        addBlock(first, 100.0 * 16 / 17);
        addBlock(second, 100.0);
        QCOMPARE(m_port->sent, QByteArrayList({first}));
        m_port->receive(latin1("*"));
        QCOMPARE(m_port->sent, QByteArrayList({first, second}));
        m_port->receive(latin1("."));
        QCOMPARE(
            m_recorder.log,
            QStringList(
                {latin1("queue: actionFinished 5 double ") + QVariant(100.0 * 16 / 17).toString(),
                 latin1("queue: jobFinished 14"), latin1("queue: actionFinished 7 int 100"),
                 latin1("queue: jobFinished 14"), latin1("queue: allJobsDone")}));
        QCOMPARE(m_port->sent.size(), 2);
    }

    void ignoresTheEndAfterAnAcceptedFinalBlock()
    {
        addBlock("x", 100.0);
        m_port->receive(latin1("*"));
        m_port->receive(latin1("."));
        QCOMPARE(m_recorder.log,
                 QStringList({latin1("queue: actionFinished 5 double 100"),
                              latin1("queue: jobFinished 14"), latin1("queue: allJobsDone")}));
    }

    void takesNoOtherAnswerToABlock_data()
    {
        QTest::addColumn<QStringList>("chunks");
        QTest::addRow("acceptance and end glued") << QStringList(latin1("*."));
        QTest::addRow("two acceptances") << QStringList(latin1("**"));
        QTest::addRow("text in front") << QStringList(latin1(" *"));
        QTest::addRow("text in front, a chunk earlier") << QStringList({latin1("\n"), latin1("*")});
        QTest::addRow("text after a refusal") << QStringList(latin1("!\r"));
        QTest::addRow("text in front of the end") << QStringList({latin1("\r"), latin1(".")});
    }

    void takesNoOtherAnswerToABlock()
    {
        QFETCH(QStringList, chunks);
        addBlock("x", 50.0);
        for (const QString &chunk : chunks) {
            m_port->receive(chunk);
        }
        QVERIFY(m_recorder.log.isEmpty());
        QVERIFY(m_queue->currentJob()->isRunning());
        expire(m_queue->currentJob().data());
        QCOMPARE(m_recorder.log, QStringList(latin1("queue: jobFailed 14")));
        QCOMPARE(m_port->sent, QByteArrayList({"x"}));
    }

    void failsOnceOnARefusedBlock()
    {
        addBlock("x", 50.0);
        m_port->receive(latin1("!"));
        m_port->receive(latin1("!"));
        QCOMPARE(m_recorder.log, QStringList(latin1("queue: jobFailed 14")));
        QCOMPARE(m_port->sent, QByteArrayList({"x"}));
        QVERIFY(m_queue->currentJob().isNull());
    }

    void failsOnceOnASilentBlock()
    {
        addBlock("x", 50.0);
        m_queue->currentJob()->setTimeout(1);
        QSignalSpy jobFailed(m_queue.data(), &SerialPortQueue::jobFailed);
        QTest::ignoreMessage(QtDebugMsg,
                             "void SerialPortQueue::onJobTimedOut() \"Transmit firmware to "
                             "device\" timed out");
        QTest::ignoreMessage(QtDebugMsg,
                             "Job can't be restarted, notifying user and starting next job");
        QVERIFY(jobFailed.wait());
        m_port->receive(latin1("*"));
        QCOMPARE(m_recorder.log, QStringList(latin1("queue: jobFailed 14")));
        QCOMPARE(m_port->sent, QByteArrayList({"x"}));
    }

    void sendsNoBlockAfterAFailedOne_data()
    {
        QTest::addColumn<bool>("refused");
        QTest::addRow("refused") << true;
        QTest::addRow("silent") << false;
    }

    void sendsNoBlockAfterAFailedOne()
    {
        QFETCH(bool, refused);
        addBlock("1", 25.0);
        addBlock("2", 50.0);
        addBlock("3", 75.0);
        connect(m_queue.data(), &SerialPortQueue::jobFailed, m_queue.data(),
                [this](SerialPortJobType type) { m_queue->removeJobs(type); });
        m_port->receive(latin1("*"));
        m_recorder.log.clear();
        if (refused) {
            m_port->receive(latin1("!"));
        } else {
            expire(m_queue->currentJob().data());
        }
        QCOMPARE(m_recorder.log,
                 QStringList({latin1("queue: jobFailed 14"), latin1("queue: allJobsDone")}));
        QCOMPARE(m_port->sent, QByteArrayList({"1", "2"}));
        QVERIFY(m_queue->currentJob().isNull());
        QVERIFY(m_queue->jobs().isEmpty());
    }

private:
    void addBlock(const QByteArray &block, double progress)
    {
        m_queue->addJob(
            JobPointer(new SerialPortJobTransmitFirmwareBlock(m_port.data(), block, progress)));
    }

    QSharedPointer<FakeSerialPort> m_port;
    QScopedPointer<SerialPortQueue> m_queue;
    SignalRecorder m_recorder;
};

KV_TEST_CORE_MAIN(TestSerialPortFirmwareJobs)
#include "tst_serialportfirmwarejobs.moc"
