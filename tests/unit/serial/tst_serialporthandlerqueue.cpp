// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialporthandler.h"
#include "serial/serialportqueue.h"
#include "tests/kit/fakeserialport.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>

namespace {

constexpr int blockCount = 1024;
constexpr int shortTimeoutMs = 5;

const char blockWritten[] = "\r\nPlease input 64 bytes\r\n\r\nDone\r\n";

// A connected handler with the real queue; the test answers in place of the device.
struct Conversation
{
    Conversation()
    {
        using Handler = SerialPortHandlerInterface;
        QObject::connect(&handler, &Handler::actionFinished,
                         [this](SerialPortActionType action) { finished.append(action); });
        QObject::connect(&handler, &Handler::actionFailed,
                         [this](SerialPortActionType action) { failed.append(action); });
        QObject::connect(&handler, &Handler::allJobsDone, [this] { ++allJobsDone; });
        handler.setSerialPort(port);
    }

    void connectDevice()
    {
        handler.connectToDevice();
        port->receive(latin1("\r\n$ show swver\r\nshow: swver=1.2\r\n$ "));
        turn();
        port->sent.clear();
    }
    static void turn() { QCoreApplication::sendPostedEvents(); }

    /// All bytes since the last call.
    QByteArray takeSent()
    {
        const QByteArray bytes = port->sent.join();
        port->sent.clear();
        return bytes;
    }
    void answerBlockRead(int block)
    {
        port->receive(eepromReply(block, latin1("5A").repeated(64)));
    }
    void answerBlockReads(int first, int last)
    {
        for (int block = first; block <= last; ++block) {
            answerBlockRead(block);
        }
    }
    /// Starts an update of four blocks and answers until the first one is out.
    void sendFirstFirmwareBlock()
    {
        handler.updateFirmware("AAAAAAAAAAAAAAAABBBBBBBBBBBBBBBBCCCCCCCCCCCCCCCCD");
        port->receive(latin1("BOOT"));
        turn();
    }

    QSharedPointer<FakeSerialPort> port = QSharedPointer<FakeSerialPort>::create();
    QSharedPointer<SerialPortQueue> queue{new SerialPortQueue(nullptr)};
    SerialPortHandler handler{queue, nullptr};
    QVector<SerialPortActionType> finished;
    QVector<SerialPortActionType> failed;
    int allJobsDone = 0;
};

} // namespace

class TestSerialPortHandlerQueue : public QObject
{
    Q_OBJECT

private slots:
    void hasNoPortNameWithoutATransport()
    {
        SerialPortHandler handler(QSharedPointer<SerialPortQueue>(new SerialPortQueue(nullptr)),
                                  nullptr);
        QVERIFY(handler.portName().isEmpty());
        const auto port = QSharedPointer<FakeSerialPort>::create();
        handler.setSerialPort(port);
        QCOMPARE(handler.portName(), port->name);
    }

    void connectsOnceTheConsoleAnswers()
    {
        Conversation c;
        QSignalSpy connected(&c.handler, &SerialPortHandlerInterface::connected);
        c.handler.connectToDevice();
        QCOMPARE(c.port->opens, 1);
        QCOMPARE(c.takeSent(), QByteArray("\r\nshow swver\r\n"));
        c.port->receive(latin1("\r\n$ show swver\r\nshow: swver=1.2\r\n"));
        Conversation::turn();
        QCOMPARE(connected.count(), 0);
        c.port->receive(latin1("$ "));
        QVERIFY(!c.queue->currentJob());
        QCOMPARE(connected.count(), 0);
        Conversation::turn();
        QCOMPARE(connected.count(), 1);
        QCOMPARE(c.allJobsDone, 0);
    }

    void secondConnectKeepsThePortOpenAndAsksAgain()
    {
        Conversation c;
        c.connectDevice();
        c.handler.readValue(latin1("a"));
        c.handler.readValue(latin1("b"));
        c.takeSent();
        c.handler.connectToDevice();
        QCOMPARE(c.port->opens, 1);
        QVERIFY(c.queue->jobs().isEmpty());
        QCOMPARE(c.queue->currentJob()->type(), SerialPortJobType::JobConnect);
        QCOMPARE(c.takeSent(), QByteArray("\r\nshow swver\r\n"));
    }

    void raisesNoErrorForASilentDevice()
    {
        Conversation c;
        QSignalSpy error(&c.handler, &SerialPortHandlerInterface::error);
        c.handler.connectToDevice();
        c.queue->currentJob()->setTimeout(shortTimeoutMs);
        QTRY_VERIFY(!c.queue->currentJob()->isRunning());
        Conversation::turn();
        QCOMPARE(c.takeSent(), QByteArray("\r\nshow swver\r\n").repeated(5));
        QCOMPARE(error.count(), 0);
        QVERIFY(c.failed.isEmpty());
        QVERIFY(!c.handler.isConnected());
    }

    void reportsAnInvalidDateTwice()
    {
        Conversation c;
        c.connectDevice();
        QSignalSpy error(&c.handler, &SerialPortHandlerInterface::error);
        c.handler.setDate(QDateTime());
        QCOMPARE(error.count(), 0);
        Conversation::turn();
        QCOMPARE(error.count(), 2);
        for (const QVariantList &arguments : qAsConst(error)) {
            QCOMPARE(
                arguments.at(0).toString(),
                latin1("Set device clock failed: Unable to set time, invalid timestamp given: "));
        }
        QVERIFY(c.takeSent().isEmpty());
    }

    void closesThePortWhenDestroyed()
    {
        const auto port = QSharedPointer<FakeSerialPort>::create();
        const auto queue = QSharedPointer<SerialPortQueue>(new SerialPortQueue(nullptr));
        {
            SerialPortHandler handler(queue, nullptr);
            handler.setSerialPort(port);
            handler.connectToDevice();
            QVERIFY(port->isOpen());
        }
        QVERIFY(!port->isOpen());
        QVERIFY(!queue->currentJob());
    }

    void readsALogRowByRow()
    {
        Conversation c;
        c.connectDevice();
        QStringList titles;
        QVector<LogValue> rows;
        connect(&c.handler, &SerialPortHandlerInterface::logRead, this,
                [&titles, &rows](const QStringList &readTitles, const QVector<LogValue> &readRows) {
                    titles = readTitles;
                    rows = readRows;
                });
        c.handler.readLog();
        c.port->receive(latin1("\r\n$ log --count\r\ncount=2\r\n$ "));
        Conversation::turn();
        c.port->receive(titlesReply(latin1("TIME,CO2")));
        c.port->receive(rowReply(1, latin1("00001"), latin1("2017-11-13T10:20:30,400")));
        c.port->receive(rowReply(2, latin1("00002"), latin1("2017-11-13T10:21:30,401")));
        QVERIFY(rows.isEmpty());
        Conversation::turn();
        QCOMPARE(titles, QStringList({latin1("TIME"), latin1("CO2")}));
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows.at(1).values, QVector<double>({401.0}));
        QCOMPARE(rows.at(1).time, QDateTime(QDate(2017, 11, 13), QTime(10, 21, 30), Qt::UTC));
        QCOMPARE(c.takeSent(),
                 QByteArray("\r\nlog --count\r\n\r\nlog --read=0\r\n\r\nlog --read=1\r\n"
                            "\r\nlog --read=2\r\n"));
        // Once between the count and the rows, once at the end.
        QCOMPARE(c.allJobsDone, 2);
    }

    void cancelledLogReadFreesTheQueue()
    {
        Conversation c;
        c.connectDevice();
        c.handler.readLog();
        c.port->receive(latin1("\r\n$ log --count\r\ncount=50\r\n$ "));
        Conversation::turn();
        QCOMPARE(c.queue->jobs().size(), 50);
        c.handler.cancelLogRead();
        QVERIFY(c.queue->jobs().isEmpty());
        QVERIFY(!c.queue->currentJob());
        c.takeSent();
        c.handler.readLog();
        QCOMPARE(c.takeSent(), QByteArray("\r\nlog --count\r\n"));
    }

    void refusedFirmwareBlockStopsTheTransfer()
    {
        Conversation c;
        c.connectDevice();
        c.sendFirstFirmwareBlock();
        QCOMPARE(c.takeSent(), QByteArray("bAAAAAAAAAAAAAAAA"));
        QTest::ignoreMessage(QtDebugMsg, "Firmware transfer job failed. Canceling firmware update");
        c.port->receive(latin1("!"));
        Conversation::turn();
        QVERIFY(c.takeSent().isEmpty());
        QVERIFY(c.queue->jobs().isEmpty());
        QVERIFY(!c.queue->currentJob());
        QCOMPARE(
            c.failed,
            QVector<SerialPortActionType>({SerialPortActionType::ActionFirmwareBlockTransmitted}));
        QCOMPARE(c.finished,
                 QVector<SerialPortActionType>({SerialPortActionType::ActionBootloaderEntered}));
        // The removal of the rest empties the queue, which reports it.
        QCOMPARE(c.allJobsDone, 1);
        c.port->receive(latin1("*"));
        Conversation::turn();
        QCOMPARE(c.finished.size(), 1);
    }

    void unansweredFirmwareBlockStopsTheTransfer()
    {
        Conversation c;
        c.sendFirstFirmwareBlock();
        c.takeSent();
        QCOMPARE(c.queue->currentJob()->timeout(), 2000);
        c.queue->currentJob()->setTimeout(shortTimeoutMs);
        QTest::ignoreMessage(QtDebugMsg, "Firmware transfer job failed. Canceling firmware update");
        QTRY_COMPARE(
            c.failed,
            QVector<SerialPortActionType>({SerialPortActionType::ActionFirmwareBlockTransmitted}));
        QVERIFY(c.takeSent().isEmpty());
        QVERIFY(!c.queue->currentJob());
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
        c.port->receive(latin1("!"));
        QCOMPARE(c.takeSent(), QByteArray("\r\nshow meas\r\n"));
        QCOMPARE(c.queue->currentJob()->type(), SerialPortJobType::JobReadMeasurements);
    }

    void acceptedBlocksRunToTheEnd()
    {
        Conversation c;
        c.sendFirstFirmwareBlock();
        c.port->receive(latin1("*"));
        c.port->receive(latin1("*"));
        c.port->receive(latin1("*"));
        c.port->receive(latin1(".\r\n"));
        Conversation::turn();
        QCOMPARE(c.takeSent(), QByteArray("bAAAAAAAAAAAAAAAABBBBBBBBBBBBBBBBCCCCCCCCCCCCCCCCD"));
        using Action = SerialPortActionType;
        QCOMPARE(c.finished,
                 QVector<Action>(
                     {Action::ActionBootloaderEntered, Action::ActionFirmwareBlockTransmitted,
                      Action::ActionFirmwareBlockTransmitted,
                      Action::ActionFirmwareBlockTransmitted, Action::ActionFirmwareTransmitted}));
        QVERIFY(c.failed.isEmpty());
        QCOMPARE(c.allJobsDone, 1);
    }

    void cancelledFirmwareSendsNothingMore()
    {
        Conversation c;
        c.sendFirstFirmwareBlock();
        c.takeSent();
        c.handler.cancelFirmwareUpdate();
        c.port->receive(latin1("*"));
        Conversation::turn();
        QVERIFY(c.takeSent().isEmpty());
        QVERIFY(!c.queue->currentJob());
        QVERIFY(c.failed.isEmpty());
        QCOMPARE(c.finished.size(), 1);

        // While the first job waits for the bootloader, too.
        c.handler.updateFirmware(QByteArray(64, 'x'));
        c.handler.cancelFirmwareUpdate();
        c.port->receive(latin1("BOOT"));
        QVERIFY(c.takeSent().isEmpty());
        QVERIFY(!c.queue->currentJob());
    }

    void fullReadReportsEachBlockAndOneEnd()
    {
        Conversation c;
        c.connectDevice();
        c.handler.readEeprom();
        c.answerBlockReads(0, blockCount - 1);
        Conversation::turn();
        QCOMPARE(c.finished.count(SerialPortActionType::ActionEepromBlockRead), blockCount);
        QCOMPARE(c.finished.count(SerialPortActionType::ActionEepromRead), 1);
        QCOMPARE(c.finished.size(), blockCount + 1);
        QCOMPARE(c.allJobsDone, 1);
    }

    void fullWriteReportsEachBlockAndOneEnd()
    {
        Conversation c;
        c.connectDevice();
        c.handler.writeEeprom(QByteArray(100, 'x'));
        for (int block = 0; block < blockCount; ++block) {
            c.port->receive(latin1(blockWritten));
        }
        Conversation::turn();
        QCOMPARE(c.finished.count(SerialPortActionType::ActionEepromBlockWritten), blockCount);
        QCOMPARE(c.finished.count(SerialPortActionType::ActionEepromWritten), 1);
        QCOMPARE(c.finished.size(), blockCount + 1);
        QCOMPARE(c.allJobsDone, 1);
    }

    void allowsACancelAtTheEndOfARead()
    {
        Conversation c;
        c.connectDevice();
        QByteArray image;
        connect(&c.handler, &SerialPortHandlerInterface::actionFinished, this,
                [&c, &image](SerialPortActionType action, const QVariant &result) {
                    if (action == SerialPortActionType::ActionEepromRead) {
                        image = result.toByteArray();
                        c.handler.cancelEepromRead();
                    }
                });
        c.handler.readEeprom();
        c.answerBlockReads(0, blockCount - 1);
        Conversation::turn();
        QCOMPARE(image.size(), 65535);
        QVERIFY(!c.queue->currentJob());
        QCOMPARE(c.finished.count(SerialPortActionType::ActionEepromRead), 1);
        QCOMPARE(c.allJobsDone, 1);
        c.takeSent();
        c.handler.readDate();
        QCOMPARE(c.takeSent(), QByteArray("\r\ndate\r\n"));
    }

    void allowsACancelAtTheEndOfAWrite()
    {
        Conversation c;
        c.connectDevice();
        connect(&c.handler, &SerialPortHandlerInterface::actionFinished, this,
                [&c](SerialPortActionType action) {
                    if (action == SerialPortActionType::ActionEepromWritten) {
                        c.handler.cancelEepromWrite();
                    }
                });
        c.handler.writeEeprom(QByteArray());
        for (int block = 0; block < blockCount; ++block) {
            c.port->receive(latin1(blockWritten));
        }
        Conversation::turn();
        QVERIFY(!c.queue->currentJob());
        QCOMPARE(c.finished.count(SerialPortActionType::ActionEepromWritten), 1);
        QCOMPARE(c.allJobsDone, 1);
    }

    void cancelledReadReportsNoEnd()
    {
        Conversation c;
        c.connectDevice();
        c.handler.readEeprom();
        c.answerBlockReads(0, 9);
        c.handler.cancelEepromRead();
        QVERIFY(c.queue->jobs().isEmpty());
        QVERIFY(!c.queue->currentJob());
        c.takeSent();
        c.answerBlockRead(10);
        Conversation::turn();
        QVERIFY(c.takeSent().isEmpty());
        QCOMPARE(c.finished.size(), 10);
        QVERIFY(!c.finished.contains(SerialPortActionType::ActionEepromRead));

        c.handler.writeEeprom(QByteArray(65535, 'x'));
        c.port->receive(latin1(blockWritten));
        c.handler.cancelEepromWrite();
        Conversation::turn();
        QVERIFY(!c.queue->currentJob());
        QVERIFY(!c.finished.contains(SerialPortActionType::ActionEepromWritten));
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
        QVERIFY(c.takeSent().isEmpty());
        QVERIFY(c.failed.isEmpty());
        c.handler.cancelEepromRead();
        QCOMPARE(c.takeSent(), QByteArray("\r\ndate\r\n"));
        Conversation::turn();
        QVERIFY(c.finished.isEmpty());
    }
};

KV_TEST_CORE_MAIN(TestSerialPortHandlerQueue)
#include "tst_serialporthandlerqueue.moc"
