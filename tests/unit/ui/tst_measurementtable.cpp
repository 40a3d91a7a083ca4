// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/prefixingtranslator.h"
#include "tests/kit/testmain.h"
#include "ui/measurementtable.h"

#include <QtCore/QLocale>
#include <QtWidgets/QHeaderView>

Q_DECLARE_METATYPE(MeasurementType)
Q_DECLARE_METATYPE(MeasurementUnit)

namespace {

constexpr int typeRole = Qt::UserRole + 1;
constexpr int unitRole = Qt::UserRole + 2;
constexpr int rawRole = Qt::UserRole + 3;
constexpr int nameRole = Qt::UserRole + 4;
constexpr int multiplierRole = Qt::UserRole + 5;

MeasurementItem measurement(const char *name, MeasurementType type, MeasurementUnit unit,
                            double multiplier = 1.0)
{
    const QString key = QString::fromUtf8(name);
    return {key, QStringLiteral("Shown ") + key, unit, type, multiplier};
}

const MeasurementItem temperature =
    measurement("T", MeasurementType::AirTemperature, MeasurementUnit::Celsius);
const MeasurementItem humidity =
    measurement("RH", MeasurementType::AirHumidity, MeasurementUnit::RelativeHumidity);
const MeasurementItem ozone =
    measurement("O3", MeasurementType::Pollutant, MeasurementUnit::Ppm, 2.5);

MeasurementValue reading(const char *name, double value)
{
    return {QString::fromUtf8(name), true, value};
}

MeasurementValue noReading(const char *name)
{
    return {QString::fromUtf8(name), false, 0.0};
}

QStringList column(const MeasurementTable &table, int column)
{
    QStringList texts;
    for (int row = 0; row < table.rowCount(); ++row) {
        texts.append(table.item(row, column)->text());
    }
    return texts;
}

} // namespace

class TestMeasurementTable : public QObject
{
    Q_OBJECT

private slots:
    void startsWithTwoHeadersAndNoRows();
    void translatesItsHeaders();
    void hasARowForEachMeasurementInTheirOrder();
    void keepsItsDataOnTheItems();
    void keepsItsHeadersAcrossARebuild();
    void replacesTheRowsOfAnEarlierModel();
    void showsAReadingInTheUnitOfItsType_data();
    void showsAReadingInTheUnitOfItsType();
    void showsSixSignificantDigitsWithADecimalPoint_data();
    void showsSixSignificantDigitsWithADecimalPoint();
    void ignoresTheLocale();
    void storesTheRawReadingAsANumber();
    void keepsReadingsThatAReplyDoesNotMention();
    void dropsAReadingOfAnUnknownMeasurement();
    void findsRowsByNameAndNotByWhatIsShown();
    void removesTheRowOfAnInvalidValueUntilTheModelIsSetAgain();
    void goesOnBehindARemovedRow();
    void emptyValuesStayEmptyInAnyUnit();
    void redrawsInAnotherUnitWithoutANewReading();
    void keepsTheChosenUnitsForLaterReadingsAndModels();
    void showsZeroAsAReading();
    void givesReadingsToTheFirstOfTwoEqualNames();
    void showsNotAvailableWithoutAUnit();
    void takesARawTextThatIsNoNumberForZero();
    void showsTheRawTextAsItIsForAnUndefinedType();
    void bearsMissingItems();
    void bearsAnEmptyModelAndAnEmptyReply();
};

void TestMeasurementTable::startsWithTwoHeadersAndNoRows()
{
    const MeasurementTable table(nullptr);
    QCOMPARE(table.rowCount(), 0);
    QCOMPARE(table.columnCount(), 2);
    QCOMPARE(table.horizontalHeaderItem(0)->text(), QStringLiteral("Name"));
    QCOMPARE(table.horizontalHeaderItem(1)->text(), QStringLiteral("Value"));
    QVERIFY(!table.isSortingEnabled());
}

void TestMeasurementTable::translatesItsHeaders()
{
    const PrefixingTranslator language("translated ", "MeasurementTable");
    MeasurementTable table(nullptr);
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(table.horizontalHeaderItem(0)->text(), QStringLiteral("translated Name"));
        QCOMPARE(table.horizontalHeaderItem(1)->text(), QStringLiteral("translated Value"));
        table.setMeasurementItems({temperature});
    }
}

void TestMeasurementTable::hasARowForEachMeasurementInTheirOrder()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature, ozone, humidity});
    QCOMPARE(column(table, 0),
             QStringList({QStringLiteral("Shown T"), QStringLiteral("Shown O3"),
                          QStringLiteral("Shown RH")}));
    QCOMPARE(column(table, 1), QStringList({QString(), QString(), QString()}));
}

void TestMeasurementTable::keepsItsDataOnTheItems()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({ozone});
    const QTableWidgetItem *name = table.item(0, 0);
    QCOMPARE(name->data(Qt::DisplayRole), QVariant(QStringLiteral("Shown O3")));
    QCOMPARE(name->data(nameRole), QVariant(QStringLiteral("O3")));

    const QTableWidgetItem *value = table.item(0, 1);
    QCOMPARE(value->data(Qt::DisplayRole), QVariant(QString()));
    QCOMPARE(value->data(typeRole).userType(), int(QMetaType::Int));
    QCOMPARE(value->data(typeRole).toInt(), 2);
    QCOMPARE(value->data(unitRole).userType(), int(QMetaType::Int));
    QCOMPARE(value->data(unitRole).toInt(), 4);
    QCOMPARE(value->data(rawRole), QVariant(QString()));
    QCOMPARE(value->data(multiplierRole), QVariant(2.5));
}

void TestMeasurementTable::keepsItsHeadersAcrossARebuild()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature});
    table.setMeasurementItems({});
    QCOMPARE(table.rowCount(), 0);
    QCOMPARE(table.columnCount(), 2);
    QCOMPARE(table.horizontalHeaderItem(0)->text(), QStringLiteral("Name"));
    QCOMPARE(table.horizontalHeaderItem(1)->text(), QStringLiteral("Value"));
}

void TestMeasurementTable::replacesTheRowsOfAnEarlierModel()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature, ozone});
    table.updateMeasurements({reading("T", 20), reading("O3", 1)});
    table.setMeasurementItems({humidity, temperature});
    QCOMPARE(column(table, 0),
             QStringList({QStringLiteral("Shown RH"), QStringLiteral("Shown T")}));
    QCOMPARE(column(table, 1), QStringList({QString(), QString()}));
}

void TestMeasurementTable::showsAReadingInTheUnitOfItsType_data()
{
    QTest::addColumn<MeasurementType>("type");
    QTest::addColumn<MeasurementUnit>("unit");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");

    using Type = MeasurementType;
    using Unit = MeasurementUnit;
    // first: °C and ppm; second: °F and µg/m³. The reading is 20, the factor 2.5.
    const struct
    {
        const char *name;
        Type type;
        Unit unit;
        const char *first;
        const char *second;
    } rows[] = {
        {"undefined", Type::Undefined, Unit::Celsius, "20 Undefined", "20 Undefined"},
        {"celsius", Type::AirTemperature, Unit::Celsius, "20 °C", "68 °F"},
        {"fahrenheit", Type::AirTemperature, Unit::Fahrenheit, "-6.66667 °C", "20 °F"},
        {"temperature in ppm", Type::AirTemperature, Unit::Ppm, "-6.66667 °C", "68 °F"},
        {"ppm", Type::Pollutant, Unit::Ppm, "20 ppm", "50 µg/m³"},
        {"ug/m3", Type::Pollutant, Unit::MicrogramsPerCubicMetre, "50 ppm", "20 µg/m³"},
        {"ppb", Type::Pollutant, Unit::Ppb, "50 ppm", "50 µg/m³"},
        {"humidity", Type::AirHumidity, Unit::RelativeHumidity, "20 %RH", "20 %RH"},
        {"pressure", Type::AirPressure, Unit::Millibar, "20 mbar", "20 mbar"},
        {"particles", Type::ParticulateMatter, Unit::MicrogramsPerCubicMetre, "20 µg/m³",
         "20 µg/m³"},
        {"wind direction", Type::WindDirection, Unit::Degree, "20 °", "20 °"},
        {"wind speed", Type::WindSpeed, Unit::MetresPerSecond, "20 m/s", "20 m/s"},
        {"rain", Type::Rain, Unit::MillimetresPerHour, "20 mm/h", "20 mm/h"},
        {"radiation", Type::SolarRadiation, Unit::WattsPerSquareMetre, "20 W/m2", "20 W/m2"},
        {"extra ends in a blank", Type::Extra, Unit::ExtraUnit, "20 ", "20 "},
        {"unit of the type, not of the item", Type::AirPressure, Unit::Degree, "20 mbar",
         "20 mbar"},
    };
    for (const auto &row : rows) {
        QTest::addRow("%s", row.name) << row.type << row.unit << QString::fromUtf8(row.first)
                                      << QString::fromUtf8(row.second);
    }
}

void TestMeasurementTable::showsAReadingInTheUnitOfItsType()
{
    QFETCH(MeasurementType, type);
    QFETCH(MeasurementUnit, unit);
    QFETCH(QString, first);
    QFETCH(QString, second);

    MeasurementTable table(nullptr);
    table.setMeasurementItems({measurement("M", type, unit, 2.5)});
    table.updateMeasurements({reading("M", 20)});
    QCOMPARE(table.item(0, 1)->text(), first);

    table.setDisplayOptions({false, false, true});
    QCOMPARE(table.item(0, 1)->text(), second);

    table.setDisplayOptions({true, true, true});
    QCOMPARE(table.item(0, 1)->text(), first);
}

void TestMeasurementTable::showsSixSignificantDigitsWithADecimalPoint_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");

    QTest::addRow("fraction") << 0.1 << QStringLiteral("0.1 %RH");
    QTest::addRow("rounded") << 1.23456789 << QStringLiteral("1.23457 %RH");
    QTest::addRow("negative") << -40.25 << QStringLiteral("-40.25 %RH");
    QTest::addRow("large") << 1234567.0 << QStringLiteral("1.23457e+06 %RH");
    QTest::addRow("small") << 0.00000123 << QStringLiteral("1.23e-06 %RH");
    QTest::addRow("whole") << 100.0 << QStringLiteral("100 %RH");
}

void TestMeasurementTable::showsSixSignificantDigitsWithADecimalPoint()
{
    QFETCH(double, value);
    QFETCH(QString, text);
    MeasurementTable table(nullptr);
    table.setMeasurementItems({humidity});
    table.updateMeasurements({reading("RH", value)});
    QCOMPARE(table.item(0, 1)->text(), text);
}

void TestMeasurementTable::ignoresTheLocale()
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    MeasurementTable table(nullptr);
    table.setMeasurementItems({humidity});
    table.updateMeasurements({reading("RH", 12345.5)});
    QLocale::setDefault(QLocale::c());
    QCOMPARE(table.item(0, 1)->text(), QStringLiteral("12345.5 %RH"));
}

void TestMeasurementTable::storesTheRawReadingAsANumber()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature});
    table.setDisplayOptions({false, true, true});
    table.updateMeasurements({reading("T", 1.23456789012)});
    QCOMPARE(table.item(0, 1)->data(rawRole).userType(), int(QMetaType::Double));
    QCOMPARE(table.item(0, 1)->data(rawRole).toDouble(), 1.23456789012);
}

void TestMeasurementTable::keepsReadingsThatAReplyDoesNotMention()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature, humidity});
    table.updateMeasurements({reading("T", 20), reading("RH", 50)});
    table.updateMeasurements({reading("RH", 51)});
    QCOMPARE(column(table, 1), QStringList({QStringLiteral("20 °C"), QStringLiteral("51 %RH")}));
}

void TestMeasurementTable::dropsAReadingOfAnUnknownMeasurement()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature});
    table.updateMeasurements(
        {reading("CO", 1), reading("t", 2), noReading("NO2"), reading("", 3), reading("T", 4)});
    QCOMPARE(column(table, 0), QStringList(QStringLiteral("Shown T")));
    QCOMPARE(column(table, 1), QStringList(QStringLiteral("4 °C")));
}

void TestMeasurementTable::findsRowsByNameAndNotByWhatIsShown()
{
    MeasurementTable table(nullptr);
    MeasurementItem first = temperature;
    first.displayName = QStringLiteral("RH");
    table.setMeasurementItems({first, humidity});
    table.updateMeasurements({reading("RH", 50), reading("Shown RH", 60)});
    QCOMPARE(column(table, 1), QStringList({QString(), QStringLiteral("50 %RH")}));
}

void TestMeasurementTable::removesTheRowOfAnInvalidValueUntilTheModelIsSetAgain()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature, humidity, ozone});
    table.updateMeasurements({reading("T", 20), reading("RH", 50), reading("O3", 1)});
    table.updateMeasurements({noReading("RH")});
    QCOMPARE(column(table, 0),
             QStringList({QStringLiteral("Shown T"), QStringLiteral("Shown O3")}));

    table.updateMeasurements({reading("RH", 51)});
    QCOMPARE(column(table, 0),
             QStringList({QStringLiteral("Shown T"), QStringLiteral("Shown O3")}));
    QCOMPARE(column(table, 1), QStringList({QStringLiteral("20 °C"), QStringLiteral("1 ppm")}));

    table.setMeasurementItems({temperature, humidity, ozone});
    table.updateMeasurements({reading("RH", 52)});
    QCOMPARE(column(table, 1), QStringList({QString(), QStringLiteral("52 %RH"), QString()}));
}

void TestMeasurementTable::goesOnBehindARemovedRow()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature, humidity, ozone});
    table.updateMeasurements(
        {noReading("T"), reading("RH", 50), noReading("T"), reading("T", 1), reading("O3", 2)});
    QCOMPARE(column(table, 0),
             QStringList({QStringLiteral("Shown RH"), QStringLiteral("Shown O3")}));
    QCOMPARE(column(table, 1), QStringList({QStringLiteral("50 %RH"), QStringLiteral("2 ppm")}));
}

void TestMeasurementTable::emptyValuesStayEmptyInAnyUnit()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems(
        {temperature, ozone,
         measurement("X", MeasurementType::Undefined, MeasurementUnit::Undefined)});
    table.setDisplayOptions({false, false, true});
    QCOMPARE(column(table, 1), QStringList({QString(), QString(), QString()}));
}

void TestMeasurementTable::redrawsInAnotherUnitWithoutANewReading()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature, ozone});
    table.updateMeasurements({reading("T", 20), reading("O3", 4)});
    QCOMPARE(column(table, 1), QStringList({QStringLiteral("20 °C"), QStringLiteral("4 ppm")}));

    table.setDisplayOptions({false, true, true});
    QCOMPARE(column(table, 1), QStringList({QStringLiteral("68 °F"), QStringLiteral("4 ppm")}));

    table.setDisplayOptions({true, false, true});
    QCOMPARE(column(table, 1), QStringList({QStringLiteral("20 °C"), QStringLiteral("10 µg/m³")}));
}

void TestMeasurementTable::keepsTheChosenUnitsForLaterReadingsAndModels()
{
    MeasurementTable table(nullptr);
    table.setDisplayOptions({false, false, true});
    table.setMeasurementItems({temperature});
    table.updateMeasurements({reading("T", 20)});
    QCOMPARE(column(table, 1), QStringList(QStringLiteral("68 °F")));
}

void TestMeasurementTable::showsZeroAsAReading()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature, ozone});
    table.updateMeasurements({reading("T", 0.0), reading("O3", 0.0)});
    QCOMPARE(column(table, 1), QStringList({QStringLiteral("0 °C"), QStringLiteral("0 ppm")}));
}

void TestMeasurementTable::givesReadingsToTheFirstOfTwoEqualNames()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature, temperature});
    table.updateMeasurements({reading("T", 20)});
    QCOMPARE(column(table, 1), QStringList({QStringLiteral("20 °C"), QString()}));
}

void TestMeasurementTable::showsNotAvailableWithoutAUnit()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature});
    table.item(0, 1)->setData(rawRole, QStringLiteral("NA"));
    table.setDisplayOptions({false, true, true});
    QCOMPARE(column(table, 1), QStringList(QStringLiteral("NA")));
}

void TestMeasurementTable::takesARawTextThatIsNoNumberForZero()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature, humidity});
    table.item(0, 1)->setData(rawRole, QStringLiteral("n/a"));
    table.item(1, 1)->setData(rawRole, QStringLiteral("na"));
    table.setDisplayOptions({false, true, true});
    QCOMPARE(column(table, 1), QStringList({QStringLiteral("32 °F"), QStringLiteral("0 %RH")}));
}

void TestMeasurementTable::showsTheRawTextAsItIsForAnUndefinedType()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems(
        {measurement("X", MeasurementType::Undefined, MeasurementUnit::Millibar, 3.0)});
    table.updateMeasurements({reading("X", 1234567.5)});
    QCOMPARE(column(table, 1), QStringList(QStringLiteral("1234567.5 Undefined")));

    table.item(0, 1)->setData(rawRole, QStringLiteral("%2 of %1"));
    table.setDisplayOptions({true, true, true});
    QCOMPARE(column(table, 1), QStringList(QStringLiteral("%2 of %1 Undefined")));
}

void TestMeasurementTable::bearsMissingItems()
{
    MeasurementTable table(nullptr);
    table.setMeasurementItems({temperature, humidity, ozone});
    delete table.takeItem(0, 0);
    delete table.takeItem(1, 1);
    table.updateMeasurements({reading("T", 20), reading("RH", 50), noReading("RH")});
    table.updateMeasurements({reading("O3", 4)});
    table.setDisplayOptions({false, false, true});
    QCOMPARE(table.rowCount(), 3);
    QCOMPARE(table.item(0, 1)->text(), QString());
    QVERIFY(!table.item(1, 1));
    QCOMPARE(table.item(2, 1)->text(), QStringLiteral("10 µg/m³"));
}

void TestMeasurementTable::bearsAnEmptyModelAndAnEmptyReply()
{
    MeasurementTable table(nullptr);
    table.updateMeasurements({reading("T", 20), noReading("T")});
    table.setDisplayOptions({false, false, false});
    QCOMPARE(table.rowCount(), 0);
    table.setMeasurementItems({temperature});
    table.updateMeasurements({});
    QCOMPARE(column(table, 1), QStringList(QString()));
}

KV_TEST_MAIN(TestMeasurementTable)

#include "tst_measurementtable.moc"
