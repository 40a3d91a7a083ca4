// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportqueue.h"
#include "tests/kit/testmain.h"
#include "tests/unit/serial/handlerfixture.h"

#include <QtTest/QtTest>

namespace {

constexpr int blockCount = 1024;
constexpr int shortTimeoutMs = 5;

// A handler with the real queue; the test replies in place of the device.
struct HandlerWithQueue
{
    HandlerWithQueue()
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
        deliverPostedEvents();
    }

    /// All bytes sent since the last call.
    QByteArray takeSent()
    {
        const QByteArray bytes = port->sent.join();
        port->sent.clear();
        return bytes;
    }

    void replyToBlockReads(int first, int last)
    {
        for (int block = first; block <= last; ++block) {
            port->receive(eepromBlockReply(block, text("5A").repeated(64)));
        }
    }

    void replyToBlockWrites(int count)
    {
        for (int block = 0; block < count; ++block) {
            port->receive(text("\r\nPlease input 64 bytes\r\n\r\nDone\r\n"));
        }
    }

    /// Starts an update of four blocks and replies until the first one has been sent.
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
    void connectsWhenTheConsoleReplies()
    {
        HandlerWithQueue h;
        h.handler.connectToDevice();
        QCOMPARE(h.port->openCount, 1);
        QCOMPARE(h.takeSent(), QByteArray("\r\nshow swver\r\n"));
        h.receive("\r\n$ show swver\r\nshow: swver=1.2\r\n");
        QCOMPARE(h.events, QStringList());
        h.port->receive(text("$ "));
        QVERIFY(!h.queue->currentJob());
        QCOMPARE(h.events, QStringList());
        deliverPostedEvents();
        QCOMPARE(h.events, texts("connected"));
    }

    void secondConnectKeepsThePortOpenAndSendsTheCommandAgain()
    {
        HandlerWithQueue h;
        h.connectDevice();
        h.handler.readValues(texts("a|b"));
        h.takeSent();
        h.handler.connectToDevice();
        QCOMPARE(h.port->openCount, 1);
        QVERIFY(h.queue->jobs().isEmpty());
        QCOMPARE(h.queue->currentJob()->type(), SerialPortJobType::JobConnect);
        QCOMPARE(h.takeSent(), QByteArray("\r\nshow swver\r\n"));
    }

    void readsALogRowByRow()
    {
        HandlerWithQueue h;
        h.connectDevice();
        h.handler.readLog();
        h.receive("\r\n$ log --count\r\ncount=2\r\n$ ");
        h.port->receive(logTitlesReply(text("TIME,CO2")));
        h.port->receive(logRowReply(1, text("00001"), text("2017-11-13T10:20:30,400")));
        h.port->receive(logRowReply(2, text("00002"), text("2017-11-13T10:21:30,401")));
        // allJobsDone() is emitted for the first time before the rows are queued.
        QStringList expected = texts("valueRead ValueLogOption bool true|allJobsDone");
        QCOMPARE(h.events, expected);
        deliverPostedEvents();
        expected += QStringList({text("logReadProgress 0"), text("logReadProgress 100"),
                                 text("logRead TIME|CO2; 2017-11-13T10:20:30Z 400; "
                                      "2017-11-13T10:21:30Z 401"),
                                 text("allJobsDone")});
        QCOMPARE(h.events, expected);
        QCOMPARE(h.takeSent(),
                 QByteArray("\r\nlog --count\r\n\r\nlog --read=0\r\n\r\nlog --read=1\r\n"
                            "\r\nlog --read=2\r\n"));
    }

    void failedFirmwareBlockStopsTheTransfer_data()
    {
        QTest::addColumn<bool>("isRejected");
        QTest::addRow("rejected") << true;
        QTest::addRow("no reply") << false;
    }

    void failedFirmwareBlockStopsTheTransfer()
    {
        QFETCH(bool, isRejected);
        HandlerWithQueue h;
        h.sendFirstFirmwareBlock();
        QCOMPARE(h.takeSent(), QByteArray("bAAAAAAAAAAAAAAAA"));
        QTest::ignoreMessage(QtDebugMsg, "Firmware transfer job failed. Canceling firmware update");
        if (isRejected) {
            h.receive("!");
        } else {
            QCOMPARE(h.queue->currentJob()->timeout(), 2000);
            h.queue->currentJob()->setTimeout(shortTimeoutMs);
        }
        // The removal of the remaining jobs empties the queue, which emits allJobsDone().
        const QStringList expected =
            texts("actionFinished ActionBootloaderEntered|"
                  "actionFailed ActionFirmwareBlockTransmitted|allJobsDone");
        QTRY_COMPARE(h.events, expected);
        QVERIFY(h.queue->jobs().isEmpty());
        QVERIFY(!h.queue->currentJob());
        h.receive("*");
        QCOMPARE(h.takeSent(), QByteArray());
        QCOMPARE(h.events, expected);
    }

    void allowsARequestInsideActionFailed()
    {
        HandlerWithQueue h;
        h.connectDevice();
        h.sendFirstFirmwareBlock();
        connect(&h.handler, &SerialPortHandlerInterface::actionFailed, this, [&h] {
            h.handler.clearJobs();
            h.handler.readMeasurements();
        });
        h.takeSent();
        h.port->receive(text("!"));
        QCOMPARE(h.takeSent(), QByteArray("\r\nshow meas\r\n"));
        QCOMPARE(h.queue->currentJob()->type(), SerialPortJobType::JobReadMeasurements);
    }

    void sendsAllBlocksIfEachIsAccepted()
    {
        HandlerWithQueue h;
        h.sendFirstFirmwareBlock();
        for (const char *reply : {"*", "*", "*", ".\r\n"}) {
            h.port->receive(text(reply));
        }
        deliverPostedEvents();
        QCOMPARE(h.takeSent(), QByteArray("bAAAAAAAAAAAAAAAABBBBBBBBBBBBBBBBCCCCCCCCCCCCCCCCD"));
        QCOMPARE(h.events.size(), 6);
        QCOMPARE(h.events.first(), text("actionFinished ActionBootloaderEntered"));
        QCOMPARE(
            h.events.filter(text("actionFinished ActionFirmwareBlockTransmitted double ")).size(),
            3);
        QCOMPARE(h.events.mid(4),
                 texts("actionFinished ActionFirmwareTransmitted int 100|allJobsDone"));
    }

    void sendsNothingAfterACancelledFirmwareUpdate()
    {
        HandlerWithQueue h;
        h.sendFirstFirmwareBlock();
        h.takeSent();
        h.handler.cancelFirmwareUpdate();
        h.receive("*");
        QCOMPARE(h.takeSent(), QByteArray());
        QVERIFY(!h.queue->currentJob());
        QCOMPARE(h.events, texts("actionFinished ActionBootloaderEntered|allJobsDone"));

        // The same while the first job waits for the bootloader.
        h.handler.updateFirmware(QByteArray(64, 'x'));
        h.handler.cancelFirmwareUpdate();
        h.receive("BOOT");
        QCOMPARE(h.takeSent(), QByteArray());
        QVERIFY(!h.queue->currentJob());
    }

    void completeTransferReportsEachBlockAndFinishesOnce_data()
    {
        QTest::addColumn<bool>("reads");
        QTest::addColumn<bool>("cancels");
        QTest::addRow("read") << true << false;
        QTest::addRow("read, cancelled when it finishes") << true << true;
        QTest::addRow("write") << false << false;
        QTest::addRow("write, cancelled when it finishes") << false << true;
    }

    void completeTransferReportsEachBlockAndFinishesOnce()
    {
        QFETCH(bool, reads);
        QFETCH(bool, cancels);
        const QString blockEvent = text(reads ? "actionFinished ActionEepromBlockRead int "
                                              : "actionFinished ActionEepromBlockWritten int ");
        const QString finishEvent = text(reads ? "actionFinished ActionEepromRead QByteArray 65535"
                                               : "actionFinished ActionEepromWritten");
        HandlerWithQueue h;
        h.connectDevice();
        connect(&h.handler, &SerialPortHandlerInterface::actionFinished, this, [&] {
            if (cancels && h.events.last() == finishEvent) {
                h.handler.cancelEepromRead();
                h.handler.cancelEepromWrite();
            }
        });
        if (reads) {
            h.handler.readEeprom();
            h.replyToBlockReads(0, blockCount - 1);
        } else {
            h.handler.writeEeprom(QByteArray(100, 'x'));
            h.replyToBlockWrites(blockCount);
        }
        deliverPostedEvents();
        QVERIFY(!h.queue->currentJob());
        QCOMPARE(h.events.filter(blockEvent).size(), blockCount);
        QCOMPARE(h.events.count(finishEvent), 1);
        QCOMPARE(h.events.count(text("allJobsDone")), 1);
        QCOMPARE(h.events.size(), blockCount + 2);
        // The queue runs later jobs.
        h.takeSent();
        h.handler.readDate();
        QCOMPARE(h.takeSent(), QByteArray("\r\ndate\r\n"));
    }

    void cancelledTransferDoesNotFinish()
    {
        HandlerWithQueue h;
        h.connectDevice();
        h.handler.readEeprom();
        h.replyToBlockReads(0, 9);
        h.handler.cancelEepromRead();
        QVERIFY(h.queue->jobs().isEmpty());
        QVERIFY(!h.queue->currentJob());
        h.takeSent();
        h.replyToBlockReads(10, 10);
        deliverPostedEvents();
        QCOMPARE(h.takeSent(), QByteArray());
        QCOMPARE(h.events.filter(text("actionFinished ActionEepromBlockRead ")).size(), 10);
        QCOMPARE(h.events.mid(10), texts("allJobsDone"));

        h.events.clear();
        h.handler.writeEeprom(QByteArray(65535, 'x'));
        h.replyToBlockWrites(1);
        h.handler.cancelEepromWrite();
        deliverPostedEvents();
        QVERIFY(!h.queue->currentJob());
        QCOMPARE(h.events, texts("actionFinished ActionEepromBlockWritten int 0|allJobsDone"));
    }

    void cancelContinuesAQueueStoppedByTimeouts()
    {
        HandlerWithQueue h;
        h.connectDevice();
        h.handler.readEeprom();
        h.queue->currentJob()->setTimeout(shortTimeoutMs);
        QTRY_VERIFY(!h.queue->currentJob()->isRunning());
        QCOMPARE(h.takeSent(), QByteArray("\r\neeprom --read_block 0\r\n").repeated(5));
        h.handler.readDate();
        QCOMPARE(h.takeSent(), QByteArray());
        h.handler.cancelEepromRead();
        QCOMPARE(h.takeSent(), QByteArray("\r\ndate\r\n"));
        deliverPostedEvents();
        QCOMPARE(h.events, QStringList());
    }
};

KV_TEST_CORE_MAIN(TestSerialPortHandlerQueue)
#include "tst_serialporthandlerqueue.moc"
