// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/serialline.h"
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/portclient.h"

#include <QtCore/QSocketNotifier>
#include <functional>

using namespace Simulator;

namespace {

/// A client that reads as soon as bytes arrive.
class ImmediateClient : public PortClient
{
public:
    explicit ImmediateClient(const QString &path)
        : PortClient(path)
        , m_notifier(descriptor(), QSocketNotifier::Read)
    {
        QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier,
                         [this] { m_notifier.setEnabled(read()); });
    }

    bool isHungUp() const { return !m_notifier.isEnabled(); }

private:
    QSocketNotifier m_notifier;
};

/// Runs the event loop until @p condition is true. QTRY_VERIFY checks too rarely to measure times.
void runUntil(const std::function<bool()> &condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 10000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

} // namespace

class TestSerialLine : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_received.clear(); }

    void transfersEveryByteValueInBothDirections()
    {
        QByteArray all;
        for (int value = 0; value < 256; ++value) {
            all += static_cast<char>(value);
        }
        SerialLine line(0);
        QVERIFY(open(line));
        ImmediateClient client(line.path());
        QVERIFY(client.isOpen());
        QVERIFY(client.write(all));
        QTRY_COMPARE(m_received, all);
        line.send(all, Delivery::Streamed, 0);
        QTRY_VERIFY(client.received() == all);
    }

    void transfersBytesAtBitRate()
    {
        for (const int rate : {115200, 9600, 300}) {
            const int bytes = rate / 50;
            const int minimumMs = bytes * 10 * 1000 / rate;
            SerialLine line(rate);
            QVERIFY(open(line));
            ImmediateClient client(line.path());

            QElapsedTimer timer;
            timer.start();
            line.send(QByteArray(bytes / 2, 'x'), Delivery::Streamed, 0);
            line.send(QByteArray(bytes - bytes / 2, 'y'), Delivery::Streamed, 0);
            runUntil([&client, bytes] { return client.received().size() == bytes; });
            QVERIFY2(timer.elapsed() >= minimumMs, QByteArray::number(timer.elapsed()).constData());
            QCOMPARE(client.received().size(), bytes);

            m_received.clear();
            timer.start();
            QVERIFY(client.write(QByteArray(bytes, 'z')));
            runUntil([this, bytes] { return m_received.size() == bytes; });
            QVERIFY2(timer.elapsed() >= minimumMs, QByteArray::number(timer.elapsed()).constData());
            QCOMPARE(m_received.size(), bytes);
        }
    }

    void deliversStreamedBytesInBursts()
    {
        SerialLine line(9600);
        QVERIFY(open(line));
        ImmediateClient client(line.path());
        line.send(QByteArray(96, 'x'), Delivery::Streamed, 0);
        QTRY_VERIFY(client.received().size() == 96);
        QVERIFY(client.chunks() > 3);
    }

    void deliversOneChunkInOneRead()
    {
        SerialLine line(9600);
        QVERIFY(open(line));
        ImmediateClient client(line.path());
        line.send("BOOT\r\n and much more", Delivery::OneChunk, 0);
        QTRY_VERIFY(!client.received().isEmpty());
        QCOMPARE(client.received(), QByteArray("BOOT\r\n and much more"));
        QCOMPARE(client.chunks(), 1);
    }

    void deliversSingleBytesWithGaps()
    {
        SerialLine line(0);
        QVERIFY(open(line));
        ImmediateClient client(line.path());
        QElapsedTimer timer;
        timer.start();
        line.send("0123456789", Delivery::SingleBytes, 10);
        line.send("!", Delivery::Streamed, 0);
        QTRY_VERIFY(client.received() == "0123456789!");
        QVERIFY(timer.elapsed() >= 95);
        QVERIFY(client.chunks() > 5);
    }

    void dropsUnreadBytes()
    {
        SerialLine line(0);
        QVERIFY(open(line));
        QSignalSpy lost(&line, &SerialLine::lost);
        line.send(QByteArray(1000000, 'x'), Delivery::Streamed, 0);
        QVERIFY(lost.wait(5000));
        QVERIFY(lost.first().first().toInt() > 0);
    }

    void limitsTheInputFromAClient()
    {
        SerialLine line(115200);
        QVERIFY(open(line));
        ImmediateClient client(line.path());
        int accepted = 0;
        while (accepted < 1000000 && client.write(QByteArray(1000, 'x'))) {
            accepted += 1000;
            QCoreApplication::processEvents();
        }
        QVERIFY(accepted < 1000000);
    }

    void servesSuccessiveClients()
    {
        SerialLine line(0);
        QVERIFY(open(line));
        for (int clients = 1; clients <= 3; ++clients) {
            ImmediateClient client(line.path());
            QVERIFY(client.write("x"));
            QTRY_COMPARE(m_received.size(), clients);
            line.send("y", Delivery::Streamed, 0);
            QTRY_VERIFY(client.received() == "y");
        }
    }

    void hangsUpAfterSendingEverything()
    {
        SerialLine line(115200);
        QVERIFY(open(line));
        QSignalSpy hungUp(&line, &SerialLine::hungUp);
        ImmediateClient client(line.path());
        line.send("last bytes", Delivery::Streamed, 0);
        line.hangUpWhenSent();
        QTRY_VERIFY(client.isHungUp());
        QCOMPARE(client.received(), QByteArray("last bytes"));
        QCOMPARE(hungUp.size(), 1);
        QVERIFY(!line.isOpen());
        QVERIFY(open(line));
        ImmediateClient nextClient(line.path());
        line.send("back", Delivery::Streamed, 0);
        QTRY_VERIFY(nextClient.received() == "back");
    }

private:
    bool open(SerialLine &line)
    {
        connect(&line, &SerialLine::received, this, &TestSerialLine::onReceived,
                Qt::UniqueConnection);
        QString error;
        return line.open(error);
    }
    void onReceived(const QByteArray &bytes) { m_received += bytes; }

    QByteArray m_received; ///< bytes that have arrived at the device
};

KV_TEST_CORE_MAIN(TestSerialLine)

#include "tst_serialline.moc"
