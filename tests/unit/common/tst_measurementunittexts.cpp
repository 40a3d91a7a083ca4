// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/measurementtypeutils.h"
#include "tests/kit/prefixingtranslator.h"
#include "tests/kit/testmain.h"

namespace {

constexpr int unitCount = 13;

QStringList unitTexts()
{
    QStringList texts;
    for (int unit = 0; unit < unitCount; ++unit) {
        texts << MeasurementTypeUtils::measurementUnitToString(static_cast<MeasurementUnit>(unit));
    }
    return texts;
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
                     QStringLiteral("first ppm"));
        }
        const QStringList expected{QStringLiteral("first Undefined"),
                                   QStringLiteral(u"first \u00B0C"),
                                   QStringLiteral(u"first \u00B0F"),
                                   QStringLiteral("first ppb"),
                                   QStringLiteral("first ppm"),
                                   QStringLiteral(u"first \u00B5g/m\u00B3"),
                                   QStringLiteral("first mbar"),
                                   QStringLiteral("first %RH"),
                                   QStringLiteral(u"first \u00B0"),
                                   QString(), // nothing to translate
                                   QStringLiteral("first mm/h"),
                                   QStringLiteral("first m/s"),
                                   QStringLiteral("first W/m2")};
        QCOMPARE(unitTexts(), expected);

        const PrefixingTranslator later("later ");
        QCOMPARE(QObject::tr("ppm"), QStringLiteral("later ppm"));
        QCOMPARE(unitTexts(), expected);
    }
};

KV_TEST_CORE_MAIN(TestMeasurementUnitTexts)
#include "tst_measurementunittexts.moc"
