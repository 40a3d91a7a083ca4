// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/measurementtypeutils.h"
#include "tests/kit/prefixingtranslator.h"
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"

namespace {

QStringList unitTexts()
{
    QStringList result;
    for (int number = 0; number <= static_cast<int>(MeasurementUnit::WattsPerSquareMetre);
         ++number) {
        result << MeasurementTypeUtils::measurementUnitToString(MeasurementUnit(number));
    }
    return result;
}

} // namespace

/// A program of its own, since the texts are made once in each.
class TestMeasurementUnitTexts : public QObject
{
    Q_OBJECT

private slots:
    void keepTheLanguageOfTheFirstCall()
    {
        {
            const PrefixingTranslator first("first ", "QObject");
            // Any one text makes all of them.
            QCOMPARE(MeasurementTypeUtils::measurementUnitToString(MeasurementUnit::Ppm),
                     text("first ppm"));
        }
        // In the order of the units' numbers; the unit "extra" has no text to translate.
        const QStringList expected =
            texts("first Undefined|first °C|first °F|first ppb|first ppm|first µg/m³|first mbar|"
                  "first %RH|first °||first mm/h|first m/s|first W/m2");
        QCOMPARE(unitTexts(), expected);

        const PrefixingTranslator later("later ");
        QCOMPARE(QObject::tr("ppm"), text("later ppm"));
        QCOMPARE(unitTexts(), expected);
    }
};

KV_TEST_CORE_MAIN(TestMeasurementUnitTexts)
#include "tst_measurementunittexts.moc"
