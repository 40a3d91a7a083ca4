// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/deviceharness.h"

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

/// Starts the bootloader of @p harness and the transfer of an image.
void startTransfer(DeviceHarness &harness)
{
    harness.device.powerCycle();
    harness.device.receive("b");
    harness.output.clear();
    harness.pieces.clear();
}

} // namespace

class TestBootloader : public QObject
{
    Q_OBJECT

private slots:
    void sendsItsGreetingAndNothingElse()
    {
        DeviceHarness harness;
        harness.device.powerCycle();
        QVERIFY(harness.output.endsWith("BOOT"));
        harness.output.clear();
        harness.device.receive("xyz\r\n");
        QCOMPARE(harness.output, QByteArray());
        harness.device.receive("b");
        QCOMPARE(harness.output, QByteArray());
    }

    void startsTheFirmwareWithoutAnImage_data()
    {
        QTest::addColumn<QByteArray>("startByte");
        QTest::addRow("without a start byte") << QByteArray();
        QTest::addRow("after a start byte") << QByteArray("b");
    }

    void startsTheFirmwareWithoutAnImage()
    {
        QFETCH(QByteArray, startByte);
        DeviceHarness harness;
        harness.device.powerCycle();
        harness.output.clear();
        harness.device.receive(startByte);
        QTRY_VERIFY(harness.output.endsWith("KVT $ "));
        QVERIFY(harness.output.startsWith("\r\nPerforming"));
        QVERIFY(harness.device.bootloader().image().isEmpty());
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
        QFile file(folder.filePath(QStringLiteral("image.bin")));
        DeviceHarness harness([&](DeviceOptions &o) {
            o.imageSize = size;
            o.imageFile = file.fileName();
        });
        startTransfer(harness);
        const QByteArray image = imageOf(size);
        for (int offset = 0; offset < size; offset += 16) {
            harness.device.receive(image.mid(offset, 16));
            QCOMPARE(harness.output.size(), offset / 16 + 1);
        }
        QCOMPARE(harness.output, answers);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), image);
        QCOMPARE(harness.device.bootloader().image(), image);
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
        DeviceHarness harness;
        startTransfer(harness);
        harness.device.receive(imageOf(size));
        QTRY_VERIFY(harness.output.startsWith(answers));
        QCOMPARE(harness.device.bootloader().image(), imageOf(size));
        QTRY_VERIFY(harness.output.endsWith("KVT $ "));
        QVERIFY(harness.output.startsWith(answers + "\r\nPerforming selftest"));
    }

    void keepsTheOldImageWhenATransferOfKnownSizeStops()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.imageSize = 64; });
        startTransfer(harness);
        harness.device.receive(imageOf(40));
        QCOMPARE(harness.output, QByteArray("**"));
        QTRY_VERIFY(harness.output.endsWith("BOOT"));
        QVERIFY(harness.device.bootloader().image().isEmpty());
        harness.device.receive("b" + imageOf(64));
        QVERIFY(harness.output.endsWith("***."));
    }

    void endsATransferAtABadBlock_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("answers");
        QTest::addRow("refused") << QByteArray("block-refused@2") << QByteArray("*!");
        QTest::addRow("unanswered") << QByteArray("block-unanswered@3") << QByteArray("**");
    }

    void endsATransferAtABadBlock()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, answers);
        DeviceHarness harness([](DeviceOptions &o) { o.imageSize = 64; });
        QVERIFY(harness.fault(fault));
        startTransfer(harness);
        harness.device.receive(imageOf(64));
        QCOMPARE(harness.output, answers);
        QVERIFY(harness.events.contains("fault " + fault));
        QTRY_COMPARE(harness.output, answers + "\r\nOrvanta KVT BOOT");
        harness.device.receive("b" + imageOf(64));
        QVERIFY(harness.output.endsWith("***."));
    }

    void refusesABlockEachTimeOnRequest()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.imageSize = 64; });
        QVERIFY(harness.fault("block-refused-always@1"));
        for (int attempt = 0; attempt < 2; ++attempt) {
            startTransfer(harness);
            harness.device.receive(imageOf(16));
            QCOMPARE(harness.output, QByteArray("!"));
        }
    }

    void changesTheAnswerToTheLastBlock_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("lastAnswer");
        QTest::addColumn<int>("knownSize");
        QTest::addColumn<int>("size");
        for (const char *fault : {"glued-answers", "final-star"}) {
            const QByteArray answer = fault[0] == 'g' ? "*." : "*";
            QTest::addRow("%s, known size, short block", fault)
                << QByteArray(fault) << answer << 40 << 40;
            QTest::addRow("%s, known size, full block", fault)
                << QByteArray(fault) << answer << 48 << 48;
            QTest::addRow("%s, unknown size, short block", fault)
                << QByteArray(fault) << answer << 0 << 40;
        }
    }

    void changesTheAnswerToTheLastBlock()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QByteArray, lastAnswer);
        QFETCH(int, knownSize);
        QFETCH(int, size);
        DeviceHarness harness([=](DeviceOptions &o) { o.imageSize = knownSize; });
        QVERIFY(harness.fault(fault));
        startTransfer(harness);
        harness.device.receive(imageOf(size));
        QTRY_VERIFY(harness.pieces.size() >= 3);
        QCOMPARE(harness.pieces.at(0).bytes, QByteArray("*"));
        QCOMPARE(harness.pieces.at(2).bytes, lastAnswer);
        QCOMPARE(harness.pieces.at(2).delivery, Delivery::OneChunk);
        QTRY_VERIFY(harness.output.endsWith("KVT $ "));
        QVERIFY(harness.output.startsWith("**" + lastAnswer + "\r\nPerforming"));
        QCOMPARE(harness.device.bootloader().image(), imageOf(size));
    }

    void gluesTheAnswersOfAMiddleBlock()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.imageSize = 64; });
        QVERIFY(harness.fault("glued-answers@2"));
        startTransfer(harness);
        harness.device.receive(imageOf(48));
        QCOMPARE(harness.output, QByteArray("**.*"));
    }

    void endsItsGreetingWithALineEnd()
    {
        DeviceHarness harness;
        QVERIFY(harness.fault("boot-with-line-end"));
        harness.device.powerCycle();
        QCOMPARE(harness.pieces.size(), 1);
        QVERIFY(harness.pieces.first().bytes.endsWith("BOOT\r\n"));
        QCOMPARE(harness.pieces.first().delivery, Delivery::OneChunk);
    }

    void hangsUpAfterSomeBytesOfTheImage()
    {
        DeviceHarness harness([](DeviceOptions &o) { o.imageSize = 64; });
        QVERIFY(harness.fault("hangup-input:40"));
        startTransfer(harness);
        harness.device.receive(imageOf(39));
        QCOMPARE(harness.hangUps, 0);
        harness.device.receive(imageOf(25));
        QCOMPARE(harness.hangUps, 1);
        QCOMPARE(harness.output, QByteArray("**"));
    }
};

KV_TEST_CORE_MAIN(TestBootloader)

#include "tst_bootloader.moc"
