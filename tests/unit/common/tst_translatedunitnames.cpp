// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/measurementtypeutils.h"
#include "tests/kit/prefixingtranslator.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"

namespace {

QStringList unitStrings()
{
    QStringList result;
    for (int number = 0; number <= static_cast<int>(MeasurementUnit::WattsPerSquareMetre);
         ++number) {
        result << MeasurementTypeUtils::measurementUnitToString(MeasurementUnit(number));
    }
    return result;
}

} // namespace

/// A separate program, because the strings of the units are translated only once in a process.
class TestTranslatedUnitNames : public QObject
{
    Q_OBJECT

private slots:
    void unitStringsKeepTheLanguageOfTheFirstCall()
    {
        {
            const PrefixingTranslator first("first ", "QObject");
            // The first call translates the strings of all units.
            QCOMPARE(MeasurementTypeUtils::measurementUnitToString(MeasurementUnit::Ppm),
                     text("first ppm"));
        }
        // In the order of the units' numbers; the unit "extra" has no string to translate.
        const QStringList expected =
            texts("first Undefined|first °C|first °F|first ppb|first ppm|first µg/m³|first mbar|"
                  "first %RH|first °||first mm/h|first m/s|first W/m2");
        QCOMPARE(unitStrings(), expected);

        const PrefixingTranslator later("later ");
        QCOMPARE(QObject::tr("ppm"), text("later ppm"));
        QCOMPARE(unitStrings(), expected);
    }
};

KV_TEST_CORE_MAIN(TestTranslatedUnitNames)
#include "tst_translatedunitnames.moc"
