// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/serial/handlerfixture.h"

#include <QtTest/QtTest>

namespace {

constexpr int blockCount = 1024;
constexpr int blockSize = 64;
constexpr int imageSize = 65535;

// Bytes that depend on their block and position.
QByteArray patternOf(int size)
{
    QByteArray data(size, '\0');
    for (int i = 0; i < size; ++i) {
        data[i] = static_cast<char>((i * 5 + i / 256) & 0xff);
    }
    return data;
}

// 0 for the first block, 100 for the last one.
QVariant percentageOf(int block) { return int(block / 1023.0 * 100); }

// A connected handler and the last image that it reported.
struct EepromFixture : HandlerFixture
{
    EepromFixture()
    {
        QObject::connect(
            &handler, &SerialPortHandlerInterface::actionFinished,
            [this](SerialPortActionType, const QVariant &result) { image = result.toByteArray(); });
        connectDevice();
    }

    /// Reports the last block of a read.
    void reportLastRead(quint16 block, const QByteArray &data)
    {
        queue->waitingTypes.clear();
        emit queue->eepromBlockRead(block, data);
    }

    QByteArray image;
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
            QCOMPARE(f.bytesSentBy(block),
                     "\r\neeprom --read_block " + QByteArray::number(block) + "\r\n");
            QCOMPARE(f.resultOf(block, eepromBlockReply(block, text("00"))), percentageOf(block));
        }
    }

    void writesAllBlocksInOrder_data()
    {
        QTest::addColumn<int>("size");
        QTest::addRow("size of the EEPROM") << 65536;
        QTest::addRow("size of an image that was read") << imageSize;
        QTest::addRow("larger than the EEPROM") << 65600;
        QTest::addRow("two blocks") << 100;
        QTest::addRow("one byte") << 1;
        QTest::addRow("empty") << 0;
    }

    void writesAllBlocksInOrder()
    {
        QFETCH(int, size);
        const QByteArray data = patternOf(size);
        const QString reply = text("\r\nPlease input 64 bytes\r\n\r\nDone\r\n");
        EepromFixture f;
        f.handler.writeEeprom(data);
        QCOMPARE(f.queue->jobs.size(), blockCount);
        for (int block = 0; block < blockCount; ++block) {
            QCOMPARE(f.queue->jobs.at(block)->type(), SerialPortJobType::JobWriteEepromBlock);
            QCOMPARE(f.bytesSentBy(block),
                     "\r\neeprom --write_block " + QByteArray::number(block) + "\r\n"
                         + data.mid(block * blockSize, blockSize));
            QCOMPARE(f.resultOf(block, reply), percentageOf(block));
        }
    }

    void needsAConnection()
    {
        HandlerFixture f;
        f.handler.readEeprom();
        f.handler.writeEeprom(QByteArray(64, 'x'));
        QVERIFY(f.queue->jobs.isEmpty());
    }

    void combinesAllBlocksOfAReadInTheImage()
    {
        const QByteArray data = patternOf(blockCount * blockSize);
        EepromFixture f;
        f.handler.readEeprom();
        f.queue->waitingTypes = {SerialPortJobType::JobReadEepromBlock};
        QByteArray expected;
        for (int block = 0; block < blockCount - 1; ++block) {
            expected += data.at(block * blockSize);
            emit f.queue->eepromBlockRead(static_cast<quint16>(block),
                                          data.mid(block * blockSize, blockSize));
        }
        QCOMPARE(f.events, QStringList());
        f.reportLastRead(blockCount - 1, data.right(blockSize));
        expected += data.right(blockSize);
        QCOMPARE(f.events, texts("actionFinished ActionEepromRead QByteArray 65535"));
        QVERIFY(f.image == expected + QByteArray(imageSize - expected.size(), '\0'));
    }

    void startsANewImageForEachRead()
    {
        EepromFixture f;
        f.handler.readEeprom();
        f.reportLastRead(0, "abc");
        f.reportLastRead(1, "x");
        const QByteArray firstImage = f.image;
        QCOMPARE(firstImage.left(4), QByteArray("axc\0", 4));
        f.handler.readEeprom();
        f.reportLastRead(1, "y");
        QCOMPARE(f.image.size(), imageSize);
        QCOMPARE(f.image.left(4), QByteArray("\0y\0\0", 4));
        QCOMPARE(firstImage.left(4), QByteArray("axc\0", 4));
    }

    void extendsTheImageToTheOffsetOfTheBlock_data()
    {
        QTest::addColumn<bool>("afterRead");
        QTest::addColumn<int>("block");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("size");
        QTest::addRow("no read before") << false << 0 << QByteArray("abc") << 3;
        QTest::addRow("no read before, with a gap") << false << 5 << QByteArray("abc") << 8;
        QTest::addRow("no data") << false << 5 << QByteArray() << 0;
        QTest::addRow("last byte of the buffer") << true << 65534 << QByteArray("a") << 65535;
        QTest::addRow("one past the end") << true << 65535 << QByteArray("a") << 65536;
        QTest::addRow("across the end") << true << 65534 << QByteArray("ab") << 65536;
    }

    void extendsTheImageToTheOffsetOfTheBlock()
    {
        QFETCH(bool, afterRead);
        QFETCH(int, block);
        QFETCH(QByteArray, data);
        QFETCH(int, size);
        EepromFixture f;
        if (afterRead) {
            f.handler.readEeprom();
        }
        f.reportLastRead(static_cast<quint16>(block), data);
        QCOMPARE(f.image.size(), size);
        QCOMPARE(f.image.mid(block, data.size()), data);
    }

    void continuesAtOffset0After65535()
    {
        EepromFixture f;
        f.handler.readEeprom();
        f.reportLastRead(65535, "abc");
        QCOMPARE(f.image.size(), 65536);
        QCOMPARE(f.image.left(3), QByteArray("bc\0", 3));
        QCOMPARE(f.image.at(65535), 'a');
    }

    void finishesWhenNoBlockJobOfTheOperationWaits()
    {
        EepromFixture f;
        f.queue->waitingTypes = {SerialPortJobType::JobReadEepromBlock};
        emit f.queue->eepromBlockRead(3, "a");
        QCOMPARE(f.events, QStringList());
        emit f.queue->eepromBlockWritten(0);
        QCOMPARE(f.events, texts("actionFinished ActionEepromWritten"));
        f.queue->waitingTypes = {SerialPortJobType::JobWriteEepromBlock,
                                 SerialPortJobType::JobReadMeasurements};
        emit f.queue->eepromBlockWritten(1023);
        QCOMPARE(f.events, texts("actionFinished ActionEepromWritten"));
        emit f.queue->eepromBlockRead(3, "a");
        deliverPostedEvents();
        QCOMPARE(f.events,
                 texts("actionFinished ActionEepromWritten|"
                       "actionFinished ActionEepromRead QByteArray 4"));
    }
};

KV_TEST_CORE_MAIN(TestSerialPortHandlerEeprom)
#include "tst_serialporthandlereeprom.moc"
