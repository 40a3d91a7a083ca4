// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/devicelink.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>

namespace {

constexpr int blockCount = 1024;
constexpr int blockSize = 64;
constexpr int imageSize = 65535;

// Quirk: the tool puts each block at the offset of its number, so that of all but the last only the
// first byte remains.
QByteArray backupOf(const QList<QByteArray> &blocks)
{
    QByteArray image;
    for (const QByteArray &block : blocks) {
        image += block.at(0);
    }
    image += blocks.last().mid(1);
    return image + QByteArray(imageSize - image.size(), '\0');
}

// Bytes of every value, CR, LF and NUL among them, no two blocks alike.
QByteArray pattern(int size)
{
    QByteArray bytes;
    for (int index = 0; index < size; ++index) {
        bytes += static_cast<char>((index * 7 + index / blockSize) & 0xff);
    }
    return bytes;
}

} // namespace

class TestDeviceMemory : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_link.reset(new DeviceLink); }

    void readsTheImageByBlockNumber()
    {
        QVERIFY(m_link->startConnected(text("--seed 5")));
        const QList<QByteArray> blocks = devicesBlocks();
        QCOMPARE(blocks.size(), blockCount);
        m_link->handler.readEeprom();
        QCOMPARE(m_link->queue->jobs().size(), blockCount - 1);
        QVERIFY(m_link->waitForDone());

        QCOMPARE(m_link->image.size(), imageSize);
        QVERIFY(m_link->image == backupOf(blocks));
        QCOMPARE(m_link->events, QStringList({text("finished 8"), text("allJobsDone")}));
        QCOMPARE(m_link->memoryProgress.size(), blockCount);
        for (int block = 0; block < blockCount; ++block) {
            QCOMPARE(m_link->memoryProgress.at(block), static_cast<int>(block / 1023.0 * 100));
            QCOMPARE(m_link->port->texts.at(block),
                     text("\r\neeprom --read_block %1\r\n").arg(block));
        }
        QCOMPARE(m_link->port->texts.size(), blockCount);
    }

    void writesEveryBlock()
    {
        QVERIFY(m_link->startConnected());
        const QByteArray data = pattern(blockCount * blockSize);
        m_link->handler.writeEeprom(data);
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events, QStringList({text("finished 9"), text("allJobsDone")}));
        QCOMPARE(m_link->memoryProgress.size(), blockCount);
        QCOMPARE(m_link->memoryProgress.last(), 100);
        const QList<QByteArray> blocks = devicesBlocks();
        QCOMPARE(QByteArrayList(blocks).join().toHex(), data.toHex());

        m_link->clearRecords();
        m_link->handler.readEeprom();
        QVERIFY(m_link->waitForDone());
        QVERIFY(m_link->image == backupOf(blocks));
    }

    void sendsOnlyTheContentsOfAShortFile()
    {
        QVERIFY(m_link->startConnected(text("--block-idle-ms 50")));
        QList<QByteArray> expected = devicesBlocks();
        const QByteArray data = pattern(100);
        m_link->handler.writeEeprom(data);
        QCOMPARE(m_link->queue->jobs().size(), blockCount - 1);
        // The device times out after 36 bytes; its message does not match the reply.
        m_link->setTimeouts(250);
        QVERIFY(m_link->waitForStall());
        QCOMPARE(m_link->sends(text("eeprom --write_block 0")), 1);
        QCOMPARE(m_link->sends(text("eeprom --write_block 1")), 5);
        QCOMPARE(m_link->sends(text("eeprom --write_block 2")), 0);
        QCOMPARE(m_link->port->blocks.first(), data.left(blockSize));
        QCOMPARE(m_link->port->blocks.last(), data.mid(blockSize));
        expected[0] = data.left(blockSize);
        QVERIFY(devicesBlocks() == expected);
        m_link->handler.cancelEepromWrite();
        QTRY_COMPARE(m_link->events, QStringList{text("allJobsDone")});
        QVERIFY(m_link->isIdle());
    }

    void canBeCancelledWhileReading()
    {
        QVERIFY(m_link->startConnected());
        m_link->handler.readEeprom();
        QVERIFY(runUntil([&] { return m_link->memoryProgress.size() > 100; }));
        m_link->handler.cancelEepromRead();
        QVERIFY(m_link->isIdle());
        QVERIFY(!m_link->queue->hasJob(SerialPortJobType::JobReadEepromBlock));
        const int sent = m_link->port->texts.size();
        QVERIFY(sent > 100 && sent < blockCount);
        QTRY_COMPARE(m_link->events, QStringList{text("allJobsDone")});

        m_link->clearRecords();
        m_link->handler.readValue(text("altitude"));
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events, QStringList({text("read altitude=120"), text("allJobsDone")}));
        QCOMPARE(m_link->port->texts.size(), 1);
    }

    void canBeCancelledWhileWriting()
    {
        QVERIFY(m_link->startConnected());
        const QByteArray before = QByteArrayList(devicesBlocks()).join();
        const QByteArray data = pattern(blockCount * blockSize);
        m_link->handler.writeEeprom(data);
        QVERIFY(runUntil([&] { return m_link->memoryProgress.size() > 100; }));
        m_link->handler.cancelEepromWrite();
        QVERIFY(m_link->isIdle());
        const int sent = m_link->port->texts.size() * blockSize;
        QTRY_COMPARE(m_link->events, QStringList{text("allJobsDone")});
        m_link->clearRecords();
        m_link->handler.readValue(text("hwver"));
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events.first(), text("read hwver=B"));
        // All that was sent has been written, and the rest is unchanged.
        QCOMPARE(QByteArrayList(devicesBlocks()).join().toHex(),
                 (data.left(sent) + before.mid(sent)).toHex());
    }

    void findsTheStoredSettingsAtTheStartOfTheMemory()
    {
        QVERIFY(m_link->startConnected(text("--write-ms 100")));
        m_link->handler.setValue(text("altitude"), text("4711"));
        m_link->handler.writeToEeprom();
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events.value(1), text("finished 0"));
        QVERIFY(QByteArrayList(devicesBlocks().mid(0, 3)).join().contains("altitude=4711\n"));
    }

    void readsADamagedBlock_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<int>("lostBytes");
        QTest::addColumn<int>("sends");
        QTest::addRow("an odd digit is dropped")
            << QByteArray("lost-byte@eeprom --read_block 1023:128") << 1 << 1;
        QTest::addRow("what is not hexadecimal is read again")
            << QByteArray("malformed-block@1023") << 0 << 2;
    }

    void readsADamagedBlock()
    {
        QFETCH(QByteArray, fault);
        QFETCH(int, lostBytes);
        QFETCH(int, sends);
        QVERIFY(m_link->startConnected(text("--seed 9")));
        QVERIFY(m_link->simulator.fault(fault));
        m_link->handler.readEeprom();
        QVERIFY(m_link->waitForDone());
        QList<QByteArray> blocks = devicesBlocks();
        blocks.last().chop(lostBytes);
        QVERIFY(m_link->image == backupOf(blocks));
        QCOMPARE(m_link->sends(text("eeprom --read_block 1023")), sends);
        QCOMPARE(m_link->port->texts.size(), blockCount - 1 + sends);
    }

    void stopsAtABlockThatStaysWrong()
    {
        QVERIFY(m_link->startConnected());
        QVERIFY(m_link->simulator.fault("malformed-block-always@7"));
        m_link->handler.readEeprom();
        m_link->setTimeouts(200);
        QVERIFY(m_link->waitForStall());
        QCOMPARE(m_link->sends(text("eeprom --read_block 7")), 5);
        QCOMPARE(m_link->sends(text("eeprom --read_block 8")), 0);
        QCOMPARE(m_link->memoryProgress.size(), 7);
        QCOMPARE(m_link->events, QStringList());
        m_link->handler.cancelEepromRead();
        QTRY_COMPARE(m_link->events, QStringList{text("allJobsDone")});
        QVERIFY(m_link->isIdle());
        QVERIFY(m_link->canRead("hwver", "B"));
    }

private:
    QList<QByteArray> devicesBlocks()
    {
        QList<QByteArray> blocks;
        for (const QByteArray &digits : m_link->simulator.control("memory")) {
            blocks += QByteArray::fromHex(digits);
        }
        return blocks;
    }

    QScopedPointer<DeviceLink> m_link;
};

KV_TEST_CORE_MAIN(TestDeviceMemory)

#include "tst_devicememory.moc"
