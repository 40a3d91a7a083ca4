// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/devicelink.h"
#include "tests/kit/fileio.h"
#include "tests/kit/testmain.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

namespace {

constexpr int blockSize = 16;

// Begins with the bootloader's replies.
QByteArray imageOf(int size) { return ("*.!b" + FileIo::pseudoRandomBytes(size)).left(size); }

} // namespace

class TestDeviceFirmware : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder.reset(new QTemporaryDir);
        m_imageFile = m_folder->filePath(text("image.bin"));
        m_link.reset(new DeviceLink);
    }

    void transmitsTheImageByteForByte_data()
    {
        QTest::addColumn<int>("size");
        for (const int size : {1, 15, 16, 17, 32, 1000, 65536 + 5}) {
            QTest::addRow("%d bytes", size) << size;
        }
    }

    void transmitsTheImageByteForByte()
    {
        QFETCH(int, size);
        const QByteArray image = imageOf(size);
        startUpdate(image);
        QVERIFY(m_link->waitForAllJobsDone());
        QCOMPARE(m_link->events,
                 texts("finished ActionRebootForFirmware (no value)|"
                       "finished ActionBootloaderEntered (no value)|"
                       "finished ActionFirmwareTransmitted int 100|allJobsDone"));
        QVERIFY(FileIo::contents(m_imageFile) == image);

        QCOMPARE(m_link->port->blocks.size(), (size + blockSize - 1) / blockSize);
        QVERIFY(m_link->port->bytes == "reboot --really\r\nb" + image);
        // For the last block, completion is reported instead of progress.
        QVector<double> progress;
        for (int sent = blockSize; sent < size; sent += blockSize) {
            progress.append(static_cast<double>(sent) / size * 100);
        }
        QCOMPARE(m_link->firmwareProgress, progress);
        QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "console"; }));
        m_link->clearRecords();
        QVERIFY(m_link->readReturns("hwver", "B"));
    }

    void transmitsToADeviceThatTheUserRestarts()
    {
        QVERIFY(m_link->start(text("--image %1 --image-size 100").arg(m_imageFile)));
        // Never connected: the port is opened and nothing is sent.
        QVERIFY(m_link->handler.openPort());
        m_link->handler.rebootToBootloader();
        QVERIFY(m_link->isIdle());
        m_link->handler.updateFirmware(m_image);
        QVERIFY(m_link->port->bytes.isEmpty());
        m_link->simulator.control("restart");
        QVERIFY(m_link->waitForAllJobsDone());
        QVERIFY(FileIo::contents(m_imageFile) == m_image);
        QCOMPARE(m_link->port->bytes, "b" + m_image);
        QCOMPARE(m_link->events,
                 texts("finished ActionBootloaderEntered (no value)|"
                       "finished ActionFirmwareTransmitted int 100|allJobsDone"));
    }

    void waitsForTheSelfTestAfterARestart()
    {
        QVERIFY(m_link->startConnected(text("--reboot-ms 200 --boot-wait 100")));
        m_link->handler.reboot();
        QElapsedTimer time;
        time.start();
        QVERIFY(m_link->waitForAllJobsDone());
        QVERIFY2(time.elapsed() >= 300, "finished before the firmware could have started");
        QCOMPARE(m_link->events, texts("finished ActionReboot (no value)|allJobsDone"));
        QCOMPARE(m_link->port->bytes, QByteArray("reboot --really\r\n"));
        QCOMPARE(m_link->simulator.state("mode"), QByteArray("console"));
    }

    void canBeCancelledDuringTransfer()
    {
        startUpdate(imageOf(16000));
        QVERIFY(runUntil([&] { return m_link->firmwareProgress.size() > 100; }));
        m_link->handler.cancelFirmwareUpdate();
        QVERIFY(m_link->isIdle());
        QVERIFY(!m_link->queue->hasJob(SerialPortJobType::JobTransmitFirmwareBlock));
        QVERIFY(m_link->waitForAllJobsDone());
        QCOMPARE(m_link->events,
                 texts("finished ActionRebootForFirmware (no value)|"
                       "finished ActionBootloaderEntered (no value)|allJobsDone"));
        const int sent = m_link->port->blocks.size();
        QVERIFY(sent > 100 && sent < 110);
        QTest::qWait(100);
        QCOMPARE(m_link->port->blocks.size(), sent);
        QVERIFY(!QFile::exists(m_imageFile));
        reconnectAndRead();
    }

    void canBeCancelledWhileItWaitsForTheBootloader()
    {
        QVERIFY(startDevice(100));
        m_link->handler.updateFirmware(m_image);
        m_link->handler.cancelFirmwareUpdate();
        QVERIFY(m_link->isIdle());
        QVERIFY(m_link->waitForAllJobsDone());
        QCOMPARE(m_link->events, QStringList{text("allJobsDone")});
        QVERIFY(m_link->port->bytes.isEmpty());
        reconnectAndRead();
    }

    void reportsTheFailureOfABlock_data()
    {
        QTest::addColumn<int>("blocks"); // sent, the failed one included
        QTest::addRow("block-rejected@1") << 1;
        QTest::addRow("block-rejected@3") << 3;
        QTest::addRow("block-rejected@7") << 7;
        QTest::addRow("block-unanswered@3") << 3;
        QTest::addRow("block-replies-in-one-chunk") << 7; // all, the image is complete
        QTest::addRow("block-replies-in-one-chunk@2") << 2;
        QTest::addRow("hangup-input:1") << 1;
        QTest::addRow("hangup-input:16") << 2;
        QTest::addRow("hangup-input:17") << 2;
        QTest::addRow("hangup-input:33") << 3;
        QTest::addRow("hangup-input:99") << 7;
    }

    void reportsTheFailureOfABlock()
    {
        QFETCH(int, blocks);
        const QByteArray fault = QTest::currentDataTag();
        startUpdate(m_image, text("--fault ") + text(fault));
        m_link->setTimeouts(1000);
        QVERIFY(m_link->waitFor(text("failed ActionFirmwareBlockTransmitted")));
        QVERIFY(m_link->isIdle());
        QTest::qWait(100);
        QCOMPARE(m_link->port->blocks.size(), blocks);
        QCOMPARE(m_link->firmwareProgress.size(), blocks - 1);
        QCOMPARE(m_link->events.count(text("failed ActionFirmwareBlockTransmitted")), 1);
        QVERIFY(!m_link->events.contains(text("finished ActionFirmwareTransmitted int 100")));
        QCOMPARE(QFile::exists(m_imageFile), fault == "block-replies-in-one-chunk");
        if (fault.startsWith("hangup")) {
            m_link->handler.disconnectFromDevice();
            m_link->simulator.control("fault clear");
            QVERIFY(m_link->simulator.resume());
            m_link->replacePort();
            QVERIFY(m_link->handler.openPort());
        }
        reconnectAndRead();
    }

    void ignoresABootPromptWithALineEnd()
    {
        startUpdate(m_image, text("--fault boot-with-line-end"));
        QVERIFY(m_link->waitFor(text("finished ActionRebootForFirmware (no value)")));
        QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "bootloader"; }));
        QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "console"; }));
        QCOMPARE(m_link->events, QStringList{text("finished ActionRebootForFirmware (no value)")});
        // The job waits until the device is restarted or the user cancels.
        QVERIFY(m_link->queue->currentJob()->isRunning());
        QCOMPARE(m_link->queue->currentJob()->timeout(), 900000);
        QVERIFY(m_link->port->blocks.isEmpty());
        QCOMPARE(m_link->port->bytes, QByteArray("reboot --really\r\n"));

        m_link->simulator.control("fault clear");
        m_link->simulator.control("restart");
        QVERIFY(m_link->waitForAllJobsDone());
        QVERIFY(FileIo::contents(m_imageFile) == m_image);
    }

private:
    bool startDevice(int imageSize, const QString &options = QString())
    {
        return m_link->startConnected(
            text("--reboot-ms 300 --boot-wait 1500 --image %1 --image-size %2 ")
                .arg(m_imageFile)
                .arg(imageSize)
            + options);
    }

    // Starts the device and the update.
    void startUpdate(const QByteArray &image, const QString &options = QString())
    {
        QVERIFY(startDevice(image.size(), options));
        m_link->handler.rebootToBootloader();
        m_link->handler.updateFirmware(image);
    }

    // Restarts the device, connects and reads from it.
    void reconnectAndRead()
    {
        QVERIFY(m_link->isIdle());
        m_link->simulator.control("restart");
        QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "console"; }));
        QVERIFY(m_link->connectDevice());
        QVERIFY(m_link->readReturns("altitude", "120"));
    }

    const QByteArray m_image = imageOf(100); // 7 blocks
    QScopedPointer<QTemporaryDir> m_folder;
    QScopedPointer<DeviceLink> m_link;
    QString m_imageFile;
};

KV_TEST_CORE_MAIN(TestDeviceFirmware)

#include "tst_devicefirmware.moc"
