// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/integration/devicelink.h"
#include "tests/kit/testmain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

namespace {

constexpr int blockSize = 16;

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

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
    void init();
    void transmitsTheImageByteForByte_data();
    void transmitsTheImageByteForByte();
    void transmitsToADeviceThatIsRestartedByHand();
    void waitsForTheSelfTestAfterARestart();
    void canBeCancelledHalfway();
    void canBeCancelledWhileItWaitsForTheBootloader();
    void stopsAtARefusedBlock_data();
    void stopsAtARefusedBlock();
    void stopsAtABlockThatIsNotAnswered();
    void takesGluedAnswersForNone_data();
    void takesGluedAnswersForNone();
    void doesNotSeeABootPromptWithALineEnd();
    void isNotDoneWhenTheLastBlockIsOnlyAccepted();
    void failsWhenTheLineDiesAtByteN_data();
    void failsWhenTheLineDiesAtByteN();

private:
    bool startDevice(const QByteArray &image, const QString &options = QString());
    void update(const QByteArray &image);
    bool waitForFailure();
    void findsTheDeviceAgain();

    QScopedPointer<QTemporaryDir> m_folder;
    QScopedPointer<DeviceLink> m_link;
    QString m_imageFile;
};

void TestDeviceFirmware::init()
{
    m_folder.reset(new QTemporaryDir);
    m_imageFile = m_folder->filePath(text("image.bin"));
    m_link.reset(new DeviceLink);
}

bool TestDeviceFirmware::startDevice(const QByteArray &image, const QString &options)
{
    return m_link->start(text("--reboot-ms 300 --boot-wait 1500 --image %1 --image-size %2 ")
                             .arg(m_imageFile)
                             .arg(image.size())
                         + options)
        && m_link->connectDevice();
}

void TestDeviceFirmware::update(const QByteArray &image)
{
    m_link->handler.rebootToBootloader();
    m_link->handler.updateFirmware(image);
}

bool TestDeviceFirmware::waitForFailure()
{
    return m_link->waitFor(text("failed 5"));
}

// After the bootloader has given up, the device is there again.
void TestDeviceFirmware::findsTheDeviceAgain()
{
    QVERIFY(m_link->isIdle());
    m_link->simulator.control("restart");
    QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "console"; }));
    QVERIFY(m_link->connectDevice());
    m_link->handler.readValue(text("altitude"));
    QVERIFY(m_link->waitFor(text("read altitude=120")));
}

void TestDeviceFirmware::transmitsTheImageByteForByte_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {1, 15, 16, 17, 32, 1000, 65536 + 5}) {
        QTest::addRow("%d bytes", size) << size;
    }
}

void TestDeviceFirmware::transmitsTheImageByteForByte()
{
    QFETCH(int, size);
    const QByteArray image = imageOf(size);
    QVERIFY(startDevice(image));
    update(image);
    QVERIFY(m_link->waitForDone());
    const QStringList expected = {text("finished 4"), text("finished 6"), text("finished 7 100"),
                                  text("allJobsDone")};
    QCOMPARE(m_link->events, expected);
    QVERIFY(contentsOf(m_imageFile) == image);

    const int blocks = (size + blockSize - 1) / blockSize;
    QCOMPARE(m_link->port->blocks.size(), blocks);
    QVERIFY(m_link->port->bytes == "reboot --really\r\nb" + image);
    // The last block's share is told by the end itself.
    QCOMPARE(m_link->firmwareProgress.size(), blocks - 1);
    for (int block = 0; block < blocks - 1; ++block) {
        QCOMPARE(m_link->firmwareProgress.at(block),
                 static_cast<double>((block + 1) * blockSize) / size * 100);
    }
    QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "console"; }));
    m_link->forget();
    m_link->handler.readValue(text("hwver"));
    QVERIFY(m_link->waitFor(text("read hwver=B")));
}

void TestDeviceFirmware::transmitsToADeviceThatIsRestartedByHand()
{
    const QByteArray image = imageOf(100);
    QVERIFY(m_link->start(text("--image %1 --image-size 100").arg(m_imageFile)));
    // Never connected: the port is opened and nothing is asked of the device.
    QVERIFY(m_link->handler.openPort());
    m_link->handler.rebootToBootloader();
    QVERIFY(m_link->isIdle());
    m_link->handler.updateFirmware(image);
    QVERIFY(m_link->port->bytes.isEmpty());
    m_link->simulator.control("restart");
    QVERIFY(m_link->waitForDone());
    QVERIFY(contentsOf(m_imageFile) == image);
    QCOMPARE(m_link->port->bytes, "b" + image);
    const QStringList expected = {text("finished 6"), text("finished 7 100"), text("allJobsDone")};
    QCOMPARE(m_link->events, expected);
}

void TestDeviceFirmware::waitsForTheSelfTestAfterARestart()
{
    QVERIFY(m_link->start(text("--reboot-ms 200 --boot-wait 100")));
    QVERIFY(m_link->connectDevice());
    m_link->handler.reboot();
    QElapsedTimer time;
    time.start();
    QVERIFY(m_link->waitForDone());
    QVERIFY2(time.elapsed() >= 300, "before the firmware can have started");
    const QStringList expected = {text("finished 3"), text("allJobsDone")};
    QCOMPARE(m_link->events, expected);
    QCOMPARE(m_link->port->bytes, QByteArray("reboot --really\r\n"));
    QCOMPARE(m_link->simulator.state("mode"), QByteArray("console"));
}

void TestDeviceFirmware::canBeCancelledHalfway()
{
    const QByteArray image = imageOf(16000);
    QVERIFY(startDevice(image));
    update(image);
    QVERIFY(runUntil([&] { return m_link->firmwareProgress.size() > 100; }));
    m_link->handler.cancelFirmwareUpdate();
    QVERIFY(m_link->isIdle());
    QVERIFY(!m_link->queue->hasJob(SerialPortJobType::JobTransmitFirmwareBlock));
    QVERIFY(m_link->waitForDone());
    const QStringList expected = {text("finished 4"), text("finished 6"), text("allJobsDone")};
    QCOMPARE(m_link->events, expected);
    const int sent = m_link->port->blocks.size();
    QVERIFY(sent > 100 && sent < 110);
    QTest::qWait(100);
    QCOMPARE(m_link->port->blocks.size(), sent);
    QVERIFY(!QFile::exists(m_imageFile));
    findsTheDeviceAgain();
}

void TestDeviceFirmware::canBeCancelledWhileItWaitsForTheBootloader()
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

void TestDeviceFirmware::stopsAtARefusedBlock_data()
{
    QTest::addColumn<int>("block");
    for (const int block : {1, 3, 7}) {
        QTest::addRow("block %d of 7", block) << block;
    }
}

void TestDeviceFirmware::stopsAtARefusedBlock()
{
    QFETCH(int, block);
    const QByteArray image = imageOf(100);
    QVERIFY(startDevice(image, text("--fault block-refused@%1").arg(block)));
    update(image);
    QVERIFY(waitForFailure());
    QVERIFY(m_link->isIdle());
    QTest::qWait(100);
    QCOMPARE(m_link->port->blocks.size(), block);
    QCOMPARE(m_link->firmwareProgress.size(), block - 1);
    QCOMPARE(m_link->events.count(text("failed 5")), 1);
    QVERIFY(!m_link->events.contains(text("finished 7 100")));
    QVERIFY(!QFile::exists(m_imageFile));
    findsTheDeviceAgain();
}

void TestDeviceFirmware::stopsAtABlockThatIsNotAnswered()
{
    const QByteArray image = imageOf(100);
    QVERIFY(startDevice(image, text("--fault block-unanswered@3")));
    update(image);
    QElapsedTimer time;
    QVERIFY(runUntil([&] { return m_link->port->blocks.size() == 3; }));
    QCOMPARE(m_link->queue->currentJob()->timeout(), 2000);
    time.start();
    QVERIFY(waitForFailure());
    QVERIFY2(time.elapsed() > 1800 && time.elapsed() < 3000,
             qPrintable(QString::number(time.elapsed())));
    QVERIFY(m_link->isIdle());
    QCOMPARE(m_link->port->blocks.size(), 3);
    QVERIFY(!QFile::exists(m_imageFile));
    findsTheDeviceAgain();
}

void TestDeviceFirmware::takesGluedAnswersForNone_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<int>("blocks");
    QTest::addRow("last block") << text("glued-answers") << 7;
    QTest::addRow("block 2") << text("glued-answers@2") << 2;
}

void TestDeviceFirmware::takesGluedAnswersForNone()
{
    QFETCH(QString, fault);
    QFETCH(int, blocks);
    const QByteArray image = imageOf(100);
    QVERIFY(startDevice(image, text("--fault ") + fault));
    update(image);
    m_link->hurry(1000);
    QVERIFY(waitForFailure());
    QVERIFY(m_link->isIdle());
    QCOMPARE(m_link->port->blocks.size(), blocks);
    QCOMPARE(m_link->firmwareProgress.size(), blocks - 1);
    QVERIFY(!m_link->events.contains(text("finished 7 100")));
}

void TestDeviceFirmware::doesNotSeeABootPromptWithALineEnd()
{
    const QByteArray image = imageOf(100);
    QVERIFY(startDevice(image, text("--fault boot-with-line-end")));
    update(image);
    QVERIFY(m_link->waitFor(text("finished 4")));
    QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "bootloader"; }));
    QVERIFY(runUntil([&] { return m_link->simulator.state("mode") == "console"; }));
    QCOMPARE(m_link->events, QStringList{text("finished 4")});
    // It listens on, until the device boots again or the user gives up.
    QVERIFY(m_link->queue->currentJob()->isRunning());
    QCOMPARE(m_link->queue->currentJob()->timeout(), 900000);
    QVERIFY(m_link->port->blocks.isEmpty());
    QCOMPARE(m_link->port->bytes, QByteArray("reboot --really\r\n"));

    m_link->simulator.control("fault clear");
    m_link->simulator.control("restart");
    QVERIFY(m_link->waitForDone());
    QVERIFY(contentsOf(m_imageFile) == image);
}

void TestDeviceFirmware::isNotDoneWhenTheLastBlockIsOnlyAccepted()
{
    const QByteArray image = imageOf(100);
    QVERIFY(startDevice(image, text("--fault final-star")));
    update(image);
    QVERIFY(m_link->waitForDone());
    const QStringList expected = {text("finished 4"), text("finished 6"), text("allJobsDone")};
    QCOMPARE(m_link->events, expected);
    QCOMPARE(m_link->firmwareProgress.size(), 7);
    QCOMPARE(m_link->firmwareProgress.last(), 100.0);
    QVERIFY(contentsOf(m_imageFile) == image);
}

void TestDeviceFirmware::failsWhenTheLineDiesAtByteN_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<int>("blocks"); // sent, the one that is not answered included
    QTest::addRow("1") << 1 << 1;
    QTest::addRow("16") << 16 << 2;
    QTest::addRow("17") << 17 << 2;
    QTest::addRow("33") << 33 << 3;
    QTest::addRow("99") << 99 << 7;
}

void TestDeviceFirmware::failsWhenTheLineDiesAtByteN()
{
    QFETCH(int, bytes);
    QFETCH(int, blocks);
    const QByteArray image = imageOf(100);
    QVERIFY(startDevice(image, text("--fault hangup-input:%1").arg(bytes)));
    update(image);
    m_link->hurry(1000);
    QVERIFY(waitForFailure());
    QVERIFY(m_link->isIdle());
    QCOMPARE(m_link->port->blocks.size(), blocks);
    QVERIFY(!m_link->events.contains(text("finished 7 100")));
    QVERIFY(!QFile::exists(m_imageFile));
    m_link->handler.disconnectFromDevice();
    m_link->simulator.control("fault clear");
    QVERIFY(m_link->simulator.resume());
    m_link->plugIn();
    QVERIFY(m_link->handler.openPort());
    findsTheDeviceAgain();
}

KV_TEST_CORE_MAIN(TestDeviceFirmware)

#include "tst_devicefirmware.moc"
