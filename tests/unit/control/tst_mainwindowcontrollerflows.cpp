// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/control/controllerfixture.h"

namespace {

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

/// Settings, clock, units and graph.
class TestMainWindowControllerFlows : public QObject
{
    Q_OBJECT

private slots:
    void changedValueGoesOutAtOnce();
    void changedValueIsIgnoredUntilTheFirstReadsEnd();
    void synchronizeReadsEverythingAgain();
    void synchronizeLeavesValueReportingOn();
    void settingsAreWrittenAfterAYesOnly();
    void settingsAreWrittenBeforeTheDialogOpens();
    void loadSettingsDoesNothing();
    void clockIsWrittenAfterTheDialogHasClosed();
    void clockConfirmedSavesTheSettingsAndReadsTheClock();
    void unitsFollowTheirIndex_data();
    void unitsFollowTheirIndex();
    void graphOpensWithDefaultsAtFirst();
    void graphOpensWithWhatWasKept();
    void graphKeepsItsSevenKeysInOrder();
};

void TestMainWindowControllerFlows::changedValueGoesOutAtOnce()
{
    ControllerFixture f;
    f.connectDevice();
    emit f.window.valueChanged(text("one"), text("99"));
    QCOMPARE(f.handler.calls, QStringList(text("setValue one=99")));
    QVERIFY(f.window.calls.isEmpty());
}

void TestMainWindowControllerFlows::changedValueIsIgnoredUntilTheFirstReadsEnd()
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
    QCOMPARE(f.handler.calls, QStringList(text("setValue one=1")));
}

void TestMainWindowControllerFlows::synchronizeReadsEverythingAgain()
{
    ControllerFixture f;
    f.connectDevice();
    f.window.names = QStringList({text("one"), text("two")});
    emit f.window.synchronizeClicked();
    QCOMPARE(f.handler.calls,
             QStringList({text("readValues hwver swver serial model meas_state health one two"),
                          text("readDate")}));
    QVERIFY(f.window.calls.isEmpty());
}

void TestMainWindowControllerFlows::synchronizeLeavesValueReportingOn()
{
    ControllerFixture f;
    f.connectDevice();
    emit f.window.synchronizeClicked();
    f.forget();
    emit f.window.valueChanged(text("one"), text("4"));
    QCOMPARE(f.handler.calls, QStringList(text("setValue one=4")));
}

void TestMainWindowControllerFlows::settingsAreWrittenAfterAYesOnly()
{
    ControllerFixture f;
    f.connectDevice();
    emit f.window.writeToEepromClicked();
    QCOMPARE(f.window.calls,
             QStringList(text("askQuestion Write data to EEPROM | Are you sure you want to write "
                              "settings to EEPROM?")));
    QVERIFY(f.handler.calls.isEmpty());
}

void TestMainWindowControllerFlows::settingsAreWrittenBeforeTheDialogOpens()
{
    ControllerFixture f;
    f.connectDevice();
    f.window.answer = true;
    f.window.interleaved = &f.handler.calls;
    emit f.window.writeToEepromClicked();
    QCOMPARE(f.handler.calls.mid(1),
             QStringList({text("writeToEeprom"),
                          text("showWaitDialog 2 | Writing data to eeprom, please wait")}));
}

void TestMainWindowControllerFlows::loadSettingsDoesNothing()
{
    ControllerFixture f;
    f.connectDevice();
    emit f.window.loadSettingsClicked();
    QVERIFY(f.window.calls.isEmpty());
    QVERIFY(f.handler.calls.isEmpty());
}

void TestMainWindowControllerFlows::clockIsWrittenAfterTheDialogHasClosed()
{
    ControllerFixture f;
    f.connectDevice();
    QStringList handlerCallsInDialog(text("not shown"));
    f.window.duringWaitDialog = [&] { handlerCallsInDialog = f.handler.calls; };
    const QDateTime before = QDateTime::currentDateTimeUtc();
    emit f.window.synchronizeClockClicked();
    QCOMPARE(f.window.calls,
             QStringList(text("showWaitDialog 3 | Setting device clock, please wait")));
    QVERIFY(handlerCallsInDialog.isEmpty());
    QCOMPARE(f.handler.calls, QStringList(text("setDate")));
    QCOMPARE(f.handler.date.timeSpec(), Qt::UTC);
    QVERIFY(f.handler.date >= before);
    QVERIFY(f.handler.date <= QDateTime::currentDateTimeUtc());
}

void TestMainWindowControllerFlows::clockConfirmedSavesTheSettingsAndReadsTheClock()
{
    ControllerFixture f;
    f.connectDevice();
    emit f.handler.actionFinished(SerialPortActionType::ActionSetDate,
                                  QDateTime::currentDateTimeUtc());
    QCOMPARE(f.handler.calls, QStringList({text("writeToEeprom"), text("readDate")}));
    QVERIFY(f.window.calls.isEmpty());
    emit f.handler.actionFinished(SerialPortActionType::ActionWriteToEeprom, QVariant());
    emit f.handler.valueRead(SerialPortValueType::ValueDeviceDate,
                             QDateTime(QDate(2026, 1, 2), QTime(3, 4), Qt::UTC));
    QCOMPARE(f.window.calls,
             QStringList({text("closeWaitDialog"), text("setDeviceClock 2026-01-02T03:04:00Z"),
                          text("setDeviceClockRunning 1"), text("closeWaitDialog")}));
}

void TestMainWindowControllerFlows::unitsFollowTheirIndex_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("first");
    QTest::addRow("0") << 0 << true;
    QTest::addRow("1") << 1 << false;
    QTest::addRow("2") << 2 << false;
    QTest::addRow("-1") << -1 << false;
}

void TestMainWindowControllerFlows::unitsFollowTheirIndex()
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
    QCOMPARE(f.window.calls, QStringList({text("setDisplayOptions"), text("setDisplayOptions")}));
    QCOMPARE(f.settings.writes, QStringList({text("pollutant unit"), text("temperature unit")}));
    QVERIFY(f.handler.calls.isEmpty());

    // The choice is kept before it is shown.
    f.forget();
    f.settings.interleaved = &f.window.calls;
    emit f.window.pollutantUnitIndexChanged(index);
    emit f.window.temperatureUnitIndexChanged(index);
    QCOMPARE(f.window.calls,
             QStringList({text("setting pollutant unit"), text("setDisplayOptions"),
                          text("setting temperature unit"), text("setDisplayOptions")}));
}

void TestMainWindowControllerFlows::graphOpensWithDefaultsAtFirst()
{
    ControllerFixture f;
    f.connectDevice();
    f.settings.values.remove(text("graph from"));
    emit f.window.temperatureUnitIndexChanged(1);
    f.forget();
    const QDateTime before = QDateTime::currentDateTimeUtc();
    emit f.window.showGraphClicked();
    const QDateTime after = QDateTime::currentDateTimeUtc();
    QCOMPARE(f.window.calls, QStringList(text("showGraph")));
    QCOMPARE(f.settings.reads,
             QStringList({text("graph from"), text("graph to"), text("graph measurement types"),
                          text("graph range manual"), text("graph maximum range"),
                          text("graph minimum range"), text("graph show latest measurements")}));
    const GraphSettings graph = f.window.graph;
    QVERIFY(graph.from >= before && graph.from <= after);
    QVERIFY(graph.to >= before && graph.to <= after);
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

void TestMainWindowControllerFlows::graphOpensWithWhatWasKept()
{
    ControllerFixture f;
    const QDateTime from(QDate(2026, 1, 2), QTime(3, 4), Qt::UTC);
    const QDateTime to(QDate(2026, 2, 3), QTime(4, 5), Qt::UTC);
    f.settings.values[text("graph from")] = from;
    f.settings.values[text("graph to")] = to;
    f.settings.values[text("graph measurement types")] = QStringList({text("T"), text("O3")});
    f.settings.values[text("graph range manual")] = true;
    f.settings.values[text("graph maximum range")] = 20.5;
    f.settings.values[text("graph minimum range")] = -3.5;
    f.settings.values[text("graph show latest measurements")] = false;
    f.start();
    emit f.window.showGraphClicked();
    const GraphSettings graph = f.window.graph;
    QCOMPARE(graph.from, from);
    QCOMPARE(graph.to, to);
    QCOMPARE(graph.measurementTypes, QStringList({text("T"), text("O3")}));
    QVERIFY(graph.manualRange);
    QCOMPARE(graph.maximum, 20.5);
    QCOMPARE(graph.minimum, -3.5);
    QVERIFY(!graph.showLatest);
}

void TestMainWindowControllerFlows::graphKeepsItsSevenKeysInOrder()
{
    ControllerFixture f;
    f.start();
    f.window.graph.from = QDateTime(QDate(2026, 1, 2), QTime(3, 4), Qt::UTC);
    f.window.graph.to = QDateTime(QDate(2026, 2, 3), QTime(4, 5), Qt::UTC);
    f.window.graph.measurementTypes = QStringList(text("T"));
    f.window.graph.manualRange = true;
    f.window.graph.showLatest = false;
    f.window.graph.minimum = 1.5;
    f.window.graph.maximum = 2.5;
    emit f.window.graphDialogClosed();
    QCOMPARE(f.window.calls, QStringList(text("graphSettings")));
    QCOMPARE(
        f.settings.writes,
        QStringList({text("graph from"), text("graph to"), text("graph range manual"),
                     text("graph maximum range"), text("graph minimum range"),
                     text("graph measurement types"), text("graph show latest measurements")}));
    QCOMPARE(f.settings.values[text("graph from")].toDateTime(), f.window.graph.from);
    QCOMPARE(f.settings.values[text("graph to")].toDateTime(), f.window.graph.to);
    QCOMPARE(f.settings.values[text("graph measurement types")].toStringList(),
             QStringList(text("T")));
    QCOMPARE(f.settings.values[text("graph range manual")], QVariant(true));
    QCOMPARE(f.settings.values[text("graph show latest measurements")], QVariant(false));
    QCOMPARE(f.settings.values[text("graph minimum range")], QVariant(1.5));
    QCOMPARE(f.settings.values[text("graph maximum range")], QVariant(2.5));
}

KV_TEST_MAIN(TestMainWindowControllerFlows)
#include "tst_mainwindowcontrollerflows.moc"
