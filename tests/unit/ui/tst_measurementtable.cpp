// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/prefixingtranslator.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "ui/measurementtable.h"

#include <QtCore/QLocale>

namespace {

constexpr int typeRole = Qt::UserRole + 1;
constexpr int unitRole = Qt::UserRole + 2;
constexpr int rawRole = Qt::UserRole + 3;
constexpr int nameRole = Qt::UserRole + 4;
constexpr int multiplierRole = Qt::UserRole + 5;

constexpr MeasurementDisplayOptions firstUnits{true, true, true}; // °C and ppm
constexpr MeasurementDisplayOptions secondUnits{false, false, true}; // °F and µg/m³

MeasurementItem measurement(const char *name, MeasurementType type, MeasurementUnit unit,
                            double multiplier = 1.0)
{
    return {text(name), text("Shown ") + text(name), unit, type, multiplier};
}

const MeasurementItem temperature =
    measurement("T", MeasurementType::AirTemperature, MeasurementUnit::Celsius);
const MeasurementItem humidity =
    measurement("RH", MeasurementType::AirHumidity, MeasurementUnit::RelativeHumidity);
const MeasurementItem ozone =
    measurement("O3", MeasurementType::Pollutant, MeasurementUnit::Ppm, 2.5);

MeasurementValue validValue(const char *name, double value) { return {text(name), true, value}; }

MeasurementValue unavailableValue(const char *name) { return {text(name), false, 0.0}; }

struct Table : MeasurementTable
{
    explicit Table(const QVector<MeasurementItem> &items)
        : MeasurementTable(nullptr)
    {
        setMeasurementItems(items);
    }

    QStringList names() const { return columnTexts(0); }
    QStringList values() const { return columnTexts(1); }

private:
    QStringList columnTexts(int column) const
    {
        QStringList texts;
        for (int row = 0; row < rowCount(); ++row) {
            texts.append(item(row, column)->text());
        }
        return texts;
    }
};

} // namespace

class TestMeasurementTable : public QObject
{
    Q_OBJECT

private slots:
    void showsTwoTranslatedHeadersEvenWithoutRows()
    {
        const PrefixingTranslator language("translated ", "MeasurementTable");
        MeasurementTable table(nullptr);
        for (int round = 0; round < 2; ++round) {
            QCOMPARE(table.rowCount(), 0);
            QCOMPARE(table.columnCount(), 2);
            QCOMPARE(table.horizontalHeaderItem(0)->text(), text("translated Name"));
            QCOMPARE(table.horizontalHeaderItem(1)->text(), text("translated Value"));
            QVERIFY(!table.isSortingEnabled());
            table.updateMeasurements({validValue("T", 20), unavailableValue("T")});
            table.setMeasurementItems({temperature});
            table.updateMeasurements({});
            QCOMPARE(table.item(0, 1)->text(), QString());
            QCOMPARE(table.horizontalHeaderItem(0)->text(), text("translated Name"));
            table.setMeasurementItems({});
        }
    }

    void storesTypeUnitRawValueAndMultiplierInTheItems()
    {
        Table table({ozone});
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

        // The raw value, whatever unit is shown.
        table.setDisplayOptions(secondUnits);
        table.updateMeasurements({validValue("O3", 1.23456789012)});
        QCOMPARE(value->data(rawRole).userType(), int(QMetaType::Double));
        QCOMPARE(value->data(rawRole).toDouble(), 1.23456789012);
    }

    void replacesTheRowsOfAnEarlierModel()
    {
        Table table({temperature, ozone});
        table.updateMeasurements({validValue("T", 20), validValue("O3", 1)});
        table.setMeasurementItems({humidity, temperature});
        QCOMPARE(table.names(), texts("Shown RH|Shown T"));
        // Without a value no unit is shown.
        table.setDisplayOptions(secondUnits);
        QCOMPARE(table.values(), texts("|"));
    }

    void showsAValueInTheUnitOfItsType()
    {
        using Type = MeasurementType;
        using Unit = MeasurementUnit;
        const struct
        {
            Type type;
            Unit unit;
            const char *first;
            const char *second;
        } rows[] = {
            {Type::Undefined, Unit::Celsius, "20 Undefined", "20 Undefined"},
            {Type::AirTemperature, Unit::Celsius, "20 °C", "68 °F"},
            {Type::AirTemperature, Unit::Fahrenheit, "-6.66667 °C", "20 °F"},
            {Type::Pollutant, Unit::Ppm, "20 ppm", "50 µg/m³"},
            {Type::Pollutant, Unit::MicrogramsPerCubicMetre, "50 ppm", "20 µg/m³"},
            {Type::Extra, Unit::ExtraUnit, "20 ", "20 "}, // ends with a space
            {Type::AirPressure, Unit::Degree, "20 mbar", "20 mbar"}, // not the unit of the item
        };
        for (const auto &row : rows) {
            Table table({measurement("M", row.type, row.unit, 2.5), humidity});
            table.updateMeasurements({validValue("M", 20)});
            QCOMPARE(table.values(), (QStringList{text(row.first), QString()}));
            table.setDisplayOptions(secondUnits);
            QCOMPARE(table.values(), (QStringList{text(row.second), QString()}));
            table.updateMeasurements({validValue("M", 20)});
            QCOMPARE(table.item(0, 1)->text(), text(row.second));
            table.setDisplayOptions(firstUnits);
            QCOMPARE(table.item(0, 1)->text(), text(row.first));
        }
    }

    void showsSixSignificantDigitsWithADecimalPoint()
    {
        const QMap<double, const char *> shownTexts{{0.1, "0.1 %RH"},
                                                    {1.23456789, "1.23457 %RH"},
                                                    {-40.25, "-40.25 %RH"},
                                                    {12345.5, "12345.5 %RH"},
                                                    {1234567.0, "1.23457e+06 %RH"},
                                                    {0.00000123, "1.23e-06 %RH"},
                                                    {100.0, "100 %RH"},
                                                    {0.0, "0 %RH"}};
        Table table({humidity});
        for (const QLocale &locale : {QLocale::c(), QLocale(QLocale::German, QLocale::Germany)}) {
            QLocale::setDefault(locale);
            for (auto value = shownTexts.begin(); value != shownTexts.end(); ++value) {
                table.updateMeasurements({validValue("RH", value.key())});
                QCOMPARE(table.item(0, 1)->text(), text(*value));
            }
        }
        QLocale::setDefault(QLocale::c());
    }

    void keepsValuesThatAReadingDoesNotContain()
    {
        Table table({temperature, humidity});
        table.updateMeasurements({validValue("T", 20), validValue("RH", 50)});
        table.updateMeasurements({validValue("RH", 51)});
        QCOMPARE(table.values(), texts("20 °C|51 %RH"));
    }

    void findsRowsByExactNameNotByDisplayName()
    {
        MeasurementItem first = temperature;
        first.displayName = text("RH");
        Table table({first, humidity});
        table.updateMeasurements({validValue("CO", 1), validValue("t", 2), unavailableValue("NO2"),
                                  validValue("", 3), validValue("RH", 50),
                                  validValue("Shown RH", 60)});
        QCOMPARE(table.names(), texts("RH|Shown RH"));
        QCOMPARE(table.values(), texts("|50 %RH"));
    }

    void removesTheRowOfAnInvalidValueUntilTheModelIsSetAgain()
    {
        Table table({temperature, humidity, ozone});
        table.updateMeasurements({validValue("T", 20), validValue("RH", 50), validValue("O3", 1)});
        table.updateMeasurements({unavailableValue("RH"), validValue("RH", 51),
                                  unavailableValue("RH"), validValue("O3", 2)});
        table.updateMeasurements({validValue("RH", 51)});
        QCOMPARE(table.names(), texts("Shown T|Shown O3"));
        QCOMPARE(table.values(), texts("20 °C|2 ppm"));

        table.setMeasurementItems({temperature, humidity, ozone});
        table.updateMeasurements({validValue("RH", 52)});
        QCOMPARE(table.values(), texts("|52 %RH|"));
    }

    void showsValuesInTheFirstOfTwoRowsWithTheSameName()
    {
        Table table({temperature, temperature});
        table.updateMeasurements({validValue("T", 20)});
        QCOMPARE(table.values(), texts("20 °C|"));
    }

    void treatsNonNumericRawTextAsZeroUnlessItIsNA()
    {
        Table table({temperature, humidity, humidity});
        table.item(0, 1)->setData(rawRole, text("n/a"));
        table.item(1, 1)->setData(rawRole, text("na"));
        table.item(2, 1)->setData(rawRole, text("NA"));
        table.setDisplayOptions(secondUnits);
        QCOMPARE(table.values(), texts("32 °F|0 %RH|NA"));
    }

    void showsTheRawTextUnchangedForAnUndefinedType()
    {
        Table table({measurement("X", MeasurementType::Undefined, MeasurementUnit::Millibar, 3.0)});
        table.updateMeasurements({validValue("X", 1234567.5)});
        QCOMPARE(table.values(), texts("1234567.5 Undefined"));
        table.item(0, 1)->setData(rawRole, text("%2 of %1"));
        table.setDisplayOptions(firstUnits);
        QCOMPARE(table.values(), texts("%2 of %1 Undefined"));
    }

    void toleratesMissingItems()
    {
        Table table({temperature, humidity, ozone});
        delete table.takeItem(0, 0);
        delete table.takeItem(1, 1);
        table.updateMeasurements(
            {validValue("T", 20), validValue("RH", 50), unavailableValue("RH")});
        table.updateMeasurements({validValue("O3", 4)});
        table.setDisplayOptions(secondUnits);
        QCOMPARE(table.rowCount(), 3);
        QCOMPARE(table.item(0, 1)->text(), QString());
        QVERIFY(!table.item(1, 1));
        QCOMPARE(table.item(2, 1)->text(), text("10 µg/m³"));
    }
};

KV_TEST_MAIN(TestMeasurementTable)
#include "tst_measurementtable.moc"
