// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/devicelink.h"
#include "tests/kit/testmain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

namespace {

constexpr int blockSize = 16;

// Bytes of every value, the bootloader's own answers among them.
QByteArray imageOf(int size)
{
    QByteArray bytes("*.!b");
    for (int index = bytes.size(); index < size; ++index) {
        bytes += static_cast<char>((index * 31 + index / 256) & 0xff);
    }
    return bytes.left(size);
}

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

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
        QVERIFY(startDevice(image));
        update(image);
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events,
                 QStringList({text("finished 4"), text("finished 6"), text("finished 7 100"),
                              text("allJobsDone")}));
        QVERIFY(contentsOf(m_imageFile) == image);

        const int blocks = (size + blockSize - 1) / blockSize;
        QCOMPARE(m_link->port->blocks.size(), blocks);
        QVERIFY(m_link->port->bytes == "reboot --really\r\nb" + image);
        // The end is reported instead of the last block's share.
        QCOMPARE(m_link->firmwareProgress.size(), blocks - 1);
        for (int block = 0; block < blocks - 1; ++block) {
            QCOMPARE(m_link->firmwareProgress.at(block),
                     static_cast<double>((block + 1) * blockSize) / size * 100);
        }
        QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "console"; }));
        m_link->clearRecords();
        QVERIFY(m_link->canRead("hwver", "B"));
    }

    void transmitsToADeviceThatTheUserRestarts()
    {
        const QByteArray image = imageOf(100);
        QVERIFY(m_link->start(text("--image %1 --image-size 100").arg(m_imageFile)));
        // Never connected: the port is opened and nothing is sent.
        QVERIFY(m_link->handler.openPort());
        m_link->handler.rebootToBootloader();
        QVERIFY(m_link->isIdle());
        m_link->handler.updateFirmware(image);
        QVERIFY(m_link->port->bytes.isEmpty());
        m_link->simulator.control("restart");
        QVERIFY(m_link->waitForDone());
        QVERIFY(contentsOf(m_imageFile) == image);
        QCOMPARE(m_link->port->bytes, "b" + image);
        QCOMPARE(m_link->events,
                 QStringList({text("finished 6"), text("finished 7 100"), text("allJobsDone")}));
    }

    void waitsForTheSelfTestAfterARestart()
    {
        QVERIFY(m_link->start(text("--reboot-ms 200 --boot-wait 100")));
        QVERIFY(m_link->connectDevice());
        m_link->handler.reboot();
        QElapsedTimer time;
        time.start();
        QVERIFY(m_link->waitForDone());
        QVERIFY2(time.elapsed() >= 300, "before the firmware can have started");
        QCOMPARE(m_link->events, QStringList({text("finished 3"), text("allJobsDone")}));
        QCOMPARE(m_link->port->bytes, QByteArray("reboot --really\r\n"));
        QCOMPARE(m_link->simulator.state("mode"), QByteArray("console"));
    }

    void canBeCancelledHalfway()
    {
        const QByteArray image = imageOf(16000);
        QVERIFY(startDevice(image));
        update(image);
        QVERIFY(runUntil([&] { return m_link->firmwareProgress.size() > 100; }));
        m_link->handler.cancelFirmwareUpdate();
        QVERIFY(m_link->isIdle());
        QVERIFY(!m_link->queue->hasJob(SerialPortJobType::JobTransmitFirmwareBlock));
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events,
                 QStringList({text("finished 4"), text("finished 6"), text("allJobsDone")}));
        const int sent = m_link->port->blocks.size();
        QVERIFY(sent > 100 && sent < 110);
        QTest::qWait(100);
        QCOMPARE(m_link->port->blocks.size(), sent);
        QVERIFY(!QFile::exists(m_imageFile));
        findsTheDeviceAgain();
    }

    void canBeCancelledWhileItWaitsForTheBootloader()
    {
        QVERIFY(startDevice(imageOf(100)));
        m_link->handler.updateFirmware(imageOf(100));
        m_link->handler.cancelFirmwareUpdate();
        QVERIFY(m_link->isIdle());
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events, QStringList{text("allJobsDone")});
        QVERIFY(m_link->port->bytes.isEmpty());
        findsTheDeviceAgain();
    }

    void failsAtABlock_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<int>("blocks"); // sent, the failed one included
        QTest::addColumn<bool>("isComplete"); // for the device
        const auto row = [](const char *fault, int blocks, bool isComplete = false) {
            QTest::addRow("%s", fault) << text(fault) << blocks << isComplete;
        };
        row("block-refused@1", 1);
        row("block-refused@3", 3);
        row("block-refused@7", 7);
        row("block-unanswered@3", 3);
        row("glued-answers", 7, true);
        row("glued-answers@2", 2);
        row("hangup-input:1", 1);
        row("hangup-input:16", 2);
        row("hangup-input:17", 2);
        row("hangup-input:33", 3);
        row("hangup-input:99", 7);
    }

    void failsAtABlock()
    {
        QFETCH(QString, fault);
        QFETCH(int, blocks);
        QFETCH(bool, isComplete);
        const QByteArray image = imageOf(100); // 7 blocks
        QVERIFY(startDevice(image, text("--fault ") + fault));
        update(image);
        m_link->setTimeouts(1000);
        QVERIFY(m_link->waitFor(text("failed 5")));
        QVERIFY(m_link->isIdle());
        QTest::qWait(100);
        QCOMPARE(m_link->port->blocks.size(), blocks);
        QCOMPARE(m_link->firmwareProgress.size(), blocks - 1);
        QCOMPARE(m_link->events.count(text("failed 5")), 1);
        QVERIFY(!m_link->events.contains(text("finished 7 100")));
        QCOMPARE(QFile::exists(m_imageFile), isComplete);
        if (fault.startsWith(text("hangup"))) {
            m_link->handler.disconnectFromDevice();
            m_link->simulator.control("fault clear");
            QVERIFY(m_link->simulator.resume());
            m_link->renewPort();
            QVERIFY(m_link->handler.openPort());
        }
        findsTheDeviceAgain();
    }

    void waitsTwoSecondsForTheAnswerToABlock()
    {
        const QByteArray image = imageOf(100);
        QVERIFY(startDevice(image, text("--fault block-unanswered@3")));
        update(image);
        QVERIFY(runUntil([&] { return m_link->port->blocks.size() == 3; }));
        QCOMPARE(m_link->queue->currentJob()->timeout(), 2000);
        QElapsedTimer time;
        time.start();
        QVERIFY(m_link->waitFor(text("failed 5")));
        QVERIFY2(time.elapsed() > 1800, qPrintable(QString::number(time.elapsed())));
    }

    void ignoresABootPromptWithALineEnd()
    {
        const QByteArray image = imageOf(100);
        QVERIFY(startDevice(image, text("--fault boot-with-line-end")));
        update(image);
        QVERIFY(m_link->waitFor(text("finished 4")));
        QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "bootloader"; }));
        QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "console"; }));
        QCOMPARE(m_link->events, QStringList{text("finished 4")});
        // The job waits until the device is restarted or the user cancels.
        QVERIFY(m_link->queue->currentJob()->isRunning());
        QCOMPARE(m_link->queue->currentJob()->timeout(), 900000);
        QVERIFY(m_link->port->blocks.isEmpty());
        QCOMPARE(m_link->port->bytes, QByteArray("reboot --really\r\n"));

        m_link->simulator.control("fault clear");
        m_link->simulator.control("restart");
        QVERIFY(m_link->waitForDone());
        QVERIFY(contentsOf(m_imageFile) == image);
    }

    void reportsNoEndWhenTheLastBlockIsOnlyAccepted()
    {
        const QByteArray image = imageOf(100);
        QVERIFY(startDevice(image, text("--fault final-star")));
        update(image);
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events,
                 QStringList({text("finished 4"), text("finished 6"), text("allJobsDone")}));
        QCOMPARE(m_link->firmwareProgress.size(), 7);
        QCOMPARE(m_link->firmwareProgress.last(), 100.0);
        QVERIFY(contentsOf(m_imageFile) == image);
    }

private:
    bool startDevice(const QByteArray &image, const QString &options = QString())
    {
        return m_link->start(text("--reboot-ms 300 --boot-wait 1500 --image %1 --image-size %2 ")
                                 .arg(m_imageFile)
                                 .arg(image.size())
                             + options)
            && m_link->connectDevice();
    }

    void update(const QByteArray &image)
    {
        m_link->handler.rebootToBootloader();
        m_link->handler.updateFirmware(image);
    }

    // Restarts the device and reads from it.
    void findsTheDeviceAgain()
    {
        QVERIFY(m_link->isIdle());
        m_link->simulator.control("restart");
        QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "console"; }));
        QVERIFY(m_link->connectDevice());
        QVERIFY(m_link->canRead("altitude", "120"));
    }

    QScopedPointer<QTemporaryDir> m_folder;
    QScopedPointer<DeviceLink> m_link;
    QString m_imageFile;
};

KV_TEST_CORE_MAIN(TestDeviceFirmware)

#include "tst_devicefirmware.moc"
