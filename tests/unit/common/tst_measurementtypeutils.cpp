// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/measurementtypeutils.h"
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"

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

const QString x = QStringLiteral("x");

QVector<MeasurementItem> oneItem(Type type, Unit unit, double multiplier = 1.0)
{
    return {{x, text("The x"), unit, type, multiplier}};
}

/// The unit of an item of @p type, whatever the unit in which it is delivered.
Unit unitOf(Type type, bool inCelsius, bool inPpm)
{
    const Options options{inCelsius, inPpm, true};
    const Unit unit = Utils::displayUnitOf(type, options);
    for (int delivered = 0; delivered <= 12 && type != Type::Undefined; ++delivered) {
        if (Utils::displayUnitOf(x, oneItem(type, Unit(delivered)), options) != unit) {
            return Unit(-1);
        }
    }
    return unit;
}

/// The number that all of @p results are, otherwise NaN.
double agreed(const QVector<double> &results)
{
    return results.count(results.first()) == results.size() ? results.first() : qQNaN();
}

/// What every function makes of a temperature, whatever the unit chosen for pollutants.
double temperature(double value, Unit unit, bool inCelsius)
{
    constexpr double multiplier = 9.0; // for pollutants alone
    QVector<double> results;
    for (const bool inPpm : {ppm, micrograms}) {
        const Options options{inCelsius, inPpm, true};
        const Type type = Type::AirTemperature;
        results << Utils::convertTemperature(value, unit, options)
                << Utils::convertToDisplayUnit(value, type, unit, multiplier, options)
                << Utils::convertToDisplayUnit(value, x, options, oneItem(type, unit, multiplier));
    }
    return agreed(results);
}

/// What every function makes of 4.0 of a pollutant with the factor 2.5, whatever the unit chosen
/// for temperatures.
double pollutant(Unit unit, bool inPpm)
{
    QVector<double> results;
    for (const bool inCelsius : {celsius, fahrenheit}) {
        const Options options{inCelsius, inPpm, true};
        const Type type = Type::Pollutant;
        results << Utils::convertPollutant(4.0, unit, 2.5, options)
                << Utils::convertToDisplayUnit(4.0, type, unit, 2.5, options)
                << Utils::convertToDisplayUnit(4.0, x, options, oneItem(type, unit, 2.5));
    }
    return agreed(results);
}

} // namespace

class TestMeasurementTypeUtils : public QObject
{
    Q_OBJECT

private slots:
    void typesHaveTheirNumbers()
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

    void recordsStartWithTheirDefaults()
    {
        const Options options;
        QVERIFY(options.temperatureInCelsius);
        QVERIFY(options.pollutantInPpm);
        QVERIFY(options.hideUndefinedUnit);
        QCOMPARE(MeasurementItem().conversionMultiplier, 1.0);
    }

    void findsByExactName()
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

    void takesTheFirstOfEqualNames()
    {
        const QVector<MeasurementItem> items{
            {x, text("first"), Unit::Ppb, Type::Pollutant, 2.0},
            {x, text("second"), Unit::Fahrenheit, Type::AirTemperature, 3.0}};
        QCOMPARE(Utils::displayName(x, items), text("first"));
        QCOMPARE(Utils::conversionMultiplier(x, items), 2.0);
        QCOMPARE(Utils::displayUnitOf(x, items, Options()), Unit::Ppm);
        QCOMPARE(Utils::convertToDisplayUnit(10.0, x, Options(), items), 20.0);
    }

    void leavesAnUnknownNameUnchanged()
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
        QVERIFY(temperature(100.0, Unit::Celsius, fahrenheit) == 211.99999523162842);
        QVERIFY(temperature(212.0, Unit::Fahrenheit, celsius) == 100.0);
        QVERIFY(temperature(0.1, Unit::Celsius, celsius) == 0.1);
        QVERIFY(temperature(0.1, Unit::Fahrenheit, fahrenheit) == 0.1);
        // A unit that is no temperature is taken for the one that was not chosen.
        QVERIFY(temperature(212.0, Unit::Ppm, celsius) == 100.0);
        QVERIFY(temperature(100.0, Unit::Ppm, fahrenheit) == 211.99999523162842);
        QVERIFY(temperature(32.0, Unit::Undefined, celsius) == 0.0);
        QVERIFY(temperature(0.0, Unit::Undefined, fahrenheit) == 32.0);
    }

    void returnsTemperaturesInTheChosenUnitBitForBit()
    {
        const double denormal = std::numeric_limits<double>::denorm_min();
        QVERIFY(temperature(denormal, Unit::Celsius, celsius) == denormal);
        QVERIFY(std::signbit(temperature(-0.0, Unit::Fahrenheit, fahrenheit)));
    }

    void knowsTheChosenTemperatureUnit()
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
        QCOMPARE(pollutant(Unit::Ppb, ppm), 10.0);
        QCOMPARE(pollutant(Unit::Ppb, micrograms), 10.0);
        QCOMPARE(pollutant(Unit::Ppm, ppm), 4.0);
        QCOMPARE(pollutant(Unit::Ppm, micrograms), 10.0);
        QCOMPARE(pollutant(Unit::MicrogramsPerCubicMetre, ppm), 10.0);
        QCOMPARE(pollutant(Unit::MicrogramsPerCubicMetre, micrograms), 4.0);
        QCOMPARE(pollutant(Unit::Undefined, ppm), 10.0);
        QCOMPARE(pollutant(Unit::Celsius, micrograms), 10.0);
    }

    void passesEveryOtherTypeUnchanged()
    {
        for (const int number : {0, 3, 4, 5, 6, 7, 8, 9, 10, 11}) {
            const auto type = Type(number);
            for (int unit = 0; unit <= 13; ++unit) {
                for (const bool first : {true, false}) {
                    const Options options{first, first, true};
                    QVERIFY(Utils::convertToDisplayUnit(0.3, type, Unit(unit), 2.5, options)
                            == 0.3);
                    QVERIFY(
                        Utils::convertToDisplayUnit(0.3, x, options, oneItem(type, Unit(unit), 2.5))
                        == 0.3);
                }
            }
        }
    }

    void showsTheUnitOfTheType()
    {
        QCOMPARE(unitOf(Type::AirTemperature, celsius, micrograms), Unit::Celsius);
        QCOMPARE(unitOf(Type::AirTemperature, fahrenheit, ppm), Unit::Fahrenheit);
        QCOMPARE(unitOf(Type::Pollutant, fahrenheit, ppm), Unit::Ppm);
        QCOMPARE(unitOf(Type::Pollutant, celsius, micrograms), Unit::MicrogramsPerCubicMetre);
        for (const bool first : {true, false}) {
            QCOMPARE(unitOf(Type::Undefined, first, first), Unit::Undefined);
            QCOMPARE(unitOf(Type::AirHumidity, first, first), Unit::RelativeHumidity);
            QCOMPARE(unitOf(Type::AirPressure, first, first), Unit::Millibar);
            QCOMPARE(unitOf(Type::ParticulateMatter, first, first), Unit::MicrogramsPerCubicMetre);
            QCOMPARE(unitOf(Type::WindDirection, first, first), Unit::Degree);
            QCOMPARE(unitOf(Type::WindSpeed, first, first), Unit::MetresPerSecond);
            QCOMPARE(unitOf(Type::Rain, first, first), Unit::MillimetresPerHour);
            QCOMPARE(unitOf(Type::Extra, first, first), Unit::ExtraUnit);
            QCOMPARE(unitOf(Type::SolarRadiation, first, first), Unit::WattsPerSquareMetre);
        }
        for (const int noType : {-1, 11, 1000}) {
            QCOMPARE(unitOf(Type(noType), celsius, ppm), Unit::Undefined);
        }
    }

    void showsTheItemsOwnUnitForAnUndefinedType()
    {
        const auto items = oneItem(Type::Undefined, Unit::Ppb);
        QCOMPARE(Utils::displayUnitOf(x, items, Options()), Unit::Ppb);
        QCOMPARE(Utils::displayUnitText(x, items, Options()), text("ppb"));
    }

    void warnsAboutANumberThatIsNoUnit()
    {
        for (const int number : {13, -1}) {
            const QByteArray line = "static QString MeasurementTypeUtils::measurementUnitToString"
                                    "(MeasurementUnit) Unit type not supported: "
                + QByteArray::number(number);
            QTest::ignoreMessage(QtWarningMsg, line.constData());
            QCOMPARE(Utils::measurementUnitToString(Unit(number)), QString());
        }
    }

    void hidesAnUndefinedUnitOnlyWhenAsked()
    {
        const auto items = oneItem(Type::Undefined, Unit::Undefined);
        Options options;
        QCOMPARE(Utils::displayUnitText(x, items, options), QString());
        QCOMPARE(Utils::displayUnitText(text("unknown"), items, options), QString());
        options.hideUndefinedUnit = false;
        QCOMPARE(Utils::displayUnitText(x, items, options), text("Undefined"));
        QCOMPARE(Utils::displayUnitCaption(text("unknown"), items, options), text("(Undefined)"));
    }

    void putsTheUnitInBrackets()
    {
        const struct
        {
            Type type;
            const char *unit;
            const char *caption;
        } rows[] = {{Type::Rain, "mm/h", "(mm/h)"},
                    {Type::ParticulateMatter, "µg/m³", "(µg/m³)"},
                    {Type::AirHumidity, "%RH", "(%RH)"}, // the pattern has place markers, too
                    {Type::Extra, "", ""}};
        for (const auto &row : rows) {
            const auto items = oneItem(row.type, Unit::Undefined);
            QCOMPARE(Utils::displayUnitText(x, items, Options()), text(row.unit));
            QCOMPARE(Utils::displayUnitCaption(x, items, Options()), text(row.caption));
        }
    }

    void reportsTheMultiplier()
    {
        for (const double multiplier : {2.5, -1.5, 1e-300}) {
            const auto items = oneItem(Type::AirHumidity, Unit::Ppm, multiplier);
            QVERIFY(Utils::conversionMultiplier(x, items) == multiplier);
        }
    }

    void convertsByZeroThoughOneIsReported()
    {
        for (const double zero : {0.0, -0.0}) {
            const auto items = oneItem(Type::Pollutant, Unit::Ppb, zero);
            QVERIFY(Utils::convertToDisplayUnit(4.0, x, Options(), items) == 0.0);
            QVERIFY(Utils::conversionMultiplier(x, items) == 1.0);
        }
    }
};

KV_TEST_CORE_MAIN(TestMeasurementTypeUtils)
#include "tst_measurementtypeutils.moc"
