// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "tests/unit/ui/settingsfile.h"

#include <QtCore/QLocale>

Q_DECLARE_METATYPE(ConfigurationItemType)

using namespace SettingsFile;

namespace {

QByteArray measurementWith(const QByteArray &type, const QByteArray &unit)
{
    return file(device(
        "A",
        measurements("<Measurement name=\"M\" type=\"" + type + "\" unit=\"" + unit + "\"/>")));
}

} // namespace

class TestConfigurationLoaderAttributes : public QObject
{
    Q_OBJECT

private slots:
    void itemTypesHaveTheirNumbers()
    {
        QCOMPARE(int(ConfigurationItemType::Text), 0);
        QCOMPARE(int(ConfigurationItemType::Int), 1);
        QCOMPARE(int(ConfigurationItemType::Float), 2);
    }

    void readsEachTypeAndUnitInAnyCase_data()
    {
        QTest::addColumn<QByteArray>("type");
        QTest::addColumn<QByteArray>("unit");
        QTest::addColumn<int>("expectedType");
        QTest::addColumn<int>("expectedUnit");
        const auto add = [](const QByteArray &type, const QByteArray &unit, MeasurementType isType,
                            MeasurementUnit isUnit) {
            QTest::addRow("%s, %s", type.constData(), unit.constData())
                << type << unit << int(isType) << int(isUnit);
            QTest::addRow("%s, %s in capitals", type.constData(), unit.constData())
                << type.toUpper() << unit.toUpper() << int(isType) << int(isUnit);
        };
        using Type = MeasurementType;
        using Unit = MeasurementUnit;
        add("air temperature", "c", Type::AirTemperature, Unit::Celsius);
        add("air temperature", "f", Type::AirTemperature, Unit::Fahrenheit);
        add("air humidity", "rh", Type::AirHumidity, Unit::RelativeHumidity);
        add("air pressure", "mbar", Type::AirPressure, Unit::Millibar);
        add("pm2.5", "ug/m3", Type::ParticulateMatter, Unit::MicrogramsPerCubicMetre);
        add("pm10", "ug/m3", Type::ParticulateMatter, Unit::MicrogramsPerCubicMetre);
        add("pollutant", "ppb", Type::Pollutant, Unit::Ppb);
        add("pollutant", "ppm", Type::Pollutant, Unit::Ppm);
        add("rain", "mm/h", Type::Rain, Unit::MillimetresPerHour);
        add("winddir", "deg", Type::WindDirection, Unit::Degree);
        add("windspeed", "m/s", Type::WindSpeed, Unit::MetresPerSecond);
        add("solar radiation", "w/m2", Type::SolarRadiation, Unit::WattsPerSquareMetre);
        add("extra", "extra", Type::Extra, Unit::ExtraUnit);
    }

    void readsEachTypeAndUnitInAnyCase()
    {
        QFETCH(QByteArray, type);
        QFETCH(QByteArray, unit);
        Devices devices;
        QVERIFY(loadText(measurementWith(type, unit), devices));
        QCOMPARE(devices.first().measurementItems.size(), 1);
        QTEST(int(devices.first().measurementItems.first().type), "expectedType");
        QTEST(int(devices.first().measurementItems.first().unit), "expectedUnit");
    }

    void readsEachItemTypeByExactSpelling_data()
    {
        QTest::addColumn<QByteArray>("spelling");
        QTest::addColumn<ConfigurationItemType>("expected");
        QTest::addRow("int") << QByteArray("int") << ConfigurationItemType::Int;
        QTest::addRow("float") << QByteArray("float") << ConfigurationItemType::Float;
        QTest::addRow("text") << QByteArray("text") << ConfigurationItemType::Text;
        QTest::addRow("Float") << QByteArray("Float") << ConfigurationItemType::Text;
        QTest::addRow("INT") << QByteArray("INT") << ConfigurationItemType::Text;
        QTest::addRow("leading blank") << QByteArray(" int") << ConfigurationItemType::Text;
        QTest::addRow("empty") << QByteArray("") << ConfigurationItemType::Text;
    }

    void readsEachItemTypeByExactSpelling()
    {
        QFETCH(QByteArray, spelling);
        QFETCH(ConfigurationItemType, expected);
        Devices devices;
        QVERIFY(loadText(
            file(device("A", configuration(QByteArray(goodItem).replace("int", spelling)))),
            devices));
        QCOMPARE(devices.first().configurationItems.size(), 1);
        QCOMPARE(int(devices.first().configurationItems.first().type), int(expected));
    }

    void readsRangesWithADecimalPoint_data()
    {
        QTest::addColumn<QByteArray>("number");
        QTest::addColumn<float>("expected");
        QTest::addRow("whole") << QByteArray("12") << 12.0F;
        QTest::addRow("fraction") << QByteArray("-0.25") << -0.25F;
        QTest::addRow("exponent") << QByteArray("1e3") << 1000.0F;
        QTest::addRow("comma") << QByteArray("1,5") << 0.0F;
        QTest::addRow("word") << QByteArray("abc") << 0.0F;
        QTest::addRow("number with a tail") << QByteArray("12m") << 0.0F;
        QTest::addRow("empty") << QByteArray("") << 0.0F;
    }

    void readsRangesWithADecimalPoint()
    {
        QFETCH(QByteArray, number);
        const LogRecorder log;
        Devices devices;
        const QByteArray setting = "<ConfigurationItem type=\"float\" min=\"" + number + "\" max=\""
            + number + "\" name=\"N\" alias=\"a\"/>";
        QVERIFY(loadText(file(device("A", configuration(setting))), devices));
        QCOMPARE(LogRecorder::lines(), QStringList());
        QTEST(devices.first().configurationItems.first().min, "expected");
        QTEST(devices.first().configurationItems.first().max, "expected");
    }

    void readsTheMultiplier_data()
    {
        QTest::addColumn<QByteArray>("attribute");
        QTest::addColumn<double>("expected");
        QTest::addRow("absent") << QByteArray() << 1.0;
        QTest::addRow("number") << QByteArray(R"(conversionMultiplier="0.000532")") << 0.000532;
        QTest::addRow("zero") << QByteArray(R"(conversionMultiplier="0")") << 0.0;
        QTest::addRow("word") << QByteArray(R"(conversionMultiplier="abc")") << 0.0;
        QTest::addRow("empty") << QByteArray(R"(conversionMultiplier="")") << 0.0;
        QTest::addRow("comma") << QByteArray(R"(conversionMultiplier="2,5")") << 0.0;
        QTest::addRow("in another case") << QByteArray(R"(ConversionMultiplier="2")") << 1.0;
    }

    void readsTheMultiplier()
    {
        QFETCH(QByteArray, attribute);
        QFETCH(double, expected);
        const LogRecorder log;
        Devices devices;
        QVERIFY(
            loadText(file(device("A",
                                 measurements("<Measurement name=\"M\" type=\"rain\" unit=\"c\" "
                                              + attribute + "/>"))),
                     devices));
        QCOMPARE(LogRecorder::lines(), QStringList());
        QVERIFY(devices.first().measurementItems.first().conversionMultiplier == expected);
    }

    void ignoresTheLocale()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        Devices devices;
        const bool loaded = loadText(
            file(device("A",
                        configuration(QByteArray(goodItem).replace("\"2\"", "\"2.5\""))
                            + measurements(QByteArray(goodMeasurement)
                                               .replace("/>", " conversionMultiplier=\"0.5\"/>")))),
            devices);
        QLocale::setDefault(QLocale::c());
        QVERIFY(loaded);
        QCOMPARE(devices.first().configurationItems.first().max, 2.5F);
        QCOMPARE(devices.first().measurementItems.first().conversionMultiplier, 0.5);
    }

    void showsTheNameWithoutADisplayName_data()
    {
        QTest::addColumn<QByteArray>("attribute");
        QTest::addColumn<QString>("expected");
        QTest::addRow("absent") << QByteArray() << text("T");
        QTest::addRow("empty") << QByteArray("displayName=\"\"") << text("T");
        QTest::addRow("given") << QByteArray("displayName=\"Air\"") << text("Air");
        QTest::addRow("a blank") << QByteArray("displayName=\" \"") << text(" ");
        QTest::addRow("in another case") << QByteArray("displayname=\"Air\"") << text("T");
    }

    void showsTheNameWithoutADisplayName()
    {
        QFETCH(QByteArray, attribute);
        Devices devices;
        QVERIFY(loadText(
            file(device(
                "A",
                measurements(QByteArray(goodMeasurement).replace("/>", ' ' + attribute + "/>")))),
            devices));
        QTEST(devices.first().measurementItems.first().displayName, "expected");
    }

    void decodesUmlautsAndEntities()
    {
        Devices devices;
        QVERIFY(loadText(file(device("A",
                                     configuration(QByteArray(goodItem).replace(
                                         "Label", "Höhe &lt;µg/m³&gt; &amp; °C")))),
                         devices));
        QCOMPARE(devices.first().configurationItems.first().name, text("Höhe <µg/m³> & °C"));
    }

    void requiresEachAttribute_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("attribute");
        QTest::addColumn<QByteArray>("element");
        for (const char *attribute : {"type", "min", "max", "name", "alias"}) {
            QTest::addRow("setting, %s", attribute)
                << configuration(goodItem) << QByteArray(attribute)
                << QByteArray("ConfigurationItem");
        }
        for (const char *attribute : {"name", "type", "unit"}) {
            QTest::addRow("measurement, %s", attribute)
                << measurements(goodMeasurement) << QByteArray(attribute)
                << QByteArray("MeasurementItem");
        }
        QTest::addRow("group") << configuration("") << QByteArray("group")
                               << QByteArray("ConfigurationItemGroup");
    }

    void requiresEachAttribute()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, attribute);
        QFETCH(QByteArray, element);
        const QByteArray message =
            '"' + attribute + "\" attribute not specified for \"" + element + "\" element!";
        // Attribute names are case-sensitive.
        const QByteArray capital = attribute.left(1).toUpper() + attribute.mid(1);
        for (const QByteArray &other : {QByteArray("other"), capital}) {
            Devices devices;
            QTest::ignoreMessage(QtDebugMsg, message.constData());
            const QByteArray bad =
                QByteArray(content).replace(' ' + attribute + '=', ' ' + other + '=');
            QVERIFY(bad != content);
            QVERIFY(!loadText(file(device("A", bad)), devices));
            QVERIFY(devices.isEmpty());
        }
    }

    void namesOnlyTheFirstMissingAttribute_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected");

        const QString settingLine =
            QStringLiteral(R"("%1" attribute not specified for "ConfigurationItem" element!)");
        const QString measurementLine =
            QStringLiteral(R"("%1" attribute not specified for "MeasurementItem" element!)");
        const struct
        {
            const char *attributes;
            const char *missing;
        } settings[] = {{"", "type"},
                        {"type=\"\"", "min"},
                        {"min=\"\" type=\"\"", "max"},
                        {"max=\"\" min=\"\" type=\"\"", "name"},
                        {"name=\"\" max=\"\" min=\"\" type=\"\"", "alias"}};
        for (const auto &row : settings) {
            QTest::addRow("setting without %s", row.missing)
                << configuration("<ConfigurationItem " + QByteArray(row.attributes) + "/>")
                << settingLine.arg(QLatin1String(row.missing));
        }
        const struct
        {
            const char *attributes;
            const char *missing;
        } entries[] = {{"", "name"}, {"name=\"\"", "type"}, {"type=\"bad\" name=\"\"", "unit"}};
        for (const auto &row : entries) {
            QTest::addRow("measurement without %s", row.missing)
                << measurements("<Measurement " + QByteArray(row.attributes) + "/>")
                << measurementLine.arg(QLatin1String(row.missing));
        }
    }

    void namesOnlyTheFirstMissingAttribute()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        const LogRecorder log;
        Devices devices;
        QVERIFY(!loadText(file(device("A", content)), devices));
        QCOMPARE(LogRecorder::lines(), QStringList(expected));
    }

    void acceptsAnEmptyAttribute()
    {
        const LogRecorder log;
        Devices devices;
        QVERIFY(loadText(
            file("<Device name=\"\"><Configuration><ConfigurationItemGroup group=\"\">"
                 "<ConfigurationItem type=\"\" min=\"\" max=\"\" name=\"\" alias=\"\"/>"
                 "</ConfigurationItemGroup></Configuration><Measurements>"
                 "<Measurement name=\"\" type=\"rain\" unit=\"mm/h\"/></Measurements></Device>"),
            devices));
        QCOMPARE(LogRecorder::lines(), QStringList());
        QCOMPARE(devices.keys(), QStringList(QString()));
        QCOMPARE(devices.first().configurationItems.size(), 1);
        QCOMPARE(devices.first().measurementItems.size(), 1);
        QCOMPARE(devices.first().measurementItems.first().displayName, QString());
    }

    void rejectsAnUnknownTypeOrUnit_data()
    {
        QTest::addColumn<QByteArray>("type");
        QTest::addColumn<QByteArray>("unit");
        QTest::addColumn<QByteArray>("logged");
        for (const QByteArray &type :
             {QByteArray("PM1"), QByteArray("Undefined"), QByteArray("rain "),
              QByteArray("airpressure"), QByteArray("")}) {
            QTest::addRow("type '%s'", type.constData())
                << type << QByteArray("bad")
                << "Unable to parse measurement type \"" + type.toLower() + '"';
        }
        const struct
        {
            const char *unit;
            const char *logged;
        } units[] = {{"µg/m3", "µg/m3"}, {"%RH", "%rh"}, {"ug/m³", "ug/m³"},
                     {"°C", "°c"},       {"kPa", "kpa"}, {"", ""}};
        for (const auto &row : units) {
            QTest::addRow("unit '%s'", row.unit)
                << QByteArray("rain") << QByteArray(row.unit)
                << "Unable to parse unit \"" + QByteArray(row.logged) + '"';
        }
    }

    void rejectsAnUnknownTypeOrUnit()
    {
        QFETCH(QByteArray, type);
        QFETCH(QByteArray, unit);
        QFETCH(QByteArray, logged);
        QTest::ignoreMessage(QtWarningMsg, logged.constData());
        Devices devices;
        QVERIFY(!loadText(measurementWith(type, unit), devices));
        QVERIFY(devices.isEmpty());
    }
};

KV_TEST_CORE_MAIN(TestConfigurationLoaderAttributes)

#include "tst_configurationloaderattributes.moc"
