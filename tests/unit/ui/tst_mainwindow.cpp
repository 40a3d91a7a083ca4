// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "tests/kit/timezonescope.h"
#include "ui/mainwindow.h"

#include <QtCore/QMetaMethod>
#include <QtSerialPort/QSerialPortInfo>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTableWidget>
#include <optional>

namespace {

/// The window on a machine with other serial ports.
class Window : public MainWindow
{
public:
    Window()
        : MainWindow(nullptr)
    {
    }
    /// Sets the ports of the machine: "name" or "name|description".
    void setMachinePorts(const QStringList &ports)
    {
        m_machinePorts.emplace();
        for (const QString &port : ports) {
            const QStringList parts = port.split(QLatin1Char('|'));
            m_machinePorts->append({parts[0], parts.value(1), QLatin1String("at ") + parts[0]});
        }
    }

protected:
    QVector<Port> availablePorts() override
    {
        return m_machinePorts ? *m_machinePorts : MainWindow::availablePorts();
    }

private:
    std::optional<QVector<Port>> m_machinePorts;
};

/// Records the signals of a window by name, in their order.
class SignalRecorder : public QObject
{
    Q_OBJECT

public:
    explicit SignalRecorder(const MainWindow *window)
        : m_window(window)
    {
        const QMetaObject &meta = MainWindow::staticMetaObject;
        const QMetaMethod slot =
            staticMetaObject.method(staticMetaObject.indexOfSlot("recordSignal()"));
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            if (meta.method(i).methodType() == QMetaMethod::Signal) {
                connect(window, meta.method(i), this, slot);
            }
        }
    }
    QStringList names;

private slots:
    void recordSignal()
    {
        names << QString::fromLatin1(m_window->metaObject()->method(senderSignalIndex()).name());
    }

private:
    const MainWindow *m_window;
};

/// Finds the timer of the device clock, which is private, by its events.
class ClockTimerFinder : public QObject
{
public:
    ClockTimerFinder() { qApp->installEventFilter(this); }
    bool eventFilter(QObject *receiver, QEvent *event) override
    {
        auto *ticking = qobject_cast<QTimer *>(receiver);
        if (event->type() == QEvent::Timer && ticking != nullptr && ticking->interval() == 1000) {
            timer = ticking;
        }
        return false;
    }
    QTimer *timer = nullptr;
};

MeasurementItem temperature()
{
    return {text("A0"), text("Air"), MeasurementUnit::Celsius, MeasurementType::AirTemperature,
            1.0};
}

DeviceConfiguration twoSettings()
{
    DeviceConfiguration configuration;
    configuration.configurationItems = {
        {QString(), text("Offset"), text("offset"), 0.0F, 0.0F, ConfigurationItemType::Text},
        {QString(), text("Span"), text("span"), 0.0F, 0.0F, ConfigurationItemType::Text}};
    return configuration;
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_window.reset(new Window); }

    void waitDialogReasonIsRegisteredByName()
    {
        // Must run first: naming the type in the code registers it too.
        const int type = QMetaType::type("WaitDialogReason");
        QVERIFY(type != QMetaType::UnknownType);
        QCOMPARE(type, qMetaTypeId<WaitDialogReason>());
    }

    void buttonsEmitTheirSignals_data()
    {
        QTest::addColumn<QString>("signalNames");
        QTest::addRow("writeToEepromButton") << text("writeToEepromClicked");
        QTest::addRow("connectButton") << text("connectClicked");
        QTest::addRow("syncClockButton") << text("synchronizeClicked synchronizeClockClicked");
        QTest::addRow("disconnectButton") << text("disconnectClicked");
        QTest::addRow("synchronizeButton") << text("synchronizeClicked");
        QTest::addRow("readLogButton") << text("startReadingLogClicked");
        QTest::addRow("eraseLogButton") << text("eraseLogClicked");
        QTest::addRow("exportLocalMeasurementsButton")
            << text("exportLocalMeasurementsToCsvClicked");
        QTest::addRow("buttonShowGraph") << text("showGraphClicked");
        QTest::addRow("loadSettingsButton") << text("loadSettingsClicked");
        QTest::addRow("updateFirmwareButton") << text("updateFirmwareClicked");
        QTest::addRow("restoreEepromButton") << text("restoreEepromFromBackupClicked");
        QTest::addRow("backupEepromButton") << text("backupEepromClicked");
    }

    void buttonsEmitTheirSignals()
    {
        QFETCH(QString, signalNames);
        m_window->setConnected(true);
        const SignalRecorder signalRecorder(m_window.data());
        click(QTest::currentDataTag());
        QCOMPARE(signalRecorder.names, signalNames.split(QLatin1Char(' ')));
    }

    void connectCarriesTheLocationOfThePort()
    {
        QSignalSpy connects(m_window.data(), &MainWindow::connectClicked);
        click("connectButton");
        QCOMPARE(m_window->selectedPort(), QString());
        m_window->addPort(text("first"), text("/dev/first"));
        m_window->addPort(text("second"), text("/dev/second"));
        click("connectButton");
        m_window->selectPortIndex(1);
        click("connectButton");
        QCOMPARE(connects.size(), 3);
        QCOMPARE(connects[0][0].toString(), QString());
        QCOMPARE(connects[1][0].toString(), text("/dev/first"));
        QCOMPARE(connects[2][0].toString(), text("/dev/second"));
        QCOMPARE(m_window->selectedPort(), text("/dev/second"));
        QCOMPARE(child<QComboBox>("serialPorts")->itemText(1), text("second"));
        QCOMPARE(child<QComboBox>("serialPorts")->itemData(1, Qt::UserRole).toString(),
                 text("/dev/second"));
    }

    void selectorsEmitTheirIndex_data()
    {
        QTest::addColumn<QString>("signalName");
        QTest::addRow("unit") << text("pollutantUnitIndexChanged");
        QTest::addRow("unitTemperature") << text("temperatureUnitIndexChanged");
    }

    void selectorsEmitTheirIndex()
    {
        QFETCH(QString, signalName);
        const SignalRecorder signalRecorder(m_window.data());
        QSignalSpy pollutant(m_window.data(), &MainWindow::pollutantUnitIndexChanged);
        QSignalSpy temperatures(m_window.data(), &MainWindow::temperatureUnitIndexChanged);
        QTest::keyClick(child<QComboBox>(QTest::currentDataTag()), Qt::Key_Down);
        QCOMPARE(signalRecorder.names, QStringList{signalName});
        const QSignalSpy &spy = pollutant.isEmpty() ? temperatures : pollutant;
        QCOMPARE(spy.value(0).value(0).toInt(), 1);
    }

    void settingAUnitEmitsTwiceOrOnce_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QVector<int>>("reports");
        QTest::addColumn<int>("shown");
        QTest::addRow("new index") << 1 << QVector<int>{1, 1} << 1;
        QTest::addRow("present index") << 0 << QVector<int>{0} << 0;
        // The selector then has no current item and emits -1; the operation emits its argument.
        QTest::addRow("index beyond the list") << 2 << QVector<int>{-1, 2} << -1;
        QTest::addRow("no index") << -1 << QVector<int>{-1, -1} << -1;
    }

    void settingAUnitEmitsTwiceOrOnce()
    {
        QFETCH(int, index);
        QFETCH(QVector<int>, reports);
        QFETCH(int, shown);
        QVector<int> pollutant;
        QVector<int> temperatures;
        connect(m_window.data(), &MainWindow::pollutantUnitIndexChanged, this,
                [&](int reported) { pollutant << reported; });
        connect(m_window.data(), &MainWindow::temperatureUnitIndexChanged, this,
                [&](int reported) { temperatures << reported; });
        m_window->setPollutantUnitIndex(index);
        QCOMPARE(pollutant, reports);
        QCOMPARE(temperatures, QVector<int>());
        QCOMPARE(child<QComboBox>("unit")->currentIndex(), shown);

        m_window->setTemperatureUnitIndex(index);
        QCOMPARE(temperatures, reports);
        QCOMPARE(pollutant, reports);
        QCOMPARE(child<QComboBox>("unitTemperature")->currentIndex(), shown);
    }

    void configurationIsForwardedAndItsEditsAreRelayed()
    {
        m_window->setConfiguration(twoSettings());
        QCOMPARE(m_window->configurationNames(), texts("offset|span"));
        m_window->setConfigurationValue(text("span"), text("12"));
        auto *table = child<QTableWidget>("configuration");
        QCOMPARE(table->item(1, 2)->text(), text("12"));
        QCOMPARE(table->item(0, 2)->text(), QString());

        m_window->setConnected(true);
        QSignalSpy changes(m_window.data(), &MainWindow::valueChanged);
        table->item(1, 2)->setText(text("7"));
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes[0], (QVariantList{text("span"), text("7")}));
    }

    void identityIsShown_data()
    {
        QTest::addColumn<QString>("shown");
        QTest::addRow("hwVersion") << text("hw");
        QTest::addRow("swVersion") << text("sw");
        QTest::addRow("serialNumber") << text("serial");
        QTest::addRow("modelNumber") << text("model");
    }

    void identityIsShown()
    {
        QFETCH(QString, shown);
        m_window->setHwVersion(text("hw"));
        m_window->setSwVersion(text("sw"));
        m_window->setSerialNumber(text("serial"));
        m_window->setModelNumber(text("model"));
        QCOMPARE(child<QLineEdit>(QTest::currentDataTag())->text(), shown);
    }

    void healthIsShown_data()
    {
        QTest::addColumn<int>("percentage");
        QTest::addColumn<QString>("shown");
        QTest::addRow("unknown") << -1 << text("N/A");
        QTest::addRow("none") << 0 << text("0%");
        QTest::addRow("some") << 42 << text("42%");
        QTest::addRow("full") << 100 << text("100%");
        QTest::addRow("beyond") << 101 << text("101%");
    }

    void healthIsShown()
    {
        QFETCH(int, percentage);
        QFETCH(QString, shown);
        m_window->setHealth(percentage);
        QCOMPARE(child<QLineEdit>("deviceHealth")->text(), shown);
    }

    void clockIsShownInLocalTime()
    {
        m_window->setDeviceClock(QDateTime(QDate(2024, 7, 1), QTime(12, 0, 30), Qt::UTC));
        const QDateTime shown = child<QDateTimeEdit>("deviceClockDateTimeEdit")->dateTime();
        QCOMPARE(shown.time(), QTime(15, 0, 30));
        QCOMPARE(shown.timeSpec(), Qt::LocalTime);
    }

    void clockAdvancesBySeconds()
    {
        // Across the start of summer time.
        m_window->setDeviceClock(QDateTime(QDate(2024, 3, 31), QTime(0, 59, 59), Qt::UTC));
        auto *clock = child<QDateTimeEdit>("deviceClockDateTimeEdit");
        QCOMPARE(clock->time(), QTime(2, 59, 59));
        QVERIFY(QMetaObject::invokeMethod(m_window.data(), "onDeviceClockTimer"));
        QCOMPARE(clock->time(), QTime(4, 0, 0));
        QVERIFY(QMetaObject::invokeMethod(m_window.data(), "onDeviceClockTimer"));
        QCOMPARE(clock->time(), QTime(4, 0, 1));
    }

    void clockDoesNotRunAtFirst()
    {
        const ClockTimerFinder finder;
        QTimer later;
        later.setTimerType(Qt::PreciseTimer);
        QSignalSpy timeouts(&later, &QTimer::timeout);
        // More than the second of the clock's timer and the 5 % by which that may be late.
        later.start(1100);
        QTRY_VERIFY(!timeouts.isEmpty());
        QVERIFY(finder.timer == nullptr);
    }

    void clockRunsOnlyWhileSwitchedOn()
    {
        const ClockTimerFinder finder;
        m_window->setDeviceClock(QDateTime(QDate(2024, 7, 1), QTime(12, 0, 30), Qt::UTC));
        m_window->setDeviceClockRunning(true);
        // A disconnect does not stop it; the controller does.
        m_window->setConnected(false);
        QTRY_COMPARE(child<QDateTimeEdit>("deviceClockDateTimeEdit")->time(), QTime(15, 0, 31));
        QVERIFY(finder.timer->isActive());
        QVERIFY(!finder.timer->isSingleShot());
        m_window->setDeviceClockRunning(false);
        QVERIFY(!finder.timer->isActive());
    }

    void measurementsAndUnitsAreForwardedToTheTable()
    {
        m_window->setMeasurementItems({temperature()});
        m_window->addMeasurement(MeasurementMetadata(), {{text("A0"), true, 20.5}});
        auto *table = child<QTableWidget>("measurements");
        QCOMPARE(table->item(0, 0)->text(), text("Air"));
        QCOMPARE(table->item(0, 1)->text(), text("20.5 °C"));
        MeasurementDisplayOptions options;
        options.temperatureInCelsius = false;
        m_window->setDisplayOptions(options);
        QCOMPARE(table->item(0, 1)->text(), text("68.9 °F"));
    }

    void connectionEnables_data()
    {
        QTest::addColumn<bool>("first");
        for (const char *name : {"configuration", "synchronizeButton", "measurements",
                                 "readLogButton", "eraseLogButton", "writeToEepromButton",
                                 "deviceHealth", "syncClockButton", "loadSettingsButton"}) {
            QTest::addRow("%s", name) << false;
        }
    }

    void connectionEnables()
    {
        QFETCH(bool, first);
        auto *widget = child<QWidget>(QTest::currentDataTag());
        QCOMPARE(widget->isEnabled(), first);
        m_window->setConnected(true);
        QVERIFY(widget->isEnabled());
        m_window->setConnected(false);
        QVERIFY(!widget->isEnabled());
    }

    void connectionLeavesEnabled_data()
    {
        QTest::addColumn<bool>("always");
        for (const char *name :
             {"serialPorts", "unit", "unitTemperature", "buttonShowGraph",
              "exportLocalMeasurementsButton", "updateFirmwareButton", "connectButton",
              "disconnectButton", "serialNumber", "deviceClockDateTimeEdit"}) {
            QTest::addRow("%s", name) << true;
        }
    }

    void connectionLeavesEnabled()
    {
        QFETCH(bool, always);
        auto *widget = child<QWidget>(QTest::currentDataTag());
        QCOMPARE(widget->isEnabled(), always);
        m_window->setConnected(true);
        QCOMPARE(widget->isEnabled(), always);
    }

    void connectionSwapsTheButtons()
    {
        m_window->show();
        QVERIFY(child<QPushButton>("connectButton")->isVisible());
        QVERIFY(!child<QPushButton>("disconnectButton")->isVisible());
        m_window->setConnected(true);
        QVERIFY(!child<QPushButton>("connectButton")->isVisible());
        QVERIFY(child<QPushButton>("disconnectButton")->isVisible());
    }

    void disconnectKeepsTextsAndColours()
    {
        m_window->setMeasurementItems({temperature()});
        m_window->setConnected(true);
        m_window->setSerialNumber(text("S1"));
        m_window->setHealth(50);
        m_window->setMeasurementState(MeasurementState::HardwareError);
        const QDateTime clock(QDate(2024, 7, 1), QTime(12, 0), Qt::UTC);
        m_window->setDeviceClock(clock);

        m_window->setConnected(true);
        QCOMPARE(m_window->statusBar()->currentMessage(), text("Device has hardware error"));
        m_window->setConnected(false);
        QCOMPARE(m_window->statusBar()->currentMessage(), QString());
        QCOMPARE(m_window->statusBar()->styleSheet(), text("QStatusBar { color : red; }"));
        QCOMPARE(child<QLineEdit>("serialNumber")->text(), text("S1"));
        QCOMPARE(child<QLineEdit>("deviceHealth")->text(), text("50%"));
        QCOMPARE(child<QDateTimeEdit>("deviceClockDateTimeEdit")->dateTime(), clock);
        QCOMPARE(child<QTableWidget>("measurements")->rowCount(), 1);

        m_window->setMeasurementState(MeasurementState::Ready);
        QCOMPARE(m_window->statusBar()->styleSheet(), text("QStatusBar { color : green; }"));
    }

    void readLogAndConnectAreEnabledSeparately()
    {
        m_window->setReadLogEnabled(true);
        QVERIFY(child<QPushButton>("readLogButton")->isEnabled());
        QVERIFY(!child<QPushButton>("eraseLogButton")->isEnabled());
        m_window->setReadLogEnabled(false);
        QVERIFY(!child<QPushButton>("readLogButton")->isEnabled());
        m_window->setConnectEnabled(false);
        QVERIFY(!child<QPushButton>("connectButton")->isEnabled());
        m_window->setConnectEnabled(true);
        QVERIFY(child<QPushButton>("connectButton")->isEnabled());
    }

    void stateIsShown_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("good");
        QTest::addRow("warming up") << 0 << text("Device is warming up") << false;
        QTest::addRow("ready") << 1 << text("Device is ready for measurements") << true;
        QTest::addRow("over temperature")
            << 2 << text("Device temperature is over the specified range") << false;
        QTest::addRow("not stabilized") << 3 << text("Device has not stabilized yet") << false;
        QTest::addRow("hardware error") << 4 << text("Device has hardware error") << false;
        QTest::addRow("unknown") << 5 << QString() << false;
    }

    void stateIsShown()
    {
        QFETCH(int, state);
        QFETCH(QString, message);
        QFETCH(bool, good);
        m_window->setMeasurementState(static_cast<MeasurementState>(state));
        QCOMPARE(m_window->statusBar()->currentMessage(), message);
        QCOMPARE(m_window->statusBar()->styleSheet(),
                 good ? text("QStatusBar { color : green; }")
                      : text("QStatusBar { color : red; }"));
        QCOMPARE(child<QTableWidget>("measurements")->styleSheet(),
                 good ? text("QTableWidget { color: black}") : text("QTableWidget { color: red}"));
    }

    void portsAreListed_data()
    {
        QTest::addColumn<QStringList>("ports");
        QTest::addColumn<QString>("preferred");
        QTest::addColumn<QStringList>("labels");
        QTest::addColumn<int>("selected");
        const QStringList two{text("COM2"), text("COM10")};
        const QStringList sorted{text("COM10"), text("COM2")};

        QTest::addRow("by code units") << two << text("COM2") << sorted << 1;
        QTest::addRow("nothing remembered") << two << QString() << sorted << 0;
        QTest::addRow("remembered port does not exist") << two << text("COM7") << sorted << 0;
        QTest::addRow("name within a location") << two << text("at COM2 there") << sorted << 1;
        QTest::addRow("by case") << two << text("com2") << sorted << 0;
        QTest::addRow("last match wins")
            << texts("COM10|COM1") << text("COM10") << texts("COM1|COM10") << 1;
        QTest::addRow("last match wins, even a shorter name")
            << texts("tty|ttyS0|S0") << text("ttyS0") << texts("S0|tty|ttyS0") << 2;
        QTest::addRow("descriptions")
            << QStringList{text("ttyS0"), text("ttyUSB0|USB %2 serial")} << text("/dev/ttyUSB0")
            << texts("ttyS0|ttyUSB0 - USB %2 serial") << 1;
        QTest::addRow("no ports") << QStringList() << text("COM2") << QStringList() << -1;
    }

    void portsAreListed()
    {
        QFETCH(QStringList, ports);
        QFETCH(QString, preferred);
        QFETCH(QStringList, labels);
        QFETCH(int, selected);
        m_window->setMachinePorts(ports);
        m_window->refreshPorts(preferred);
        auto *list = child<QComboBox>("serialPorts");
        QStringList shown;
        for (int i = 0; i < list->count(); ++i) {
            shown << list->itemText(i);
            const QString name = list->itemText(i).section(text(" - "), 0, 0);
            QCOMPARE(list->itemData(i, Qt::UserRole).toString(), QLatin1String("at ") + name);
        }
        QCOMPARE(shown, labels);
        QCOMPARE(list->currentIndex(), selected);
    }

    void refreshedPortsAreThoseOfTheMachine()
    {
        const auto machine = QSerialPortInfo::availablePorts();
        m_window->refreshPorts(QString());
        auto *list = child<QComboBox>("serialPorts");
        QCOMPARE(list->count(), machine.size());
        for (const QSerialPortInfo &port : machine) {
            const int index = list->findData(port.systemLocation());
            QVERIFY(index >= 0);
            QVERIFY(list->itemText(index).startsWith(port.portName()));
            QVERIFY(list->itemText(index).endsWith(port.description()));
        }
    }

    void refreshingAppends()
    {
        m_window->addPort(text("demo"), text("/dev/demo"));
        m_window->setMachinePorts({text("COM2")});
        m_window->refreshPorts(QString());
        m_window->refreshPorts(QString());
        QCOMPARE(child<QComboBox>("serialPorts")->count(), 3);
    }

private:
    template <typename T>
    T *child(const char *name)
    {
        return m_window->findChild<T *>(text(name));
    }
    void click(const char *name) { QTest::mouseClick(child<QPushButton>(name), Qt::LeftButton); }

    const TimeZoneScope m_zone{easternEurope};
    QScopedPointer<Window> m_window;
};

KV_TEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
