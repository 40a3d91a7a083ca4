// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
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

/// A main window with a replaceable list of ports.
class Window : public MainWindow
{
public:
    using MainWindow::MainWindow;

    /// Each "name" or "name: description". Without a value, the ports of the machine are listed.
    std::optional<QStringList> fakePorts;

protected:
    QVector<Port> availablePorts() override
    {
        if (!fakePorts) {
            return MainWindow::availablePorts();
        }
        QVector<Port> ports;
        for (const QString &port : qAsConst(*fakePorts)) {
            const QStringList parts = port.split(text(": "));
            ports.append({parts[0], parts.value(1), text("at ") + parts[0]});
        }
        return ports;
    }
};

/// Records the names of the signals that a window emits, in order.
class SignalNameRecorder : public QObject
{
    Q_OBJECT

public:
    explicit SignalNameRecorder(const MainWindow *window)
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
        names << text(sender()->metaObject()->method(senderSignalIndex()).name());
    }
};

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_window.reset(new Window(nullptr)); }

    void waitDialogReasonIsRegisteredByName()
    {
        // Must run first: any use of qMetaTypeId<WaitDialogReason>() registers the type too.
        const int type = QMetaType::type("WaitDialogReason");
        QVERIFY(type != QMetaType::UnknownType);
        QCOMPARE(type, qMetaTypeId<WaitDialogReason>());
    }

    void buttonsEmitTheirSignals()
    {
        const QPair<const char *, const char *> buttons[] = {
            {"writeToEepromButton", "writeToEepromClicked"},
            {"connectButton", "connectClicked"},
            {"syncClockButton", "synchronizeClicked|synchronizeClockClicked"},
            {"disconnectButton", "disconnectClicked"},
            {"synchronizeButton", "synchronizeClicked"},
            {"readLogButton", "startReadingLogClicked"},
            {"eraseLogButton", "eraseLogClicked"},
            {"exportLocalMeasurementsButton", "exportLocalMeasurementsToCsvClicked"},
            {"buttonShowGraph", "showGraphClicked"},
            {"loadSettingsButton", "loadSettingsClicked"},
            {"updateFirmwareButton", "updateFirmwareClicked"},
            {"restoreEepromButton", "restoreEepromFromBackupClicked"},
            {"backupEepromButton", "backupEepromClicked"},
        };
        m_window->setConnected(true);
        for (const auto &button : buttons) {
            const SignalNameRecorder emitted(m_window.data());
            click(button.first);
            QCOMPARE(emitted.names, texts(button.second));
        }
    }

    void connectClickedEmitsPortLocation()
    {
        QStringList locations;
        connect(m_window.data(), &MainWindow::connectClicked, this,
                [&](const QString &location) { locations << location; });
        click("connectButton");
        QCOMPARE(m_window->selectedPort(), QString());
        m_window->addPort(text("first"), text("/dev/first"));
        m_window->addPort(text("second"), text("/dev/second"));
        click("connectButton");
        m_window->selectPortIndex(1);
        click("connectButton");
        QCOMPARE(locations, texts("|/dev/first|/dev/second"));
        QCOMPARE(m_window->selectedPort(), text("/dev/second"));
        QCOMPARE(child<QComboBox>("serialPorts")->itemText(1), text("second"));
        QCOMPARE(child<QComboBox>("serialPorts")->itemData(1, Qt::UserRole).toString(),
                 text("/dev/second"));
    }

    void unitComboBoxesEmitIndex()
    {
        const SignalNameRecorder emitted(m_window.data());
        recordUnitIndexes();
        QTest::keyClick(child<QComboBox>("unit"), Qt::Key_Down);
        QTest::keyClick(child<QComboBox>("unitTemperature"), Qt::Key_Down);
        QCOMPARE(emitted.names, texts("pollutantUnitIndexChanged|temperatureUnitIndexChanged"));
        QCOMPARE(m_pollutantIndexes, QVector<int>{1});
        QCOMPARE(m_temperatureIndexes, QVector<int>{1});
    }

    void setUnitIndexEmitsSignals()
    {
        const struct
        {
            int index;
            QVector<int> emitted;
            int shown;
        } rows[] = {
            {1, {1, 1}, 1},
            {0, {0}, 0}, // the current index
            // The combo box has no such item and emits -1; setPollutantUnitIndex() then emits its
            // argument.
            {2, {-1, 2}, -1},
            {-1, {-1, -1}, -1},
        };
        for (const auto &row : rows) {
            m_window.reset(new Window(nullptr));
            recordUnitIndexes();
            m_window->setPollutantUnitIndex(row.index);
            QCOMPARE(m_temperatureIndexes, QVector<int>());
            QCOMPARE(child<QComboBox>("unit")->currentIndex(), row.shown);
            m_window->setTemperatureUnitIndex(row.index);
            QCOMPARE(m_temperatureIndexes, row.emitted);
            QCOMPARE(m_pollutantIndexes, row.emitted);
            QCOMPARE(child<QComboBox>("unitTemperature")->currentIndex(), row.shown);
        }
    }

    void forwardsTheConfigurationAndItsChanges()
    {
        DeviceConfiguration configuration;
        configuration.configurationItems.resize(2);
        configuration.configurationItems[0].alias = text("offset");
        configuration.configurationItems[1].alias = text("span");
        m_window->setConfiguration(configuration);
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

    void deviceIdentityIsShown()
    {
        m_window->setHwVersion(text("hw"));
        m_window->setSwVersion(text("sw"));
        m_window->setSerialNumber(text("serial"));
        m_window->setModelNumber(text("model"));
        QCOMPARE(child<QLineEdit>("hwVersion")->text(), text("hw"));
        QCOMPARE(child<QLineEdit>("swVersion")->text(), text("sw"));
        QCOMPARE(child<QLineEdit>("serialNumber")->text(), text("serial"));
        QCOMPARE(child<QLineEdit>("modelNumber")->text(), text("model"));
    }

    void healthIsShown()
    {
        const QMap<int, QString> percentages{{-1, text("N/A")},
                                             {0, text("0%")},
                                             {42, text("42%")},
                                             {100, text("100%")},
                                             {101, text("101%")}};
        for (auto percentage = percentages.begin(); percentage != percentages.end(); ++percentage) {
            m_window->setHealth(percentage.key());
            QCOMPARE(child<QLineEdit>("deviceHealth")->text(), *percentage);
        }
    }

    void clockIsShownInLocalTimeAndAdvancesBySeconds()
    {
        // From the last second before summer time into summer time.
        m_window->setDeviceClock(QDateTime(QDate(2024, 3, 31), QTime(0, 59, 59), Qt::UTC));
        auto *clock = child<QDateTimeEdit>("deviceClockDateTimeEdit");
        QCOMPARE(clock->time(), QTime(2, 59, 59));
        QCOMPARE(clock->dateTime().timeSpec(), Qt::LocalTime);
        for (const QTime &next : {QTime(4, 0, 0), QTime(4, 0, 1)}) {
            QVERIFY(QMetaObject::invokeMethod(m_window.data(), "onDeviceClockTimer"));
            QCOMPARE(clock->time(), next);
        }
    }

    void clockAdvancesOnlyWhileRunning()
    {
        const auto waitLongerThanASecond = [] {
            QTimer timer;
            timer.setTimerType(Qt::PreciseTimer);
            // Longer than the interval of the clock's timer plus its tolerance of 5 %.
            timer.start(1100);
            return QSignalSpy(&timer, &QTimer::timeout).wait();
        };
        const auto shown = [this] {
            return child<QDateTimeEdit>("deviceClockDateTimeEdit")->time();
        };
        m_window->setDeviceClock(QDateTime(QDate(2024, 7, 1), QTime(12, 0, 30), Qt::UTC));
        QVERIFY(waitLongerThanASecond());
        QCOMPARE(shown(), QTime(15, 0, 30));
        m_window->setDeviceClockRunning(true);
        // setConnected(false) doesn't stop the clock; the controller calls
        // setDeviceClockRunning(false).
        m_window->setConnected(false);
        QTRY_VERIFY(shown() >= QTime(15, 0, 32));
        m_window->setDeviceClockRunning(false);
        const QTime stopped = shown();
        QVERIFY(waitLongerThanASecond());
        QCOMPARE(shown(), stopped);
    }

    void setConnectedEnablesDeviceControls()
    {
        const QStringList enabledByConnection =
            texts("configuration|synchronizeButton|measurements|readLogButton|eraseLogButton|"
                  "writeToEepromButton|deviceHealth|syncClockButton|loadSettingsButton");
        const QStringList alwaysEnabled =
            texts("serialPorts|unit|unitTemperature|buttonShowGraph|exportLocalMeasurementsButton|"
                  "updateFirmwareButton|connectButton|disconnectButton|serialNumber|"
                  "deviceClockDateTimeEdit");
        const auto check = [&](bool connected) {
            for (const QString &name : enabledByConnection) {
                QVERIFY2(child<QWidget>(qPrintable(name))->isEnabled() == connected,
                         qPrintable(name));
            }
            for (const QString &name : alwaysEnabled) {
                QVERIFY2(child<QWidget>(qPrintable(name))->isEnabled(), qPrintable(name));
            }
            QCOMPARE(child<QPushButton>("connectButton")->isVisible(), !connected);
            QCOMPARE(child<QPushButton>("disconnectButton")->isVisible(), connected);
        };
        m_window->show();
        check(false);
        m_window->setConnected(true);
        check(true);
        m_window->setConnected(false);
        check(false);
    }

    void setConnectedFalseKeepsShownValuesAndColours()
    {
        m_window->setMeasurementItems({MeasurementItem()});
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
    }

    void readLogAndConnectAreEnabledIndependently()
    {
        for (const bool enabled : {true, false}) {
            m_window->setReadLogEnabled(enabled);
            QCOMPARE(child<QPushButton>("readLogButton")->isEnabled(), enabled);
            QVERIFY(!child<QPushButton>("eraseLogButton")->isEnabled());
            m_window->setConnectEnabled(!enabled);
            QCOMPARE(child<QPushButton>("connectButton")->isEnabled(), !enabled);
        }
    }

    void measurementStateIsShown()
    {
        const QStringList messages =
            texts("Device is warming up|"
                  "Device is ready for measurements|"
                  "Device temperature is over the specified range|"
                  "Device has not stabilized yet|"
                  "Device has hardware error|"); // an unknown state has no message
        for (int state = 0; state < messages.size(); ++state) {
            m_window->setMeasurementState(static_cast<MeasurementState>(state));
            QCOMPARE(m_window->statusBar()->currentMessage(), messages[state]);
            QCOMPARE(m_window->statusBar()->styleSheet(),
                     state == 1 ? text("QStatusBar { color : green; }")
                                : text("QStatusBar { color : red; }"));
            QCOMPARE(child<QTableWidget>("measurements")->styleSheet(),
                     state == 1 ? text("QTableWidget { color: black}")
                                : text("QTableWidget { color: red}"));
        }
    }

    void portsAreListed_data()
    {
        QTest::addColumn<QString>("ports");
        QTest::addColumn<QString>("preferred");
        QTest::addColumn<QString>("labels");
        QTest::addColumn<int>("selected");
        const auto add = [](const char *name, const char *ports, const char *preferred,
                            const char *labels, int selected) {
            QTest::addRow("%s", name) << text(ports) << text(preferred) << text(labels) << selected;
        };
        add("sorted by UTF-16 code unit", "COM2|COM10", "COM2", "COM10|COM2", 1);
        add("no preferred port", "COM2|COM10", "", "COM10|COM2", 0);
        add("preferred port does not exist", "COM2|COM10", "COM7", "COM10|COM2", 0);
        add("preferred location contains a name", "COM2|COM10", "at COM2 there", "COM10|COM2", 1);
        add("match is case-sensitive", "COM2|COM10", "com2", "COM10|COM2", 0);
        add("last match wins", "COM10|COM1", "COM10", "COM1|COM10", 1);
        add("last match wins, even a shorter name", "tty|ttyS0|S0", "ttyS0", "S0|tty|ttyS0", 2);
        add("descriptions", "ttyS0|ttyUSB0: USB %2 serial", "/dev/ttyUSB0",
            "ttyS0|ttyUSB0 - USB %2 serial", 1);
        add("no ports", "", "COM2", "", -1);
    }

    void portsAreListed()
    {
        QFETCH(QString, ports);
        QFETCH(QString, preferred);
        m_window->fakePorts = ports.split(QLatin1Char('|'), Qt::SkipEmptyParts);
        m_window->refreshPorts(preferred);
        auto *list = child<QComboBox>("serialPorts");
        QStringList shown;
        for (int i = 0; i < list->count(); ++i) {
            shown << list->itemText(i);
            const QString name = list->itemText(i).section(text(" - "), 0, 0);
            QCOMPARE(list->itemData(i, Qt::UserRole).toString(), text("at ") + name);
        }
        QTEST(shown.join(QLatin1Char('|')), "labels");
        QTEST(list->currentIndex(), "selected");
    }

    void refreshPortsListsAvailablePorts()
    {
        const auto available = QSerialPortInfo::availablePorts();
        m_window->refreshPorts(QString());
        auto *list = child<QComboBox>("serialPorts");
        QCOMPARE(list->count(), available.size());
        for (const QSerialPortInfo &port : available) {
            const int index = list->findData(port.systemLocation());
            QVERIFY(index >= 0);
            QVERIFY(list->itemText(index).startsWith(port.portName()));
            QVERIFY(list->itemText(index).endsWith(port.description()));
        }
    }

    void refreshPortsAppendsToList()
    {
        m_window->addPort(text("demo"), text("/dev/demo"));
        m_window->fakePorts = texts("COM2");
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

    void recordUnitIndexes()
    {
        m_pollutantIndexes.clear();
        m_temperatureIndexes.clear();
        connect(m_window.data(), &MainWindow::pollutantUnitIndexChanged, this,
                [this](int index) { m_pollutantIndexes << index; });
        connect(m_window.data(), &MainWindow::temperatureUnitIndexChanged, this,
                [this](int index) { m_temperatureIndexes << index; });
    }

    const TimeZoneScope m_zone{easternEurope};
    QScopedPointer<Window> m_window;
    QVector<int> m_pollutantIndexes;
    QVector<int> m_temperatureIndexes;
};

KV_TEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
