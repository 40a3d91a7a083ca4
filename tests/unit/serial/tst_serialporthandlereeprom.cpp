// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/serial/handlerfixture.h"

#include <QtTest/QtTest>

namespace {

constexpr int blockCount = 1024;
constexpr int blockSize = 64;
constexpr int imageSize = 65535;

// 64 bytes that depend on the block and on their position.
QByteArray blockData(int block)
{
    QByteArray data;
    for (int i = 0; i < blockSize; ++i) {
        data += static_cast<char>((block * 7 + i * 3 + 1) & 0xff);
    }
    return data;
}

QString readReply(int block)
{
    return eepromReply(block, latin1("00"));
}

QString writeReply()
{
    return latin1("\r\nPlease input 64 bytes\r\n\r\nDone\r\n");
}

// A connected handler and the results that it reports.
struct EepromFixture : HandlerFixture
{
    EepromFixture()
    {
        QObject::connect(&handler, &SerialPortHandlerInterface::actionFinished,
                         [this](SerialPortActionType action, const QVariant &result) {
                             actions.append(action);
                             results.append(result);
                         });
        connectDevice();
    }

    /// Reports the block while others of its type wait, or as the last one.
    void reportRead(quint16 block, const QByteArray &data, bool othersWait)
    {
        queue->waiting.clear();
        if (othersWait) {
            queue->waiting.append(SerialPortJobType::JobReadEepromBlock);
        }
        emit queue->eepromBlockRead(block, data);
    }
    QByteArray image() const { return results.last().toByteArray(); }

    QVector<SerialPortActionType> actions;
    QVariantList results;
};

} // namespace

class TestSerialPortHandlerEeprom : public QObject
{
    Q_OBJECT

private slots:
    void readsAllBlocksInOrder()
    {
        EepromFixture f;
        f.handler.readEeprom();
        QCOMPARE(f.queue->jobs.size(), blockCount);
        for (int block = 0; block < blockCount; ++block) {
            QCOMPARE(f.queue->jobs.at(block)->type(), SerialPortJobType::JobReadEepromBlock);
            QCOMPARE(f.bytesOf(block),
                     "\r\neeprom --read_block " + QByteArray::number(block) + "\r\n");
        }
    }

    void writesAllBlocksInOrder_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("every byte") << 65536;
        QTest::newRow("image as it is read") << imageSize;
        QTest::newRow("more than fits") << 65600;
        QTest::newRow("two blocks") << 100;
        QTest::newRow("one byte") << 1;
        QTest::newRow("nothing") << 0;
    }

    void writesAllBlocksInOrder()
    {
        QFETCH(int, size);
        QByteArray data(size, '\0');
        for (int i = 0; i < size; ++i) {
            data[i] = static_cast<char>((i * 5 + i / 256) & 0xff);
        }
        EepromFixture f;
        f.handler.writeEeprom(data);
        QCOMPARE(f.queue->jobs.size(), blockCount);
        for (int block = 0; block < blockCount; ++block) {
            QCOMPARE(f.queue->jobs.at(block)->type(), SerialPortJobType::JobWriteEepromBlock);
            QCOMPARE(f.bytesOf(block),
                     "\r\neeprom --write_block " + QByteArray::number(block) + "\r\n"
                         + data.mid(block * blockSize, blockSize));
        }
    }

    void shortDataLeavesShortAndEmptyBlocks()
    {
        EepromFixture f;
        f.handler.writeEeprom(QByteArray(100, 'x'));
        QCOMPARE(f.bytesOf(0), "\r\neeprom --write_block 0\r\n" + QByteArray(64, 'x'));
        QCOMPARE(f.bytesOf(1), "\r\neeprom --write_block 1\r\n" + QByteArray(36, 'x'));
        QCOMPARE(f.bytesOf(2), QByteArray("\r\neeprom --write_block 2\r\n"));
        QCOMPARE(f.bytesOf(1023), QByteArray("\r\neeprom --write_block 1023\r\n"));
    }

    void needsAConnection()
    {
        HandlerFixture f;
        f.handler.readEeprom();
        f.handler.writeEeprom(QByteArray(64, 'x'));
        QVERIFY(f.queue->jobs.isEmpty());
    }

    void percentageRunsFromZeroToHundred_data()
    {
        QTest::addColumn<bool>("reading");
        QTest::newRow("read") << true;
        QTest::newRow("write") << false;
    }

    void percentageRunsFromZeroToHundred()
    {
        QFETCH(bool, reading);
        EepromFixture f;
        if (reading) {
            f.handler.readEeprom();
        } else {
            f.handler.writeEeprom(QByteArray());
        }
        QVector<int> percentages;
        for (int block = 0; block < blockCount; ++block) {
            const QVariant result = f.resultOf(block, reading ? readReply(block) : writeReply());
            QCOMPARE(result.userType(), int(QMetaType::Int));
            percentages.append(result.toInt());
            QCOMPARE(percentages.last(), int(block / 1023.0 * 100));
        }
        QCOMPARE(percentages.at(0), 0);
        QCOMPARE(percentages.at(1), 0);
        QCOMPARE(percentages.at(10), 0);
        QCOMPARE(percentages.at(11), 1);
        QCOMPARE(percentages.at(511), 49);
        QCOMPARE(percentages.at(512), 50);
        QCOMPARE(percentages.at(1022), 99);
        QCOMPARE(percentages.at(1023), 100);
    }

    void imageOfAFullRead()
    {
        EepromFixture f;
        f.handler.readEeprom();
        QByteArray expected;
        for (int block = 0; block < blockCount; ++block) {
            expected += block < blockCount - 1 ? blockData(block).left(1) : blockData(block);
            QVERIFY(f.actions.isEmpty());
            f.reportRead(static_cast<quint16>(block), blockData(block), block < blockCount - 1);
        }
        expected += QByteArray(imageSize - expected.size(), '\0');
        QCOMPARE(f.actions,
                 QVector<SerialPortActionType>({SerialPortActionType::ActionEepromRead}));
        QCOMPARE(f.results.last().userType(), int(QMetaType::QByteArray));
        QCOMPARE(f.image().size(), imageSize);
        QVERIFY(f.image() == expected);
    }

    void imageIsRebuiltByEachRead()
    {
        EepromFixture f;
        f.handler.readEeprom();
        f.reportRead(0, QByteArray(64, 'x'), true);
        f.handler.readEeprom();
        f.reportRead(1, "y", false);
        QCOMPARE(f.image().size(), imageSize);
        QCOMPARE(f.image().left(4), QByteArray("\0y\0\0", 4));
    }

    void keepsTheImageAfterTheLastBlock()
    {
        EepromFixture f;
        f.handler.readEeprom();
        f.reportRead(0, "abc", false);
        f.reportRead(1, "x", false);
        QCOMPARE(f.image().left(4), QByteArray("axc\0", 4));
    }

    void imageGrowsToTheOffset_data()
    {
        QTest::addColumn<bool>("afterRead");
        QTest::addColumn<int>("block");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("size");
        QTest::newRow("no read before") << false << 0 << QByteArray("abc") << 3;
        QTest::newRow("no read before, with a gap") << false << 5 << QByteArray("abc") << 8;
        QTest::newRow("nothing") << false << 5 << QByteArray() << 0;
        QTest::newRow("last byte of the buffer") << true << 65534 << QByteArray("a") << 65535;
        QTest::newRow("one past the end") << true << 65535 << QByteArray("a") << 65536;
        QTest::newRow("over the end") << true << 65534 << QByteArray("ab") << 65536;
    }

    void imageGrowsToTheOffset()
    {
        QFETCH(bool, afterRead);
        QFETCH(int, block);
        QFETCH(QByteArray, data);
        QFETCH(int, size);
        EepromFixture f;
        if (afterRead) {
            f.handler.readEeprom();
        }
        f.reportRead(static_cast<quint16>(block), data, false);
        QCOMPARE(f.image().size(), size);
        QCOMPARE(f.image().mid(block, data.size()), data);
    }

    void offsetWrapsAround()
    {
        EepromFixture f;
        f.handler.readEeprom();
        f.reportRead(65535, "abc", false);
        QCOMPARE(f.image().size(), 65536);
        QCOMPARE(f.image().left(3), QByteArray("bc\0", 3));
        QCOMPARE(f.image().at(65535), 'a');
    }

    void reportedImageDoesNotChange()
    {
        EepromFixture f;
        f.handler.readEeprom();
        f.reportRead(0, "a", false);
        const QByteArray image = f.image();
        f.reportRead(0, "b", true);
        f.handler.readEeprom();
        QCOMPARE(image.at(0), 'a');
    }

    void readEndsWhenNoBlockWaits()
    {
        EepromFixture f;
        f.reportRead(3, "a", true);
        QVERIFY(f.actions.isEmpty());
        f.reportRead(3, "a", false);
        QCOMPARE(f.actions,
                 QVector<SerialPortActionType>({SerialPortActionType::ActionEepromRead}));
    }

    void writeEndsWhenNoBlockWaits()
    {
        EepromFixture f;
        f.queue->waiting = {SerialPortJobType::JobWriteEepromBlock};
        emit f.queue->eepromBlockWritten(1023);
        QVERIFY(f.actions.isEmpty());
        f.queue->waiting.clear();
        emit f.queue->eepromBlockWritten(0);
        QCOMPARE(f.actions,
                 QVector<SerialPortActionType>({SerialPortActionType::ActionEepromWritten}));
        QVERIFY(!f.results.last().isValid());
    }

    void eachTypeWaitsForItsOwnBlocks()
    {
        EepromFixture f;
        f.queue->waiting = {SerialPortJobType::JobWriteEepromBlock,
                            SerialPortJobType::JobReadMeasurements};
        emit f.queue->eepromBlockRead(0, "a");
        QCOMPARE(f.actions.size(), 1);
        f.queue->waiting = {SerialPortJobType::JobReadEepromBlock};
        emit f.queue->eepromBlockWritten(0);
        QCOMPARE(f.actions.size(), 2);
    }

    void relaysTheReportOfEachBlock()
    {
        EepromFixture f;
        emit f.queue->actionFinished(SerialPortActionType::ActionEepromBlockRead, 12);
        emit f.queue->actionFinished(SerialPortActionType::ActionEepromBlockWritten, 34);
        turnEventLoop();
        QCOMPARE(f.actions,
                 QVector<SerialPortActionType>({SerialPortActionType::ActionEepromBlockRead,
                                                SerialPortActionType::ActionEepromBlockWritten}));
        QCOMPARE(f.results, QVariantList({12, 34}));
    }

    void cancelRemovesTheBlocksOfItsType()
    {
        EepromFixture f;
        f.handler.cancelEepromRead();
        f.handler.cancelEepromWrite();
        QCOMPARE(f.queue->calls, QStringList({latin1("removeJobs 15"), latin1("removeJobs 16")}));
        turnEventLoop();
        QVERIFY(f.actions.isEmpty());
    }
};

KV_TEST_CORE_MAIN(TestSerialPortHandlerEeprom)
#include "tst_serialporthandlereeprom.moc"
