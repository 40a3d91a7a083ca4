// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/ui/settingsfile.h"

using namespace SettingsFile;

class TestConfigurationLoader : public QObject
{
    Q_OBJECT

private slots:
    void readsAWholeModelInTheOrderOfTheFile();
    void keysModelsByNameInOrderOfCodeUnits();
    void readsElementsInAnyCase();
    void keepsTheModelsBeforeAFault();
    void replacesAnEarlierModelOfTheSameNameWhole();
    void endsAtADeviceWithoutAName();
    void endsAtAStrangerAmongTheDevices();
    void addsUpRepeatedParts();
    void refusesAFileThatIsNoListOfModels_data();
    void refusesAFileThatIsNoListOfModels();
    void readsNoModelsFromAnEmptyList();
    void neverReachesASecondList();
    void strangersEndAListOrArePassedOver_data();
    void strangersEndAListOrArePassedOver();
    void takesMalformedTextForAnEnd_data();
    void takesMalformedTextForAnEnd();
    void bearsBytesThatAreNoText();
    void logsAMissingFile();
    void logsAFileThatCannotBeOpened();
    void looksInTheWorkingDirectory();
    void doesNotClearTheMap();
};

void TestConfigurationLoader::readsAWholeModelInTheOrderOfTheFile()
{
    const LogRecorder log;
    Devices devices;
    QVERIFY(loadText(file(R"(
        <Device name="KVT-9">
          <Configuration>
            <ConfigurationItemGroup group="Site">
              <ConfigurationItem type="text" min="3" max="32" name="Location" alias="zone"/>
              <ConfigurationItem type="int" min="-400" max="9000" name="Altitude" alias="height"/>
            </ConfigurationItemGroup>
            <ConfigurationItemGroup group="Air">
              <ConfigurationItem type="float" min="0.5" max="2.25" name="Gain" alias="gain"/>
            </ConfigurationItemGroup>
          </Configuration>
          <Measurements>
            <Measurement name="T" type="air temperature" unit="c"/>
            <Measurement name="O3" displayName="Ozone" type="pollutant" unit="ppb"
                         conversionMultiplier="0.001"/>
          </Measurements>
        </Device>)"),
                     devices));
    QCOMPARE(devices.keys(), list("KVT-9"));
    const auto settings = devices.first().configurationItems;
    QCOMPARE(aliases(devices.first()), list("zone height gain"));
    QCOMPARE(settings.at(0).group, QStringLiteral("Site"));
    QCOMPARE(settings.at(0).name, QStringLiteral("Location"));
    QCOMPARE(settings.at(0).min, 3.0F);
    QCOMPARE(settings.at(0).max, 32.0F);
    QVERIFY(settings.at(0).type == ConfigurationItemType::Text);
    QCOMPARE(settings.at(1).group, QStringLiteral("Site"));
    QCOMPARE(settings.at(1).min, -400.0F);
    QCOMPARE(settings.at(1).max, 9000.0F);
    QVERIFY(settings.at(1).type == ConfigurationItemType::Int);
    QCOMPARE(settings.at(2).group, QStringLiteral("Air"));
    QCOMPARE(settings.at(2).min, 0.5F);
    QCOMPARE(settings.at(2).max, 2.25F);
    QVERIFY(settings.at(2).type == ConfigurationItemType::Float);

    const auto entries = devices.first().measurementItems;
    QCOMPARE(names(devices.first()), list("T O3"));
    QCOMPARE(entries.at(0).displayName, QStringLiteral("T"));
    QVERIFY(entries.at(0).type == MeasurementType::AirTemperature);
    QVERIFY(entries.at(0).unit == MeasurementUnit::Celsius);
    QCOMPARE(entries.at(0).conversionMultiplier, 1.0);
    QCOMPARE(entries.at(1).displayName, QStringLiteral("Ozone"));
    QVERIFY(entries.at(1).type == MeasurementType::Pollutant);
    QVERIFY(entries.at(1).unit == MeasurementUnit::Ppb);
    QCOMPARE(entries.at(1).conversionMultiplier, 0.001);
    QCOMPARE(LogRecorder::lines(), QStringList());
}

void TestConfigurationLoader::keysModelsByNameInOrderOfCodeUnits()
{
    Devices devices;
    QVERIFY(loadText(file(device("kvt", "") + device("KVT", "") + device("A", "") + device("", "")
                          + device("KVT-2", "") + device("KVT-10", "")),
                     devices));
    QCOMPARE(devices.keys(), QStringList(QString()) + list("A KVT KVT-10 KVT-2 kvt"));
}

void TestConfigurationLoader::readsElementsInAnyCase()
{
    const QByteArray text =
        file(device("A", configuration(item("a")) + measurements(measurement("M"))));
    QByteArray lower = text;
    QByteArray upper = text;
    // The longer names first, so that no name is changed as a part of another one.
    for (const char *element : {"ConfigurationItemGroup", "ConfigurationItem", "Configuration",
                                "KVTConfig", "Devices", "Device", "Measurements", "Measurement"}) {
        for (const char *start : {"<", "</"}) {
            const QByteArray name = QByteArray(start) + element;
            for (const char *end : {" ", ">"}) {
                lower.replace(name + end, name.toLower() + end);
                upper.replace(name + end, name.toUpper() + end);
            }
        }
    }
    QVERIFY(lower.contains("<kvtconfig>") && lower.contains("<measurement "));
    QVERIFY(upper.contains("<KVTCONFIG>") && upper.contains("<CONFIGURATIONITEM "));
    for (const QByteArray &content : {lower, upper}) {
        Devices devices;
        QVERIFY(loadText(content, devices));
        QCOMPARE(devices.keys(), list("A"));
        QCOMPARE(aliases(devices.first()), list("a"));
        QCOMPARE(names(devices.first()), list("M"));
    }
}

void TestConfigurationLoader::keepsTheModelsBeforeAFault()
{
    QTest::ignoreMessage(QtWarningMsg, "Unable to parse unit \"bad\"");
    Devices devices;
    QVERIFY(!loadText(
        file(device("A", measurements(measurement("M")))
             + device("B",
                      measurements(measurement("N")
                                   + "<Measurement name=\"O\" type=\"rain\" unit=\"bad\"/>"))
             + device("C", measurements(measurement("P")))),
        devices));
    QCOMPARE(devices.keys(), list("A"));
    QCOMPARE(names(devices.first()), list("M"));
}

void TestConfigurationLoader::replacesAnEarlierModelOfTheSameNameWhole()
{
    Devices devices;
    QVERIFY(loadText(file(device("A", configuration(item("a")) + measurements(measurement("M")))
                          + device("B", "") + device("A", configuration(item("b")))),
                     devices));
    QCOMPARE(devices.keys(), list("A B"));
    QCOMPARE(aliases(devices.first()), list("b"));
    QCOMPARE(names(devices.first()), QStringList());
}

void TestConfigurationLoader::endsAtADeviceWithoutAName()
{
    for (const char *nameless : {"<Device/>", "<Device Name=\"B\"/>"}) {
        QTest::ignoreMessage(QtDebugMsg, R"("name" attribute not specified for "Device" element!)");
        Devices devices;
        QVERIFY(loadText(file(device("A", "") + nameless + device("C", "")), devices));
        QCOMPARE(devices.keys(), list("A"));
    }
}

void TestConfigurationLoader::endsAtAStrangerAmongTheDevices()
{
    const LogRecorder log;
    Devices devices;
    QVERIFY(loadText(file(device("A", "") + "<Stray name=\"B\"/>" + device("C", "")), devices));
    QCOMPARE(devices.keys(), list("A"));
    QCOMPARE(LogRecorder::lines(), QStringList());
}

void TestConfigurationLoader::addsUpRepeatedParts()
{
    Devices devices;
    QVERIFY(
        loadText(file(device("A",
                             measurements(measurement("M")) + configuration(item("a") + item("b"))
                                 + "<Configuration>" + group(item("c")) + group(item("d"))
                                 + "</Configuration>" + measurements(measurement("N")))),
                 devices));
    QCOMPARE(aliases(devices.first()), list("a b c d"));
    QCOMPARE(names(devices.first()), list("M N"));
}

void TestConfigurationLoader::refusesAFileThatIsNoListOfModels_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addRow("empty file") << QByteArray();
    QTest::addRow("no XML") << QByteArray("KVTConfig");
    QTest::addRow("declaration alone") << QByteArray("<?xml version=\"1.0\"?>");
    QTest::addRow("another root") << QByteArray("<Config><Devices/></Config>");
    QTest::addRow("empty root") << QByteArray("<KVTConfig/>");
    QTest::addRow("another first child") << QByteArray("<KVTConfig><Other/><Devices/></KVTConfig>");
    QTest::addRow("list without a root") << QByteArray("<Devices><Device name=\"A\"/></Devices>");
    QTest::addRow("zeros") << QByteArray(64, '\0');
}

void TestConfigurationLoader::refusesAFileThatIsNoListOfModels()
{
    QFETCH(QByteArray, content);
    const LogRecorder log;
    Devices devices;
    QVERIFY(!loadText(content, devices));
    QVERIFY(devices.isEmpty());
    QCOMPARE(LogRecorder::lines(), QStringList());
}

void TestConfigurationLoader::readsNoModelsFromAnEmptyList()
{
    for (const char *content :
         {"<KVTConfig><Devices/></KVTConfig>", "<KVTConfig><Devices>\n</Devices></KVTConfig>"}) {
        Devices devices;
        QVERIFY(loadText(content, devices));
        QVERIFY(devices.isEmpty());
    }
}

void TestConfigurationLoader::neverReachesASecondList()
{
    Devices devices;
    QVERIFY(loadText("<KVTConfig><Devices><Device name=\"A\"/></Devices>"
                     "<Devices><Device name=\"B\"/></Devices></KVTConfig>",
                     devices));
    QCOMPARE(devices.keys(), list("A"));
}

void TestConfigurationLoader::strangersEndAListOrArePassedOver_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("expectedAliases");
    QTest::addColumn<QStringList>("expectedNames");
    QTest::addColumn<bool>("reachesNext");

    const QByteArray settings = configuration(item("a"));
    const QByteArray values = measurements(measurement("M"));

    QTest::addRow("an empty one ends the device")
        << QByteArray("<Stray/>" + settings + values) << list("") << list("") << false;
    QTest::addRow("behind all parts, it takes the device's end for the list's")
        << QByteArray(settings + values + "<Stray/>") << list("a") << list("M") << false;
    QTest::addRow("its children count as the device's")
        << QByteArray("<Stray>" + settings + values + "</Stray>" + configuration(item("b")))
        << list("a") << list("M") << false;
    QTest::addRow("its first end ends the device")
        << QByteArray("<Stray><Deeper/>" + settings + "</Stray>" + values) << list("") << list("")
        << false;
    QTest::addRow("an empty one ends the configuration")
        << QByteArray("<Configuration>" + group(item("a")) + "<Stray/>" + group(item("b"))
                      + "</Configuration>" + values)
        << list("a") << list("") << false;
    QTest::addRow("its groups count as the configuration's") << QByteArray(
        "<Configuration><Stray>" + group(item("a")) + "</Stray></Configuration>" + values)
                                                             << list("a") << list("") << false;
    QTest::addRow("in a group it is passed over with its contents")
        << QByteArray(configuration(item("a") + "<Stray>" + item("x") + "</Stray>" + item("b"))
                      + values)
        << list("a b") << list("M") << true;
    QTest::addRow("among the measurements it is passed over with its contents")
        << QByteArray(settings
                      + measurements(measurement("M") + "<Stray>" + measurement("X") + "</Stray>"
                                     + configuration(item("x")) + measurement("N")))
        << list("a") << list("M N") << true;
    QTest::addRow("within a setting it is ignored")
        << QByteArray(configuration(QByteArray(item("a")).replace("/>", ">text<Stray/>") + item("x")
                                    + "</ConfigurationItem>" + item("b"))
                      + values)
        << list("a b") << list("M") << true;
    QTest::addRow("within a measurement it is ignored")
        << QByteArray(settings
                      + measurements(QByteArray(measurement("M")).replace("/>", ">text")
                                     + measurement("X") + "</Measurement>" + measurement("N")))
        << list("a") << list("M N") << true;
    QTest::addRow("text and comments are no strangers")
        << QByteArray("text<!-- note -->" + settings + "text" + values + "text") << list("a")
        << list("M") << true;
}

void TestConfigurationLoader::strangersEndAListOrArePassedOver()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, reachesNext);
    const LogRecorder log;
    Devices devices;
    QVERIFY(loadText(file(device("A", content) + device("B", "")), devices));
    QTEST(aliases(devices.value(QStringLiteral("A"))), "expectedAliases");
    QTEST(names(devices.value(QStringLiteral("A"))), "expectedNames");
    QCOMPARE(devices.keys(), reachesNext ? list("A B") : list("A"));
    QCOMPARE(LogRecorder::lines(), QStringList());
}

void TestConfigurationLoader::takesMalformedTextForAnEnd_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addRow("cut off") << QByteArray();
    QTest::addRow("cut off inside a tag") << QByteArray("<ConfigurationItem type=\"int");
    QTest::addRow("wrong end") << QByteArray("</Device>");
    QTest::addRow("stray ampersand") << QByteArray("& ");
    QTest::addRow("unknown entity") << QByteArray("&unknown;");
    QTest::addRow("attribute twice") << QByteArray("<ConfigurationItem type=\"a\" type=\"b\"/>");
    QTest::addRow("zero byte") << QByteArray(1, '\0');
}

void TestConfigurationLoader::takesMalformedTextForAnEnd()
{
    QFETCH(QByteArray, fault);
    const LogRecorder log;
    Devices devices;
    const QByteArray begun = "<KVTConfig><Devices>" + device("A", configuration(item("a")))
        + "<Device name=\"B\">" + measurements(measurement("M"))
        + "<Configuration><ConfigurationItemGroup group=\"G\">" + item("b");
    QVERIFY(loadText(begun + fault, devices));
    QCOMPARE(devices.keys(), list("A B"));
    QCOMPARE(aliases(devices.value(QStringLiteral("A"))), list("a"));
    QCOMPARE(aliases(devices.value(QStringLiteral("B"))), list("b"));
    QCOMPARE(names(devices.value(QStringLiteral("B"))), list("M"));
    QCOMPARE(LogRecorder::lines(), QStringList());
}

void TestConfigurationLoader::bearsBytesThatAreNoText()
{
    // The reader decodes ahead, so how much of the text before the fault counts is its own matter.
    const LogRecorder log;
    Devices devices;
    loadText(file(device("A", configuration(item("a"))) + "\xff\xfe\xff" + device("B", "")),
             devices);
    QVERIFY(!devices.contains(QStringLiteral("B")));
    QCOMPARE(LogRecorder::lines(), QStringList());
}

void TestConfigurationLoader::logsAMissingFile()
{
    QTest::ignoreMessage(QtDebugMsg, R"(File "nowhere/settings.xml" does not exist!)");
    Devices devices;
    ConfigurationLoader loader;
    QVERIFY(!loader.load(devices, QStringLiteral("nowhere/settings.xml")));
    QVERIFY(devices.isEmpty());
}

void TestConfigurationLoader::logsAFileThatCannotBeOpened()
{
    QVERIFY(QDir().mkpath(QStringLiteral("folder.xml")));
    QTest::ignoreMessage(QtDebugMsg, R"(Failed to open file "folder.xml")");
    Devices devices;
    ConfigurationLoader loader;
    QVERIFY(!loader.load(devices, QStringLiteral("folder.xml")));
    QVERIFY(devices.isEmpty());
}

void TestConfigurationLoader::looksInTheWorkingDirectory()
{
    const QString work = QDir::currentPath();
    writeFile(file(device("A", "")));
    QVERIFY(QDir().mkpath(QStringLiteral("elsewhere")));
    QDir::setCurrent(work + QStringLiteral("/elsewhere"));
    Devices devices;
    QTest::ignoreMessage(QtDebugMsg, R"(File "settings.xml" does not exist!)");
    const bool foundElsewhere = ConfigurationLoader().load(devices, QStringLiteral("settings.xml"));
    QDir::setCurrent(work);
    QVERIFY(!foundElsewhere);
    QVERIFY(ConfigurationLoader().load(devices, QStringLiteral("settings.xml")));
    QCOMPARE(devices.keys(), list("A"));
}

void TestConfigurationLoader::doesNotClearTheMap()
{
    Devices devices;
    devices.insert(QStringLiteral("Old"), DeviceConfiguration());
    QVERIFY(loadText(file(device("A", "")), devices));
    QCOMPARE(devices.keys(), list("A Old"));
    QVERIFY(!loadText("<Config/>", devices));
    QCOMPARE(devices.keys(), list("A Old"));
}

KV_TEST_CORE_MAIN(TestConfigurationLoader)

#include "tst_configurationloader.moc"
