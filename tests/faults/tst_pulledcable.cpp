// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/toolfixture.h"
#include "tests/kit/testmain.h"

#include <QtCore/QEventLoop>
#include <cstdio>
#include <ctime>

namespace {

constexpr int watchMs = 1500;
constexpr int feltMs = 1000; // a window that is gone for longer is taken for dead

/// The longest time for which the event loop did not get round to a timer of 10 ms, and the share
/// of a processor that went by meanwhile.
class Pulse : public QObject
{
public:
    Pulse()
    {
        constexpr int periodMs = 10;
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            m_longest = qMax(m_longest, m_since.restart());
            ++m_ticks;
        });
        m_since.start();
        m_time.start();
        m_processorBefore = std::clock();
        m_timer.start(periodMs);
    }

    void print(const char *what)
    {
        const double used =
            static_cast<double>(std::clock() - m_processorBefore) / CLOCKS_PER_SEC * 1000.0;
        const auto passed = static_cast<double>(qMax<qint64>(1, m_time.elapsed()));
        std::printf("%-28s longest gap %4lld ms, %3d ticks in %4.0f ms, processor %3.0f %%\n", what,
                    static_cast<long long>(m_longest), m_ticks, passed, used / passed * 100.0);
        std::fflush(stdout);
    }

    qint64 longest() const { return m_longest; }
    int ticks() const { return m_ticks; }

private:
    QTimer m_timer;
    QElapsedTimer m_since;
    QElapsedTimer m_time;
    qint64 m_longest = 0;
    int m_ticks = 0;
    std::clock_t m_processorBefore = 0;
};

} // namespace

/// The device goes away under the whole tool. No error of the port is listened to; the user notices
/// that nothing comes any more, disconnects, and connects when the device is back.
class TestPulledCable : public ToolFixture
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareApplication(); }
    void init();
    void cleanup();

    void windowStaysAliveAndFindsTheDeviceAgain_data();
    void windowStaysAliveAndFindsTheDeviceAgain();
    void lockedStoreHoldsTheWindowUpForASetTime();

private:
    void begin(const QByteArray &work);
    bool isStalled();
    bool reconnect(bool samePath);

    QTimer m_hurry;
};

void TestPulledCable::init()
{
    beginCase();
    constexpr int lookMs = 5;
    m_hurry.disconnect();
    connect(&m_hurry, &QTimer::timeout, this, [this] {
        constexpr int shortMs = 100;
        const auto job = m_tool ? queue().currentJob() : nullptr;
        if (job && job->timeout() != shortMs) {
            job->setTimeout(shortMs);
        }
    });
    m_hurry.setInterval(lookMs);
}

void TestPulledCable::cleanup()
{
    m_hurry.stop();
    dialogs().reset();
    endCase();
}

bool TestPulledCable::isStalled()
{
    const auto job = queue().currentJob();
    return job && !job->isRunning();
}

void TestPulledCable::windowStaysAliveAndFindsTheDeviceAgain_data()
{
    QTest::addColumn<QByteArray>("work");
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<bool>("samePath");
    QTest::addRow("idle") << QByteArray() << QByteArray() << true;
    QTest::addRow("idle, back elsewhere") << QByteArray() << QByteArray() << false;
    QTest::addRow("poll") << QByteArray("poll") << QByteArray("hangup@show meas:20") << true;
    QTest::addRow("log") << QByteArray("readLogButton") << QByteArray("hangup@log --read=3:9")
                         << true;
    QTest::addRow("memory") << QByteArray("backupEepromButton")
                            << QByteArray("hangup@eeprom --read_block 20:9") << false;
    QTest::addRow("firmware") << QByteArray("updateFirmwareButton")
                              << QByteArray("hangup-input:100") << true;
}

void TestPulledCable::begin(const QByteArray &work)
{
    if (work == "poll") {
        constexpr int minuteMs = 60000;
        MainWindowController &controller = tool().controller;
        connect(&controller, &MainWindowController::measurementPollStarted, &controller,
                [&controller] { controller.setMeasurementInterval(minuteMs); });
        controller.setMeasurementInterval(1);
        return;
    }
    if (work == "backupEepromButton") {
        dialogs().answerFileDialog(text("Select where to write eeprom backup"),
                                   file(text("backup.dat")));
    } else if (work == "updateFirmwareButton") {
        write(file(text("image.bin")), QByteArray(400, 'i'));
        dialogs().answerBox(text("Are you sure you wish to continue?"), text("Yes"));
        dialogs().answerFileDialog(text("Select firmware file"), file(text("image.bin")));
    }
    child<QPushButton>(work.constData())->click();
}

/// Disconnect and Connect, as a person presses them.
bool TestPulledCable::reconnect(bool samePath)
{
    m_hurry.stop();
    device().control("fault clear");
    const QString before = device().port();
    if (!samePath && !device().resume()) {
        return false;
    }
    auto *const button = child<QPushButton>("connectButton");
    button->setEnabled(false);
    if (!click("disconnectButton") || !waitFor([=] { return button->isEnabled(); })
        || queue().serialPort()->isOpen()) {
        return false;
    }
    // The path is free again once the tool has let go of it.
    if (samePath && !device().resume()) {
        return false;
    }
    if (device().state("mode") == "bootloader") {
        device().control("restart");
    }
    if (!waitFor([this] { return device().state("mode") == "console"; })) {
        return false;
    }
    if (device().port() != before) {
        choosePort(device().port());
    }
    return connectByClick();
}

void TestPulledCable::windowStaysAliveAndFindsTheDeviceAgain()
{
    QFETCH(QByteArray, work);
    QFETCH(QByteArray, fault);
    QFETCH(bool, samePath);
    QVERIFY(startConnected({text("--log-rows"), text("20"), text("--reboot-ms"), text("300"),
                            text("--boot-wait"), text("1000")}));
    QVERIFY(waitUntilQuiet());
    const QMap<QString, QString> shown = shownValues();
    int stored = storedReadings();

    Pulse pulse;
    m_hurry.start();
    QElapsedTimer time;
    time.start();
    // A dialog that waits is left by its button; without one the window is looked at.
    QTimer cancel;
    connect(&cancel, &QTimer::timeout, this, [&] {
        if (waitDialog()->isVisible() && time.elapsed() > watchMs && isStalled()) {
            press(cancelButton());
        }
    });
    cancel.start(20);
    if (fault.isEmpty()) {
        device().hangUp();
    } else {
        QVERIFY(device().fault(fault));
        begin(work);
    }
    // The loop of the program itself; the waits of the test library pause between its turns.
    QEventLoop loop;
    QTimer::singleShot(watchMs, &loop, &QEventLoop::quit);
    loop.exec();
    pulse.print(QTest::currentDataTag());
    QVERIFY2(pulse.longest() < feltMs, qPrintable(QString::number(pulse.longest())));
    QVERIFY(pulse.ticks() > 20);

    // Nothing has changed to the eye.
    QVERIFY(isConnected());
    QVERIFY(queue().serialPort()->isOpen());
    QCOMPARE(shownValues().keys(), shown.keys());
    QVERIFY(!waitDialog()->isVisible());
    stored = storedReadings();
    QVERIFY(reconnect(samePath));
    QVERIFY(storedReadings() > stored);
    QCOMPARE(sqlite(text("select count(*) from device")), QStringList(text("1")));
}

void TestPulledCable::lockedStoreHoldsTheWindowUpForASetTime()
{
    constexpr int sqliteWaitsMs = 5000;
    QVERIFY(startConnected());
    QVERIFY(waitUntilQuiet());
    QProcess client;
    client.start(text("sqlite3"), {storePath()});
    client.write("begin exclusive;\nselect 'held';\n");
    QVERIFY(client.waitForReadyRead());
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(text("^Query failed when adding measurement")));
    QTest::ignoreMessage(QtWarningMsg, "Failed to add measurements to local database");
    Pulse pulse;
    emit tool().handler.measurementsRead(QDateTime::currentDateTimeUtc(),
                                         {{text("W0"), text("70.0")}});
    QCoreApplication::processEvents();
    QVERIFY(waitFor([&] { return pulse.ticks() > 2; }));
    pulse.print("one reading, locked store");
    QVERIFY(pulse.longest() >= sqliteWaitsMs - 100);
    QVERIFY2(pulse.longest() < 4 * sqliteWaitsMs, qPrintable(QString::number(pulse.longest())));
    client.closeWriteChannel();
    QVERIFY(client.waitForFinished());
}

KV_TEST_MAIN(TestPulledCable)

#include "tst_pulledcable.moc"
