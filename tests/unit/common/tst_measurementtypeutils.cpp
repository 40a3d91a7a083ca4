// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/measurementtypeutils.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"

#include <cmath>
#include <limits>

using Options = MeasurementDisplayOptions;
using Type = MeasurementType;
using Unit = MeasurementUnit;
using Utils = MeasurementTypeUtils;

namespace {

constexpr bool celsius = true;
constexpr bool fahrenheit = false;
constexpr bool ppm = true;
constexpr bool micrograms = false;

const QString itemName = QStringLiteral("x");

QVector<MeasurementItem> oneItem(Type type, Unit unit, double multiplier = 1.0)
{
    return {{itemName, text("The x"), unit, type, multiplier}};
}

/// The display unit of @p type; Unit(-1) if it depends on the unit of the item.
Unit unitOf(Type type, bool inCelsius, bool inPpm)
{
    const Options options{inCelsius, inPpm, true};
    const Unit unit = Utils::displayUnitOf(type, options);
    for (int itemUnit = 0; itemUnit <= 12 && type != Type::Undefined; ++itemUnit) {
        if (Utils::displayUnitOf(itemName, oneItem(type, Unit(itemUnit)), options) != unit) {
            return Unit(-1);
        }
    }
    return unit;
}

/// The number that all @p results equal; NaN if they differ.
double commonResult(const QVector<double> &results)
{
    return results.count(results.first()) == results.size() ? results.first() : qQNaN();
}

/// The temperature @p value converted by every function and with both pollutant units; NaN if the
/// results differ.
double convertedTemperature(double value, Unit unit, bool inCelsius)
{
    constexpr double multiplier = 9.0; // applies to pollutants only
    QVector<double> results;
    for (const bool inPpm : {ppm, micrograms}) {
        const Options options{inCelsius, inPpm, true};
        const Type type = Type::AirTemperature;
        results << Utils::convertTemperature(value, unit, options)
                << Utils::convertToDisplayUnit(value, type, unit, multiplier, options)
                << Utils::convertToDisplayUnit(value, itemName, options,
                                               oneItem(type, unit, multiplier));
    }
    return commonResult(results);
}

/// The value 4.0 of a pollutant with the multiplier 2.5, converted by every function and with both
/// temperature units; NaN if the results differ.
double convertedPollutant(Unit unit, bool inPpm)
{
    QVector<double> results;
    for (const bool inCelsius : {celsius, fahrenheit}) {
        const Options options{inCelsius, inPpm, true};
        const Type type = Type::Pollutant;
        results << Utils::convertPollutant(4.0, unit, 2.5, options)
                << Utils::convertToDisplayUnit(4.0, type, unit, 2.5, options)
                << Utils::convertToDisplayUnit(4.0, itemName, options, oneItem(type, unit, 2.5));
    }
    return commonResult(results);
}

} // namespace

class TestMeasurementTypeUtils : public QObject
{
    Q_OBJECT

private slots:
    void typesHaveFixedNumbers()
    {
        const Type types[] = {Type::Undefined,     Type::AirTemperature, Type::Pollutant,
                              Type::AirHumidity,   Type::AirPressure,    Type::ParticulateMatter,
                              Type::WindDirection, Type::WindSpeed,      Type::Rain,
                              Type::Extra,         Type::SolarRadiation};
        int number = 0;
        for (const Type type : types) {
            QCOMPARE(static_cast<int>(type), number++);
        }
    }

    void optionsAndItemsHaveDefaultValues()
    {
        const Options options;
        QVERIFY(options.temperatureInCelsius);
        QVERIFY(options.pollutantInPpm);
        QVERIFY(options.hideUndefinedUnit);
        QCOMPARE(MeasurementItem().conversionMultiplier, 1.0);
    }

    void findsItemsByExactName()
    {
        const QVector<MeasurementItem> items{
            {text("a"), text("A"), Unit::Ppb, Type::Pollutant, 2.0},
            {text("T1"), text("Air"), Unit::Celsius, Type::AirTemperature, 3.0}};
        MeasurementItem item;
        item.displayName = text("untouched");
        for (const char *name : {"t1", "T", "T10", "T1 ", ""}) {
            QVERIFY2(!Utils::findMeasurementItem(text(name), items, item), name);
            QCOMPARE(item.displayName, text("untouched"));
        }
        QVERIFY(Utils::findMeasurementItem(text("T1"), items, item));
        QCOMPARE(item.name, text("T1"));
        QCOMPARE(item.displayName, text("Air"));
        QCOMPARE(item.unit, Unit::Celsius);
        QCOMPARE(item.type, Type::AirTemperature);
        QCOMPARE(item.conversionMultiplier, 3.0);
    }

    void usesFirstItemOfADuplicateName()
    {
        const QVector<MeasurementItem> items{
            {itemName, text("first"), Unit::Ppb, Type::Pollutant, 2.0},
            {itemName, text("second"), Unit::Fahrenheit, Type::AirTemperature, 3.0}};
        QCOMPARE(Utils::displayName(itemName, items), text("first"));
        QCOMPARE(Utils::conversionMultiplier(itemName, items), 2.0);
        QCOMPARE(Utils::displayUnitOf(itemName, items, Options()), Unit::Ppm);
        QCOMPARE(Utils::convertToDisplayUnit(10.0, itemName, Options(), items), 20.0);
    }

    void returnsUnknownNamesAndTheirValuesUnchanged()
    {
        const QString name = text("X");
        const Options options;
        const QVector<MeasurementItem> none;
        for (const auto &items : {none, oneItem(Type::AirTemperature, Unit::Fahrenheit, 7.0)}) {
            QVERIFY(Utils::convertToDisplayUnit(0.1, name, options, items) == 0.1);
            QCOMPARE(Utils::displayUnitOf(name, items, options), Unit::Undefined);
            QCOMPARE(Utils::displayUnitText(name, items, options), QString());
            QCOMPARE(Utils::displayUnitCaption(name, items, options), QString());
            QCOMPARE(Utils::displayName(name, items), name);
            QCOMPARE(Utils::conversionMultiplier(name, items), 1.0);
        }
    }

    void convertsTemperatures()
    {
        QVERIFY(convertedTemperature(100.0, Unit::Celsius, fahrenheit) == 211.99999523162842);
        QVERIFY(convertedTemperature(212.0, Unit::Fahrenheit, celsius) == 100.0);
        QVERIFY(convertedTemperature(0.1, Unit::Celsius, celsius) == 0.1);
        QVERIFY(convertedTemperature(0.1, Unit::Fahrenheit, fahrenheit) == 0.1);
        // A unit that is not a temperature unit is treated as the one that was not chosen.
        QVERIFY(convertedTemperature(212.0, Unit::Ppm, celsius) == 100.0);
        QVERIFY(convertedTemperature(100.0, Unit::Ppm, fahrenheit) == 211.99999523162842);
        QVERIFY(convertedTemperature(32.0, Unit::Undefined, celsius) == 0.0);
        QVERIFY(convertedTemperature(0.0, Unit::Undefined, fahrenheit) == 32.0);
    }

    void returnsTemperaturesInTheChosenUnitBitForBit()
    {
        const double denormal = std::numeric_limits<double>::denorm_min();
        QVERIFY(convertedTemperature(denormal, Unit::Celsius, celsius) == denormal);
        QVERIFY(std::signbit(convertedTemperature(-0.0, Unit::Fahrenheit, fahrenheit)));
    }

    void recognizesTheChosenTemperatureUnit()
    {
        const Options inCelsius{celsius, ppm, true};
        const Options inFahrenheit{fahrenheit, ppm, true};
        QVERIFY(Utils::isInDisplayTemperatureUnit(Unit::Celsius, inCelsius));
        QVERIFY(!Utils::isInDisplayTemperatureUnit(Unit::Fahrenheit, inCelsius));
        QVERIFY(!Utils::isInDisplayTemperatureUnit(Unit::Ppm, inCelsius));
        QVERIFY(!Utils::isInDisplayTemperatureUnit(Unit::Celsius, inFahrenheit));
        QVERIFY(Utils::isInDisplayTemperatureUnit(Unit::Fahrenheit, inFahrenheit));
        QVERIFY(!Utils::isInDisplayTemperatureUnit(Unit::Undefined, inFahrenheit));
    }

    void convertsPollutants()
    {
        QCOMPARE(convertedPollutant(Unit::Ppb, ppm), 10.0);
        QCOMPARE(convertedPollutant(Unit::Ppb, micrograms), 10.0);
        QCOMPARE(convertedPollutant(Unit::Ppm, ppm), 4.0);
        QCOMPARE(convertedPollutant(Unit::Ppm, micrograms), 10.0);
        QCOMPARE(convertedPollutant(Unit::MicrogramsPerCubicMetre, ppm), 10.0);
        QCOMPARE(convertedPollutant(Unit::MicrogramsPerCubicMetre, micrograms), 4.0);
        QCOMPARE(convertedPollutant(Unit::Undefined, ppm), 10.0);
        QCOMPARE(convertedPollutant(Unit::Celsius, micrograms), 10.0);
    }

    void returnsValuesOfOtherTypesUnchanged()
    {
        for (const int number : {0, 3, 4, 5, 6, 7, 8, 9, 10, 11}) {
            const auto type = Type(number);
            for (int unit = 0; unit <= 13; ++unit) {
                for (const bool firstUnits : {true, false}) {
                    const Options options{firstUnits, firstUnits, true};
                    QVERIFY(Utils::convertToDisplayUnit(0.3, type, Unit(unit), 2.5, options)
                            == 0.3);
                    QVERIFY(Utils::convertToDisplayUnit(0.3, itemName, options,
                                                        oneItem(type, Unit(unit), 2.5))
                            == 0.3);
                }
            }
        }
    }

    void displayUnitDependsOnTheType()
    {
        QCOMPARE(unitOf(Type::AirTemperature, celsius, micrograms), Unit::Celsius);
        QCOMPARE(unitOf(Type::AirTemperature, fahrenheit, ppm), Unit::Fahrenheit);
        QCOMPARE(unitOf(Type::Pollutant, fahrenheit, ppm), Unit::Ppm);
        QCOMPARE(unitOf(Type::Pollutant, celsius, micrograms), Unit::MicrogramsPerCubicMetre);
        for (const bool firstUnits : {true, false}) {
            QCOMPARE(unitOf(Type::Undefined, firstUnits, firstUnits), Unit::Undefined);
            QCOMPARE(unitOf(Type::AirHumidity, firstUnits, firstUnits), Unit::RelativeHumidity);
            QCOMPARE(unitOf(Type::AirPressure, firstUnits, firstUnits), Unit::Millibar);
            QCOMPARE(unitOf(Type::ParticulateMatter, firstUnits, firstUnits),
                     Unit::MicrogramsPerCubicMetre);
            QCOMPARE(unitOf(Type::WindDirection, firstUnits, firstUnits), Unit::Degree);
            QCOMPARE(unitOf(Type::WindSpeed, firstUnits, firstUnits), Unit::MetresPerSecond);
            QCOMPARE(unitOf(Type::Rain, firstUnits, firstUnits), Unit::MillimetresPerHour);
            QCOMPARE(unitOf(Type::Extra, firstUnits, firstUnits), Unit::ExtraUnit);
            QCOMPARE(unitOf(Type::SolarRadiation, firstUnits, firstUnits),
                     Unit::WattsPerSquareMetre);
        }
        for (const int unknownType : {-1, 11, 1000}) {
            QCOMPARE(unitOf(Type(unknownType), celsius, ppm), Unit::Undefined);
        }
    }

    void displayUnitOfAnUndefinedTypeIsThatOfTheItem()
    {
        const auto items = oneItem(Type::Undefined, Unit::Ppb);
        QCOMPARE(Utils::displayUnitOf(itemName, items, Options()), Unit::Ppb);
        QCOMPARE(Utils::displayUnitText(itemName, items, Options()), text("ppb"));
    }

    void warnsAboutAnUnknownUnitNumber()
    {
        for (const int number : {13, -1}) {
            const QByteArray line = "static QString MeasurementTypeUtils::measurementUnitToString"
                                    "(MeasurementUnit) Unit type not supported: "
                + QByteArray::number(number);
            QTest::ignoreMessage(QtWarningMsg, line.constData());
            QCOMPARE(Utils::measurementUnitToString(Unit(number)), QString());
        }
    }

    void hidesAnUndefinedUnitOnlyIfTheOptionIsSet()
    {
        const auto items = oneItem(Type::Undefined, Unit::Undefined);
        Options options;
        QCOMPARE(Utils::displayUnitText(itemName, items, options), QString());
        QCOMPARE(Utils::displayUnitText(text("unknown"), items, options), QString());
        options.hideUndefinedUnit = false;
        QCOMPARE(Utils::displayUnitText(itemName, items, options), text("Undefined"));
        QCOMPARE(Utils::displayUnitCaption(text("unknown"), items, options), text("(Undefined)"));
    }

    void captionIsTheUnitInParentheses()
    {
        const struct
        {
            Type type;
            const char *unit;
            const char *caption;
        } rows[] = {{Type::Rain, "mm/h", "(mm/h)"},
                    {Type::ParticulateMatter, "µg/m³", "(µg/m³)"},
                    {Type::AirHumidity, "%RH", "(%RH)"}, // '%' does not start a place marker
                    {Type::Extra, "", ""}};
        for (const auto &row : rows) {
            const auto items = oneItem(row.type, Unit::Undefined);
            QCOMPARE(Utils::displayUnitText(itemName, items, Options()), text(row.unit));
            QCOMPARE(Utils::displayUnitCaption(itemName, items, Options()), text(row.caption));
        }
    }

    void returnsTheMultiplier()
    {
        for (const double multiplier : {2.5, -1.5, 1e-300}) {
            const auto items = oneItem(Type::AirHumidity, Unit::Ppm, multiplier);
            QVERIFY(Utils::conversionMultiplier(itemName, items) == multiplier);
        }
    }

    void multiplierZeroConvertsToZeroButIsReturnedAsOne()
    {
        for (const double zero : {0.0, -0.0}) {
            const auto items = oneItem(Type::Pollutant, Unit::Ppb, zero);
            QVERIFY(Utils::convertToDisplayUnit(4.0, itemName, Options(), items) == 0.0);
            QVERIFY(Utils::conversionMultiplier(itemName, items) == 1.0);
        }
    }
};

KV_TEST_CORE_MAIN(TestMeasurementTypeUtils)
#include "tst_measurementtypeutils.moc"
