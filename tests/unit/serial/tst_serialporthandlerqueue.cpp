// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportqueue.h"
#include "tests/kit/testmain.h"
#include "tests/unit/serial/handlerfixture.h"

#include <QtTest/QtTest>

namespace {

constexpr int blockCount = 1024;
constexpr int shortTimeoutMs = 5;

// A handler with the real queue; the test answers in place of the device.
struct Conversation
{
    Conversation()
    {
        handler.setSerialPort(port);
        recordEvents(handler, events);
    }

    void connectDevice()
    {
        handler.connectToDevice();
        receive("\r\n$ show swver\r\nshow: swver=1.2\r\n$ ");
        port->sent.clear();
        events.clear();
    }

    void receive(const char *reply)
    {
        port->receive(text(reply));
        turnEventLoop();
    }

    /// All bytes since the last call.
    QByteArray takeSent()
    {
        const QByteArray bytes = port->sent.join();
        port->sent.clear();
        return bytes;
    }

    void answerBlocksRead(int first, int last)
    {
        for (int block = first; block <= last; ++block) {
            port->receive(eepromReply(block, text("5A").repeated(64)));
        }
    }

    void answerBlocksWritten(int count)
    {
        for (int block = 0; block < count; ++block) {
            port->receive(text("\r\nPlease input 64 bytes\r\n\r\nDone\r\n"));
        }
    }

    /// Starts an update of four blocks and answers until the first one is out.
    void sendFirstFirmwareBlock()
    {
        handler.updateFirmware("AAAAAAAAAAAAAAAABBBBBBBBBBBBBBBBCCCCCCCCCCCCCCCCD");
        receive("BOOT");
    }

    QSharedPointer<FakeSerialPort> port = QSharedPointer<FakeSerialPort>::create();
    QSharedPointer<SerialPortQueue> queue = QSharedPointer<SerialPortQueue>::create();
    SerialPortHandler handler{queue, nullptr};
    QStringList events;
};

} // namespace

class TestSerialPortHandlerQueue : public QObject
{
    Q_OBJECT

private slots:
    void connectsOnceTheConsoleAnswers()
    {
        Conversation c;
        c.handler.connectToDevice();
        QCOMPARE(c.port->opens, 1);
        QCOMPARE(c.takeSent(), QByteArray("\r\nshow swver\r\n"));
        c.receive("\r\n$ show swver\r\nshow: swver=1.2\r\n");
        QCOMPARE(c.events, QStringList());
        c.port->receive(text("$ "));
        QVERIFY(!c.queue->currentJob());
        QCOMPARE(c.events, QStringList());
        turnEventLoop();
        QCOMPARE(c.events, texts("connected"));
    }

    void secondConnectKeepsThePortOpenAndAsksAgain()
    {
        Conversation c;
        c.connectDevice();
        c.handler.readValues(texts("a|b"));
        c.takeSent();
        c.handler.connectToDevice();
        QCOMPARE(c.port->opens, 1);
        QVERIFY(c.queue->jobs().isEmpty());
        QCOMPARE(c.queue->currentJob()->type(), SerialPortJobType::JobConnect);
        QCOMPARE(c.takeSent(), QByteArray("\r\nshow swver\r\n"));
    }

    void readsALogRowByRow()
    {
        Conversation c;
        c.connectDevice();
        c.handler.readLog();
        c.receive("\r\n$ log --count\r\ncount=2\r\n$ ");
        c.port->receive(titlesReply(text("TIME,CO2")));
        c.port->receive(rowReply(1, text("00001"), text("2017-11-13T10:20:30,400")));
        c.port->receive(rowReply(2, text("00002"), text("2017-11-13T10:21:30,401")));
        // Done for the first time before the rows are queued.
        QStringList expected = texts("valueRead 1 bool true|allJobsDone");
        QCOMPARE(c.events, expected);
        turnEventLoop();
        expected += QStringList({text("logReadProgress 0"), text("logReadProgress 100"),
                                 text("logRead TIME|CO2; 2017-11-13T10:20:30Z 400; "
                                      "2017-11-13T10:21:30Z 401"),
                                 text("allJobsDone")});
        QCOMPARE(c.events, expected);
        QCOMPARE(c.takeSent(),
                 QByteArray("\r\nlog --count\r\n\r\nlog --read=0\r\n\r\nlog --read=1\r\n"
                            "\r\nlog --read=2\r\n"));
    }

    void failedFirmwareBlockStopsTheTransfer_data()
    {
        QTest::addColumn<bool>("answered");
        QTest::addRow("refused") << true;
        QTest::addRow("not answered") << false;
    }

    void failedFirmwareBlockStopsTheTransfer()
    {
        QFETCH(bool, answered);
        Conversation c;
        c.sendFirstFirmwareBlock();
        QCOMPARE(c.takeSent(), QByteArray("bAAAAAAAAAAAAAAAA"));
        QTest::ignoreMessage(QtDebugMsg, "Firmware transfer job failed. Canceling firmware update");
        if (answered) {
            c.receive("!");
        } else {
            QCOMPARE(c.queue->currentJob()->timeout(), 2000);
            c.queue->currentJob()->setTimeout(shortTimeoutMs);
        }
        // The removal of the rest empties the queue, which reports it.
        const QStringList expected = texts("actionFinished 6|actionFailed 5|allJobsDone");
        QTRY_COMPARE(c.events, expected);
        QVERIFY(c.queue->jobs().isEmpty());
        QVERIFY(!c.queue->currentJob());
        c.receive("*");
        QCOMPARE(c.takeSent(), QByteArray());
        QCOMPARE(c.events, expected);
    }

    void allowsARequestInsideTheFailure()
    {
        Conversation c;
        c.connectDevice();
        c.sendFirstFirmwareBlock();
        connect(&c.handler, &SerialPortHandlerInterface::actionFailed, this, [&c] {
            c.handler.clearJobs();
            c.handler.readMeasurements();
        });
        c.takeSent();
        c.port->receive(text("!"));
        QCOMPARE(c.takeSent(), QByteArray("\r\nshow meas\r\n"));
        QCOMPARE(c.queue->currentJob()->type(), SerialPortJobType::JobReadMeasurements);
    }

    void acceptedBlocksRunToTheEnd()
    {
        Conversation c;
        c.sendFirstFirmwareBlock();
        for (const char *answer : {"*", "*", "*", ".\r\n"}) {
            c.port->receive(text(answer));
        }
        turnEventLoop();
        QCOMPARE(c.takeSent(), QByteArray("bAAAAAAAAAAAAAAAABBBBBBBBBBBBBBBBCCCCCCCCCCCCCCCCD"));
        QCOMPARE(c.events.size(), 6);
        QCOMPARE(c.events.first(), text("actionFinished 6"));
        QCOMPARE(c.events.filter(text("actionFinished 5 double ")).size(), 3);
        QCOMPARE(c.events.mid(4), texts("actionFinished 7 int 100|allJobsDone"));
    }

    void cancelledFirmwareSendsNothingMore()
    {
        Conversation c;
        c.sendFirstFirmwareBlock();
        c.takeSent();
        c.handler.cancelFirmwareUpdate();
        c.receive("*");
        QCOMPARE(c.takeSent(), QByteArray());
        QVERIFY(!c.queue->currentJob());
        QCOMPARE(c.events, texts("actionFinished 6|allJobsDone"));

        // While the first job waits for the bootloader, too.
        c.handler.updateFirmware(QByteArray(64, 'x'));
        c.handler.cancelFirmwareUpdate();
        c.receive("BOOT");
        QCOMPARE(c.takeSent(), QByteArray());
        QVERIFY(!c.queue->currentJob());
    }

    void fullTransferReportsEachBlockAndOneEnd_data()
    {
        QTest::addColumn<bool>("reads");
        QTest::addColumn<bool>("cancels");
        QTest::addRow("read") << true << false;
        QTest::addRow("read, cancelled in its end") << true << true;
        QTest::addRow("write") << false << false;
        QTest::addRow("write, cancelled in its end") << false << true;
    }

    void fullTransferReportsEachBlockAndOneEnd()
    {
        QFETCH(bool, reads);
        QFETCH(bool, cancels);
        const QString ofABlock = text(reads ? "actionFinished 10 int " : "actionFinished 11 int ");
        const QString ofTheEnd =
            text(reads ? "actionFinished 8 QByteArray 65535" : "actionFinished 9");
        Conversation c;
        c.connectDevice();
        connect(&c.handler, &SerialPortHandlerInterface::actionFinished, this, [&] {
            if (cancels && c.events.last() == ofTheEnd) {
                c.handler.cancelEepromRead();
                c.handler.cancelEepromWrite();
            }
        });
        if (reads) {
            c.handler.readEeprom();
            c.answerBlocksRead(0, blockCount - 1);
        } else {
            c.handler.writeEeprom(QByteArray(100, 'x'));
            c.answerBlocksWritten(blockCount);
        }
        turnEventLoop();
        QVERIFY(!c.queue->currentJob());
        QCOMPARE(c.events.filter(ofABlock).size(), blockCount);
        QCOMPARE(c.events.count(ofTheEnd), 1);
        QCOMPARE(c.events.count(text("allJobsDone")), 1);
        QCOMPARE(c.events.size(), blockCount + 2);
        // The queue continues.
        c.takeSent();
        c.handler.readDate();
        QCOMPARE(c.takeSent(), QByteArray("\r\ndate\r\n"));
    }

    void cancelledTransferReportsNoEnd()
    {
        Conversation c;
        c.connectDevice();
        c.handler.readEeprom();
        c.answerBlocksRead(0, 9);
        c.handler.cancelEepromRead();
        QVERIFY(c.queue->jobs().isEmpty());
        QVERIFY(!c.queue->currentJob());
        c.takeSent();
        c.answerBlocksRead(10, 10);
        turnEventLoop();
        QCOMPARE(c.takeSent(), QByteArray());
        QCOMPARE(c.events.filter(text("actionFinished 10 ")).size(), 10);
        QCOMPARE(c.events.mid(10), texts("allJobsDone"));

        c.events.clear();
        c.handler.writeEeprom(QByteArray(65535, 'x'));
        c.answerBlocksWritten(1);
        c.handler.cancelEepromWrite();
        turnEventLoop();
        QVERIFY(!c.queue->currentJob());
        QCOMPARE(c.events, texts("actionFinished 11 int 0|allJobsDone"));
    }

    void silentBlockIsFreedByTheCancel()
    {
        Conversation c;
        c.connectDevice();
        c.handler.readEeprom();
        c.queue->currentJob()->setTimeout(shortTimeoutMs);
        QTRY_VERIFY(!c.queue->currentJob()->isRunning());
        QCOMPARE(c.takeSent(), QByteArray("\r\neeprom --read_block 0\r\n").repeated(5));
        c.handler.readDate();
        QCOMPARE(c.takeSent(), QByteArray());
        c.handler.cancelEepromRead();
        QCOMPARE(c.takeSent(), QByteArray("\r\ndate\r\n"));
        turnEventLoop();
        QCOMPARE(c.events, QStringList());
    }
};

KV_TEST_CORE_MAIN(TestSerialPortHandlerQueue)
#include "tst_serialporthandlerqueue.moc"
