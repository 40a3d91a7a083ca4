// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/wire.h"
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/portclient.h"

#include <QtCore/QSocketNotifier>
#include <QtTest/QtTest>
#include <functional>

using namespace Simulator;

namespace {

/// A client that reads as soon as something is there.
class PromptClient : public PortClient
{
public:
    explicit PromptClient(const QString &path)
        : PortClient(path)
        , m_notifier(descriptor(), QSocketNotifier::Read)
    {
        QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier,
                         [this] { m_notifier.setEnabled(read()); });
    }

    bool isDead() const { return !m_notifier.isEnabled(); }

private:
    QSocketNotifier m_notifier;
};

/// Runs the event loop until @p reached, and not a moment longer: QTRY_VERIFY looks too seldom to
/// measure a time.
void runUntil(const std::function<bool()> &reached)
{
    QElapsedTimer timer;
    timer.start();
    while (!reached() && timer.elapsed() < 10000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

} // namespace

class TestWire : public QObject
{
    Q_OBJECT

private slots:
    void isRawInBothDirections()
    {
        QByteArray all;
        for (int value = 0; value < 256; ++value) {
            all += static_cast<char>(value);
        }
        Wire wire(0);
        QByteArray arrived;
        connect(&wire, &Wire::received, this,
                [&arrived](const QByteArray &bytes) { arrived += bytes; });
        QString error;
        QVERIFY2(wire.open(error), qPrintable(error));
        PromptClient client(wire.path());
        QVERIFY(client.isOpen());
        QVERIFY(client.write(all));
        QTRY_COMPARE(arrived, all);
        wire.send(all, Delivery::Streamed, 0);
        QTRY_VERIFY(client.received() == all);
    }

    void takesTheTimeOfTheWire_data()
    {
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("bytes");
        QTest::addRow("115200") << 115200 << 2304;
        QTest::addRow("9600") << 9600 << 192;
        QTest::addRow("300") << 300 << 6;
    }

    void takesTheTimeOfTheWire()
    {
        QFETCH(int, rate);
        QFETCH(int, bytes);
        const int leastMs = bytes * 10 * 1000 / rate;
        Wire wire(rate);
        QByteArray arrived;
        connect(&wire, &Wire::received, this,
                [&arrived](const QByteArray &part) { arrived += part; });
        QString error;
        QVERIFY(wire.open(error));
        PromptClient client(wire.path());

        QElapsedTimer timer;
        timer.start();
        wire.send(QByteArray(bytes / 2, 'x'), Delivery::Streamed, 0);
        wire.send(QByteArray(bytes - bytes / 2, 'y'), Delivery::Streamed, 0);
        runUntil([&client, bytes] { return client.received().size() == bytes; });
        QVERIFY2(timer.elapsed() >= leastMs, QByteArray::number(timer.elapsed()).constData());
        QCOMPARE(client.received().size(), bytes);

        timer.start();
        QVERIFY(client.write(QByteArray(bytes, 'z')));
        runUntil([&arrived, bytes] { return arrived.size() == bytes; });
        QVERIFY2(timer.elapsed() >= leastMs, QByteArray::number(timer.elapsed()).constData());
        QCOMPARE(arrived.size(), bytes);
    }

    void carriesBytesAFewAtATime()
    {
        Wire wire(9600);
        QString error;
        QVERIFY(wire.open(error));
        PromptClient client(wire.path());
        wire.send(QByteArray(96, 'x'), Delivery::Streamed, 0);
        QTRY_VERIFY(client.received().size() == 96);
        QVERIFY(client.chunks() > 3);
    }

    void deliversOneChunkWhole()
    {
        Wire wire(9600);
        QString error;
        QVERIFY(wire.open(error));
        PromptClient client(wire.path());
        wire.send("BOOT\r\n and much more", Delivery::OneChunk, 0);
        QTRY_VERIFY(!client.received().isEmpty());
        QCOMPARE(client.received(), QByteArray("BOOT\r\n and much more"));
        QCOMPARE(client.chunks(), 1);
    }

    void deliversSingleBytesWithGaps()
    {
        Wire wire(0);
        QString error;
        QVERIFY(wire.open(error));
        PromptClient client(wire.path());
        QElapsedTimer timer;
        timer.start();
        wire.send("0123456789", Delivery::SingleBytes, 10);
        wire.send("!", Delivery::Streamed, 0);
        QTRY_VERIFY(client.received() == "0123456789!");
        QVERIFY(timer.elapsed() >= 95);
        QVERIFY(client.chunks() > 5);
    }

    void losesWhatNobodyTakes()
    {
        Wire wire(0);
        QString error;
        QVERIFY(wire.open(error));
        QSignalSpy lost(&wire, &Wire::lost);
        wire.send(QByteArray(1000000, 'x'), Delivery::Streamed, 0);
        QVERIFY(lost.wait(5000));
        QVERIFY(lost.first().first().toInt() > 0);
    }

    void holdsBackAFloodFromTheClient()
    {
        Wire wire(115200);
        QString error;
        QVERIFY(wire.open(error));
        PromptClient client(wire.path());
        int taken = 0;
        while (taken < 1000000 && client.write(QByteArray(1000, 'x'))) {
            taken += 1000;
            QCoreApplication::processEvents();
        }
        QVERIFY(taken < 1000000);
    }

    void letsClientsComeAndGo()
    {
        Wire wire(0);
        QByteArray arrived;
        connect(&wire, &Wire::received, this,
                [&arrived](const QByteArray &bytes) { arrived += bytes; });
        QString error;
        QVERIFY(wire.open(error));
        for (int visit = 1; visit <= 3; ++visit) {
            PromptClient client(wire.path());
            QVERIFY(client.write("x"));
            QTRY_COMPARE(arrived.size(), visit);
            wire.send("y", Delivery::Streamed, 0);
            QTRY_VERIFY(client.received() == "y");
        }
    }

    void hangsUpOnceAllIsSent()
    {
        Wire wire(115200);
        QString error;
        QVERIFY(wire.open(error));
        QSignalSpy hungUp(&wire, &Wire::hungUp);
        PromptClient client(wire.path());
        wire.send("the last words", Delivery::Streamed, 0);
        wire.hangUpWhenSent();
        QTRY_VERIFY(client.isDead());
        QCOMPARE(client.received(), QByteArray("the last words"));
        QCOMPARE(hungUp.size(), 1);
        QVERIFY(!wire.isOpen());
        QVERIFY(wire.open(error));
        PromptClient again(wire.path());
        wire.send("back", Delivery::Streamed, 0);
        QTRY_VERIFY(again.received() == "back");
    }
};

KV_TEST_CORE_MAIN(TestWire)

#include "tst_wire.moc"
