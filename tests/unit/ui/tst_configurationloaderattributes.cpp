// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/ui/settingsfile.h"

#include <QtCore/QLocale>

Q_DECLARE_METATYPE(ConfigurationItemType)
Q_DECLARE_METATYPE(MeasurementType)
Q_DECLARE_METATYPE(MeasurementUnit)

using namespace SettingsFile;

class TestConfigurationLoaderAttributes : public QObject
{
    Q_OBJECT

private slots:
    void itemTypesHaveTheirNumbers();
    void readsEachMeasurementType_data();
    void readsEachMeasurementType();
    void readsEachMeasurementUnit_data();
    void readsEachMeasurementUnit();
    void readsEachItemTypeByExactSpelling_data();
    void readsEachItemTypeByExactSpelling();
    void readsRangesWithADecimalPoint_data();
    void readsRangesWithADecimalPoint();
    void readsTheMultiplier_data();
    void readsTheMultiplier();
    void ignoresTheLocale();
    void showsTheNameWithoutADisplayName_data();
    void showsTheNameWithoutADisplayName();
    void keepsUmlautsAndEntities();
    void requiresTheAttributesOfASetting_data();
    void requiresTheAttributesOfASetting();
    void requiresTheAttributesOfAMeasurement_data();
    void requiresTheAttributesOfAMeasurement();
    void requiresTheGroup();
    void namesOnlyTheFirstMissingAttribute_data();
    void namesOnlyTheFirstMissingAttribute();
    void takesAnEmptyAttributeForPresent();
    void refusesAnUnknownMeasurementType_data();
    void refusesAnUnknownMeasurementType();
    void refusesAnUnknownUnit_data();
    void refusesAnUnknownUnit();
    void judgesTheTypeBeforeTheUnit();
};

void TestConfigurationLoaderAttributes::itemTypesHaveTheirNumbers()
{
    QCOMPARE(int(ConfigurationItemType::Text), 0);
    QCOMPARE(int(ConfigurationItemType::Int), 1);
    QCOMPARE(int(ConfigurationItemType::Float), 2);
}

void TestConfigurationLoaderAttributes::readsEachMeasurementType_data()
{
    QTest::addColumn<QByteArray>("spelling");
    QTest::addColumn<MeasurementType>("expected");

    const struct
    {
        const char *spelling;
        MeasurementType expected;
    } rows[] = {
        {"air temperature", MeasurementType::AirTemperature},
        {"air humidity", MeasurementType::AirHumidity},
        {"air pressure", MeasurementType::AirPressure},
        {"pm2.5", MeasurementType::ParticulateMatter},
        {"pm10", MeasurementType::ParticulateMatter},
        {"pollutant", MeasurementType::Pollutant},
        {"rain", MeasurementType::Rain},
        {"winddir", MeasurementType::WindDirection},
        {"windspeed", MeasurementType::WindSpeed},
        {"solar radiation", MeasurementType::SolarRadiation},
        {"extra", MeasurementType::Extra},
    };
    for (const auto &row : rows) {
        const QByteArray spelling(row.spelling);
        QTest::addRow("%s", row.spelling) << spelling << row.expected;
        QTest::addRow("%s in capitals", row.spelling) << spelling.toUpper() << row.expected;
    }
}

void TestConfigurationLoaderAttributes::readsEachMeasurementType()
{
    QFETCH(QByteArray, spelling);
    QFETCH(MeasurementType, expected);
    Devices devices;
    QVERIFY(loadText(
        file(device(
            "A", measurements("<Measurement name=\"M\" unit=\"c\" type=\"" + spelling + "\"/>"))),
        devices));
    QCOMPARE(devices.first().measurementItems.size(), 1);
    QCOMPARE(int(devices.first().measurementItems.first().type), int(expected));
}

void TestConfigurationLoaderAttributes::readsEachMeasurementUnit_data()
{
    QTest::addColumn<QByteArray>("spelling");
    QTest::addColumn<MeasurementUnit>("expected");

    const struct
    {
        const char *spelling;
        MeasurementUnit expected;
    } rows[] = {
        {"c", MeasurementUnit::Celsius},
        {"f", MeasurementUnit::Fahrenheit},
        {"mbar", MeasurementUnit::Millibar},
        {"rh", MeasurementUnit::RelativeHumidity},
        {"ppb", MeasurementUnit::Ppb},
        {"ppm", MeasurementUnit::Ppm},
        {"ug/m3", MeasurementUnit::MicrogramsPerCubicMetre},
        {"extra", MeasurementUnit::ExtraUnit},
        {"deg", MeasurementUnit::Degree},
        {"m/s", MeasurementUnit::MetresPerSecond},
        {"w/m2", MeasurementUnit::WattsPerSquareMetre},
        {"mm/h", MeasurementUnit::MillimetresPerHour},
    };
    for (const auto &row : rows) {
        const QByteArray spelling(row.spelling);
        QTest::addRow("%s", row.spelling) << spelling << row.expected;
        QTest::addRow("%s in capitals", row.spelling) << spelling.toUpper() << row.expected;
    }
}

void TestConfigurationLoaderAttributes::readsEachMeasurementUnit()
{
    QFETCH(QByteArray, spelling);
    QFETCH(MeasurementUnit, expected);
    Devices devices;
    QVERIFY(loadText(file(device("A",
                                 measurements("<Measurement name=\"M\" type=\"rain\" unit=\""
                                              + spelling + "\"/>"))),
                     devices));
    QCOMPARE(devices.first().measurementItems.size(), 1);
    QCOMPARE(int(devices.first().measurementItems.first().unit), int(expected));
}

void TestConfigurationLoaderAttributes::readsEachItemTypeByExactSpelling_data()
{
    QTest::addColumn<QByteArray>("spelling");
    QTest::addColumn<ConfigurationItemType>("expected");
    QTest::addRow("int") << QByteArray("int") << ConfigurationItemType::Int;
    QTest::addRow("float") << QByteArray("float") << ConfigurationItemType::Float;
    QTest::addRow("text") << QByteArray("text") << ConfigurationItemType::Text;
    QTest::addRow("Float") << QByteArray("Float") << ConfigurationItemType::Text;
    QTest::addRow("INT") << QByteArray("INT") << ConfigurationItemType::Text;
    QTest::addRow("blank in front") << QByteArray(" int") << ConfigurationItemType::Text;
    QTest::addRow("empty") << QByteArray("") << ConfigurationItemType::Text;
}

void TestConfigurationLoaderAttributes::readsEachItemTypeByExactSpelling()
{
    QFETCH(QByteArray, spelling);
    QFETCH(ConfigurationItemType, expected);
    Devices devices;
    QVERIFY(loadText(
        file(device("A", configuration(QByteArray(goodItem).replace("int", spelling)))), devices));
    QCOMPARE(devices.first().configurationItems.size(), 1);
    QCOMPARE(int(devices.first().configurationItems.first().type), int(expected));
}

void TestConfigurationLoaderAttributes::readsRangesWithADecimalPoint_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<float>("expected");
    QTest::addRow("whole") << QByteArray("12") << 12.0F;
    QTest::addRow("fraction") << QByteArray("-0.25") << -0.25F;
    QTest::addRow("exponent") << QByteArray("1e3") << 1000.0F;
    QTest::addRow("comma") << QByteArray("1,5") << 0.0F;
    QTest::addRow("word") << QByteArray("abc") << 0.0F;
    QTest::addRow("number with a tail") << QByteArray("12m") << 0.0F;
    QTest::addRow("empty") << QByteArray("") << 0.0F;
}

void TestConfigurationLoaderAttributes::readsRangesWithADecimalPoint()
{
    QFETCH(QByteArray, text);
    const LogRecorder log;
    Devices devices;
    const QByteArray setting = R"(<ConfigurationItem type="float" min=")" + text + R"(" max=")"
        + text + R"(" name="N" alias="a"/>)";
    QVERIFY(loadText(file(device("A", configuration(setting))), devices));
    QCOMPARE(LogRecorder::lines(), QStringList());
    QTEST(devices.first().configurationItems.first().min, "expected");
    QTEST(devices.first().configurationItems.first().max, "expected");
}

void TestConfigurationLoaderAttributes::readsTheMultiplier_data()
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

void TestConfigurationLoaderAttributes::readsTheMultiplier()
{
    QFETCH(QByteArray, attribute);
    QFETCH(double, expected);
    const LogRecorder log;
    Devices devices;
    QVERIFY(loadText(file(device("A",
                                 measurements("<Measurement name=\"M\" type=\"rain\" unit=\"c\" "
                                              + attribute + "/>"))),
                     devices));
    QCOMPARE(LogRecorder::lines(), QStringList());
    QVERIFY(devices.first().measurementItems.first().conversionMultiplier == expected);
}

void TestConfigurationLoaderAttributes::ignoresTheLocale()
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    Devices devices;
    const bool loaded = loadText(
        file(device(
            "A",
            configuration(QByteArray(goodItem).replace("\"2\"", "\"2.5\""))
                + measurements(
                    QByteArray(goodMeasurement).replace("/>", " conversionMultiplier=\"0.5\"/>")))),
        devices);
    QLocale::setDefault(QLocale::c());
    QVERIFY(loaded);
    QCOMPARE(devices.first().configurationItems.first().max, 2.5F);
    QCOMPARE(devices.first().measurementItems.first().conversionMultiplier, 0.5);
}

void TestConfigurationLoaderAttributes::showsTheNameWithoutADisplayName_data()
{
    QTest::addColumn<QByteArray>("attribute");
    QTest::addColumn<QString>("expected");
    QTest::addRow("absent") << QByteArray() << QStringLiteral("T");
    QTest::addRow("empty") << QByteArray("displayName=\"\"") << QStringLiteral("T");
    QTest::addRow("given") << QByteArray("displayName=\"Air\"") << QStringLiteral("Air");
    QTest::addRow("a blank") << QByteArray("displayName=\" \"") << QStringLiteral(" ");
    QTest::addRow("in another case") << QByteArray("displayname=\"Air\"") << QStringLiteral("T");
}

void TestConfigurationLoaderAttributes::showsTheNameWithoutADisplayName()
{
    QFETCH(QByteArray, attribute);
    Devices devices;
    QVERIFY(loadText(
        file(device(
            "A", measurements(QByteArray(goodMeasurement).replace("/>", ' ' + attribute + "/>")))),
        devices));
    QTEST(devices.first().measurementItems.first().displayName, "expected");
}

void TestConfigurationLoaderAttributes::keepsUmlautsAndEntities()
{
    Devices devices;
    QVERIFY(loadText(file(device("A",
                                 configuration(QByteArray(goodItem).replace(
                                     "Label", "Höhe &lt;µg/m³&gt; &amp; °C")))),
                     devices));
    QCOMPARE(devices.first().configurationItems.first().name, QStringLiteral("Höhe <µg/m³> & °C"));
}

void TestConfigurationLoaderAttributes::requiresTheAttributesOfASetting_data()
{
    QTest::addColumn<QByteArray>("attribute");
    for (const char *attribute : {"type", "min", "max", "name", "alias"}) {
        QTest::addRow("%s", attribute) << QByteArray(attribute);
    }
}

void TestConfigurationLoaderAttributes::requiresTheAttributesOfASetting()
{
    QFETCH(QByteArray, attribute);
    const QByteArray message =
        '"' + attribute + R"(" attribute not specified for "ConfigurationItem" element!)";
    // A capital letter makes another attribute of it.
    const QByteArray capital = attribute.left(1).toUpper() + attribute.mid(1);
    for (const QByteArray &other : {QByteArray("other"), capital}) {
        Devices devices;
        QTest::ignoreMessage(QtDebugMsg, message.constData());
        const QByteArray bad =
            QByteArray(goodItem).replace(' ' + attribute + '=', ' ' + other + '=');
        QVERIFY(bad != goodItem);
        QVERIFY(!loadText(file(device("A", configuration(bad))), devices));
        QVERIFY(devices.isEmpty());
    }
}

void TestConfigurationLoaderAttributes::requiresTheAttributesOfAMeasurement_data()
{
    QTest::addColumn<QByteArray>("attribute");
    for (const char *attribute : {"name", "type", "unit"}) {
        QTest::addRow("%s", attribute) << QByteArray(attribute);
    }
}

void TestConfigurationLoaderAttributes::requiresTheAttributesOfAMeasurement()
{
    QFETCH(QByteArray, attribute);
    const QByteArray message =
        '"' + attribute + R"(" attribute not specified for "MeasurementItem" element!)";
    const QByteArray capital = attribute.left(1).toUpper() + attribute.mid(1);
    for (const QByteArray &other : {QByteArray("other"), capital}) {
        Devices devices;
        QTest::ignoreMessage(QtDebugMsg, message.constData());
        const QByteArray bad =
            QByteArray(goodMeasurement).replace(' ' + attribute + '=', ' ' + other + '=');
        QVERIFY(bad != goodMeasurement);
        QVERIFY(!loadText(file(device("A", measurements(bad))), devices));
        QVERIFY(devices.isEmpty());
    }
}

void TestConfigurationLoaderAttributes::requiresTheGroup()
{
    Devices devices;
    QTest::ignoreMessage(
        QtDebugMsg, R"("group" attribute not specified for "ConfigurationItemGroup" element!)");
    QVERIFY(!loadText(file(device("A", "<Configuration><ConfigurationItemGroup/></Configuration>")),
                      devices));
    QVERIFY(devices.isEmpty());
}

void TestConfigurationLoaderAttributes::namesOnlyTheFirstMissingAttribute_data()
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

void TestConfigurationLoaderAttributes::namesOnlyTheFirstMissingAttribute()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, expected);
    const LogRecorder log;
    Devices devices;
    QVERIFY(!loadText(file(device("A", content)), devices));
    QCOMPARE(LogRecorder::lines(), QStringList(expected));
}

void TestConfigurationLoaderAttributes::takesAnEmptyAttributeForPresent()
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

void TestConfigurationLoaderAttributes::refusesAnUnknownMeasurementType_data()
{
    QTest::addColumn<QByteArray>("spelling");
    QTest::addColumn<QByteArray>("logged");
    QTest::addRow("other") << QByteArray("PM1") << QByteArray("pm1");
    QTest::addRow("undefined") << QByteArray("Undefined") << QByteArray("undefined");
    QTest::addRow("blank behind") << QByteArray("rain ") << QByteArray("rain ");
    QTest::addRow("without its blank") << QByteArray("airpressure") << QByteArray("airpressure");
    QTest::addRow("empty") << QByteArray("") << QByteArray("");
}

void TestConfigurationLoaderAttributes::refusesAnUnknownMeasurementType()
{
    QFETCH(QByteArray, spelling);
    QFETCH(QByteArray, logged);
    const QByteArray message = "Unable to parse measurement type \"" + logged + '"';
    QTest::ignoreMessage(QtWarningMsg, message.constData());
    Devices devices;
    QVERIFY(!loadText(
        file(device(
            "A", measurements("<Measurement name=\"M\" unit=\"c\" type=\"" + spelling + "\"/>"))),
        devices));
    QVERIFY(devices.isEmpty());
}

void TestConfigurationLoaderAttributes::refusesAnUnknownUnit_data()
{
    QTest::addColumn<QByteArray>("spelling");
    QTest::addColumn<QByteArray>("logged");
    QTest::addRow("micro sign") << QByteArray("µg/m3") << QByteArray("µg/m3");
    QTest::addRow("percent sign") << QByteArray("%RH") << QByteArray("%rh");
    QTest::addRow("superscript") << QByteArray("ug/m³") << QByteArray("ug/m³");
    QTest::addRow("degree sign") << QByteArray("°C") << QByteArray("°c");
    QTest::addRow("other") << QByteArray("kPa") << QByteArray("kpa");
    QTest::addRow("empty") << QByteArray("") << QByteArray("");
}

void TestConfigurationLoaderAttributes::refusesAnUnknownUnit()
{
    QFETCH(QByteArray, spelling);
    QFETCH(QByteArray, logged);
    const QByteArray message = "Unable to parse unit \"" + logged + '"';
    QTest::ignoreMessage(QtWarningMsg, message.constData());
    Devices devices;
    QVERIFY(!loadText(file(device("A",
                                  measurements("<Measurement name=\"M\" type=\"rain\" unit=\""
                                               + spelling + "\"/>"))),
                      devices));
    QVERIFY(devices.isEmpty());
}

void TestConfigurationLoaderAttributes::judgesTheTypeBeforeTheUnit()
{
    const LogRecorder log;
    Devices devices;
    QVERIFY(!loadText(
        file(device("A", measurements("<Measurement unit=\"b\" type=\"a\" name=\"M\"/>"))),
        devices));
    QCOMPARE(LogRecorder::lines(),
             QStringList(QStringLiteral("Unable to parse measurement type \"a\"")));
}

KV_TEST_CORE_MAIN(TestConfigurationLoaderAttributes)

#include "tst_configurationloaderattributes.moc"
