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

/// The recorded call that asks the user for a folder.
QString folderDialog()
{
    return text("selectDirectory Choose where to store measurements; ")
        + location(QStandardPaths::HomeLocation);
}

} // namespace

/// start(): restores the saved preferences, loads settings.xml and opens the store.
class TestMainWindowControllerStart : public QObject
{
    Q_OBJECT

private slots:
    void firstStartUsesTheDefaults()
    {
        ControllerFixture f;
        QStringList reads;
        f.settings.onRead = [&reads](const QString &key) { reads += key; };
        QVERIFY(f.controller.start());
        const QString folder = location(QStandardPaths::AppDataLocation);
        QCOMPARE(f.takeCalls(),
                 text("refreshPorts |setMeasurementItems|setConfiguration|"
                      "setPollutantUnitIndex 0|setting pollutant unit=0|setDisplayOptions|"
                      "setTemperatureUnitIndex 0|setting temperature unit=0|setDisplayOptions|"
                      "store open|setting local storage path=")
                     + folder);
        QCOMPARE(reads, texts("serial port|pollutant unit|temperature unit|local storage path"));
        QVERIFY(f.window.options.pollutantInPpm);
        QVERIFY(f.window.options.temperatureInCelsius);
        QCOMPARE(f.storage.openedPaths, QStringList(folder + text("/measurements.db")));
        QVERIFY(f.timerIntervals().isEmpty());
    }

    void savedPreferencesAreRestored()
    {
        ControllerFixture f;
        f.settings.values = {{text("serial port"), text("ttyUSB3")},
                             {text("pollutant unit"), 1},
                             {text("temperature unit"), -1},
                             {text("local storage path"), text("/data//here/")}};
        QVERIFY(f.controller.start());
        QCOMPARE(f.takeCalls(),
                 text("refreshPorts ttyUSB3|setMeasurementItems|setConfiguration|"
                      "setPollutantUnitIndex 1|setting pollutant unit=1|setDisplayOptions|"
                      "setTemperatureUnitIndex -1|setting temperature unit=-1|setDisplayOptions|"
                      "store open|setting local storage path=/data//here/"));
        QVERIFY(!f.window.options.pollutantInPpm);
        QVERIFY(!f.window.options.temperatureInCelsius);
        QCOMPARE(f.storage.openedPaths, texts("/data/here/measurements.db"));
    }

    void firstModelByNameIsCurrentAtStart()
    {
        StartedController f;
        QCOMPARE(f.window.configuration.configurationItems.size(), 1);
        QCOMPARE(f.window.configuration.configurationItems.first().alias, text("one"));
        QCOMPARE(f.window.items.size(), 2);
        QCOMPARE(f.window.items.first().name, text("O3"));
    }

    void failedLoadShowsTheFileNameAndContinues_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addRow("no file") << QByteArray();
        QTest::addRow("empty file") << QByteArray("");
        QTest::addRow("not XML") << QByteArray("serial=1\n");
        QTest::addRow("no devices") << QByteArray("<KVTConfig><Devices/></KVTConfig>");
        QTest::addRow("invalid measurement") << oneGoodModel;
    }

    void failedLoadShowsTheFileNameAndContinues()
    {
        QFETCH(QByteArray, contents);
        ControllerFixture f;
        QVERIFY(FileIo::write(text("settings.xml"), contents));
        if (contents.isNull()) {
            QFile::remove(text("settings.xml"));
        }
        QVERIFY(f.controller.start());
        QCOMPARE(f.window.calls.mid(0, 3),
                 texts("refreshPorts |"
                       "Critical Failed to load configuration from file settings.xml|"
                       "setPollutantUnitIndex 0"));
        QCOMPARE(f.storage.openedPaths.size(), 1);
    }

    void modelsReadBeforeAFailureReplaceTheEarlierOnes()
    {
        StartedController f;
        QVERIFY(FileIo::write(text("settings.xml"), oneGoodModel));
        QVERIFY(f.controller.start());
        f.calls.clear();
        emit f.handler.valueRead(Value::ValueDeviceModel, text("A"));
        QCOMPARE(f.takeCalls(), text("log Got model: \"A\"|setMeasurementItems|setConfiguration"));
        emit f.handler.valueRead(Value::ValueDeviceModel, text("KVT-1"));
        QCOMPARE(f.calls.value(1),
                 text("Critical Device KVT-1 not supported. Please update KV Tool."));
    }

    void savedFolderThatCannotBeOpenedIsSkippedWithoutAMessage()
    {
        ControllerFixture f;
        f.settings.values[text("local storage path")] = text("/gone");
        f.storage.openPredicate = [](const QString &path) {
            return !path.startsWith(text("/gone"));
        };
        QVERIFY(f.controller.start());
        QVERIFY(f.takeCalls().endsWith(
            text("setDisplayOptions|store open|store open|setting local storage path=")
            + location(QStandardPaths::AppDataLocation)));
    }

    void foldersAreTriedInOrderAndThenTheUserIsAskedUntilOneOpens()
    {
        ControllerFixture f;
        f.settings.values[text("local storage path")] = text("/gone");
        f.storage.openPredicate = [](const QString &path) {
            return path.startsWith(text("/good"));
        };
        f.window.directories = texts("/bad|/good");
        QVERIFY(f.controller.start());
        QStringList folders{text("/gone")};
        for (const auto standard : {QStandardPaths::AppDataLocation, QStandardPaths::HomeLocation,
                                    QStandardPaths::AppLocalDataLocation}) {
            folders += location(standard);
        }
        folders += texts("/bad|/good");
        QCOMPARE(f.storage.openedPaths,
                 folders.replaceInStrings(QRegExp(text("$")), text("/measurements.db")));
        QVERIFY(f.takeCalls().endsWith(
            text("setDisplayOptions|store open|store open|store open|store open|"
                 "Information Kv tool automatically stores measurements to disk. Please select a "
                 "directory where the measurements can be stored.|%1|store open|"
                 "Critical Unable to write measures to /bad. Please choose another directory.|"
                 "%1|store open|setting local storage path=/good")
                .arg(folderDialog())));
    }

    void startFailsWithoutAUsableFolder()
    {
        ControllerFixture f;
        f.storage.openResult = false;
        f.window.directories = texts("/bad");
        QVERIFY(!f.controller.start());
        QVERIFY(f.takeCalls().endsWith(
            folderDialog()
            + text("|Critical Unable to write measurements to disk. Unable to write to default "
                   "location: %1 and no replacement directory was chosen. Exiting!")
                  .arg(location(QStandardPaths::AppDataLocation))));
        QVERIFY(!f.settings.values.contains(text("local storage path")));
    }

private:
    const QByteArray oneGoodModel =
        "<KVTConfig><Devices><Device name='A'/><Device name='B'><Measurements>"
        "<Measurement name='x' type='rain'/></Measurements></Device></Devices></KVTConfig>";
};

KV_TEST_MAIN(TestMainWindowControllerStart)
#include "tst_mainwindowcontrollerstart.moc"
