// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "tests/unit/ui/settingsfile.h"

using namespace SettingsFile;

class TestConfigurationLoader : public QObject
{
    Q_OBJECT

private slots:
    void readsAWholeModelInTheOrderOfTheFile()
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
        QCOMPARE(settings.at(0).group, text("Site"));
        QCOMPARE(settings.at(0).name, text("Location"));
        QCOMPARE(settings.at(0).min, 3.0F);
        QCOMPARE(settings.at(0).max, 32.0F);
        QVERIFY(settings.at(0).type == ConfigurationItemType::Text);
        QCOMPARE(settings.at(1).group, text("Site"));
        QCOMPARE(settings.at(1).min, -400.0F);
        QCOMPARE(settings.at(1).max, 9000.0F);
        QVERIFY(settings.at(1).type == ConfigurationItemType::Int);
        QCOMPARE(settings.at(2).group, text("Air"));
        QCOMPARE(settings.at(2).min, 0.5F);
        QCOMPARE(settings.at(2).max, 2.25F);
        QVERIFY(settings.at(2).type == ConfigurationItemType::Float);

        const auto entries = devices.first().measurementItems;
        QCOMPARE(names(devices.first()), list("T O3"));
        QCOMPARE(entries.at(0).displayName, text("T"));
        QVERIFY(entries.at(0).type == MeasurementType::AirTemperature);
        QVERIFY(entries.at(0).unit == MeasurementUnit::Celsius);
        QCOMPARE(entries.at(0).conversionMultiplier, 1.0);
        QCOMPARE(entries.at(1).displayName, text("Ozone"));
        QVERIFY(entries.at(1).type == MeasurementType::Pollutant);
        QVERIFY(entries.at(1).unit == MeasurementUnit::Ppb);
        QCOMPARE(entries.at(1).conversionMultiplier, 0.001);
        QCOMPARE(LogRecorder::lines(), QStringList());
    }

    void keysModelsByNameInOrderOfCodeUnits()
    {
        Devices devices;
        QVERIFY(loadText(file(device("kvt", "") + device("KVT", "") + device("A", "")
                              + device("", "") + device("KVT-2", "") + device("KVT-10", "")),
                         devices));
        QCOMPARE(devices.keys(), QStringList(QString()) + list("A KVT KVT-10 KVT-2 kvt"));
    }

    void readsElementsInAnyCase()
    {
        const QByteArray content =
            file(device("A", configuration(item("a")) + measurements(measurement("M"))));
        QByteArray lower = content;
        QByteArray upper = content;
        // The longer names first, so that no name is changed as a part of another one.
        for (const char *element :
             {"ConfigurationItemGroup", "ConfigurationItem", "Configuration", "KVTConfig",
              "Devices", "Device", "Measurements", "Measurement"}) {
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
        for (const QByteArray &variant : {lower, upper}) {
            Devices devices;
            QVERIFY(loadText(variant, devices));
            QCOMPARE(devices.keys(), list("A"));
            QCOMPARE(aliases(devices.first()), list("a"));
            QCOMPARE(names(devices.first()), list("M"));
        }
    }

    void keepsTheModelsBeforeAFault()
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

    void replacesAnEarlierModelOfTheSameNameWhole()
    {
        Devices devices;
        QVERIFY(loadText(file(device("A", configuration(item("a")) + measurements(measurement("M")))
                              + device("B", "") + device("A", configuration(item("b")))),
                         devices));
        QCOMPARE(devices.keys(), list("A B"));
        QCOMPARE(aliases(devices.first()), list("b"));
        QCOMPARE(names(devices.first()), QStringList());
    }

    void endsWithoutAnErrorAtAnUnknownElementOrADeviceWithoutAName()
    {
        const QString missing = text(R"("name" attribute not specified for "Device" element!)");
        const QMap<QByteArray, QStringList> elements{{"<Device/>", {missing}},
                                                     {"<Device Name=\"B\"/>", {missing}},
                                                     {"<Unknown name=\"B\"/>", {}}};
        for (auto element = elements.begin(); element != elements.end(); ++element) {
            const LogRecorder log;
            Devices devices;
            QVERIFY(loadText(file(device("A", "") + element.key() + device("C", "")), devices));
            QCOMPARE(devices.keys(), list("A"));
            QCOMPARE(LogRecorder::lines(), *element);
        }
    }

    void readsOnlyTheFirstList()
    {
        const QMap<QByteArray, QStringList> contents{
            {"<Devices/>", {}},
            {"<Devices>\n</Devices>", {}},
            {"<Devices><Device name=\"A\"/></Devices><Devices><Device name=\"B\"/></Devices>",
             list("A")}};
        for (auto content = contents.begin(); content != contents.end(); ++content) {
            Devices devices;
            QVERIFY(loadText("<KVTConfig>" + content.key() + "</KVTConfig>", devices));
            QCOMPARE(devices.keys(), *content);
        }
    }

    void addsUpRepeatedParts()
    {
        Devices devices;
        QVERIFY(loadText(
            file(device("A",
                        measurements(measurement("M")) + configuration(item("a") + item("b"))
                            + "<Configuration>" + group(item("c")) + group(item("d"))
                            + "</Configuration>" + measurements(measurement("N")))),
            devices));
        QCOMPARE(aliases(devices.first()), list("a b c d"));
        QCOMPARE(names(devices.first()), list("M N"));
    }

    void rejectsAFileThatIsNoListOfModels_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addRow("empty file") << QByteArray();
        QTest::addRow("no XML") << QByteArray("KVTConfig");
        QTest::addRow("declaration alone") << QByteArray("<?xml version=\"1.0\"?>");
        QTest::addRow("another root") << QByteArray("<Config><Devices/></Config>");
        QTest::addRow("empty root") << QByteArray("<KVTConfig/>");
        QTest::addRow("another first child")
            << QByteArray("<KVTConfig><Other/><Devices/></KVTConfig>");
        QTest::addRow("list without a root")
            << QByteArray("<Devices><Device name=\"A\"/></Devices>");
        QTest::addRow("zeros") << QByteArray(64, '\0');
    }

    void rejectsAFileThatIsNoListOfModels()
    {
        QFETCH(QByteArray, content);
        const LogRecorder log;
        Devices devices;
        QVERIFY(!loadText(content, devices));
        QVERIFY(devices.isEmpty());
        QCOMPARE(LogRecorder::lines(), QStringList());
    }

    void unknownElementsEndAListOrAreSkipped_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("expectedAliases");
        QTest::addColumn<QStringList>("expectedNames");
        QTest::addColumn<bool>("reachesNext");

        const QByteArray settings = configuration(item("a"));
        const QByteArray values = measurements(measurement("M"));

        QTest::addRow("empty: ends the device")
            << QByteArray("<Unknown/>" + settings + values) << list("") << list("") << false;
        QTest::addRow("after all parts: the end of the device ends the list")
            << QByteArray(settings + values + "<Unknown/>") << list("a") << list("M") << false;
        QTest::addRow("its children count as those of the device")
            << QByteArray("<Unknown>" + settings + values + "</Unknown>" + configuration(item("b")))
            << list("a") << list("M") << false;
        QTest::addRow("its first end tag ends the device")
            << QByteArray("<Unknown><Deeper/>" + settings + "</Unknown>" + values) << list("")
            << list("") << false;
        QTest::addRow("empty: ends the configuration")
            << QByteArray("<Configuration>" + group(item("a")) + "<Unknown/>" + group(item("b"))
                          + "</Configuration>" + values)
            << list("a") << list("") << false;
        QTest::addRow("its groups count as those of the configuration")
            << QByteArray("<Configuration><Unknown>" + group(item("a"))
                          + "</Unknown></Configuration>" + values)
            << list("a") << list("") << false;
        QTest::addRow("in a group: skipped with its contents") << QByteArray(
            configuration(item("a") + "<Unknown>" + item("x") + "</Unknown>" + item("b")) + values)
                                                               << list("a b") << list("M") << true;
        QTest::addRow("among measurements: skipped with its contents")
            << QByteArray(settings
                          + measurements(measurement("M") + "<Unknown>" + measurement("X")
                                         + "</Unknown>" + configuration(item("x"))
                                         + measurement("N")))
            << list("a") << list("M N") << true;
        QTest::addRow("in a setting: ignored")
            << QByteArray(configuration(QByteArray(item("a")).replace("/>", ">text<Unknown/>")
                                        + item("x") + "</ConfigurationItem>" + item("b"))
                          + values)
            << list("a b") << list("M") << true;
        QTest::addRow("in a measurement: ignored")
            << QByteArray(settings
                          + measurements(QByteArray(measurement("M")).replace("/>", ">text")
                                         + measurement("X") + "</Measurement>" + measurement("N")))
            << list("a") << list("M N") << true;
        QTest::addRow("text and comments are no elements")
            << QByteArray("text<!-- note -->" + settings + "text" + values + "text") << list("a")
            << list("M") << true;
    }

    void unknownElementsEndAListOrAreSkipped()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, reachesNext);
        const LogRecorder log;
        Devices devices;
        QVERIFY(loadText(file(device("A", content) + device("B", "")), devices));
        QTEST(aliases(devices.value(text("A"))), "expectedAliases");
        QTEST(names(devices.value(text("A"))), "expectedNames");
        QCOMPARE(devices.keys(), reachesNext ? list("A B") : list("A"));
        QCOMPARE(LogRecorder::lines(), QStringList());
    }

    void treatsMalformedTextAsAnEnd_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addRow("cut off") << QByteArray();
        QTest::addRow("cut off inside a tag") << QByteArray("<ConfigurationItem type=\"int");
        QTest::addRow("wrong end") << QByteArray("</Device>");
        QTest::addRow("stray ampersand") << QByteArray("& ");
        QTest::addRow("unknown entity") << QByteArray("&unknown;");
        QTest::addRow("attribute twice")
            << QByteArray("<ConfigurationItem type=\"a\" type=\"b\"/>");
        QTest::addRow("zero byte") << QByteArray(1, '\0');
    }

    void treatsMalformedTextAsAnEnd()
    {
        QFETCH(QByteArray, fault);
        const LogRecorder log;
        Devices devices;
        const QByteArray begun = "<KVTConfig><Devices>" + device("A", configuration(item("a")))
            + "<Device name=\"B\">" + measurements(measurement("M"))
            + "<Configuration><ConfigurationItemGroup group=\"G\">" + item("b");
        QVERIFY(loadText(begun + fault, devices));
        QCOMPARE(devices.keys(), list("A B"));
        QCOMPARE(aliases(devices.value(text("A"))), list("a"));
        QCOMPARE(aliases(devices.value(text("B"))), list("b"));
        QCOMPARE(names(devices.value(text("B"))), list("M"));
        QCOMPARE(LogRecorder::lines(), QStringList());
    }

    void toleratesBytesThatAreNoText()
    {
        // The reader decodes ahead, so the amount of text that it reads before the fault is not
        // tested.
        const LogRecorder log;
        Devices devices;
        loadText(file(device("A", configuration(item("a"))) + "\xff\xfe\xff" + device("B", "")),
                 devices);
        QVERIFY(!devices.contains(text("B")));
        QCOMPARE(LogRecorder::lines(), QStringList());
    }

    void logsAFileThatCannotBeRead()
    {
        QVERIFY(QDir().mkpath(text("folder.xml")));
        const struct
        {
            const char *path;
            const char *line;
        } files[] = {
            {"nowhere/settings.xml", R"(File "nowhere/settings.xml" does not exist!)"},
            {"folder.xml", R"(Failed to open file "folder.xml")"},
        };
        for (const auto &file : files) {
            QTest::ignoreMessage(QtDebugMsg, file.line);
            Devices devices;
            QVERIFY(!ConfigurationLoader().load(devices, text(file.path)));
            QVERIFY(devices.isEmpty());
        }
    }

    void closesTheFileAfterReading_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addRow("a good file") << file(device("A", ""));
        QTest::addRow("no list of models") << QByteArray("<Config/>");
        QTest::addRow("a bad model") << file(device("A", measurements("<Measurement/>")));
    }

    void closesTheFileAfterReading()
    {
        QFETCH(QByteArray, content);
        const LogRecorder log;
        writeFile(content);
        const auto openFiles = [] {
            QStringList targets;
            const auto links =
                QDir(text("/proc/self/fd")).entryInfoList(QDir::System | QDir::Files);
            for (const QFileInfo &link : links) {
                targets << link.symLinkTarget();
            }
            return targets.filter(text("settings.xml"));
        };
        QFile open(text("settings.xml"));
        QVERIFY(open.open(QIODevice::ReadOnly));
        QCOMPARE(openFiles().size(), 1);
        open.close();

        Devices devices;
        ConfigurationLoader loader;
        loader.load(devices, text("settings.xml"));
        QCOMPARE(openFiles(), QStringList());
        // The loader can be used again, although the file object of the first call was destroyed.
        writeFile(file(device("B", "")));
        QVERIFY(loader.load(devices, text("settings.xml")));
        QVERIFY(devices.contains(text("B")));
    }

    void looksInTheWorkingDirectory()
    {
        const QString work = QDir::currentPath();
        writeFile(file(device("A", "")));
        QVERIFY(QDir().mkpath(text("elsewhere")));
        QDir::setCurrent(work + text("/elsewhere"));
        Devices devices;
        QTest::ignoreMessage(QtDebugMsg, R"(File "settings.xml" does not exist!)");
        const bool foundElsewhere = ConfigurationLoader().load(devices, text("settings.xml"));
        QDir::setCurrent(work);
        QVERIFY(!foundElsewhere);
        QVERIFY(ConfigurationLoader().load(devices, text("settings.xml")));
        QCOMPARE(devices.keys(), list("A"));
    }

    void doesNotClearTheMap()
    {
        Devices devices;
        devices.insert(text("Old"), DeviceConfiguration());
        QVERIFY(loadText(file(device("A", "")), devices));
        QCOMPARE(devices.keys(), list("A Old"));
        QVERIFY(!loadText("<Config/>", devices));
        QCOMPARE(devices.keys(), list("A Old"));
    }
};

KV_TEST_CORE_MAIN(TestConfigurationLoader)

#include "tst_configurationloader.moc"
