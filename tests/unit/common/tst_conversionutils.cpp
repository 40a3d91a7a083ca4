// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/conversionutils.h"
#include "tests/kit/testmain.h"

class TestConversionUtils : public QObject
{
    Q_OBJECT

private slots:
    void multipliesByTheFactor_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<double>("factor");
        QTest::addColumn<double>("product");
        QTest::addRow("plain") << 4.0 << 2.5 << 10.0;
        QTest::addRow("zero factor") << 4.0 << 0.0 << 0.0;
        QTest::addRow("negative") << -4.0 << 0.5 << -2.0;
        QTest::addRow("no rounding") << 0.1 << 3.0 << 0.1 * 3.0;
    }

    void multipliesByTheFactor()
    {
        QFETCH(double, value);
        QFETCH(double, factor);
        QFETCH(double, product);
        QVERIFY(ConversionUtils::multiply(value, factor) == product);
    }

    void convertsCelsiusWithTheSinglePrecisionFactor_data()
    {
        QTest::addColumn<double>("celsius");
        QTest::addColumn<double>("fahrenheit");
        QTest::addRow("boiling") << 100.0 << 211.99999523162842;
        QTest::addRow("freezing") << 0.0 << 32.0;
        QTest::addRow("one degree") << 1.0 << 33.7999999523162842;
        QTest::addRow("equal on both scales, nearly") << -40.0 << -39.999998092651367;
    }

    void convertsCelsiusWithTheSinglePrecisionFactor()
    {
        QFETCH(double, celsius);
        QFETCH(double, fahrenheit);
        // Exact: qCompare's tolerance would accept the double nearest to 1.8 as well.
        QVERIFY(ConversionUtils::celsiusToFahrenheit(celsius) == fahrenheit);
    }

    void convertsFahrenheitBySubtractingMultiplyingDividing_data()
    {
        QTest::addColumn<double>("fahrenheit");
        QTest::addColumn<double>("celsius");
        QTest::addRow("boiling") << 212.0 << 100.0;
        QTest::addRow("freezing") << 32.0 << 0.0;
        QTest::addRow("equal on both scales") << -40.0 << -40.0;
        // With the division first, or with a single factor, the last bit differs.
        QTest::addRow("multiplied before divided") << 111.9 << 44.388888888888886;
    }

    void convertsFahrenheitBySubtractingMultiplyingDividing()
    {
        QFETCH(double, fahrenheit);
        QFETCH(double, celsius);
        QVERIFY(ConversionUtils::fahrenheitToCelsius(fahrenheit) == celsius);
    }

    void isNotItsOwnInverse()
    {
        const double there = ConversionUtils::celsiusToFahrenheit(100.0);
        QVERIFY(ConversionUtils::fahrenheitToCelsius(there) < 100.0);
    }
};

KV_TEST_CORE_MAIN(TestConversionUtils)
#include "tst_conversionutils.moc"
