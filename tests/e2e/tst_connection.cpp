// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/environmentfaults.h"
#include "tests/kit/eventlooplatencymonitor.h"
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

/// Connect, readings, settings and disconnect.
class TestConnection : public ToolFixture
{
    Q_OBJECT

private slots:
    void connectingShowsAndStoresIdentityAndReading()
    {
        QVERIFY(startDevice({text("--health"), text("135%")}) && startTool());
        QVERIFY(!savedPreference("serial port").isValid());
        QVERIFY(connectByClick());
        QCOMPARE(savedPreference("serial port").toString(), device().port().mid(5));
        QCOMPARE(fieldText("serialNumber").toLatin1(), device().setting("serial"));
        QCOMPARE(fieldText("modelNumber").toLatin1(), device().setting("model"));
        QCOMPARE(fieldText("swVersion").toLatin1(), device().setting("swver"));
        QCOMPARE(fieldText("hwVersion").toLatin1(), device().setting("hwver"));
        QCOMPARE(fieldText("deviceHealth"), text("100%"));
        for (const char *alias : {"location", "altitude", "temp_offset", "gain_co", "alarm_co"}) {
            QCOMPARE(setting(alias)->text().toLatin1(), device().setting(alias));
        }
        const QStringList identity{fieldText("modelNumber"), fieldText("serialNumber"),
                                   fieldText("swVersion"), fieldText("hwVersion")};
        QCOMPARE(sqliteOutput(text("select model, serial, sw_version, hw_version from device")),
                 QStringList(identity.join(QLatin1Char('|'))));
        QCOMPARE(shownValues(), expectedValues());
        QCOMPARE(shownValues().size(), 6);
        QCOMPARE(lastStoredValues(), deviceValues());
        QCOMPARE(sqliteOutput(text("select meas_state, device_id from measurement_metadata")),
                 QStringList(text("1|1")));
    }

    void connectingSendsCommandsInFixedOrderThenPolls()
    {
        QVERIFY(startDevice() && startTool());
        const QStringList names = window().configurationNames();
        QCOMPARE(names.size(), 8);
        const QSignalSpy startedPolls(&tool().controller,
                                      &MainWindowController::measurementPollStarted);
        QVERIFY(connectByClick());

        QStringList expected = texts("show swver|set debug=0|show unit|show hwver|show swver|"
                                     "show serial|show model|show meas_state|show health");
        for (const QString &name : names) {
            expected.append(text("show ") + name);
        }
        expected << text("date") << text("show meas");
        QCOMPARE(commands(), expected);
        QCOMPARE(startedPolls.size(), 1);

        // The timer triggers further readings.
        tool().controller.setMeasurementInterval(10);
        QTRY_VERIFY(storedReadings() >= 4);
        tool().controller.stopMeasurementPolling();
        QVERIFY(waitUntilIdle());
        QTRY_COMPARE(storedReadings(), startedPolls.size());
    }

    void showsDisconnectedAndIgnoresEditsUntilFirstReadsHaveEnded()
    {
        QVERIFY(startDevice({text("--fault"), text("silence@date")}) && startTool());
        QVERIFY(click("connectButton"));
        QTRY_COMPARE(commandCount("date"), 1);
        QVERIFY(!isConnected());
        QVERIFY(isEnabled("connectButton"));
        QVERIFY(!isEnabled("configuration"));
        QVERIFY(!isEnabled("readLogButton"));
        emit window().valueChanged(text("altitude"), text("7"));
        QTRY_VERIFY(isConnected());
        QCOMPARE(commandCount("date"), 2);
        QVERIFY(!isVisible("connectButton"));
        QVERIFY(isEnabled("configuration"));
        QVERIFY(isEnabled("readLogButton"));
        QTRY_COMPARE(storedReadings(), 1);
        QCOMPARE(commands().filter(text("set ")), QStringList(text("set debug=0")));
    }

    void synchronizeSendsReadValueBackToDevice()
    {
        QVERIFY(startConnected());
        clearCommands();
        QVERIFY(typeSetting("location", text("Room 2")));
        QTRY_COMPARE(device().setting("location"), QByteArray("Room 2"));
        QVERIFY(typeSetting("altitude", text("99999")));
        QTRY_COMPARE(device().setting("altitude"), QByteArray("9000"));
        QVERIFY(click("synchronizeButton"));
        QTRY_COMPARE(setting("altitude")->text(), text("9000"));
        QVERIFY(waitUntilIdle());
        QTRY_COMPARE(commands().filter(text("set ")),
                     texts("set location=Room 2|set altitude=99999|set altitude=9000"));
    }

    void secondConnectCreatesTransportAndReadsSettingsOfModel()
    {
        QVERIFY(startConnected({text("--model"), text("KVT-300")}));
        QCOMPARE(commandCount("show temp_offset"), 1);
        QCOMPARE(commandCount("show heater_band"), 0);
        QCOMPARE(editor()->rowCount(), 12);
        QCOMPARE(setting("altitude")->text(), text("120"));
        QCOMPARE(setting("heater_band")->text(), QString());
        QCOMPARE(table()->rowCount(), 12);

        const QWeakPointer<SerialPortInterface> firstTransport = queue().serialPort();
        QVERIFY(disconnectByClick());
        QVERIFY(!firstTransport.isNull());
        QVERIFY(connectByClick());
        QVERIFY(firstTransport.isNull());
        QVERIFY(queue().serialPort()->isOpen());
        QCOMPARE(commandCount("show heater_band"), 1);
        QCOMPARE(setting("heater_band")->text(), text("0.5"));
    }

    void unknownModelIsReportedAndPolled()
    {
        dialogs().answerMessageBox(text("Device KVT-900 not supported. Please update KV Tool."),
                                   text("OK"));
        QVERIFY(startConnected({text("--fault"), text("unknown-model")}));
        QVERIFY(waitForAnswers());
        QVERIFY(isConnected());
        QCOMPARE(fieldText("modelNumber"), text("KVT-900"));
        QCOMPARE(editor()->rowCount(), 8);
        QCOMPARE(setting("altitude")->text(), text("120"));
        tool().controller.setMeasurementInterval(10);
        QTRY_VERIFY(storedReadings() >= 3);
    }

    void unavailableValueHasNoRowUntilNextConnect()
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
        QCOMPARE(sqliteOutput(values), QStringList(text("0")));
        QTRY_COMPARE(sqliteOutput(values), QStringList(text("1")));
        QCOMPARE(table()->rowCount(), 5);

        QVERIFY(disconnectByClick());
        QVERIFY(connectByClick());
        QVERIFY(!shownValues().value(text("A2")).isEmpty());
        QCOMPARE(table()->rowCount(), 6);
    }

    void readingsAreRedUntilDeviceIsReady()
    {
        QVERIFY(startDevice({text("--meas-state"), text("3")}) && startTool());
        tool().controller.setMeasurementAvailabilityInterval(20);
        QVERIFY(connectByClick());
        const auto *const bar = child<QStatusBar>("statusBar");
        QCOMPARE(bar->currentMessage(), text("Device has not stabilized yet"));
        QCOMPARE(bar->styleSheet(), text("QStatusBar { color : red; }"));
        QCOMPARE(table()->styleSheet(), text("QTableWidget { color: red}"));
        QCOMPARE(sqliteOutput(text("select distinct meas_state from measurement_metadata")),
                 QStringList(text("3")));

        QTRY_VERIFY(commandCount("show meas_state") >= 3);
        device().control("meas-state 1");
        QTRY_COMPARE(bar->currentMessage(), text("Device is ready for measurements"));
        QCOMPARE(bar->styleSheet(), text("QStatusBar { color : green; }"));
        QCOMPARE(table()->styleSheet(), text("QTableWidget { color: black}"));

        // The state is no longer requested: there is no request for it before the reply to another
        // command.
        QVERIFY(waitUntilIdle());
        clearCommands();
        QVERIFY(typeSetting("altitude", text("5")));
        QTRY_COMPARE(device().setting("altitude"), QByteArray("5"));
        QCOMPARE(commandCount("show meas_state"), 0);
    }

    void hangUpIsNotReportedAndAnotherPortCanBeChosen()
    {
        QVERIFY(startConnected());
        const QMap<QString, QString> shown = shownValues();
        device().hangUp();
        QVERIFY(click("synchronizeButton"));
        QVERIFY(isConnected());
        QVERIFY(queue().serialPort()->isOpen());
        QCOMPARE(shownValues(), shown);
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(disconnectByClick());

        QVERIFY(device().resume());
        addAndSelectPort(device().port());
        QVERIFY(connectByClick());
        QCOMPARE(sqliteOutput(text("select count(*) from device")), QStringList(text("1")));
    }

    void lockedDatabaseBlocksWindowForLimitedTime()
    {
        constexpr int sqliteTimeoutMs = 5000;
        QVERIFY(startConnected());
        QVERIFY(waitUntilIdle());
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
        QVERIFY(monitor.longestGap() >= sqliteTimeoutMs - 100);
        QVERIFY(monitor.longestGap() < 4 * sqliteTimeoutMs);
    }
};

KV_TEST_MAIN(TestConnection)
#include "tst_connection.moc"
