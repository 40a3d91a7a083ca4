// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/integration/devicelink.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>

namespace {

constexpr int blockCount = 1024;
constexpr int blockSize = 64;
constexpr int imageSize = 65535;

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

QList<QByteArray> blocksOf(SimulatorProcess &simulator)
{
    QList<QByteArray> blocks;
    for (const QByteArray &digits : simulator.control("memory")) {
        blocks += QByteArray::fromHex(digits);
    }
    return blocks;
}

// The image as the tool puts it together: each block at the offset of its number, so that of all
// but the last only the first byte remains.
QByteArray imageOf(const QList<QByteArray> &blocks)
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
    void readsTheImageInItsOddAssembly();
    void writesEveryBlock();
    void givesTheDeviceWhatIsThereOfAShortFile();
    void canBeCancelledWhileReading();
    void canBeCancelledWhileWriting();
    void storesTheSettingsAtTheFront();
    void dropsTheLastDigitOfAnOddBlock();
    void sendsAgainABlockThatIsNotHexadecimal();
    void stallsAtABlockThatStaysWrong();
};

void TestDeviceMemory::readsTheImageInItsOddAssembly()
{
    DeviceLink link;
    QVERIFY(link.start(text("--seed 5")));
    QVERIFY(link.connectDevice());
    const QList<QByteArray> blocks = blocksOf(link.simulator);
    QCOMPARE(blocks.size(), blockCount);
    link.handler.readEeprom();
    QCOMPARE(link.queue->jobs().size(), blockCount - 1);
    QVERIFY(link.waitForDone());

    QCOMPARE(link.image.size(), imageSize);
    QVERIFY(link.image == imageOf(blocks));
    const QStringList expected = {text("finished 8"), text("allJobsDone")};
    QCOMPARE(link.events, expected);
    QCOMPARE(link.memoryProgress.size(), blockCount);
    for (int block = 0; block < blockCount; ++block) {
        QCOMPARE(link.memoryProgress.at(block), static_cast<int>(block / 1023.0 * 100));
        QCOMPARE(link.port->texts.at(block), text("\r\neeprom --read_block %1\r\n").arg(block));
    }
    QCOMPARE(link.port->texts.size(), blockCount);
}

void TestDeviceMemory::writesEveryBlock()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    const QByteArray data = pattern(blockCount * blockSize);
    link.handler.writeEeprom(data);
    QVERIFY(link.waitForDone());
    const QStringList expected = {text("finished 9"), text("allJobsDone")};
    QCOMPARE(link.events, expected);
    QCOMPARE(link.memoryProgress.size(), blockCount);
    QCOMPARE(link.memoryProgress.last(), 100);
    const QList<QByteArray> blocks = blocksOf(link.simulator);
    for (int block = 0; block < blockCount; ++block) {
        QCOMPARE(blocks.at(block).toHex(), data.mid(block * blockSize, blockSize).toHex());
    }

    link.forget();
    link.handler.readEeprom();
    QVERIFY(link.waitForDone());
    QVERIFY(link.image == imageOf(blocks));
}

void TestDeviceMemory::givesTheDeviceWhatIsThereOfAShortFile()
{
    DeviceLink link;
    QVERIFY(link.start(text("--block-idle-ms 50")));
    QVERIFY(link.connectDevice());
    const QList<QByteArray> before = blocksOf(link.simulator);
    const QByteArray data = pattern(100);
    link.handler.writeEeprom(data);
    QCOMPARE(link.queue->jobs().size(), blockCount - 1);
    // The device gives up on 36 bytes and says so, which is no answer to the job.
    link.hurry(250);
    QVERIFY(link.waitForStall());
    QCOMPARE(link.sends(text("eeprom --write_block 0")), 1);
    QCOMPARE(link.sends(text("eeprom --write_block 1")), 5);
    QCOMPARE(link.sends(text("eeprom --write_block 2")), 0);
    QCOMPARE(link.port->blocks.first(), data.left(blockSize));
    QCOMPARE(link.port->blocks.last(), data.mid(blockSize));
    QList<QByteArray> after = blocksOf(link.simulator);
    QCOMPARE(after.first(), data.left(blockSize));
    after[0] = before.first();
    QVERIFY(after == before);
    link.handler.cancelEepromWrite();
    QTRY_COMPARE(link.events, QStringList{text("allJobsDone")});
    QVERIFY(link.isIdle());
}

void TestDeviceMemory::canBeCancelledWhileReading()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    link.handler.readEeprom();
    QVERIFY(runUntil([&] { return link.memoryProgress.size() > 100; }));
    link.handler.cancelEepromRead();
    QVERIFY(link.isIdle());
    QVERIFY(!link.queue->hasJob(SerialPortJobType::JobReadEepromBlock));
    const int sent = link.port->texts.size();
    QVERIFY(sent > 100 && sent < blockCount);
    QTRY_COMPARE(link.events, QStringList{text("allJobsDone")});

    link.forget();
    link.handler.readValue(text("altitude"));
    QVERIFY(link.waitForDone());
    const QStringList expected = {text("read altitude=120"), text("allJobsDone")};
    QCOMPARE(link.events, expected);
    QCOMPARE(link.port->texts.size(), 1);
}

void TestDeviceMemory::canBeCancelledWhileWriting()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    const QList<QByteArray> before = blocksOf(link.simulator);
    const QByteArray data = pattern(blockCount * blockSize);
    link.handler.writeEeprom(data);
    QVERIFY(runUntil([&] { return link.memoryProgress.size() > 100; }));
    link.handler.cancelEepromWrite();
    QVERIFY(link.isIdle());
    const int sent = link.port->texts.size();
    QTRY_COMPARE(link.events, QStringList{text("allJobsDone")});
    link.forget();
    link.handler.readValue(text("hwver"));
    QVERIFY(link.waitForDone());
    QCOMPARE(link.events.first(), text("read hwver=B"));

    // What was written stays written, what was sent arrives, and the rest is as it was.
    const QList<QByteArray> after = blocksOf(link.simulator);
    for (int block = 0; block < blockCount; ++block) {
        const QByteArray expected =
            block < sent ? data.mid(block * blockSize, blockSize) : before.at(block);
        QCOMPARE(after.at(block), expected);
    }
}

void TestDeviceMemory::storesTheSettingsAtTheFront()
{
    DeviceLink link;
    QVERIFY(link.start(text("--write-ms 100")));
    QVERIFY(link.connectDevice());
    link.handler.setValue(text("altitude"), text("4711"));
    link.handler.writeToEeprom();
    QVERIFY(link.waitForDone());
    QCOMPARE(link.events.value(1), text("finished 0"));
    const QList<QByteArray> blocks = blocksOf(link.simulator);
    QVERIFY((blocks.at(0) + blocks.at(1) + blocks.at(2)).contains("altitude=4711\n"));
}

void TestDeviceMemory::dropsTheLastDigitOfAnOddBlock()
{
    DeviceLink link;
    QVERIFY(link.start(text("--seed 9")));
    QVERIFY(link.connectDevice());
    QVERIFY(link.simulator.fault("lost-byte@eeprom --read_block 1023:128"));
    link.handler.readEeprom();
    QVERIFY(link.waitForDone());
    QList<QByteArray> blocks = blocksOf(link.simulator);
    blocks.last().chop(1);
    QVERIFY(link.image == imageOf(blocks));
    QCOMPARE(link.port->texts.size(), blockCount);
}

void TestDeviceMemory::sendsAgainABlockThatIsNotHexadecimal()
{
    DeviceLink link;
    QVERIFY(link.start(text("--seed 9")));
    QVERIFY(link.connectDevice());
    QVERIFY(link.simulator.fault("malformed-block@1023"));
    link.handler.readEeprom();
    QVERIFY(link.waitForDone());
    QVERIFY(link.image == imageOf(blocksOf(link.simulator)));
    QCOMPARE(link.sends(text("eeprom --read_block 1023")), 2);
    QCOMPARE(link.port->texts.size(), blockCount + 1);
}

void TestDeviceMemory::stallsAtABlockThatStaysWrong()
{
    DeviceLink link;
    QVERIFY(link.start());
    QVERIFY(link.connectDevice());
    QVERIFY(link.simulator.fault("malformed-block-always@7"));
    link.handler.readEeprom();
    link.hurry(200);
    QVERIFY(link.waitForStall());
    QCOMPARE(link.sends(text("eeprom --read_block 7")), 5);
    QCOMPARE(link.sends(text("eeprom --read_block 8")), 0);
    QCOMPARE(link.memoryProgress.size(), 7);
    QCOMPARE(link.events, QStringList());
    link.handler.cancelEepromRead();
    QTRY_COMPARE(link.events, QStringList{text("allJobsDone")});
    QVERIFY(link.isIdle());
    link.handler.readValue(text("hwver"));
    QVERIFY(link.waitFor(text("read hwver=B")));
}

KV_TEST_CORE_MAIN(TestDeviceMemory)

#include "tst_devicememory.moc"
