// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/environmentfaults.h"
#include "tests/kit/eventlooplatencymonitor.h"
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtCore/QEventLoop>

namespace {

constexpr int watchMs = 1500;
constexpr int unacceptableMs = 1000; // longer than this, a window appears to hang

} // namespace

/// The device is unplugged while the tool is connected. The port's errors are not evaluated; the
/// user notices that no reading arrives, disconnects, and connects when the device is back.
class TestPulledCable : public ToolFixture
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareApplication(); }

    void init()
    {
        beginCase();
        constexpr int intervalMs = 5;
        m_shortenTimeouts.disconnect();
        connect(&m_shortenTimeouts, &QTimer::timeout, this, [this] {
            constexpr int shortMs = 100;
            const auto job = m_tool ? queue().currentJob() : nullptr;
            if (job && job->timeout() != shortMs) {
                job->setTimeout(shortMs);
            }
        });
        m_shortenTimeouts.setInterval(intervalMs);
    }

    void cleanup()
    {
        m_shortenTimeouts.stop();
        dialogs().reset();
        endCase();
    }

    void windowReactsAndConnectsAgain_data()
    {
        QTest::addColumn<QByteArray>("work");
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<bool>("samePath");
        QTest::addRow("idle") << QByteArray() << QByteArray() << true;
        QTest::addRow("idle, back under another name") << QByteArray() << QByteArray() << false;
        QTest::addRow("poll") << QByteArray("poll") << QByteArray("hangup@show meas:20") << true;
        QTest::addRow("log") << QByteArray("readLogButton") << QByteArray("hangup@log --read=3:9")
                             << true;
        QTest::addRow("memory") << QByteArray("backupEepromButton")
                                << QByteArray("hangup@eeprom --read_block 20:9") << false;
        QTest::addRow("firmware") << QByteArray("updateFirmwareButton")
                                  << QByteArray("hangup-input:100") << true;
    }

    void windowReactsAndConnectsAgain()
    {
        QFETCH(QByteArray, work);
        QFETCH(QByteArray, fault);
        QFETCH(bool, samePath);
        QVERIFY(startConnected({text("--log-rows"), text("20"), text("--reboot-ms"), text("300"),
                                text("--boot-wait"), text("1000")}));
        QVERIFY(waitUntilQuiet());
        const QMap<QString, QString> shown = shownValues();
        int stored = storedReadings();

        const EventLoopLatencyMonitor monitor;
        m_shortenTimeouts.start();
        QElapsedTimer time;
        time.start();
        // A wait dialog is cancelled once its job has stopped.
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
            start(work);
        }
        // A plain event loop, because the test library's waits pause between its iterations.
        QEventLoop loop;
        QTimer::singleShot(watchMs, &loop, &QEventLoop::quit);
        loop.exec();
        monitor.print(QTest::currentDataTag());
        QVERIFY2(monitor.longestGap() < unacceptableMs,
                 qPrintable(QString::number(monitor.longestGap())));
        QVERIFY(monitor.ticks() > 20);

        // Nothing visible has changed.
        QVERIFY(isConnected());
        QVERIFY(queue().serialPort()->isOpen());
        QCOMPARE(shownValues().keys(), shown.keys());
        QVERIFY(!waitDialog()->isVisible());
        stored = storedReadings();
        QVERIFY(reconnect(samePath));
        QVERIFY(storedReadings() > stored);
        QCOMPARE(sqlite(text("select count(*) from device")), QStringList(text("1")));
    }

    void lockedStoreBlocksTheWindowForALimitedTime()
    {
        constexpr int sqliteTimeoutMs = 5000;
        QVERIFY(startConnected());
        QVERIFY(waitUntilQuiet());
        const LockedDatabaseScope lockedDatabase(storePath());
        QVERIFY(lockedDatabase.isActive());
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(text("^Query failed when adding measurement")));
        QTest::ignoreMessage(QtWarningMsg, "Failed to add measurements to local database");
        const EventLoopLatencyMonitor monitor;
        emit tool().handler.measurementsRead(QDateTime::currentDateTimeUtc(),
                                             {{text("W0"), text("70.0")}});
        QCoreApplication::processEvents();
        QVERIFY(waitFor([&] { return monitor.ticks() > 2; }));
        monitor.print("one reading, locked store");
        QVERIFY(monitor.longestGap() >= sqliteTimeoutMs - 100);
        QVERIFY2(monitor.longestGap() < 4 * sqliteTimeoutMs,
                 qPrintable(QString::number(monitor.longestGap())));
    }

private:
    void start(const QByteArray &work)
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

    bool isStalled()
    {
        const auto job = queue().currentJob();
        return job && !job->isRunning();
    }

    /// Presses Disconnect and Connect.
    bool reconnect(bool samePath)
    {
        m_shortenTimeouts.stop();
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
        // The path can be used again once the tool has closed it.
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

    QTimer m_shortenTimeouts;
};

KV_TEST_MAIN(TestPulledCable)

#include "tst_pulledcable.moc"
