// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fileio.h"
#include "tests/kit/loggedmessages.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"
#include "ui/configurationloader.h"

#include <QtCore/QLocale>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <limits>

namespace {

using Devices = QMap<QString, DeviceConfiguration>;

const QByteArray validItem =
    R"(<ConfigurationItem type="int" min="1" max="2" name="Label" alias="word"/>)";
const QByteArray validMeasurement = R"(<Measurement name="T" type="air temperature" unit="c"/>)";
const QString settingsPath = text("settings.xml");

struct Loaded
{
    bool succeeded = false;
    Devices devices;
    QStringList log;
};

Loaded loadFile(const QString &path)
{
    Loaded result;
    result.log = messagesLoggedBy(
        [&] { result.succeeded = ConfigurationLoader().load(result.devices, path); });
    return result;
}

Loaded load(const QByteArray &content)
{
    return FileIo::write(settingsPath, content) ? loadFile(settingsPath) : Loaded();
}

QByteArray document(const QByteArray &devices)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<KVTConfig><Devices>" + devices
        + "</Devices></KVTConfig>\n";
}

QByteArray device(const QByteArray &name, const QByteArray &content = QByteArray())
{
    return "<Device name=\"" + name + "\">" + content + "</Device>";
}

QByteArray group(const QByteArray &items)
{
    return "<ConfigurationItemGroup group=\"G\">" + items + "</ConfigurationItemGroup>";
}

QByteArray configuration(const QByteArray &items)
{
    return "<Configuration>" + group(items) + "</Configuration>";
}

QByteArray measurements(const QByteArray &items)
{
    return "<Measurements>" + items + "</Measurements>";
}

QByteArray item(const QByteArray &alias) { return QByteArray(validItem).replace("word", alias); }

QByteArray measurement(const QByteArray &name)
{
    return QByteArray(validMeasurement).replace("\"T\"", '"' + name + '"');
}

/// The model with @p content as it is loaded; if that fails or logs anything, values that no test
/// expects.
DeviceConfiguration loadedModel(const QByteArray &content)
{
    const Loaded loaded = load(document(device("A", content)));
    if (loaded.succeeded && loaded.log.isEmpty()) {
        return loaded.devices.first();
    }
    const double none = std::numeric_limits<double>::quiet_NaN();
    return {{{{}, {}, {}, float(none), float(none), ConfigurationItemType(-1)}},
            {{{}, text("failed"), MeasurementUnit::Undefined, MeasurementType::Undefined, none}}};
}

/// validItem as it is loaded after @p before has been replaced with @p after.
ConfigurationItem loadedItem(const char *before, const QByteArray &after)
{
    return loadedModel(configuration(QByteArray(validItem).replace(before, after)))
        .configurationItems.first();
}

/// validMeasurement as it is loaded with one more attribute.
MeasurementItem loadedMeasurement(const QByteArray &attribute)
{
    return loadedModel(
               measurements(QByteArray(validMeasurement).replace("/>", ' ' + attribute + "/>")))
        .measurementItems.first();
}

QStringList aliases(const DeviceConfiguration &device)
{
    QStringList result;
    for (const ConfigurationItem &setting : device.configurationItems) {
        result.append(setting.alias);
    }
    return result;
}

QStringList names(const DeviceConfiguration &device)
{
    QStringList result;
    for (const MeasurementItem &entry : device.measurementItems) {
        result.append(entry.name);
    }
    return result;
}

/// Each model with its aliases and the names of its measurements: "A[a b][M]".
QString summary(const Devices &devices)
{
    QStringList models;
    for (auto model = devices.begin(); model != devices.end(); ++model) {
        models.append(text("%1[%2][%3]")
                          .arg(model.key(), aliases(*model).join(QLatin1Char(' ')),
                               names(*model).join(QLatin1Char(' '))));
    }
    return models.join(QLatin1Char(' '));
}

const QString samplePath = TestPaths::sourceFile("settings.xml");

} // namespace

class TestConfigurationLoader : public QObject
{
    Q_OBJECT

private slots:
    void readsACompleteModelInTheOrderOfTheFile()
    {
        const Loaded loaded = load(document(R"(
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
            </Device>)"));
        QVERIFY(loaded.succeeded);
        QCOMPARE(loaded.log, QStringList());
        QCOMPARE(summary(loaded.devices), text("KVT-9[zone height gain][T O3]"));
        QStringList settings;
        for (const ConfigurationItem &setting : loaded.devices.first().configurationItems) {
            settings << setting.group + QLatin1Char('/') + setting.name
                    + text(" %1 to %2, type %3")
                          .arg(setting.min)
                          .arg(setting.max)
                          .arg(static_cast<int>(setting.type));
        }
        QCOMPARE(settings,
                 texts("Site/Location 3 to 32, type 0|Site/Altitude -400 to 9000, type 1|"
                       "Air/Gain 0.5 to 2.25, type 2"));
        const MeasurementItem ozone = loaded.devices.first().measurementItems.at(1);
        QCOMPARE(ozone.displayName, text("Ozone"));
        QVERIFY(ozone.type == MeasurementType::Pollutant);
        QVERIFY(ozone.unit == MeasurementUnit::Ppb);
        QCOMPARE(ozone.conversionMultiplier, 0.001);
    }

    void readsModels_data()
    {
        addDocumentColumns();
        addDocument("sorted by UTF-16 code unit",
                    device("kvt") + device("KVT") + device("A") + device("") + device("KVT-2")
                        + device("KVT-10"),
                    "[][] A[][] KVT[][] KVT-10[][] KVT-2[][] kvt[][]");
        addDocument("later model replaces an earlier one of the same name",
                    device("A", configuration(item("a")) + measurements(measurement("M")))
                        + device("B") + device("A", configuration(item("b"))),
                    "A[b][] B[][]");
        addDocument("repeated elements are merged",
                    device("A",
                           measurements(measurement("M")) + configuration(item("a") + item("b"))
                               + "<Configuration>" + group(item("c")) + group(item("d"))
                               + "</Configuration>" + measurements(measurement("N"))),
                    "A[a b c d][M N]");
        addDocument("no models", "", "");
        addDocument("only white space", "\n", "");
        addDocument("only models of the first list",
                    device("A") + "</Devices><Devices>" + device("B"), "A[][]");
    }
    void readsModels() { checkDocument(); }

    void readsElementNamesCaseInsensitively()
    {
        const Loaded loaded = load(R"(
            <kvtCONFIG><dEVICES><dEVICE name="A">
              <cONFIGURATION><cONFIGURATIONiTEMgROUP group="G">
                <cONFIGURATIONiTEM type="int" min="1" max="2" name="Label" alias="a"/>
              </cONFIGURATIONiTEMgROUP></cONFIGURATION>
              <mEASUREMENTS><mEASUREMENT name="M" type="rain" unit="c"/></mEASUREMENTS>
            </dEVICE></dEVICES></kvtCONFIG>)");
        QVERIFY(loaded.succeeded);
        QCOMPARE(summary(loaded.devices), text("A[a][M]"));
    }

    void keepsTheModelsBeforeAnError()
    {
        const QByteArray invalid = measurement("O").replace("\"c\"", "\"bad\"");
        const Loaded loaded = load(document(device("A", measurements(measurement("M")))
                                            + device("B", measurements(measurement("N") + invalid))
                                            + device("C", measurements(measurement("P")))));
        QVERIFY(!loaded.succeeded);
        QCOMPARE(loaded.log, texts("warning: Unable to parse unit \"bad\""));
        QCOMPARE(summary(loaded.devices), text("A[][M]"));
    }

    void stopsReadingWithoutAnErrorAtAnUnknownElementOrADeviceWithoutAName()
    {
        const QStringList line = texts(R"("name" attribute not specified for "Device" element!)");
        const QMap<QByteArray, QStringList> elements{
            {"<Device/>", line}, {"<Device Name=\"B\"/>", line}, {"<Unknown name=\"B\"/>", {}}};
        for (auto element = elements.begin(); element != elements.end(); ++element) {
            const Loaded loaded = load(document(device("A") + element.key() + device("C")));
            QVERIFY(loaded.succeeded);
            QCOMPARE(summary(loaded.devices), text("A[][]"));
            QCOMPARE(loaded.log, *element);
        }
    }

    void rejectsAFileThatIsNotAListOfModels()
    {
        for (const QByteArray &content :
             {QByteArray(), QByteArray("KVTConfig"), QByteArray("<?xml version=\"1.0\"?>"),
              QByteArray("<Config><Devices/></Config>"), QByteArray("<KVTConfig/>"),
              QByteArray("<KVTConfig><Other/><Devices/></KVTConfig>"),
              QByteArray("<Devices><Device name=\"A\"/></Devices>"), QByteArray(64, '\0')}) {
            const Loaded loaded = load(content);
            QVERIFY2(!loaded.succeeded, content.constData());
            QVERIFY2(loaded.devices.isEmpty(), content.constData());
            QCOMPARE(loaded.log, QStringList());
        }
    }

    void unknownElementsEndAListOrAreSkipped_data()
    {
        addDocumentColumns();
        const QByteArray settings = configuration(item("a"));
        const QByteArray values = measurements(measurement("M"));
        const auto add = [](const char *name, const QByteArray &content, const char *models) {
            addDocument(name, device("A", content) + device("B"), models);
        };
        add("empty: ends the device", "<Unknown/>" + settings + values, "A[][]");
        add("after all elements: the end of the device ends the list",
            settings + values + "<Unknown/>", "A[a][M]");
        add("its children count as children of the device",
            "<Unknown>" + settings + values + "</Unknown>" + configuration(item("b")), "A[a][M]");
        add("its first end tag ends the device",
            "<Unknown><Deeper/>" + settings + "</Unknown>" + values, "A[][]");
        add("empty: ends the configuration",
            "<Configuration>" + group(item("a")) + "<Unknown/>" + group(item("b"))
                + "</Configuration>" + values,
            "A[a][]");
        add("its groups count as groups of the configuration",
            "<Configuration><Unknown>" + group(item("a")) + "</Unknown></Configuration>" + values,
            "A[a][]");
        add("in a group: skipped with its contents",
            configuration(item("a") + "<Unknown>" + item("x") + "</Unknown>" + item("b")) + values,
            "A[a b][M] B[][]");
        add("among measurements: skipped with its contents",
            settings
                + measurements(measurement("M") + "<Unknown>" + measurement("X") + "</Unknown>"
                               + configuration(item("x")) + measurement("N")),
            "A[a][M N] B[][]");
        add("in a setting: ignored",
            configuration(item("a").replace("/>", ">text<Unknown/>") + item("x")
                          + "</ConfigurationItem>" + item("b"))
                + values,
            "A[a b][M] B[][]");
        add("in a measurement: ignored",
            settings
                + measurements(measurement("M").replace("/>", ">text") + measurement("X")
                               + "</Measurement>" + measurement("N")),
            "A[a][M N] B[][]");
        add("text and comments are ignored",
            "text<!-- note -->" + settings + "text" + values + "text", "A[a][M] B[][]");
    }
    void unknownElementsEndAListOrAreSkipped() { checkDocument(); }

    void treatsMalformedXmlAsTheEndOfTheElement()
    {
        const QByteArray beginning = "<KVTConfig><Devices>" + device("A", configuration(item("a")))
            + "<Device name=\"B\">" + measurements(measurement("M"))
            + "<Configuration><ConfigurationItemGroup group=\"G\">" + item("b");
        for (const QByteArray &malformed :
             {QByteArray(), QByteArray("<ConfigurationItem type=\"int"), QByteArray("</Device>"),
              QByteArray("& "), QByteArray("&unknown;"),
              QByteArray("<ConfigurationItem type=\"a\" type=\"b\"/>"), QByteArray(1, '\0')}) {
            const Loaded loaded = load(beginning + malformed);
            QVERIFY2(loaded.succeeded, malformed.constData());
            QCOMPARE(summary(loaded.devices), text("A[a][] B[b][M]"));
            QCOMPARE(loaded.log, QStringList());
        }
    }

    void toleratesInvalidUtf8()
    {
        // The reader decodes ahead, so the amount of text that it reads before these bytes is
        // not tested.
        const Loaded loaded =
            load(document(device("A", configuration(item("a"))) + "\xff\xfe\xff" + device("B")));
        QVERIFY(!loaded.devices.contains(text("B")));
        QCOMPARE(loaded.log, QStringList());
    }

    void logsAFileThatCannotBeRead()
    {
        QVERIFY(QDir().mkpath(text("folder.xml")));
        const QMap<QString, QString> lines{
            {text("nowhere/settings.xml"), text(R"(File "nowhere/settings.xml" does not exist!)")},
            {text("folder.xml"), text(R"(Failed to open file "folder.xml")")}};
        for (auto line = lines.begin(); line != lines.end(); ++line) {
            const Loaded loaded = loadFile(line.key());
            QVERIFY(!loaded.succeeded);
            QVERIFY(loaded.devices.isEmpty());
            QCOMPARE(loaded.log, QStringList(*line));
        }
    }

    void closesTheFileAfterReading()
    {
        const auto openFiles = [] {
            QStringList targets;
            const auto links =
                QDir(text("/proc/self/fd")).entryInfoList(QDir::System | QDir::Files);
            for (const QFileInfo &link : links) {
                targets << link.symLinkTarget();
            }
            return targets.filter(settingsPath);
        };
        for (const QByteArray &content : {document(device("A")), QByteArray("<Config/>"),
                                          document(device("A", measurements("<Measurement/>")))}) {
            QVERIFY(FileIo::write(settingsPath, content));
            QFile open(settingsPath);
            QVERIFY(open.open(QIODevice::ReadOnly));
            QCOMPARE(openFiles().size(), 1);
            open.close();
            Devices devices;
            ConfigurationLoader loader;
            messagesLoggedBy([&] { loader.load(devices, settingsPath); });
            QCOMPARE(openFiles(), QStringList());
            // The loader can be used again, although the file object of the first call was
            // destroyed.
            QVERIFY(FileIo::write(settingsPath, document(device("B"))));
            QVERIFY(loader.load(devices, settingsPath));
            QVERIFY(devices.contains(text("B")));
        }
    }

    void resolvesARelativePathInTheWorkingDirectory()
    {
        const QString workingDirectory = QDir::currentPath();
        QVERIFY(FileIo::write(settingsPath, document(device("A"))));
        QVERIFY(QDir().mkpath(text("elsewhere")));
        QDir::setCurrent(workingDirectory + text("/elsewhere"));
        const Loaded elsewhere = loadFile(settingsPath);
        QDir::setCurrent(workingDirectory);
        QVERIFY(!elsewhere.succeeded);
        QCOMPARE(elsewhere.log, texts(R"(File "settings.xml" does not exist!)"));
        QCOMPARE(summary(loadFile(settingsPath).devices), text("A[][]"));
    }

    void doesNotClearTheMap()
    {
        Devices devices{{text("Old"), DeviceConfiguration()}};
        for (const QByteArray &content : {document(device("A")), QByteArray("<Config/>")}) {
            QVERIFY(FileIo::write(settingsPath, content));
            ConfigurationLoader().load(devices, settingsPath);
            QCOMPARE(devices.keys(), texts("A|Old"));
        }
    }

    void readsEachTypeAndUnitCaseInsensitively()
    {
        using Type = MeasurementType;
        using Unit = MeasurementUnit;
        const struct
        {
            QByteArray type;
            QByteArray unit;
            Type expectedType;
            Unit expectedUnit;
        } rows[] = {
            {"air temperature", "c", Type::AirTemperature, Unit::Celsius},
            {"air temperature", "f", Type::AirTemperature, Unit::Fahrenheit},
            {"air humidity", "rh", Type::AirHumidity, Unit::RelativeHumidity},
            {"air pressure", "mbar", Type::AirPressure, Unit::Millibar},
            {"pm2.5", "ug/m3", Type::ParticulateMatter, Unit::MicrogramsPerCubicMetre},
            {"pm10", "ug/m3", Type::ParticulateMatter, Unit::MicrogramsPerCubicMetre},
            {"pollutant", "ppb", Type::Pollutant, Unit::Ppb},
            {"pollutant", "ppm", Type::Pollutant, Unit::Ppm},
            {"rain", "mm/h", Type::Rain, Unit::MillimetresPerHour},
            {"winddir", "deg", Type::WindDirection, Unit::Degree},
            {"windspeed", "m/s", Type::WindSpeed, Unit::MetresPerSecond},
            {"solar radiation", "w/m2", Type::SolarRadiation, Unit::WattsPerSquareMetre},
            {"extra", "extra", Type::Extra, Unit::ExtraUnit},
        };
        for (const auto &row : rows) {
            const QByteArray lower = "type=\"" + row.type + "\" unit=\"" + row.unit + "\"/>";
            const QByteArray upper =
                "type=\"" + row.type.toUpper() + "\" unit=\"" + row.unit.toUpper() + "\"/>";
            const auto entries = loadedModel(measurements("<Measurement name=\"M\" " + lower
                                                          + "<Measurement name=\"N\" " + upper))
                                     .measurementItems;
            QCOMPARE(entries.size(), 2);
            for (const MeasurementItem &entry : entries) {
                QVERIFY2(entry.type == row.expectedType, row.type.constData());
                QVERIFY2(entry.unit == row.expectedUnit, row.unit.constData());
            }
        }
    }

    void itemTypesAreComparedExactly()
    {
        const QMap<QByteArray, ConfigurationItemType> types{
            {"int", ConfigurationItemType::Int},   {"float", ConfigurationItemType::Float},
            {"text", ConfigurationItemType::Text}, {"Float", ConfigurationItemType::Text},
            {"INT", ConfigurationItemType::Text},  {" int", ConfigurationItemType::Text},
            {"", ConfigurationItemType::Text}};
        for (auto type = types.begin(); type != types.end(); ++type) {
            const ConfigurationItem loaded = loadedItem("int", type.key());
            QCOMPARE(loaded.alias, text("word"));
            QVERIFY2(loaded.type == *type, type.key().constData());
        }
    }

    void readsNumbersWithADecimalPoint()
    {
        const QMap<QByteArray, double> numbers{
            {"12", 12.0}, {"-0.25", -0.25}, {"1e3", 1000.0},       {"1,5", 0.0},
            {"abc", 0.0}, {"12m", 0.0},     {"0.000532", 5.32e-4}, {"", 0.0}};
        for (const QLocale &locale : {QLocale::c(), QLocale(QLocale::German, QLocale::Germany)}) {
            QLocale::setDefault(locale);
            for (auto number = numbers.begin(); number != numbers.end(); ++number) {
                const QByteArray quoted = '"' + number.key() + '"';
                QCOMPARE(loadedItem("\"1\"", quoted).min, float(*number));
                QCOMPARE(loadedItem("\"2\"", quoted).max, float(*number));
                QVERIFY(loadedMeasurement("conversionMultiplier=" + quoted).conversionMultiplier
                        == *number);
            }
        }
        QLocale::setDefault(QLocale::c());
    }

    void multiplierDefaultsToOne()
    {
        QCOMPARE(loadedMeasurement("").conversionMultiplier, 1.0);
        QCOMPARE(loadedMeasurement(R"(ConversionMultiplier="2")").conversionMultiplier, 1.0);
    }

    void displayNameDefaultsToTheName()
    {
        const QMap<QByteArray, QString> displayNames{{"", text("T")},
                                                     {"displayName=\"\"", text("T")},
                                                     {"displayName=\"Air\"", text("Air")},
                                                     {"displayName=\" \"", text(" ")},
                                                     {"displayname=\"Air\"", text("T")}};
        for (auto displayName = displayNames.begin(); displayName != displayNames.end();
             ++displayName) {
            QCOMPARE(loadedMeasurement(displayName.key()).displayName, *displayName);
        }
    }

    void decodesNonAsciiCharactersAndEntities()
    {
        QCOMPARE(loadedItem("Label", "Höhe &lt;µg/m³&gt; &amp; °C").name,
                 text("Höhe <µg/m³> & °C"));
    }

    void requiresEachAttribute()
    {
        const struct
        {
            QByteArray content;
            const char *element;
            QStringList attributes;
        } rows[] = {
            {configuration(validItem), "ConfigurationItem", texts("type|min|max|name|alias")},
            // Values are checked only after all attributes have been found.
            {measurements(R"(<Measurement name="" type="bad" unit="bad"/>)"), "MeasurementItem",
             texts("name|type|unit")},
            {configuration(""), "ConfigurationItemGroup", texts("group")},
        };
        for (const auto &row : rows) {
            for (const QString &attribute : row.attributes) {
                const QByteArray name = attribute.toLatin1();
                const QByteArray assignment = ' ' + name + '=';
                const QByteArray capitalized = ' ' + name.left(1).toUpper() + name.mid(1) + '=';
                const int position = row.content.indexOf(assignment);
                for (const QByteArray &incomplete :
                     {QByteArray(row.content).replace(assignment, " other="),
                      QByteArray(row.content).replace(assignment, capitalized),
                      // Only the first of several missing attributes is named.
                      row.content.left(position) + "/>"}) {
                    const Loaded loaded = load(document(device("A", incomplete)));
                    QVERIFY(!loaded.succeeded);
                    QVERIFY(loaded.devices.isEmpty());
                    QCOMPARE(loaded.log,
                             QStringList(text(R"("%1" attribute not specified for "%2" element!)")
                                             .arg(attribute, text(row.element))));
                }
            }
        }
    }

    void acceptsAnEmptyAttribute()
    {
        const Loaded loaded = load(document(
            "<Device name=\"\"><Configuration><ConfigurationItemGroup group=\"\">"
            "<ConfigurationItem type=\"\" min=\"\" max=\"\" name=\"\" alias=\"\"/>"
            "</ConfigurationItemGroup></Configuration><Measurements>"
            "<Measurement name=\"\" type=\"rain\" unit=\"mm/h\"/></Measurements></Device>"));
        QVERIFY(loaded.succeeded);
        QCOMPARE(loaded.log, QStringList());
        QCOMPARE(loaded.devices.keys(), QStringList(QString()));
        QCOMPARE(aliases(loaded.devices.first()), QStringList(QString()));
        QCOMPARE(names(loaded.devices.first()), QStringList(QString()));
        QCOMPARE(loaded.devices.first().measurementItems.first().displayName, QString());
    }

    void rejectsAnUnknownTypeOrUnit()
    {
        const struct
        {
            const char *known;
            QStringList spellings;
            const char *line;
        } rows[] = {
            {"\"air temperature\"", texts("PM1|Undefined|rain |airpressure|"),
             "warning: Unable to parse measurement type \"%1\""},
            {"\"c\"", texts("µg/m3|%RH|ug/m³|°C|kPa|"), "warning: Unable to parse unit \"%1\""},
        };
        for (const auto &row : rows) {
            for (const QString &spelling : row.spellings) {
                const QByteArray invalid =
                    QByteArray(validMeasurement).replace(row.known, '"' + spelling.toUtf8() + '"');
                const Loaded loaded = load(document(device("A", measurements(invalid))));
                QVERIFY(!loaded.succeeded);
                QVERIFY(loaded.devices.isEmpty());
                QCOMPARE(loaded.log, QStringList(text(row.line).arg(spelling.toLower())));
            }
        }
    }

    void readsTheSampleFile()
    {
        const Loaded sample = loadFile(samplePath);
        QVERIFY(sample.succeeded);
        QCOMPARE(sample.log, QStringList());
        QCOMPARE(sample.devices.keys(), texts("KVT-100|KVT-200|KVT-300"));
        const QByteArray content = FileIo::contents(samplePath);
        QVERIFY(content.indexOf("\"KVT-300\"") < content.indexOf("\"KVT-100\""));
        for (const DeviceConfiguration &device : sample.devices) {
            QVERIFY(device.configurationItems.size() >= 8);
            QVERIFY(device.measurementItems.size() >= 6);
            // Unsorted, so that the order of the file is tested.
            QStringList sorted = aliases(device);
            sorted.sort();
            QVERIFY(sorted != aliases(device));
        }
    }

    void sampleUsesEveryTypeAndUnit()
    {
        const Devices devices = loadFile(samplePath).devices;
        QSet<int> types;
        QSet<int> units;
        QSet<int> itemTypes;
        QSet<bool> nameIsDisplayName;
        for (const DeviceConfiguration &device : devices) {
            for (const ConfigurationItem &setting : device.configurationItems) {
                itemTypes.insert(int(setting.type));
            }
            for (const MeasurementItem &entry : device.measurementItems) {
                types.insert(int(entry.type));
                units.insert(int(entry.unit));
                nameIsDisplayName.insert(entry.name == entry.displayName);
            }
        }
        // All except Undefined, which is 0 in both.
        QCOMPARE(types.size(), 10);
        QCOMPARE(units.size(), 12);
        QCOMPARE(itemTypes.size(), 3);
        QCOMPARE(nameIsDisplayName.size(), 2);
        QVERIFY(FileIo::contents(samplePath).contains("type=\"pm2.5\""));
        QVERIFY(FileIo::contents(samplePath).contains("type=\"pm10\""));
    }

    void sampleUsesOnlyNamesThatADeviceCanSend()
    {
        const QStringList reservedNames =
            texts("date|hwver|health|meas|meas_state|model|serial|swver|unit");
        const QRegularExpression aliasPattern(text("^[a-z][a-z0-9_]*$"));
        const QRegularExpression measurementPattern(text("^[A-Za-z0-9]+$"));
        const Devices devices = loadFile(samplePath).devices;
        for (const DeviceConfiguration &device : devices) {
            QCOMPARE(aliases(device).removeDuplicates(), 0);
            QCOMPARE(names(device).removeDuplicates(), 0);
            for (const ConfigurationItem &setting : device.configurationItems) {
                QVERIFY2(aliasPattern.match(setting.alias).hasMatch(), qPrintable(setting.alias));
                QVERIFY2(!reservedNames.contains(setting.alias), qPrintable(setting.alias));
                QVERIFY2(setting.min < setting.max, qPrintable(setting.alias));
            }
            for (const MeasurementItem &entry : device.measurementItems) {
                QVERIFY2(measurementPattern.match(entry.name).hasMatch(), qPrintable(entry.name));
            }
        }
    }

    void truncatedSampleKeepsItsCompleteElements()
    {
        const QByteArray content = FileIo::contents(samplePath);
        const Devices complete = loadFile(samplePath).devices;
        QVERIFY(FileIo::write(settingsPath, content));
        QFile truncated(settingsPath);
        for (int size = content.size(); size >= 0; --size) {
            QVERIFY(truncated.resize(size));
            const Loaded loaded = loadFile(settingsPath);
            const QString beginning = QString::fromLatin1(content.left(size));
            const auto count = [&beginning](const char *pattern) {
                return beginning.count(QRegularExpression(text(pattern)));
            };
            QCOMPARE(loaded.log, QStringList());
            QCOMPARE(loaded.succeeded, beginning.contains(text("<Devices>")));
            QCOMPARE(loaded.devices.size(), count("<Device [^>]*>"));
            int settings = 0;
            int entries = 0;
            for (auto found = loaded.devices.begin(); found != loaded.devices.end(); ++found) {
                settings += found->configurationItems.size();
                entries += found->measurementItems.size();
                const DeviceConfiguration expected = complete.value(found.key());
                QCOMPARE(aliases(*found),
                         aliases(expected).mid(0, found->configurationItems.size()));
                QCOMPARE(names(*found), names(expected).mid(0, found->measurementItems.size()));
            }
            QCOMPARE(settings, count("<ConfigurationItem [^>]*>"));
            QCOMPARE(entries, count("<Measurement [^>]*>"));
        }
    }

private:
    static void addDocumentColumns()
    {
        QTest::addColumn<QByteArray>("devices");
        QTest::addColumn<QString>("models");
    }

    /// Adds a row with the models of a document that loads without errors, and their summary().
    static void addDocument(const char *name, const QByteArray &devices, const char *models)
    {
        QTest::addRow("%s", name) << devices << text(models);
    }

    static void checkDocument()
    {
        QFETCH(QByteArray, devices);
        const Loaded loaded = load(document(devices));
        QVERIFY(loaded.succeeded);
        QTEST(summary(loaded.devices), "models");
        QCOMPARE(loaded.log, QStringList());
    }
};

KV_TEST_CORE_MAIN(TestConfigurationLoader)
#include "tst_configurationloader.moc"
