// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/devicelink.h"
#include "tests/kit/fileio.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>

namespace {

constexpr int blockCount = 1024;
constexpr int blockSize = 64;
constexpr int imageSize = 65535;

// Quirk: the tool writes each block at the offset of its number, so that only the first byte of
// each block but the last remains.
QByteArray backupOf(const QByteArrayList &blocks)
{
    QByteArray image;
    for (const QByteArray &block : blocks) {
        image += block.at(0);
    }
    image += blocks.last().mid(1);
    return image + QByteArray(imageSize - image.size(), '\0');
}

} // namespace

class TestDeviceLogAndEeprom : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_link.reset(new DeviceLink); }

    void readsEveryRowOfTheLog_data()
    {
        QTest::addColumn<int>("rows");
        for (const int rows : {0, 1, 2, 200}) {
            QTest::addRow("--log-rows %d", rows) << rows;
        }
        for (const char *option :
             {"--fault chatter:1", "--fault single-bytes:1", "--model KVT-300"}) {
            QTest::addRow("--log-rows 3 %s", option) << 3;
        }
    }

    void readsEveryRowOfTheLog()
    {
        QFETCH(int, rows);
        QVERIFY(m_link->startConnected(text(QTest::currentDataTag())));
        readLog();
        // Once after the count, when no row is queued yet, and once at the end.
        QTRY_COMPARE(m_link->events.count(text("allJobsDone")), 2);
        QCOMPARE(m_link->events.first(), text("value ValueLogOption bool true"));
        QCOMPARE(m_link->events.count(text("log")), 1);
        QCOMPARE(m_link->log.size(), rows);
        QCOMPARE(m_link->port->texts.size(), rows + 2);
        QCOMPARE(m_link->port->texts.at(1), text("\r\nlog --read=0\r\n"));
    }

    void logReadCanBeCancelledAndImmediatelyStartedAgain()
    {
        QVERIFY(m_link->startConnected(text("--log-rows 200")));
        const auto connection = connect(&m_link->handler, &SerialPortHandler::logReadProgress, this,
                                        [this](int percentage) {
                                            if (percentage == 50) {
                                                m_link->handler.cancelLogRead();
                                            }
                                        });
        m_link->handler.readLog();
        QVERIFY(runUntil([&] { return m_link->logProgress.contains(50); }));
        QVERIFY(disconnect(connection));
        QVERIFY(m_link->isIdle());
        QVERIFY(m_link->queue->jobs().isEmpty());
        QVERIFY(!m_link->events.contains(text("log")));
        const int sent = m_link->port->texts.size();
        QVERIFY(sent > 100 && sent < 110);

        // The rest of the reply with the cancelled row has not arrived yet.
        m_link->clearRecords();
        readLog();
        QCOMPARE(m_link->port->texts.size(), 202);
    }

    void rowReceivedDuringTheCancellationIsPartOfTheNextRead()
    {
        QVERIFY(m_link->startConnected(text("--log-rows 3")));
        const auto connection =
            connect(m_link->queue.data(), &SerialPortQueue::logValueRead, this, [this](int index) {
                if (index == 2) {
                    m_link->handler.cancelLogRead();
                }
            });
        m_link->handler.readLog();
        QVERIFY(runUntil([&] { return m_link->sendCount(text("log --read=2")) > 0; }));
        QVERIFY(runUntil([&] { return m_link->isIdle(); }));
        QVERIFY(disconnect(connection));
        // Quirk: rows are counted, not numbered, and the late one is counted too.
        m_link->handler.readLog();
        QVERIFY(m_link->waitFor(text("log")));
        const QVector<LogValue> deviceRows = m_link->simulator.logRows();
        QCOMPARE(m_link->log.size(), 3);
        QCOMPARE(m_link->log.at(0).time, deviceRows.at(1).time);
        QCOMPARE(m_link->log.at(1).time, deviceRows.at(0).time);
        QCOMPARE(m_link->log.at(2).time, deviceRows.at(1).time);
    }

    void ignoresASecondLogReadWhileReading()
    {
        QVERIFY(m_link->startConnected(text("--log-rows 50")));
        m_link->handler.readLog();
        QVERIFY(runUntil([&] { return m_link->logProgress.size() > 5; }));
        readLog();
        QVERIFY(runUntil([&] { return m_link->isIdle(); }));
        QCOMPARE(m_link->sendCount(text("log --count")), 1);
        QCOMPARE(m_link->events.count(text("log")), 1);
    }

    void stopsIfTheLogTitlesStayInvalid_data()
    {
        QTest::addColumn<QByteArray>("fault");
        // Quirk: correct titles that follow damaged ones have a wrong checksum each time.
        for (const char *fault : {"bad-checksum", "bad-checksum-always", "wrong-entry-always",
                                  "malformed-record-always"}) {
            QTest::addRow("%s", fault) << QByteArray(fault) + "@0";
        }
    }

    void stopsIfTheLogTitlesStayInvalid()
    {
        QFETCH(QByteArray, fault);
        QVERIFY(m_link->startConnected(text("--log-rows 3")));
        QVERIFY(m_link->simulator.fault(fault));
        m_link->setTimeouts(200);
        m_link->handler.readLog();
        QVERIFY(m_link->waitForStall());
        QCOMPARE(m_link->sendCount(text("log --read=0")), 5);
        // Only the number of rows was read.
        QCOMPARE(m_link->events, texts("value ValueLogOption bool true|allJobsDone"));
        QVERIFY(m_link->logProgress.isEmpty());

        m_link->simulator.control("fault clear");
        m_link->setTimeouts(0);
        m_link->handler.cancelLogRead();
        QVERIFY(m_link->isIdle());
        QTest::qWait(100); // for the rest of the damaged line
        readLog();
    }

    void readsTheEepromByBlockNumber()
    {
        QVERIFY(m_link->startConnected(text("--seed 5")));
        const QByteArrayList blocks = deviceBlocks();
        QCOMPARE(blocks.size(), blockCount);
        m_link->handler.readEeprom();
        QCOMPARE(m_link->queue->jobs().size(), blockCount - 1);
        QVERIFY(m_link->waitForAllJobsDone());

        QCOMPARE(m_link->eepromImage.size(), imageSize);
        QVERIFY(m_link->eepromImage == backupOf(blocks));
        QCOMPARE(m_link->events, texts("finished ActionEepromRead|allJobsDone"));
        QCOMPARE(m_link->eepromProgress.size(), blockCount);
        for (int block = 0; block < blockCount; ++block) {
            QCOMPARE(m_link->eepromProgress.at(block), static_cast<int>(block / 1023.0 * 100));
            QCOMPARE(m_link->port->texts.at(block),
                     text("\r\neeprom --read_block %1\r\n").arg(block));
        }
        QCOMPARE(m_link->port->texts.size(), blockCount);
    }

    void writesEveryBlockOfTheEeprom()
    {
        QVERIFY(m_link->startConnected());
        const QByteArray data = FileIo::pseudoRandomBytes(blockCount * blockSize);
        m_link->handler.writeEeprom(data);
        QVERIFY(m_link->waitForAllJobsDone());
        QCOMPARE(m_link->events, texts("finished ActionEepromWritten (no value)|allJobsDone"));
        QCOMPARE(m_link->eepromProgress.size(), blockCount);
        QCOMPARE(m_link->eepromProgress.last(), 100);
        const QByteArrayList blocks = deviceBlocks();
        QCOMPARE(blocks.join().toHex(), data.toHex());

        m_link->clearRecords();
        m_link->handler.readEeprom();
        QVERIFY(m_link->waitForAllJobsDone());
        QVERIFY(m_link->eepromImage == backupOf(blocks));
    }

    void sendsOnlyTheContentsOfAShortFile()
    {
        QVERIFY(m_link->startConnected(text("--block-idle-ms 50")));
        QByteArrayList expected = deviceBlocks();
        const QByteArray data = FileIo::pseudoRandomBytes(100);
        m_link->handler.writeEeprom(data);
        QCOMPARE(m_link->queue->jobs().size(), blockCount - 1);
        // The device times out after 36 bytes; its message does not match the reply.
        m_link->setTimeouts(250);
        QVERIFY(m_link->waitForStall());
        QCOMPARE(m_link->sendCount(text("eeprom --write_block 0")), 1);
        QCOMPARE(m_link->sendCount(text("eeprom --write_block 1")), 5);
        QCOMPARE(m_link->sendCount(text("eeprom --write_block 2")), 0);
        QCOMPARE(m_link->port->blocks.first(), data.left(blockSize));
        QCOMPARE(m_link->port->blocks.last(), data.mid(blockSize));
        expected[0] = data.left(blockSize);
        QVERIFY(deviceBlocks() == expected);
        m_link->handler.cancelEepromWrite();
        checkThatTheDeviceRepliesAfterACancel();
    }

    void eepromReadCanBeCancelled()
    {
        QVERIFY(m_link->startConnected());
        m_link->handler.readEeprom();
        QVERIFY(runUntil([&] { return m_link->eepromProgress.size() > 100; }));
        m_link->handler.cancelEepromRead();
        QVERIFY(!m_link->queue->hasJob(SerialPortJobType::JobReadEepromBlock));
        const int sent = m_link->port->texts.size();
        QVERIFY(sent > 100 && sent < blockCount);
        checkThatTheDeviceRepliesAfterACancel();
    }

    void eepromWriteCanBeCancelled()
    {
        QVERIFY(m_link->startConnected());
        const QByteArray before = deviceBlocks().join();
        const QByteArray data = FileIo::pseudoRandomBytes(blockCount * blockSize);
        m_link->handler.writeEeprom(data);
        QVERIFY(runUntil([&] { return m_link->eepromProgress.size() > 100; }));
        m_link->handler.cancelEepromWrite();
        const int sent = m_link->port->texts.size() * blockSize;
        checkThatTheDeviceRepliesAfterACancel();
        // All that was sent has been written, and the rest is unchanged.
        QCOMPARE(deviceBlocks().join().toHex(), (data.left(sent) + before.mid(sent)).toHex());
    }

private:
    // Reads the log and compares it with that of the device.
    void readLog()
    {
        m_link->handler.readLog();
        QVERIFY(m_link->waitFor(text("log")));
        QVERIFY(m_link->logMatchesDevice());
    }

    QByteArrayList deviceBlocks()
    {
        QByteArrayList blocks;
        for (const QByteArray &digits : m_link->simulator.control("memory")) {
            blocks += QByteArray::fromHex(digits);
        }
        return blocks;
    }

    void checkThatTheDeviceRepliesAfterACancel()
    {
        QVERIFY(m_link->isIdle());
        QTRY_COMPARE(m_link->events, QStringList{text("allJobsDone")});
        m_link->clearRecords();
        m_link->handler.readValue(text("altitude"));
        QVERIFY(m_link->waitForAllJobsDone());
        QCOMPARE(m_link->events, texts("read altitude=120|allJobsDone"));
        QCOMPARE(m_link->port->texts.size(), 1);
    }

    QScopedPointer<DeviceLink> m_link;
};

KV_TEST_CORE_MAIN(TestDeviceLogAndEeprom)

#include "tst_devicelogandeeprom.moc"
