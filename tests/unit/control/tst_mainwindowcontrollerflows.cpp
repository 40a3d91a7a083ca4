// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/control/controllerfixture.h"

/// Settings, clock, units and graph.
class TestMainWindowControllerFlows : public QObject
{
    Q_OBJECT

private slots:
    void changedValueIsIgnoredUntilTheFirstReadsEnd()
    {
        ControllerFixture f;
        f.start();
        emit f.window.valueChanged(text("one"), text("1"));
        emit f.handler.connected();
        f.forget();
        emit f.window.valueChanged(text("one"), text("1"));
        QVERIFY(f.handler.calls.isEmpty());
        emit f.handler.allJobsDone();
        f.forget();
        emit f.window.valueChanged(text("one"), text("1"));
        QCOMPARE(f.handler.calls, texts({"setValue one=1"}));
    }

    void synchronizeReadsEverythingAgain()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.names = texts({"one", "two"});
        emit f.window.synchronizeClicked();
        QCOMPARE(
            f.handler.calls,
            texts({"readValues hwver swver serial model meas_state health one two", "readDate"}));
        QVERIFY(f.window.calls.isEmpty());

        // Value changes are still sent.
        f.forget();
        emit f.window.valueChanged(text("one"), text("4"));
        QCOMPARE(f.handler.calls, texts({"setValue one=4"}));
    }

    void settingsAreWrittenAfterAYesOnly()
    {
        ControllerFixture f;
        f.connectDevice();
        f.window.interleaved = &f.handler.calls;
        const QStringList question = texts({"askQuestion Write data to EEPROM | Are you sure you "
                                            "want to write settings to EEPROM?"});
        emit f.window.writeToEepromClicked();
        QCOMPARE(f.handler.calls, question);
        f.window.answer = true;
        emit f.window.writeToEepromClicked();
        QCOMPARE(f.handler.calls.mid(1),
                 question
                     + texts({"writeToEeprom",
                              "showWaitDialog 2 | Writing data to eeprom, please wait"}));
    }

    void loadSettingsDoesNothing()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.window.loadSettingsClicked();
        QVERIFY(f.window.calls.isEmpty());
        QVERIFY(f.handler.calls.isEmpty());
    }

    void clockIsWrittenAfterTheDialogHasClosed()
    {
        ControllerFixture f;
        f.connectDevice();
        QStringList handlerCallsInDialog(text("not shown"));
        f.window.onCall = [&](const QString &) { handlerCallsInDialog = f.handler.calls; };
        const QDateTime before = QDateTime::currentDateTimeUtc();
        emit f.window.synchronizeClockClicked();
        QCOMPARE(f.window.calls, texts({"showWaitDialog 3 | Setting device clock, please wait"}));
        QVERIFY(handlerCallsInDialog.isEmpty());
        QCOMPARE(f.handler.calls, texts({"setDate"}));
        QCOMPARE(f.handler.date.timeSpec(), Qt::UTC);
        QVERIFY(f.handler.date >= before);
        QVERIFY(f.handler.date <= QDateTime::currentDateTimeUtc());
    }

    void clockConfirmedSavesTheSettingsAndReadsTheClock()
    {
        ControllerFixture f;
        f.connectDevice();
        emit f.handler.actionFinished(SerialPortActionType::ActionSetDate,
                                      QDateTime::currentDateTimeUtc());
        QCOMPARE(f.handler.calls, texts({"writeToEeprom", "readDate"}));
        QVERIFY(f.window.calls.isEmpty());
        emit f.handler.actionFinished(SerialPortActionType::ActionWriteToEeprom, QVariant());
        emit f.handler.valueRead(SerialPortValueType::ValueDeviceDate,
                                 QDateTime(QDate(2026, 1, 2), QTime(3, 4), Qt::UTC));
        QCOMPARE(f.window.calls,
                 texts({"closeWaitDialog", "setDeviceClock 2026-01-02T03:04:00Z",
                        "setDeviceClockRunning 1", "closeWaitDialog"}));
    }

    void unitsFollowTheirIndex_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("first");
        QTest::addRow("0") << 0 << true;
        QTest::addRow("1") << 1 << false;
        QTest::addRow("2") << 2 << false;
        QTest::addRow("-1") << -1 << false;
    }

    void unitsFollowTheirIndex()
    {
        QFETCH(int, index);
        QFETCH(bool, first);
        ControllerFixture f;
        f.start();
        emit f.window.pollutantUnitIndexChanged(index);
        QCOMPARE(f.window.options.pollutantInPpm, first);
        QVERIFY(f.window.options.temperatureInCelsius);
        QCOMPARE(f.settings.values[text("pollutant unit")], QVariant(index));
        emit f.window.temperatureUnitIndexChanged(index);
        QCOMPARE(f.window.options.temperatureInCelsius, first);
        QCOMPARE(f.window.options.pollutantInPpm, first);
        QCOMPARE(f.settings.values[text("temperature unit")], QVariant(index));
        QVERIFY(f.window.options.hideUndefinedUnit);
        QCOMPARE(f.window.calls, texts({"setDisplayOptions", "setDisplayOptions"}));
        QCOMPARE(f.settings.writes, texts({"pollutant unit", "temperature unit"}));
        QVERIFY(f.handler.calls.isEmpty());

        // The choice is stored before it is shown.
        f.forget();
        f.settings.interleaved = &f.window.calls;
        emit f.window.pollutantUnitIndexChanged(index);
        emit f.window.temperatureUnitIndexChanged(index);
        QCOMPARE(f.window.calls,
                 texts({"setting pollutant unit", "setDisplayOptions", "setting temperature unit",
                        "setDisplayOptions"}));
    }

    void graphOpensWithDefaultsAtFirst()
    {
        ControllerFixture f;
        f.connectDevice();
        f.settings.values.remove(text("graph from"));
        emit f.window.temperatureUnitIndexChanged(1);
        f.forget();
        // Each end of the period reads the current time separately.
        f.settings.onRead = [] {
            const QDateTime now = QDateTime::currentDateTimeUtc();
            QTRY_VERIFY(QDateTime::currentDateTimeUtc() > now);
        };
        const QDateTime before = QDateTime::currentDateTimeUtc();
        emit f.window.showGraphClicked();
        const QDateTime after = QDateTime::currentDateTimeUtc();
        QCOMPARE(f.window.calls, texts({"showGraph"}));
        QCOMPARE(f.settings.reads,
                 texts({"graph from", "graph to", "graph measurement types", "graph range manual",
                        "graph maximum range", "graph minimum range",
                        "graph show latest measurements"}));
        const GraphSettings graph = f.window.graph;
        QVERIFY(graph.from >= before && graph.from <= after);
        QVERIFY(graph.to > graph.from && graph.to <= after);
        QCOMPARE(graph.from.timeSpec(), Qt::UTC);
        QCOMPARE(graph.to.timeSpec(), Qt::UTC);
        QVERIFY(graph.measurementTypes.isEmpty());
        QVERIFY(!graph.manualRange);
        QVERIFY(graph.showLatest);
        QCOMPARE(graph.minimum, 0.0);
        QCOMPARE(graph.maximum, 0.0);
        QCOMPARE(f.window.device.serialNumber, text("S-1"));
        QCOMPARE(f.window.storage, static_cast<LocalStorage *>(&f.storage));
        QCOMPARE(f.window.items.size(), 2);
        QVERIFY(!f.window.options.temperatureInCelsius);
        QVERIFY(f.settings.writes.isEmpty());
    }

    void graphOpensWithTheStoredSettings()
    {
        ControllerFixture f;
        const QDateTime from(QDate(2026, 1, 2), QTime(3, 4), Qt::UTC);
        const QDateTime to(QDate(2026, 2, 3), QTime(4, 5), Qt::UTC);
        f.settings.values[text("graph from")] = from;
        f.settings.values[text("graph to")] = to;
        f.settings.values[text("graph measurement types")] = texts({"T", "O3"});
        f.settings.values[text("graph range manual")] = true;
        f.settings.values[text("graph maximum range")] = 20.5;
        f.settings.values[text("graph minimum range")] = -3.5;
        f.settings.values[text("graph show latest measurements")] = false;
        f.start();
        emit f.window.showGraphClicked();
        const GraphSettings graph = f.window.graph;
        QCOMPARE(graph.from, from);
        QCOMPARE(graph.to, to);
        QCOMPARE(graph.measurementTypes, texts({"T", "O3"}));
        QVERIFY(graph.manualRange);
        QCOMPARE(graph.maximum, 20.5);
        QCOMPARE(graph.minimum, -3.5);
        QVERIFY(!graph.showLatest);
    }

    void graphWritesItsSevenKeysInOrder()
    {
        ControllerFixture f;
        f.start();
        f.window.graph.from = QDateTime(QDate(2026, 1, 2), QTime(3, 4), Qt::UTC);
        f.window.graph.to = QDateTime(QDate(2026, 2, 3), QTime(4, 5), Qt::UTC);
        f.window.graph.measurementTypes = texts({"T"});
        f.window.graph.manualRange = true;
        f.window.graph.showLatest = false;
        f.window.graph.minimum = 1.5;
        f.window.graph.maximum = 2.5;
        emit f.window.graphDialogClosed();
        QCOMPARE(f.window.calls, texts({"graphSettings"}));
        QCOMPARE(f.settings.writes,
                 texts({"graph from", "graph to", "graph range manual", "graph maximum range",
                        "graph minimum range", "graph measurement types",
                        "graph show latest measurements"}));
        QCOMPARE(f.settings.values[text("graph from")].toDateTime(), f.window.graph.from);
        QCOMPARE(f.settings.values[text("graph to")].toDateTime(), f.window.graph.to);
        QCOMPARE(f.settings.values[text("graph measurement types")].toStringList(), texts({"T"}));
        QCOMPARE(f.settings.values[text("graph range manual")], QVariant(true));
        QCOMPARE(f.settings.values[text("graph show latest measurements")], QVariant(false));
        QCOMPARE(f.settings.values[text("graph minimum range")], QVariant(1.5));
        QCOMPARE(f.settings.values[text("graph maximum range")], QVariant(2.5));
    }
};

KV_TEST_MAIN(TestMainWindowControllerFlows)
#include "tst_mainwindowcontrollerflows.moc"
