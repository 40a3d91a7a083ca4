// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/control/controllerfixture.h"

#include <QtCore/QStandardPaths>

using Value = SerialPortValueType;

namespace {

QString location(QStandardPaths::StandardLocation standard)
{
    return QStandardPaths::writableLocation(standard);
}

QString storeIn(const QString &folder)
{
    return folder + text("/measurements.db");
}

} // namespace

/// From the remembered choices to an open store.
class TestMainWindowControllerStart : public QObject
{
    Q_OBJECT

private slots:
    void startGoesFromPortsToModelsToUnitsToTheStore()
    {
        ControllerFixture f;
        QVERIFY(f.controller.start());
        QCOMPARE(f.window.calls,
                 texts({"refreshPorts ", "setMeasurementItems", "setConfiguration",
                        "setPollutantUnitIndex 0", "setDisplayOptions", "setTemperatureUnitIndex 0",
                        "setDisplayOptions"}));
        QCOMPARE(
            f.settings.reads,
            texts({"serial port", "pollutant unit", "temperature unit", "local storage path"}));
        QCOMPARE(f.settings.writes,
                 QStringList({text("pollutant unit"), text("temperature unit"),
                              text("local storage path")}));
        QVERIFY(f.handler.calls.isEmpty());
    }

    void startRestoresTheRememberedPortAndUnits()
    {
        ControllerFixture f;
        f.settings.values[text("serial port")] = text("ttyUSB3");
        f.settings.values[text("pollutant unit")] = 1;
        f.settings.values[text("temperature unit")] = -1;
        QVERIFY(f.controller.start());
        QCOMPARE(f.window.calls.first(), text("refreshPorts ttyUSB3"));
        QVERIFY(f.window.calls.contains(text("setPollutantUnitIndex 1")));
        QVERIFY(f.window.calls.contains(text("setTemperatureUnitIndex -1")));
        QVERIFY(!f.window.options.pollutantInPpm);
        QVERIFY(!f.window.options.temperatureInCelsius);
        QVERIFY(f.window.options.hideUndefinedUnit);
    }

    void firstRunFallsBackToDefaults()
    {
        ControllerFixture f;
        QVERIFY(f.controller.start());
        QVERIFY(f.window.options.pollutantInPpm);
        QVERIFY(f.window.options.temperatureInCelsius);
        QCOMPARE(f.storage.openedPaths,
                 QStringList(storeIn(location(QStandardPaths::AppDataLocation))));
    }

    void firstModelByNameIsCurrentAtStart()
    {
        ControllerFixture f;
        f.start();
        QCOMPARE(f.window.configuration.configurationItems.size(), 1);
        QCOMPARE(f.window.configuration.configurationItems.first().alias, text("one"));
        QCOMPARE(f.window.items.size(), 2);
        QCOMPARE(f.window.items.first().name, text("O3"));
    }

    void failedLoadShowsItsFileAndGoesOn_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addRow("no file") << QByteArray();
        QTest::addRow("empty file") << QByteArray("");
        QTest::addRow("not XML") << QByteArray("serial=1\n");
        QTest::addRow("no devices") << QByteArray("<KVTConfig><Devices/></KVTConfig>");
        QTest::addRow("bad measurement")
            << QByteArray("<KVTConfig><Devices><Device name='A'/><Device name='B'><Measurements>"
                          "<Measurement name='x' type='rain'/></Measurements></Device></Devices>"
                          "</KVTConfig>");
    }

    void failedLoadShowsItsFileAndGoesOn()
    {
        QFETCH(QByteArray, contents);
        ControllerFixture f;
        f.writeFile(text("settings.xml"), contents);
        if (contents.isNull()) {
            QFile::remove(text("settings.xml"));
        }
        QVERIFY(f.controller.start());
        QCOMPARE(f.window.calls.at(1),
                 text("Critical Failed to load configuration from file settings.xml"));
        QVERIFY(!f.window.calls.contains(text("setConfiguration")));
        QVERIFY(!f.window.calls.contains(text("setMeasurementItems")));
        QCOMPARE(f.storage.openedPaths.size(), 1);
    }

    void eachLoadReplacesTheEarlierModels()
    {
        ControllerFixture f;
        f.start();
        f.writeFile(text("settings.xml"),
                    "<KVTConfig><Devices><Device name='Other'/></Devices></KVTConfig>");
        f.start();
        emit f.handler.valueRead(Value::ValueDeviceModel, text("KVT-1"));
        QCOMPARE(f.window.calls,
                 texts({"Critical Device KVT-1 not supported. Please update KV Tool."}));
    }

    void modelsReadBeforeAFailureStillActivate()
    {
        ControllerFixture f;
        f.writeFile(
            text("settings.xml"),
            "<KVTConfig><Devices><Device name='A'/><Device name='B'><Measurements>"
            "<Measurement name='x' type='rain'/></Measurements></Device></Devices></KVTConfig>");
        f.start();
        emit f.handler.valueRead(Value::ValueDeviceModel, text("A"));
        QCOMPARE(f.window.calls, texts({"setMeasurementItems", "setConfiguration"}));
    }

    void rememberedFolderIsTriedFirst()
    {
        ControllerFixture f;
        f.settings.values[text("local storage path")] = text("/data//here/");
        QVERIFY(f.controller.start());
        QCOMPARE(f.storage.openedPaths, texts({"/data/here/measurements.db"}));
        QCOMPARE(f.settings.values[text("local storage path")].toString(), text("/data//here/"));
    }

    void rememberedFolderThatDoesNotOpenIsSkippedWithoutAMessage()
    {
        ControllerFixture f;
        f.settings.values[text("local storage path")] = text("/gone");
        f.storage.openPredicate = [](const QString &path) {
            return !path.startsWith(text("/gone"));
        };
        QVERIFY(f.controller.start());
        QCOMPARE(f.settings.values[text("local storage path")].toString(),
                 location(QStandardPaths::AppDataLocation));
        QVERIFY(f.window.calls.filter(text("Critical")).isEmpty());
        QVERIFY(f.window.calls.filter(text("Information")).isEmpty());
    }

    void foldersAreTriedInOrder()
    {
        ControllerFixture f;
        f.settings.values[text("local storage path")] = text("/gone");
        f.storage.openResult = false;
        f.window.directories = texts({"/chosen"});
        f.storage.openPredicate = [](const QString &path) {
            return path.startsWith(text("/chosen"));
        };
        QVERIFY(f.controller.start());
        QCOMPARE(f.storage.openedPaths,
                 QStringList({text("/gone/measurements.db"),
                              storeIn(location(QStandardPaths::AppDataLocation)),
                              storeIn(location(QStandardPaths::HomeLocation)),
                              storeIn(location(QStandardPaths::AppLocalDataLocation)),
                              text("/chosen/measurements.db")}));
        QCOMPARE(f.settings.values[text("local storage path")].toString(), text("/chosen"));
    }

    void theUserIsAskedUntilAFolderOpens()
    {
        ControllerFixture f;
        f.storage.openPredicate = [](const QString &path) {
            return path.startsWith(text("/good"));
        };
        f.window.directories = texts({"/bad", "/good"});
        QVERIFY(f.controller.start());
        const QString ask = text("selectDirectory Choose where to store measurements | ")
            + location(QStandardPaths::HomeLocation);
        QCOMPARE(
            f.window.calls.mid(7),
            QStringList({text("Information Kv tool automatically stores measurements to disk. "
                              "Please select a directory where the measurements can be stored."),
                         ask,
                         text("Critical Unable to write measures to /bad. Please choose another "
                              "directory."),
                         ask}));
    }

    void noFolderEndsTheStart()
    {
        ControllerFixture f;
        f.storage.openResult = false;
        f.window.directories = texts({"/bad"});
        QVERIFY(!f.controller.start());
        QCOMPARE(f.window.calls.last(),
                 text("Critical Unable to write measurements to disk. Unable to write to default "
                      "location: %1 and no replacement directory was chosen. Exiting!")
                     .arg(location(QStandardPaths::AppDataLocation)));
        QVERIFY(!f.settings.values.contains(text("local storage path")));
    }
};

KV_TEST_MAIN(TestMainWindowControllerStart)
#include "tst_mainwindowcontrollerstart.moc"
