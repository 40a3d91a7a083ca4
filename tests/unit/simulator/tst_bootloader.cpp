// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/devicedesk.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

using namespace Simulator;

namespace {

QByteArray imageOf(int bytes)
{
    QByteArray image;
    for (int index = 0; index < bytes; ++index) {
        image += static_cast<char>((index * 7 + index / 256) & 0xff);
    }
    return image;
}

/// Starts the bootloader of @p desk and tells it to take an image.
void enter(DeviceDesk &desk)
{
    desk.device.powerCycle();
    desk.device.receive("b");
    desk.output.clear();
    desk.pieces.clear();
}

} // namespace

class TestBootloader : public QObject
{
    Q_OBJECT

private slots:
    void greetsAndSaysNothingMore()
    {
        DeviceDesk desk;
        desk.device.powerCycle();
        QVERIFY(desk.output.endsWith("BOOT"));
        desk.output.clear();
        desk.device.receive("xyz\r\n");
        QCOMPARE(desk.output, QByteArray());
        desk.device.receive("b");
        QCOMPARE(desk.output, QByteArray());
    }

    void startsTheFirmwareWhenNobodyCallsForIt()
    {
        DeviceDesk desk;
        desk.device.powerCycle();
        QTRY_VERIFY(desk.output.endsWith("KVT $ "));
    }

    void startsTheFirmwareWhenNoImageComes()
    {
        DeviceDesk desk;
        enter(desk);
        QTRY_VERIFY(desk.output.endsWith("KVT $ "));
        QVERIFY(!desk.output.contains('.') || !desk.output.startsWith('.'));
        QVERIFY(desk.device.bootloader().image().isEmpty());
    }

    void answersEachBlockAndTheCompleteImage_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<QByteArray>("answers");
        QTest::addRow("1 byte") << 1 << QByteArray(".");
        QTest::addRow("15 bytes") << 15 << QByteArray(".");
        QTest::addRow("16 bytes") << 16 << QByteArray(".");
        QTest::addRow("17 bytes") << 17 << QByteArray("*.");
        QTest::addRow("32 bytes") << 32 << QByteArray("*.");
        QTest::addRow("40 bytes") << 40 << QByteArray("**.");
        QTest::addRow("65541 bytes") << 65541 << QByteArray(4096, '*') + '.';
    }

    void answersEachBlockAndTheCompleteImage()
    {
        QFETCH(int, size);
        QFETCH(QByteArray, answers);
        QTemporaryDir folder;
        DeviceOptions options = DeviceDesk::fast();
        options.imageSize = size;
        options.imageFile = folder.filePath(QStringLiteral("image.bin"));
        DeviceDesk desk(options);
        enter(desk);
        const QByteArray image = imageOf(size);
        for (int offset = 0; offset < size; offset += 16) {
            desk.device.receive(image.mid(offset, 16));
            QCOMPARE(desk.output.size(), offset / 16 + 1);
        }
        QCOMPARE(desk.output, answers);
        QFile file(options.imageFile);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), image);
        QCOMPARE(desk.device.bootloader().image(), image);
    }

    void endsAnImageOfUnknownSizeAtAPause_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<QByteArray>("answers");
        QTest::addRow("short block") << 5 << QByteArray(".");
        QTest::addRow("full and short block") << 21 << QByteArray("*.");
        QTest::addRow("full blocks") << 32 << QByteArray("**.");
    }

    void endsAnImageOfUnknownSizeAtAPause()
    {
        QFETCH(int, size);
        QFETCH(QByteArray, answers);
        DeviceDesk desk;
        enter(desk);
        desk.device.receive(imageOf(size));
        QTRY_VERIFY(desk.output.startsWith(answers));
        QCOMPARE(desk.device.bootloader().image(), imageOf(size));
        QTRY_VERIFY(desk.output.endsWith("KVT $ "));
        QVERIFY(desk.output.startsWith(answers + "\r\nPerforming selftest"));
    }

    void leavesTheOldImageWhenATransferOfKnownSizeStops()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.imageSize = 64;
        DeviceDesk desk(options);
        enter(desk);
        desk.device.receive(imageOf(40));
        QCOMPARE(desk.output, QByteArray("**"));
        QTRY_VERIFY(desk.output.endsWith("BOOT"));
        QVERIFY(desk.device.bootloader().image().isEmpty());
        desk.device.receive("b" + imageOf(64));
        QVERIFY(desk.output.endsWith("***."));
    }

    void hearsNoMoreAfterARefusedBlock()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.imageSize = 64;
        DeviceDesk desk(options);
        QVERIFY(desk.fault("block-refused@2"));
        enter(desk);
        desk.device.receive(imageOf(64));
        QCOMPARE(desk.output, QByteArray("*!"));
        QVERIFY(desk.events.contains("fault block-refused@2"));
        QTRY_COMPARE(desk.output, QByteArray("*!\r\nOrvanta KVT BOOT"));
        desk.device.receive("b" + imageOf(64));
        QVERIFY(desk.output.endsWith("***."));
    }

    void refusesEachTimeWhenToldSo()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.imageSize = 64;
        DeviceDesk desk(options);
        QVERIFY(desk.fault("block-refused-always@1"));
        for (int attempt = 0; attempt < 2; ++attempt) {
            enter(desk);
            desk.device.receive(imageOf(16));
            QCOMPARE(desk.output, QByteArray("!"));
        }
    }

    void staysSilentOverAnUnansweredBlock()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("block-unanswered@3"));
        enter(desk);
        desk.device.receive(imageOf(64));
        QCOMPARE(desk.output, QByteArray("**"));
        QTRY_COMPARE(desk.output, QByteArray("**\r\nOrvanta KVT BOOT"));
    }

    void gluesTheLastAnswers_data()
    {
        QTest::addColumn<int>("known");
        QTest::addColumn<int>("size");
        QTest::addRow("known size, short block") << 40 << 40;
        QTest::addRow("known size, full block") << 48 << 48;
        QTest::addRow("unknown size, short block") << 0 << 40;
    }

    void gluesTheLastAnswers()
    {
        QFETCH(int, known);
        QFETCH(int, size);
        DeviceOptions options = DeviceDesk::fast();
        options.imageSize = known;
        DeviceDesk desk(options);
        QVERIFY(desk.fault("glued-answers"));
        enter(desk);
        desk.device.receive(imageOf(size));
        QTRY_COMPARE(desk.pieces.size(), 3);
        QCOMPARE(desk.pieces.at(0).bytes, QByteArray("*"));
        QCOMPARE(desk.pieces.at(2).bytes, QByteArray("*."));
        QCOMPARE(desk.pieces.at(2).delivery, Delivery::OneChunk);
    }

    void gluesTheAnswersOfABlockInBetween()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.imageSize = 64;
        DeviceDesk desk(options);
        QVERIFY(desk.fault("glued-answers@2"));
        enter(desk);
        desk.device.receive(imageOf(48));
        QCOMPARE(desk.output, QByteArray("**.*"));
    }

    void answersTheLastBlockByAStarOnly_data() { gluesTheLastAnswers_data(); }

    void answersTheLastBlockByAStarOnly()
    {
        QFETCH(int, known);
        QFETCH(int, size);
        DeviceOptions options = DeviceDesk::fast();
        options.imageSize = known;
        DeviceDesk desk(options);
        QVERIFY(desk.fault("final-star"));
        enter(desk);
        desk.device.receive(imageOf(size));
        QTRY_VERIFY(desk.output.endsWith("KVT $ "));
        QVERIFY(desk.output.startsWith("***\r\nPerforming"));
        QCOMPARE(desk.device.bootloader().image(), imageOf(size));
    }

    void putsALineEndBehindItsGreeting()
    {
        DeviceDesk desk;
        QVERIFY(desk.fault("boot-with-line-end"));
        desk.device.powerCycle();
        QCOMPARE(desk.pieces.size(), 1);
        QVERIFY(desk.pieces.first().bytes.endsWith("BOOT\r\n"));
        QCOMPARE(desk.pieces.first().delivery, Delivery::OneChunk);
    }

    void losesTheLineAfterSomeBytesOfTheImage()
    {
        DeviceOptions options = DeviceDesk::fast();
        options.imageSize = 64;
        DeviceDesk desk(options);
        QVERIFY(desk.fault("hangup-input:40"));
        enter(desk);
        desk.device.receive(imageOf(39));
        QCOMPARE(desk.hangUps, 0);
        desk.device.receive(imageOf(25));
        QCOMPARE(desk.hangUps, 1);
        QCOMPARE(desk.output, QByteArray("**"));
    }
};

KV_TEST_CORE_MAIN(TestBootloader)

#include "tst_bootloader.moc"
