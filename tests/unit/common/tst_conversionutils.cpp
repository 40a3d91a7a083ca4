// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/conversionutils.h"
#include "tests/kit/testmain.h"

using namespace ConversionUtils;

/// Compares with ==, because the tolerance of QCOMPARE would accept a factor of 1.8 in double
/// precision.
class TestConversionUtils : public QObject
{
    Q_OBJECT

private slots:
    void multipliesByTheFactor()
    {
        QVERIFY(multiply(4.0, 2.5) == 10.0);
        QVERIFY(multiply(4.0, 0.0) == 0.0);
        QVERIFY(multiply(-4.0, 0.5) == -2.0);
        QVERIFY(multiply(0.1, 3.0) == 0.1 * 3.0); // not rounded
    }

    void convertsCelsiusWithTheSinglePrecisionFactor()
    {
        QVERIFY(celsiusToFahrenheit(100.0) == 211.99999523162842);
        QVERIFY(celsiusToFahrenheit(0.0) == 32.0);
        QVERIFY(celsiusToFahrenheit(1.0) == 33.7999999523162842);
        QVERIFY(celsiusToFahrenheit(-40.0) == -39.999998092651367);
    }

    void convertsFahrenheitBySubtractingThenMultiplyingThenDividing()
    {
        QVERIFY(fahrenheitToCelsius(212.0) == 100.0);
        QVERIFY(fahrenheitToCelsius(32.0) == 0.0);
        QVERIFY(fahrenheitToCelsius(-40.0) == -40.0);
        // With the division first, or with a single factor, the last bit differs.
        QVERIFY(fahrenheitToCelsius(111.9) == 44.388888888888886);
    }

    void conversionsAreNotExactInverses()
    {
        QVERIFY(fahrenheitToCelsius(celsiusToFahrenheit(100.0)) < 100.0);
    }
};

KV_TEST_CORE_MAIN(TestConversionUtils)
#include "tst_conversionutils.moc"
