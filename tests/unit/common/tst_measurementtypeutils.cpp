// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/measurementtypeutils.h"
#include "tests/kit/testmain.h"

#include <cmath>
#include <limits>

using Type = MeasurementType;
using Unit = MeasurementUnit;
using Utils = MeasurementTypeUtils;

Q_DECLARE_METATYPE(MeasurementType)
Q_DECLARE_METATYPE(MeasurementUnit)

namespace {

constexpr bool celsius = true;
constexpr bool fahrenheit = false;
constexpr bool ppm = true;
constexpr bool micrograms = false;

MeasurementDisplayOptions choice(bool temperatureInCelsius, bool pollutantInPpm)
{
    return {temperatureInCelsius, pollutantInPpm, true};
}

QVector<MeasurementItem> oneItem(Type type, Unit unit, double multiplier = 1.0)
{
    return {{QStringLiteral("x"), QStringLiteral("The x"), unit, type, multiplier}};
}

const auto unsupportedUnit =
    "static QString MeasurementTypeUtils::measurementUnitToString(MeasurementUnit) "
    "Unit type not supported: %d";

} // namespace

class TestMeasurementTypeUtils : public QObject
{
    Q_OBJECT

private slots:
    void enumeratorsHaveTheirNumbers()
    {
        const QVector<Type> types{
            Type::Undefined,     Type::AirTemperature, Type::Pollutant,
            Type::AirHumidity,   Type::AirPressure,    Type::ParticulateMatter,
            Type::WindDirection, Type::WindSpeed,      Type::Rain,
            Type::Extra,         Type::SolarRadiation};
        for (int number = 0; number < types.size(); ++number) {
            QCOMPARE(static_cast<int>(types.at(number)), number);
        }
    }

    void recordsStartWithTheirDefaults()
    {
        const MeasurementDisplayOptions options;
        QVERIFY(options.temperatureInCelsius);
        QVERIFY(options.pollutantInPpm);
        QVERIFY(options.hideUndefinedUnit);
        QCOMPARE(MeasurementItem().conversionMultiplier, 1.0);
    }

    void findsByExactName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("found");
        QTest::addRow("same") << QStringLiteral("T1") << true;
        QTest::addRow("other case") << QStringLiteral("t1") << false;
        QTest::addRow("beginning") << QStringLiteral("T") << false;
        QTest::addRow("longer") << QStringLiteral("T10") << false;
        QTest::addRow("with a space") << QStringLiteral("T1 ") << false;
        QTest::addRow("empty") << QString() << false;
    }

    void findsByExactName()
    {
        QFETCH(QString, name);
        QFETCH(bool, found);
        const QVector<MeasurementItem> items{
            {QStringLiteral("a"), QStringLiteral("A"), Unit::Ppb, Type::Pollutant, 2.0},
            {QStringLiteral("T1"), QStringLiteral("Air"), Unit::Celsius, Type::AirTemperature,
             3.0}};
        MeasurementItem item;
        item.displayName = QStringLiteral("untouched");
        QCOMPARE(Utils::findMeasurementItem(name, items, item), found);
        QCOMPARE(item.displayName, found ? QStringLiteral("Air") : QStringLiteral("untouched"));
        if (found) {
            QCOMPARE(item.name, name);
            QCOMPARE(item.unit, Unit::Celsius);
            QCOMPARE(item.type, Type::AirTemperature);
            QCOMPARE(item.conversionMultiplier, 3.0);
        }
    }

    void takesTheFirstOfEqualNames()
    {
        const QString name = QStringLiteral("x");
        const QVector<MeasurementItem> items{
            {name, QStringLiteral("first"), Unit::Ppb, Type::Pollutant, 2.0},
            {name, QStringLiteral("second"), Unit::Fahrenheit, Type::AirTemperature, 3.0}};
        const MeasurementDisplayOptions options;
        QCOMPARE(Utils::displayName(name, items), QStringLiteral("first"));
        QCOMPARE(Utils::conversionMultiplier(name, items), 2.0);
        QCOMPARE(Utils::displayUnitOf(name, items, options), Unit::Ppm);
        QCOMPARE(Utils::convertToDisplayUnit(10.0, name, options, items), 20.0);
    }

    void leavesAnUnknownNameUnchanged_data()
    {
        QTest::addColumn<bool>("noItems");
        QTest::addRow("not among the items") << false;
        QTest::addRow("no items at all") << true;
    }

    void leavesAnUnknownNameUnchanged()
    {
        QFETCH(bool, noItems);
        const QVector<MeasurementItem> items = noItems
            ? QVector<MeasurementItem>()
            : oneItem(Type::AirTemperature, Unit::Fahrenheit, 7.0);
        const QString name = QStringLiteral("unknown");
        const MeasurementDisplayOptions options;
        QVERIFY(Utils::convertToDisplayUnit(0.1, name, options, items) == 0.1);
        QCOMPARE(Utils::displayUnitOf(name, items, options), Unit::Undefined);
        QCOMPARE(Utils::displayUnitText(name, items, options), QString());
        QCOMPARE(Utils::displayUnitCaption(name, items, options), QString());
        QCOMPARE(Utils::displayName(name, items), name);
        QCOMPARE(Utils::conversionMultiplier(name, items), 1.0);
    }

    void convertsTemperatures_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<Unit>("unit");
        QTest::addColumn<bool>("inCelsius");
        QTest::addColumn<double>("shown");
        QTest::addRow("C to F") << 100.0 << Unit::Celsius << fahrenheit << 211.99999523162842;
        QTest::addRow("F to C") << 212.0 << Unit::Fahrenheit << celsius << 100.0;
        QTest::addRow("C to C") << 0.1 << Unit::Celsius << celsius << 0.1;
        QTest::addRow("F to F") << 0.1 << Unit::Fahrenheit << fahrenheit << 0.1;
        QTest::addRow("ppm taken for F") << 212.0 << Unit::Ppm << celsius << 100.0;
        QTest::addRow("ppm taken for C") << 100.0 << Unit::Ppm << fahrenheit << 211.99999523162842;
        QTest::addRow("undefined taken for F") << 32.0 << Unit::Undefined << celsius << 0.0;
        QTest::addRow("undefined taken for C") << 0.0 << Unit::Undefined << fahrenheit << 32.0;
    }

    void convertsTemperatures()
    {
        QFETCH(double, value);
        QFETCH(Unit, unit);
        QFETCH(bool, inCelsius);
        QFETCH(double, shown);
        for (const bool pollutantInPpm : {true, false}) {
            const auto options = choice(inCelsius, pollutantInPpm);
            QVERIFY(Utils::convertTemperature(value, unit, options) == shown);
            // The multiplier is for pollutants alone.
            QVERIFY(Utils::convertToDisplayUnit(value, Type::AirTemperature, unit, 9.0, options)
                    == shown);
            QVERIFY(Utils::convertToDisplayUnit(value, QStringLiteral("x"), options,
                                                oneItem(Type::AirTemperature, unit, 9.0))
                    == shown);
        }
    }

    void returnsTemperaturesInTheChosenUnitBitForBit()
    {
        const double denormal = std::numeric_limits<double>::denorm_min();
        QVERIFY(Utils::convertTemperature(denormal, Unit::Celsius, choice(celsius, ppm))
                == denormal);
        const double zero =
            Utils::convertTemperature(-0.0, Unit::Fahrenheit, choice(fahrenheit, ppm));
        QVERIFY(std::signbit(zero));
    }

    void knowsTheChosenTemperatureUnit_data()
    {
        QTest::addColumn<Unit>("unit");
        QTest::addColumn<bool>("inCelsius");
        QTest::addColumn<bool>("chosen");
        QTest::addRow("C of C") << Unit::Celsius << celsius << true;
        QTest::addRow("F of C") << Unit::Fahrenheit << celsius << false;
        QTest::addRow("C of F") << Unit::Celsius << fahrenheit << false;
        QTest::addRow("F of F") << Unit::Fahrenheit << fahrenheit << true;
        QTest::addRow("ppm of C") << Unit::Ppm << celsius << false;
        QTest::addRow("undefined of F") << Unit::Undefined << fahrenheit << false;
    }

    void knowsTheChosenTemperatureUnit()
    {
        QFETCH(Unit, unit);
        QFETCH(bool, inCelsius);
        QFETCH(bool, chosen);
        QCOMPARE(Utils::isInDisplayTemperatureUnit(unit, choice(inCelsius, ppm)), chosen);
    }

    void convertsPollutants_data()
    {
        QTest::addColumn<Unit>("unit");
        QTest::addColumn<bool>("inPpm");
        QTest::addColumn<double>("shown");
        QTest::addRow("ppb as ppm") << Unit::Ppb << ppm << 10.0;
        QTest::addRow("ppb as ug/m3") << Unit::Ppb << micrograms << 10.0;
        QTest::addRow("ppm as ppm") << Unit::Ppm << ppm << 4.0;
        QTest::addRow("ppm as ug/m3") << Unit::Ppm << micrograms << 10.0;
        QTest::addRow("ug/m3 as ppm") << Unit::MicrogramsPerCubicMetre << ppm << 10.0;
        QTest::addRow("ug/m3 as ug/m3") << Unit::MicrogramsPerCubicMetre << micrograms << 4.0;
        QTest::addRow("undefined as ppm") << Unit::Undefined << ppm << 10.0;
        QTest::addRow("celsius as ug/m3") << Unit::Celsius << micrograms << 10.0;
    }

    void convertsPollutants()
    {
        QFETCH(Unit, unit);
        QFETCH(bool, inPpm);
        QFETCH(double, shown);
        for (const bool inCelsius : {true, false}) {
            const auto options = choice(inCelsius, inPpm);
            QCOMPARE(Utils::convertPollutant(4.0, unit, 2.5, options), shown);
            QCOMPARE(Utils::convertToDisplayUnit(4.0, Type::Pollutant, unit, 2.5, options), shown);
            QCOMPARE(Utils::convertToDisplayUnit(4.0, QStringLiteral("x"), options,
                                                 oneItem(Type::Pollutant, unit, 2.5)),
                     shown);
        }
    }

    void passesEveryOtherTypeUnchanged_data()
    {
        QTest::addColumn<Type>("type");
        for (int number = 0; number <= 11; ++number) {
            const auto type = static_cast<Type>(number);
            if (type != Type::AirTemperature && type != Type::Pollutant) {
                QTest::addRow("type %d", number) << type;
            }
        }
    }

    void passesEveryOtherTypeUnchanged()
    {
        QFETCH(Type, type);
        for (int unit = 0; unit <= 13; ++unit) {
            for (const auto &options : {choice(celsius, ppm), choice(fahrenheit, micrograms)}) {
                QVERIFY(
                    Utils::convertToDisplayUnit(0.3, type, static_cast<Unit>(unit), 2.5, options)
                    == 0.3);
                QVERIFY(Utils::convertToDisplayUnit(0.3, QStringLiteral("x"), options,
                                                    oneItem(type, static_cast<Unit>(unit), 2.5))
                        == 0.3);
            }
        }
    }

    void showsTheUnitOfTheType_data()
    {
        QTest::addColumn<Type>("type");
        QTest::addColumn<bool>("inCelsius");
        QTest::addColumn<bool>("inPpm");
        QTest::addColumn<Unit>("unit");
        QTest::addRow("temperature in C")
            << Type::AirTemperature << celsius << micrograms << Unit::Celsius;
        QTest::addRow("temperature in F")
            << Type::AirTemperature << fahrenheit << ppm << Unit::Fahrenheit;
        QTest::addRow("pollutant in ppm") << Type::Pollutant << fahrenheit << ppm << Unit::Ppm;
        QTest::addRow("pollutant in ug/m3")
            << Type::Pollutant << celsius << micrograms << Unit::MicrogramsPerCubicMetre;
        const struct
        {
            const char *name;
            Type type;
            Unit unit;
        } fixed[] = {
            {"undefined", Type::Undefined, Unit::Undefined},
            {"humidity", Type::AirHumidity, Unit::RelativeHumidity},
            {"pressure", Type::AirPressure, Unit::Millibar},
            {"particles", Type::ParticulateMatter, Unit::MicrogramsPerCubicMetre},
            {"wind direction", Type::WindDirection, Unit::Degree},
            {"wind speed", Type::WindSpeed, Unit::MetresPerSecond},
            {"rain", Type::Rain, Unit::MillimetresPerHour},
            {"extra", Type::Extra, Unit::ExtraUnit},
            {"radiation", Type::SolarRadiation, Unit::WattsPerSquareMetre},
        };
        for (const auto &row : fixed) {
            QTest::addRow("%s, first choices", row.name) << row.type << celsius << ppm << row.unit;
            QTest::addRow("%s, second choices", row.name)
                << row.type << fahrenheit << micrograms << row.unit;
        }
    }

    void showsTheUnitOfTheType()
    {
        QFETCH(Type, type);
        QFETCH(bool, inCelsius);
        QFETCH(bool, inPpm);
        QFETCH(Unit, unit);
        const auto options = choice(inCelsius, inPpm);
        QCOMPARE(Utils::displayUnitOf(type, options), unit);
        if (type == Type::Undefined) {
            return;
        }
        // The unit in which the item is delivered has no effect.
        for (int delivered = 0; delivered <= 12; ++delivered) {
            QCOMPARE(Utils::displayUnitOf(QStringLiteral("x"),
                                          oneItem(type, static_cast<Unit>(delivered)), options),
                     unit);
        }
    }

    void showsTheItemsOwnUnitForAnUndefinedType()
    {
        const QString name = QStringLiteral("x");
        const MeasurementDisplayOptions options;
        QCOMPARE(Utils::displayUnitOf(name, oneItem(Type::Undefined, Unit::Ppb), options),
                 Unit::Ppb);
        QCOMPARE(Utils::displayUnitText(name, oneItem(Type::Undefined, Unit::Ppb), options),
                 QStringLiteral("ppb"));
        QCOMPARE(Utils::displayUnitText(name, oneItem(Type::Undefined, Unit::Undefined), options),
                 QString());
    }

    void hasNoUnitForANumberThatIsNoType()
    {
        const MeasurementDisplayOptions options;
        for (const int number : {-1, 11, 1000}) {
            const auto type = static_cast<Type>(number);
            QCOMPARE(Utils::displayUnitOf(type, options), Unit::Undefined);
            QCOMPARE(Utils::displayUnitOf(QStringLiteral("x"), oneItem(type, Unit::Ppb), options),
                     Unit::Undefined);
        }
    }

    void namesEveryUnit_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<Unit>("unit");
        QTest::addColumn<QString>("text");
        QTest::addRow("0") << 0 << Unit::Undefined << QStringLiteral("Undefined");
        QTest::addRow("1") << 1 << Unit::Celsius << QStringLiteral(u"\u00B0C");
        QTest::addRow("2") << 2 << Unit::Fahrenheit << QStringLiteral(u"\u00B0F");
        QTest::addRow("3") << 3 << Unit::Ppb << QStringLiteral("ppb");
        QTest::addRow("4") << 4 << Unit::Ppm << QStringLiteral("ppm");
        QTest::addRow("5") << 5 << Unit::MicrogramsPerCubicMetre
                           << QStringLiteral(u"\u00B5g/m\u00B3");
        QTest::addRow("6") << 6 << Unit::Millibar << QStringLiteral("mbar");
        QTest::addRow("7") << 7 << Unit::RelativeHumidity << QStringLiteral("%RH");
        QTest::addRow("8") << 8 << Unit::Degree << QStringLiteral(u"\u00B0");
        QTest::addRow("9") << 9 << Unit::ExtraUnit << QString();
        QTest::addRow("10") << 10 << Unit::MillimetresPerHour << QStringLiteral("mm/h");
        QTest::addRow("11") << 11 << Unit::MetresPerSecond << QStringLiteral("m/s");
        QTest::addRow("12") << 12 << Unit::WattsPerSquareMetre << QStringLiteral("W/m2");
    }

    void namesEveryUnit()
    {
        QFETCH(int, number);
        QFETCH(Unit, unit);
        QFETCH(QString, text);
        QCOMPARE(static_cast<int>(unit), number);
        QCOMPARE(Utils::measurementUnitToString(unit), text);
    }

    void warnsAboutANumberThatIsNoUnit_data()
    {
        QTest::addColumn<int>("number");
        QTest::addRow("13") << 13;
        QTest::addRow("-1") << -1;
    }

    void warnsAboutANumberThatIsNoUnit()
    {
        QFETCH(int, number);
        const QByteArray expected = QString::asprintf(unsupportedUnit, number).toLatin1();
        QTest::ignoreMessage(QtWarningMsg, expected.constData());
        QCOMPARE(Utils::measurementUnitToString(static_cast<Unit>(number)), QString());
    }

    void hidesAnUndefinedUnitOnlyWhenAsked()
    {
        MeasurementDisplayOptions options;
        const QString name = QStringLiteral("unknown");
        QCOMPARE(Utils::displayUnitText(name, {}, options), QString());
        options.hideUndefinedUnit = false;
        QCOMPARE(Utils::displayUnitText(name, {}, options), QStringLiteral("Undefined"));
        QCOMPARE(Utils::displayUnitCaption(name, {}, options), QStringLiteral("(Undefined)"));
        // Only the undefined unit is hidden.
        options.hideUndefinedUnit = true;
        QCOMPARE(Utils::displayUnitText(QStringLiteral("x"), oneItem(Type::Rain, Unit::Undefined),
                                        options),
                 QStringLiteral("mm/h"));
    }

    void putsTheUnitInBrackets_data()
    {
        QTest::addColumn<Type>("type");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("caption");
        QTest::addRow("rain") << Type::Rain << QStringLiteral("mm/h") << QStringLiteral("(mm/h)");
        QTest::addRow("particles") << Type::ParticulateMatter << QStringLiteral(u"\u00B5g/m\u00B3")
                                   << QStringLiteral(u"(\u00B5g/m\u00B3)");
        QTest::addRow("extra") << Type::Extra << QString() << QString();
    }

    void putsTheUnitInBrackets()
    {
        QFETCH(Type, type);
        QFETCH(QString, text);
        QFETCH(QString, caption);
        const auto items = oneItem(type, Unit::Ppb);
        const MeasurementDisplayOptions options;
        QCOMPARE(Utils::displayUnitText(QStringLiteral("x"), items, options), text);
        QCOMPARE(Utils::displayUnitCaption(QStringLiteral("x"), items, options), caption);
    }

    void keepsThePlaceMarkerOfAUnitText()
    {
        // "%RH" must remain unchanged in the caption, whose pattern has place markers.
        QCOMPARE(Utils::displayUnitCaption(QStringLiteral("x"),
                                           oneItem(Type::AirHumidity, Unit::RelativeHumidity),
                                           MeasurementDisplayOptions()),
                 QStringLiteral("(%RH)"));
    }

    void showsTheDisplayName()
    {
        const auto items = oneItem(Type::Rain, Unit::MillimetresPerHour);
        QCOMPARE(Utils::displayName(QStringLiteral("x"), items), QStringLiteral("The x"));
        QCOMPARE(Utils::displayName(QStringLiteral("X"), items), QStringLiteral("X"));
    }

    void reportsTheMultiplier_data()
    {
        QTest::addColumn<double>("multiplier");
        QTest::addColumn<double>("reported");
        QTest::addRow("given") << 2.5 << 2.5;
        QTest::addRow("negative") << -1.5 << -1.5;
        QTest::addRow("nearly zero") << 1e-300 << 1e-300;
        QTest::addRow("zero") << 0.0 << 1.0;
        QTest::addRow("negative zero") << -0.0 << 1.0;
    }

    void reportsTheMultiplier()
    {
        QFETCH(double, multiplier);
        QFETCH(double, reported);
        QVERIFY(Utils::conversionMultiplier(QStringLiteral("x"),
                                            oneItem(Type::AirHumidity, Unit::Ppm, multiplier))
                == reported);
    }

    void convertsByZeroThoughOneIsReported()
    {
        const auto items = oneItem(Type::Pollutant, Unit::Ppb, 0.0);
        const QString name = QStringLiteral("x");
        QCOMPARE(Utils::convertToDisplayUnit(4.0, name, MeasurementDisplayOptions(), items), 0.0);
        QCOMPARE(Utils::conversionMultiplier(name, items), 1.0);
    }
};

KV_TEST_CORE_MAIN(TestMeasurementTypeUtils)
#include "tst_measurementtypeutils.moc"
