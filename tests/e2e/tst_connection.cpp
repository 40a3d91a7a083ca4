// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjob.h"
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

/// Connect, readings, settings, units and disconnect.
class TestConnection : public ToolFixture
{
    Q_OBJECT

private slots:
    void connectingShowsTheIdentity()
    {
        QVERIFY(startConnected({text("--health"), text("135%")}));
        QCOMPARE(field("serialNumber").toLatin1(), device().setting("serial"));
        QCOMPARE(field("modelNumber").toLatin1(), device().setting("model"));
        QCOMPARE(field("swVersion").toLatin1(), device().setting("swver"));
        QCOMPARE(field("hwVersion").toLatin1(), device().setting("hwver"));
        QCOMPARE(field("deviceHealth"), text("100%"));
        for (const char *alias : {"location", "altitude", "temp_offset", "gain_co", "alarm_co"}) {
            QCOMPARE(setting(alias)->text().toLatin1(), device().setting(alias));
        }
        QCOMPARE(sqlite(text("select model, serial, sw_version, hw_version from device")),
                 QStringList({QStringList{field("modelNumber"), field("serialNumber"),
                                          field("swVersion"), field("hwVersion")}
                                  .join(QLatin1Char('|'))}));
    }

    void connectingAsksInAFixedOrder()
    {
        QVERIFY(startDevice());
        QVERIFY(startTool());
        const QStringList names = window().configurationNames();
        QCOMPARE(names.size(), 8);
        QVERIFY(connectByClick());

        QStringList expected{text("show swver"), text("set debug=0"),     text("show unit"),
                             text("show hwver"), text("show swver"),      text("show serial"),
                             text("show model"), text("show meas_state"), text("show health")};
        for (const QString &name : names) {
            expected.append(text("show ") + name);
        }
        expected << text("date") << text("show meas");
        QCOMPARE(commands(), expected);
    }

    void firstReadingComesAtOnceAndLaterOnesByTheTimer()
    {
        QVERIFY(startDevice());
        QVERIFY(startTool());
        QSignalSpy polls(&tool().controller, &MainWindowController::measurementPollStarted);
        QVERIFY(connectByClick());
        QCOMPARE(polls.size(), 1);

        tool().controller.setMeasurementInterval(10);
        QTRY_VERIFY(storedReadings() >= 4);
        tool().controller.stopMeasurementPolling();
        QVERIFY(waitUntilQuiet());
        QTRY_COMPARE(storedReadings(), polls.size());
    }

    void readingReachesTableAndStore()
    {
        QVERIFY(startConnected());
        QCOMPARE(shownValues(), expectedValues());
        QCOMPARE(shownValues().size(), 6);
        QCOMPARE(lastStoredValues(), deviceValues());
        QCOMPARE(sqlite(text("select meas_state, device_id from measurement_metadata")),
                 QStringList(text("1|1")));
    }

    void windowShowsDisconnectedUntilTheReadsEnd()
    {
        QVERIFY(startConnect("silence@date", "date"));
        QVERIFY(!isConnected());
        QVERIFY(isEnabled("connectButton"));
        QVERIFY(!isEnabled("configuration"));
        QVERIFY(!isEnabled("readLogButton"));
        QTRY_VERIFY(isConnected());
        QCOMPARE(commandCount("date"), 2);
        QVERIFY(!isVisible("connectButton"));
        QVERIFY(isEnabled("configuration"));
        QVERIFY(isEnabled("readLogButton"));
        QTRY_COMPARE(storedReadings(), 1);
    }

    void editsBeforeTheReadsEndAreIgnored()
    {
        QVERIFY(startConnect("silence@date", "date"));
        emit window().valueChanged(text("altitude"), text("7"));
        QTRY_COMPARE(storedReadings(), 1);
        QCOMPARE(commands().filter(text("set ")), QStringList(text("set debug=0")));

        emit window().valueChanged(text("altitude"), text("7"));
        QTRY_COMPARE(device().setting("altitude"), QByteArray("7"));
    }

    void editsAfterADisconnectDuringTheReadsStayIgnored()
    {
        QVERIFY(startConnect("silence@date", "date"));
        emit window().disconnectClicked();
        QTRY_VERIFY(!queue().serialPort()->isOpen());
        emit window().valueChanged(text("altitude"), text("7"));
        QVERIFY(!queue().currentJob());

        QVERIFY(connectByClick());
        QCOMPARE(commandCount("set altitude"), 0);
        QVERIFY(typeSetting("altitude", text("8")));
        QTRY_COMPARE(device().setting("altitude"), QByteArray("8"));
    }

    void typedSettingReachesTheDevice()
    {
        QVERIFY(startConnected());
        forgetCommands();
        QVERIFY(typeSetting("altitude", text("321")));
        QTRY_COMPARE(device().setting("altitude"), QByteArray("321"));
        QVERIFY(typeSetting("location", text("Room 2")));
        QTRY_COMPARE(device().setting("location"), QByteArray("Room 2"));
        QVERIFY(waitUntilQuiet());
        QCOMPARE(commands(), QStringList({text("set altitude=321"), text("set location=Room 2")}));
    }

    void synchronizeSendsTheDevicesValueBack()
    {
        QVERIFY(startConnected());
        forgetCommands();
        QVERIFY(typeSetting("altitude", text("99999")));
        QTRY_COMPARE(device().setting("altitude"), QByteArray("9000"));
        QVERIFY(click("synchronizeButton"));
        QTRY_COMPARE(setting("altitude")->text(), text("9000"));
        QVERIFY(waitUntilQuiet());
        QTRY_COMPARE(commands().filter(text("set ")),
                     QStringList({text("set altitude=99999"), text("set altitude=9000")}));
    }

    void secondConnectReadsTheSettingsOfTheModel()
    {
        QVERIFY(startConnected({text("--model"), text("KVT-300")}));
        QCOMPARE(commandCount("show temp_offset"), 1);
        QCOMPARE(commandCount("show heater_band"), 0);
        QCOMPARE(editor()->rowCount(), 12);
        QCOMPARE(setting("altitude")->text(), text("120"));
        QCOMPARE(setting("heater_band")->text(), QString());
        QCOMPARE(table()->rowCount(), 12);

        QVERIFY(disconnectByClick());
        QVERIFY(connectByClick());
        QCOMPARE(commandCount("show heater_band"), 1);
        QCOMPARE(setting("heater_band")->text(), text("0.5"));
    }

    void unknownModelIsReportedAndPolled()
    {
        dialogs().answerBox(text("Device KVT-900 not supported. Please update KV Tool."),
                            text("OK"));
        QVERIFY(startConnected({text("--fault"), text("unknown-model")}));
        QVERIFY(waitForAnswers());
        QVERIFY(isConnected());
        QCOMPARE(field("modelNumber"), text("KVT-900"));
        QCOMPARE(editor()->rowCount(), 8);
        QCOMPARE(setting("altitude")->text(), text("120"));
        tool().controller.setMeasurementInterval(10);
        QTRY_VERIFY(storedReadings() >= 3);
    }

    void eachConnectMakesANewTransport()
    {
        QVERIFY(startConnected());
        const QWeakPointer<SerialPortInterface> first = queue().serialPort();
        QVERIFY(disconnectByClick());
        QVERIFY(!first.isNull());
        QVERIFY(connectByClick());
        QVERIFY(first.isNull());
        QVERIFY(queue().serialPort()->isOpen());
        QCOMPARE(sqlite(text("select count(*) from device")), QStringList(text("1")));
    }

    void portIsRemembered()
    {
        QVERIFY(startDevice());
        QVERIFY(startTool());
        QVERIFY(!rememberedValue("serial port").isValid());
        QVERIFY(connectByClick());
        QCOMPARE(rememberedValue("serial port").toString(), device().port().mid(5));
        QCOMPARE(tool().handler.portName(), device().port().mid(5));
    }

    void invalidReadingRemovesItsRowUntilTheNextConnect()
    {
        QVERIFY(startConnected({text("--warmup"), text("1500")}));
        device().control("restart");
        tool().controller.setMeasurementInterval(10);
        QTRY_VERIFY(!shownValues().contains(text("A2")));
        QCOMPARE(table()->rowCount(), 5);

        const QString values =
            text("select count(*) from measurement_value v join measurement_type t "
                 "on t.id = v.measurement_type_id where t.name = 'A2' and "
                 "v.measurement_id = (select max(id) from measurement_metadata)");
        QCOMPARE(sqlite(values), QStringList(text("0")));
        QTRY_COMPARE(sqlite(values), QStringList(text("1")));
        QCOMPARE(table()->rowCount(), 5);

        QVERIFY(disconnectByClick());
        QVERIFY(connectByClick());
        QVERIFY(!shownValues().value(text("A2")).isEmpty());
        QCOMPARE(table()->rowCount(), 6);
    }

    void readingsAreRedUntilTheDeviceIsReady()
    {
        const auto bar = [this] { return child<QStatusBar>("statusBar"); };
        QVERIFY(startDevice({text("--meas-state"), text("3")}));
        QVERIFY(startTool());
        tool().controller.setMeasurementAvailabilityInterval(20);
        QVERIFY(connectByClick());
        QCOMPARE(bar()->currentMessage(), text("Device has not stabilized yet"));
        QCOMPARE(bar()->styleSheet(), text("QStatusBar { color : red; }"));
        QCOMPARE(table()->styleSheet(), text("QTableWidget { color: red}"));
        QCOMPARE(sqlite(text("select distinct meas_state from measurement_metadata")),
                 QStringList(text("3")));

        QTRY_VERIFY(commandCount("show meas_state") >= 3);
        device().control("meas-state 1");
        QTRY_COMPARE(bar()->currentMessage(), text("Device is ready for measurements"));
        QCOMPARE(bar()->styleSheet(), text("QStatusBar { color : green; }"));
        QCOMPARE(table()->styleSheet(), text("QTableWidget { color: black}"));

        // The state is requested no more: a command of another kind is answered before the next
        // request.
        QVERIFY(waitUntilQuiet());
        forgetCommands();
        QVERIFY(typeSetting("altitude", text("5")));
        QTRY_COMPARE(device().setting("altitude"), QByteArray("5"));
        QCOMPARE(commandCount("show meas_state"), 0);
    }

    void stateIsRequestedAlsoAfterADisconnect()
    {
        QVERIFY(startConnected({text("--meas-state"), text("2")}));
        QVERIFY(disconnectByClick());
        QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QSerialPort): device not open");
        tool().controller.setMeasurementAvailabilityInterval(5);
        QTRY_VERIFY(queue().currentJob());
        // Longer, so that the command is not sent again during the checks.
        auto *const job = qobject_cast<SerialPortJob *>(queue().currentJob().data());
        QVERIFY(job != nullptr);
        job->setTimeout(waitMs);
        QTRY_VERIFY(queue().jobs().size() >= 2);

        device().control("meas-state 1");
        tool().controller.setMeasurementAvailabilityInterval(waitMs);
        QVERIFY(connectByClick());
        QVERIFY(waitUntilQuiet());
        QCOMPARE(child<QStatusBar>("statusBar")->currentMessage(),
                 text("Device is ready for measurements"));
    }

    void rememberedUnitsAreEmittedAtStart_data()
    {
        QTest::addColumn<QVariant>("remembered");
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("emissions");
        // The selector is initially at 0 and reports a change itself before the window does.
        QTest::addRow("nothing") << QVariant() << 0 << 1;
        QTest::addRow("the first") << QVariant(0) << 0 << 1;
        QTest::addRow("the second") << QVariant(1) << 1 << 2;
    }

    void rememberedUnitsAreEmittedAtStart()
    {
        QFETCH(QVariant, remembered);
        QFETCH(int, index);
        QFETCH(int, emissions);
        if (remembered.isValid()) {
            QSettings settings(text("Orvanta"), text("Kv tool"));
            settings.setValue(text("pollutant unit"), remembered);
            settings.setValue(text("temperature unit"), remembered);
        }
        m_tool = std::make_unique<Tool>();
        QSignalSpy pollutant(&window(), &MainWindow::pollutantUnitIndexChanged);
        QSignalSpy temperature(&window(), &MainWindow::temperatureUnitIndexChanged);
        QVERIFY(launchTool());
        QCOMPARE(pollutant.size(), emissions);
        QCOMPARE(temperature.size(), emissions);
        for (const auto &spy : {&pollutant, &temperature}) {
            for (const QList<QVariant> &arguments : *spy) {
                QCOMPARE(arguments.first().toInt(), index);
            }
        }
        QCOMPARE(rememberedValue("pollutant unit"), QVariant(index));
        QCOMPARE(rememberedValue("temperature unit"), QVariant(index));
        QCOMPARE(child<QComboBox>("unit")->currentIndex(), index);
        QCOMPARE(child<QComboBox>("unitTemperature")->currentIndex(), index);
    }

    void chosenUnitIsShownAndRemembered()
    {
        const auto lines = [](const char *key) {
            const QString path = QSettings(text("Orvanta"), text("Kv tool")).fileName();
            return QString::fromLatin1(contents(path)).split(QLatin1Char('\n')).filter(text(key));
        };
        QVERIFY(startConnected());
        forgetCommands();
        const auto celsius = text("°C");
        const auto fahrenheit = text("°F");
        QVERIFY(shownValues().value(text("W0")).endsWith(celsius));
        QVERIFY(shownValues().value(text("A2")).endsWith(text("ppm")));

        QSignalSpy pollutant(&window(), &MainWindow::pollutantUnitIndexChanged);
        QSignalSpy temperature(&window(), &MainWindow::temperatureUnitIndexChanged);
        QTest::keyClick(child<QComboBox>("unitTemperature"), Qt::Key_Down);
        QTest::keyClick(child<QComboBox>("unit"), Qt::Key_Down);
        QCOMPARE(pollutant.size(), 1);
        QCOMPARE(temperature.size(), 1);
        QVERIFY(shownValues().value(text("W0")).endsWith(fahrenheit));
        QVERIFY(shownValues().value(text("A2")).endsWith(text("µg/m³")));
        QTRY_COMPARE(lines("pollutant%20unit"), QStringList(text("pollutant%20unit=1")));
        QTRY_COMPARE(lines("temperature%20unit"), QStringList(text("temperature%20unit=1")));

        window().setPollutantUnitIndex(0);
        QCOMPARE(pollutant.size(), 3);
        window().setPollutantUnitIndex(0);
        QCOMPARE(pollutant.size(), 4);
        QTRY_COMPARE(lines("pollutant%20unit"), QStringList(text("pollutant%20unit=0")));
        QVERIFY(shownValues().value(text("A2")).endsWith(text("ppm")));
        // Units change only the display.
        QCOMPARE(commands(), QStringList());
    }

    void disconnectWaitsBeforeItCloses()
    {
        QVERIFY(startConnected());
        QElapsedTimer timer;
        timer.start();
        QVERIFY(click("disconnectButton"));
        QVERIFY(!isConnected());
        QVERIFY(isVisible("connectButton"));
        QVERIFY(queue().serialPort()->isOpen());
        QCOMPARE(child<QStatusBar>("statusBar")->currentMessage(), QString());
        QVERIFY(!isEnabled("configuration"));
        QTRY_VERIFY(!queue().serialPort()->isOpen());
        QVERIFY2(timer.elapsed() >= 90, QByteArray::number(timer.elapsed()));
        QVERIFY(isEnabled("connectButton"));
        // What was read remains shown.
        QVERIFY(!field("serialNumber").isEmpty());
        QVERIFY(!shownValues().value(text("W0")).isEmpty());
    }

    void silentDeviceLeavesEverythingAsItWas()
    {
        QVERIFY(startDevice({text("--fault"), text("silence")}));
        QVERIFY(startTool());
        QSignalSpy done(&tool().handler, &SerialPortHandlerInterface::allJobsDone);
        QVERIFY(click("connectButton"));
        QTRY_COMPARE(commandCount("show swver"), 5);
        QTRY_VERIFY(!queue().currentJob()->isRunning());
        QVERIFY(isEnabled("connectButton"));
        QVERIFY(isVisible("connectButton"));
        QVERIFY(done.isEmpty());

        // The user can only try again.
        device().control("fault clear");
        QVERIFY(connectByClick());
        QCOMPARE(commandCount("show swver"), 7);
    }

    void lostLineIsNotReportedAndAnotherCanBeChosen()
    {
        QVERIFY(startConnected());
        device().hangUp();
        QVERIFY(click("synchronizeButton"));
        QVERIFY(isConnected());
        QVERIFY(disconnectByClick());

        QVERIFY(device().resume());
        choosePort(device().port());
        QVERIFY(connectByClick());
        QCOMPARE(sqlite(text("select count(*) from device")), QStringList(text("1")));
    }

    void emptyPortListConnectsNothing()
    {
        QVERIFY(startTool());
        child<QComboBox>("serialPorts")->clear();
        QTest::ignoreMessage(QtDebugMsg, "Unable to connect with empty port name");
        QVERIFY(click("connectButton"));
        QVERIFY(queue().serialPort().isNull());
    }

private:
    /// Starts a connect that waits because of @p fault when the device has got @p lastCommand.
    bool startConnect(const char *fault, const char *lastCommand)
    {
        return startDevice({text("--fault"), text(fault)}) && startTool() && click("connectButton")
            && waitFor([=] { return commandCount(lastCommand) == 1; });
    }
};

KV_TEST_MAIN(TestConnection)
#include "tst_connection.moc"
