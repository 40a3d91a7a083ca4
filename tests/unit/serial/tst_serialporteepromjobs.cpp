// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobfactoryreset.h"
#include "serial/serialportjobreadeepromblock.h"
#include "serial/serialportjobwriteeepromblock.h"
#include "serial/serialportjobwritetoeeprom.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/testmain.h"
#include "tests/unit/serial/jobdialoguetest.h"

class TestSerialPortEepromJobs : public JobDialogueTest
{
    Q_OBJECT

public:
    TestSerialPortEepromJobs()
        : JobDialogueTest(eepromDialogues())
    {
    }

private slots:
    void readsBlocks_data()
    {
        QTest::addColumn<int>("block");
        QTest::addColumn<QString>("digits");
        QTest::addColumn<QString>("bytes");
        const QString all = latin1(consecutiveBytes(192).toHex().constData());
        QTest::addRow("first") << 0 << latin1("00") << latin1("00");
        QTest::addRow("last, high bytes") << 1023 << all.toUpper() << all;
        QTest::addRow("an odd digit is dropped") << 7 << latin1("00FFA") << latin1("00ff");
        QTest::addRow("empty") << 7 << QString() << QString();
        QTest::addRow("beyond the memory") << 65535 << latin1("0d0a") << latin1("0d0a");
    }

    void readsBlocks()
    {
        QFETCH(int, block);
        QFETCH(QString, digits);
        QFETCH(QString, bytes);
        FakeSerialPort port;
        SignalRecorder recorder;
        SerialPortJobReadEepromBlock job(&port, static_cast<quint16>(block), 3);
        recorder.record(&job);
        job.start();
        QCOMPARE(port.sent,
                 QByteArrayList({"\r\neeprom --read_block " + QByteArray::number(block) + "\r\n"}));
        port.receive(eepromReply(block, digits));
        QCOMPARE(recorder.log,
                 QStringList({latin1("eepromBlockRead %1 ").arg(block) + bytes,
                              latin1("actionFinished 10 int 3"), latin1("finished")}));
    }

    void ignoresTheEchoOfAnotherBlock()
    {
        FakeSerialPort port;
        SignalRecorder recorder;
        SerialPortJobReadEepromBlock job(&port, 7, 3);
        recorder.record(&job);
        job.start();
        port.receive(eepromReply(70, latin1("00")));
        QVERIFY(recorder.log.isEmpty());
        QVERIFY(job.isRunning());
        port.receive(eepromReply(7, latin1("01")));
        QCOMPARE(recorder.log.first(), latin1("eepromBlockRead 7 01"));
    }

    void waitsForHexadecimalPairs()
    {
        FakeSerialPort port;
        SignalRecorder recorder;
        SerialPortJobReadEepromBlock job(&port, 7, 3);
        recorder.record(&job);
        job.start();
        port.receive(eepromReply(7, latin1("00GG")));
        QVERIFY(recorder.log.isEmpty());
        expire(&job);
        QCOMPARE(recorder.log, QStringList(latin1("timedOut")));
        QCOMPARE(port.sent.size(), 1);
    }

    void writesDataAsItIs_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addRow("none") << QByteArray("");
        QTest::addRow("a byte") << QByteArray(1, '\0');
        QTest::addRow("line ends and flow control") << QByteArray("\0\r\n\x11\x13\xff$", 7);
        QTest::addRow("a block of high bytes") << consecutiveBytes(192);
        QTest::addRow("more than a block") << QByteArray(65, '\r');
    }

    void writesDataAsItIs()
    {
        QFETCH(QByteArray, data);
        FakeSerialPort port;
        SerialPortJobWriteEepromBlock job(&port, 70, data, 3);
        job.start();
        using Kind = FakeSerialPort::Kind;
        QCOMPARE(port.sent, QByteArrayList({"\r\neeprom --write_block 70\r\n", data}));
        QCOMPARE(port.kinds, QVector<Kind>({Kind::Text, Kind::Bytes}));
    }

    void waitsForTheWholeAnswerToAWrite_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addRow("the request alone") << latin1("\r\nPlease input 64 bytes\r\n\r\n");
        QTest::addRow("another size") << latin1("\r\nPlease input 16 bytes\r\n\r\nDone\r\n");
        QTest::addRow("no empty line") << latin1("\r\nPlease input 64 bytes\r\nDone\r\n");
        QTest::addRow("no request") << latin1("\r\n\r\nDone\r\n$ ");
    }

    void waitsForTheWholeAnswerToAWrite()
    {
        QFETCH(QString, reply);
        FakeSerialPort port;
        SignalRecorder recorder;
        SerialPortJobWriteEepromBlock job(&port, 7, QByteArray(64, 'x'), 3);
        recorder.record(&job);
        job.start();
        port.receive(reply);
        QVERIFY(recorder.log.isEmpty());
        QVERIFY(job.isRunning());
    }

    void writesABlockAgainWithItsData()
    {
        const auto port = QSharedPointer<FakeSerialPort>::create();
        SerialPortQueue queue(nullptr);
        queue.setSerialPort(port);
        queue.addJob(JobPointer(
            new SerialPortJobWriteEepromBlock(port.data(), 7, QByteArray(64, '\xff'), 3)));
        expire(queue.currentJob().data());
        const QByteArrayList once = {"\r\neeprom --write_block 7\r\n", QByteArray(64, '\xff')};
        QCOMPARE(port->sent, once + once);
    }

    void doesNotTakeADefaultsReplyForAnother()
    {
        FakeSerialPort port;
        SignalRecorder recorder;
        SerialPortJobWriteToEeprom writeJob(&port);
        SerialPortJobFactoryReset resetJob(&port);
        recorder.record(&writeJob);
        recorder.record(&resetJob);
        writeJob.start();
        port.receive(latin1("write --really\r\nWriting current configuration to non-volatile memory"
                            "... bytes written!\r\n$ "));
        writeJob.stop();
        resetJob.start();
        port.receive(latin1("Loading default configuration... OK!\r\n$ "));
        QVERIFY(recorder.log.isEmpty());
    }
};

KV_TEST_CORE_MAIN(TestSerialPortEepromJobs)
#include "tst_serialporteepromjobs.moc"
