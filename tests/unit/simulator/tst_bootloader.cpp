// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fileio.h"
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/deviceharness.h"

using namespace Simulator;

namespace {

/// A device that expects a firmware image of @p imageSize bytes, 0 for any size.
struct ImageHarness : DeviceHarness
{
    explicit ImageHarness(int imageSize)
        : DeviceHarness([imageSize](DeviceOptions &o) { o.imageSize = imageSize; })
    { }

    /// Starts the bootloader and the transfer of an image, of which @p bytes are sent.
    void startTransfer(int bytes)
    {
        device.powerCycle();
        device.receive("b");
        output.clear();
        transmissions.clear();
        device.receive(FileIo::pseudoRandomBytes(bytes));
    }
};

} // namespace

class TestBootloader : public QObject
{
    Q_OBJECT

private slots:
    void sendsOnlyBannerBeforeFirstBlock()
    {
        DeviceHarness harness;
        harness.device.powerCycle();
        QVERIFY(harness.output.endsWith("BOOT"));
        harness.output.clear();
        harness.device.receive("xyz\r\nb");
        QCOMPARE(harness.output, QByteArray());
    }

    void startsFirmwareIfNoImageArrives()
    {
        for (const char *startByte : {"", "b"}) {
            DeviceHarness harness;
            harness.device.powerCycle();
            harness.output.clear();
            harness.device.receive(startByte);
            QTRY_VERIFY(harness.output.endsWith("KVT $ "));
            QVERIFY(harness.output.startsWith("\r\nPerforming"));
            QVERIFY(harness.device.bootloader().image().isEmpty());
        }
    }

    void repliesToEachBlockImmediately()
    {
        const struct
        {
            int size;
            QByteArray replies;
        } images[] = {{1, "."}, {16, "."}, {17, "*."}, {32, "*."}, {40, "**."}};
        for (const auto &image : images) {
            ImageHarness harness(image.size);
            harness.startTransfer(0);
            const QByteArray bytes = FileIo::pseudoRandomBytes(image.size);
            for (int offset = 0; offset < image.size; offset += 16) {
                harness.device.receive(bytes.mid(offset, 16));
                QCOMPARE(harness.output, image.replies.left(offset / 16 + 1));
            }
            QCOMPARE(harness.device.bootloader().image(), bytes);
        }
    }

    void pauseEndsImageOfUnknownSize()
    {
        const struct
        {
            int size;
            QByteArray replies;
        } images[] = {{5, "."}, {21, "*."}, {32, "**."}};
        for (const auto &image : images) {
            ImageHarness harness(0);
            harness.startTransfer(image.size);
            QTRY_VERIFY(harness.output.startsWith(image.replies));
            QCOMPARE(harness.device.bootloader().image(), FileIo::pseudoRandomBytes(image.size));
            QTRY_VERIFY(harness.output.endsWith("KVT $ "));
            QVERIFY(harness.output.startsWith(image.replies + "\r\nPerforming selftest"));
        }
    }

    void keepsOldImageIfTransferOfKnownSizeStops()
    {
        ImageHarness harness(64);
        harness.startTransfer(40);
        QCOMPARE(harness.output, QByteArray("**"));
        QTRY_VERIFY(harness.output.endsWith("BOOT"));
        QVERIFY(harness.device.bootloader().image().isEmpty());
        harness.device.receive("b" + QByteArray(64, 'x'));
        QVERIFY(harness.output.endsWith("BOOT***."));
    }

    void faultInBlockEndsTransfer()
    {
        const struct
        {
            QByteArray fault;
            QByteArray replies;
        } transfers[] = {{"block-rejected@2", "*!"}, {"block-unanswered@3", "**"}};
        for (const auto &transfer : transfers) {
            ImageHarness harness(64);
            QVERIFY(harness.addFault(transfer.fault));
            harness.startTransfer(64);
            QCOMPARE(harness.output, transfer.replies);
            QVERIFY(harness.events.contains("fault " + transfer.fault));
            QTRY_COMPARE(harness.output, transfer.replies + "\r\nOrvanta KVT BOOT");
            harness.device.receive("b" + QByteArray(64, 'x'));
            QVERIFY(harness.output.endsWith("BOOT***."));
        }
    }

    void countsBlocksOfEachTransferFromOne()
    {
        ImageHarness harness(64);
        QVERIFY(harness.addFault("block-rejected-always@1"));
        for (int attempt = 0; attempt < 2; ++attempt) {
            harness.startTransfer(16);
            QCOMPARE(harness.output, QByteArray("!"));
        }
    }

    void faultsChangeReplyToLastBlock()
    {
        const struct
        {
            const char *fault;
            int knownSize;
            int size;
            QByteArray lastReply;
        } transfers[] = {
            {"block-replies-in-one-chunk", 40, 40, "*."},
            {"block-replies-in-one-chunk", 48, 48, "*."},
            {"block-replies-in-one-chunk", 0, 40, "*."},
            {"final-star", 40, 40, "*"},
            {"final-star", 48, 48, "*"},
            {"final-star", 0, 40, "*"},
            {"final-star", 0, 48, "*"},
        };
        for (const auto &transfer : transfers) {
            ImageHarness harness(transfer.knownSize);
            QVERIFY(harness.addFault(transfer.fault));
            harness.startTransfer(transfer.size);
            QTRY_VERIFY(harness.transmissions.size() >= 3);
            QCOMPARE(harness.transmissions.at(2).bytes, transfer.lastReply);
            QCOMPARE(harness.transmissions.at(2).delivery, Delivery::OneChunk);
            QTRY_VERIFY(harness.output.endsWith("KVT $ "));
            QVERIFY(harness.output.startsWith("**" + transfer.lastReply + "\r\nPerforming"));
            QCOMPARE(harness.device.bootloader().image(), FileIo::pseudoRandomBytes(transfer.size));
        }
    }

    void sendsBothRepliesToMiddleBlockInOneChunk()
    {
        ImageHarness harness(64);
        QVERIFY(harness.addFault("block-replies-in-one-chunk@2"));
        harness.startTransfer(48);
        QCOMPARE(harness.output, QByteArray("**.*"));
    }

    void faultEndsBannerWithLineEnd()
    {
        DeviceHarness harness;
        QVERIFY(harness.addFault("boot-with-line-end"));
        harness.device.powerCycle();
        QCOMPARE(harness.transmissions.size(), 1);
        QVERIFY(harness.transmissions.first().bytes.endsWith("BOOT\r\n"));
        QCOMPARE(harness.transmissions.first().delivery, Delivery::OneChunk);
    }

    void faultHangsUpDuringImage()
    {
        ImageHarness harness(64);
        QVERIFY(harness.addFault("hangup-input:40"));
        harness.startTransfer(39);
        QCOMPARE(harness.hangUps, 0);
        harness.device.receive(QByteArray(25, 'x'));
        QCOMPARE(harness.hangUps, 1);
        QCOMPARE(harness.output, QByteArray("**"));
    }
};

KV_TEST_CORE_MAIN(TestBootloader)

#include "tst_bootloader.moc"
