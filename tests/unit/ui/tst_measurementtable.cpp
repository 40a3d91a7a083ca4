// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/prefixingtranslator.h"
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
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
    return {key, text("Shown ") + key, unit, type, multiplier};
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
    void showsTwoHeadersAlsoWithoutRows()
    {
        MeasurementTable table(nullptr);
        for (int round = 0; round < 2; ++round) {
            QCOMPARE(table.rowCount(), 0);
            QCOMPARE(table.columnCount(), 2);
            QCOMPARE(table.horizontalHeaderItem(0)->text(), text("Name"));
            QCOMPARE(table.horizontalHeaderItem(1)->text(), text("Value"));
            QVERIFY(!table.isSortingEnabled());
            table.updateMeasurements({reading("T", 20), noReading("T")});
            table.setMeasurementItems({temperature});
            table.updateMeasurements({});
            QCOMPARE(column(table, 1), QStringList(QString()));
            table.setMeasurementItems({});
        }
    }

    void translatesItsHeaders()
    {
        const PrefixingTranslator language("translated ", "MeasurementTable");
        MeasurementTable table(nullptr);
        for (int round = 0; round < 2; ++round) {
            QCOMPARE(table.horizontalHeaderItem(0)->text(), text("translated Name"));
            QCOMPARE(table.horizontalHeaderItem(1)->text(), text("translated Value"));
            table.setMeasurementItems({temperature});
        }
    }

    void storesItsDataInTheItems()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems({ozone});
        const QTableWidgetItem *name = table.item(0, 0);
        QCOMPARE(name->data(Qt::DisplayRole), QVariant(text("Shown O3")));
        QCOMPARE(name->data(nameRole), QVariant(text("O3")));

        const QTableWidgetItem *value = table.item(0, 1);
        QCOMPARE(value->data(Qt::DisplayRole), QVariant(QString()));
        QCOMPARE(value->data(typeRole).userType(), int(QMetaType::Int));
        QCOMPARE(value->data(typeRole).toInt(), 2);
        QCOMPARE(value->data(unitRole).userType(), int(QMetaType::Int));
        QCOMPARE(value->data(unitRole).toInt(), 4);
        QCOMPARE(value->data(rawRole), QVariant(QString()));
        QCOMPARE(value->data(multiplierRole), QVariant(2.5));
    }

    void replacesTheRowsOfAnEarlierModel()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems({temperature, ozone});
        table.updateMeasurements({reading("T", 20), reading("O3", 1)});
        table.setMeasurementItems({humidity, temperature});
        QCOMPARE(column(table, 0), texts("Shown RH|Shown T"));
        // No unit without a reading.
        table.setDisplayOptions({false, false, true});
        QCOMPARE(column(table, 1), texts("|"));
    }

    void showsAReadingInTheUnitOfItsType_data()
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

    void showsAReadingInTheUnitOfItsType()
    {
        QFETCH(MeasurementType, type);
        QFETCH(MeasurementUnit, unit);
        QFETCH(QString, first);
        QFETCH(QString, second);

        MeasurementTable table(nullptr);
        table.setMeasurementItems({measurement("M", type, unit, 2.5), humidity});
        table.updateMeasurements({reading("M", 20)});
        QCOMPARE(column(table, 1), QStringList({first, QString()}));
        table.setDisplayOptions({false, false, true});
        QCOMPARE(column(table, 1), QStringList({second, QString()}));
        table.updateMeasurements({reading("M", 20)});
        QCOMPARE(table.item(0, 1)->text(), second);
        table.setDisplayOptions({true, true, true});
        QCOMPARE(table.item(0, 1)->text(), first);
    }

    void showsSixSignificantDigitsWithADecimalPoint_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("shown");

        QTest::addRow("fraction") << 0.1 << text("0.1 %RH");
        QTest::addRow("rounded") << 1.23456789 << text("1.23457 %RH");
        QTest::addRow("negative") << -40.25 << text("-40.25 %RH");
        QTest::addRow("large") << 1234567.0 << text("1.23457e+06 %RH");
        QTest::addRow("small") << 0.00000123 << text("1.23e-06 %RH");
        QTest::addRow("whole") << 100.0 << text("100 %RH");
    }

    void showsSixSignificantDigitsWithADecimalPoint()
    {
        QFETCH(double, value);
        QFETCH(QString, shown);
        MeasurementTable table(nullptr);
        table.setMeasurementItems({humidity});
        table.updateMeasurements({reading("RH", value)});
        QCOMPARE(table.item(0, 1)->text(), shown);
    }

    void ignoresTheLocale()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        MeasurementTable table(nullptr);
        table.setMeasurementItems({humidity});
        table.updateMeasurements({reading("RH", 12345.5)});
        QLocale::setDefault(QLocale::c());
        QCOMPARE(table.item(0, 1)->text(), text("12345.5 %RH"));
    }

    void storesTheRawReadingAsANumber()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems({temperature});
        table.setDisplayOptions({false, true, true});
        table.updateMeasurements({reading("T", 1.23456789012)});
        QCOMPARE(table.item(0, 1)->data(rawRole).userType(), int(QMetaType::Double));
        QCOMPARE(table.item(0, 1)->data(rawRole).toDouble(), 1.23456789012);
    }

    void keepsReadingsThatAReplyDoesNotMention()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems({temperature, humidity});
        table.updateMeasurements({reading("T", 20), reading("RH", 50)});
        table.updateMeasurements({reading("RH", 51)});
        QCOMPARE(column(table, 1), texts("20 °C|51 %RH"));
    }

    void ignoresAReadingOfAnUnknownMeasurement()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems({temperature});
        table.updateMeasurements(
            {reading("CO", 1), reading("t", 2), noReading("NO2"), reading("", 3), reading("T", 4)});
        QCOMPARE(column(table, 0), texts("Shown T"));
        QCOMPARE(column(table, 1), texts("4 °C"));
    }

    void findsRowsByNameAndNotByWhatIsShown()
    {
        MeasurementTable table(nullptr);
        MeasurementItem first = temperature;
        first.displayName = text("RH");
        table.setMeasurementItems({first, humidity});
        table.updateMeasurements({reading("RH", 50), reading("Shown RH", 60)});
        QCOMPARE(column(table, 1), texts("|50 %RH"));
    }

    void removesTheRowOfAnInvalidValueUntilTheModelIsSetAgain()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems({temperature, humidity, ozone});
        table.updateMeasurements({reading("T", 20), reading("RH", 50), reading("O3", 1)});
        table.updateMeasurements({noReading("RH")});
        QCOMPARE(column(table, 0), texts("Shown T|Shown O3"));

        table.updateMeasurements({reading("RH", 51)});
        QCOMPARE(column(table, 0), texts("Shown T|Shown O3"));
        QCOMPARE(column(table, 1), texts("20 °C|1 ppm"));

        table.setMeasurementItems({temperature, humidity, ozone});
        table.updateMeasurements({reading("RH", 52)});
        QCOMPARE(column(table, 1), texts("|52 %RH|"));
    }

    void continuesAfterARemovedRow()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems({temperature, humidity, ozone});
        table.updateMeasurements(
            {noReading("T"), reading("RH", 50), noReading("T"), reading("T", 1), reading("O3", 2)});
        QCOMPARE(column(table, 0), texts("Shown RH|Shown O3"));
        QCOMPARE(column(table, 1), texts("50 %RH|2 ppm"));
    }

    void showsZeroAsAReading()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems({temperature, ozone});
        table.updateMeasurements({reading("T", 0.0), reading("O3", 0.0)});
        QCOMPARE(column(table, 1), texts("0 °C|0 ppm"));
    }

    void showsReadingsInTheFirstOfTwoEqualNames()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems({temperature, temperature});
        table.updateMeasurements({reading("T", 20)});
        QCOMPARE(column(table, 1), texts("20 °C|"));
    }

    void showsNotAvailableWithoutAUnit()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems({temperature});
        table.item(0, 1)->setData(rawRole, text("NA"));
        table.setDisplayOptions({false, true, true});
        QCOMPARE(column(table, 1), texts("NA"));
    }

    void readsARawTextThatIsNoNumberAsZero()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems({temperature, humidity});
        table.item(0, 1)->setData(rawRole, text("n/a"));
        table.item(1, 1)->setData(rawRole, text("na"));
        table.setDisplayOptions({false, true, true});
        QCOMPARE(column(table, 1), texts("32 °F|0 %RH"));
    }

    void showsTheRawTextAsItIsForAnUndefinedType()
    {
        MeasurementTable table(nullptr);
        table.setMeasurementItems(
            {measurement("X", MeasurementType::Undefined, MeasurementUnit::Millibar, 3.0)});
        table.updateMeasurements({reading("X", 1234567.5)});
        QCOMPARE(column(table, 1), texts("1234567.5 Undefined"));

        table.item(0, 1)->setData(rawRole, text("%2 of %1"));
        table.setDisplayOptions({true, true, true});
        QCOMPARE(column(table, 1), texts("%2 of %1 Undefined"));
    }

    void toleratesMissingItems()
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
        QCOMPARE(table.item(2, 1)->text(), text("10 µg/m³"));
    }
};

KV_TEST_MAIN(TestMeasurementTable)

#include "tst_measurementtable.moc"
