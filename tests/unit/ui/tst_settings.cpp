// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "ui/settings.h"

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>
#include <type_traits>

static_assert(!std::is_base_of_v<QObject, Settings>, "the store sends no signals");
static_assert(std::has_virtual_destructor_v<SettingsInterface>);

namespace {

// Answers every key with the default that it was asked with.
class EchoingSettings : public SettingsInterface
{
public:
    using SettingsInterface::value;

    QVariant value(const QString &key, const QVariant &defaultValue) const override
    {
        m_keys.append(key);
        m_defaults.append(defaultValue);
        return defaultValue;
    }
    void setValue(const QString &, const QVariant &) override { }

    mutable QStringList m_keys;
    mutable QVariantList m_defaults;
};

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void livesUnderOrganisationAndApplicationOfTheUser();
    void keepsEachKeyFromRunToRun_data();
    void keepsEachKeyFromRunToRun();
    void givesTheDefaultForAKeyThatWasNeverWritten_data();
    void givesTheDefaultForAKeyThatWasNeverWritten();
    void givesAnInvalidValueWithoutADefault();
    void asksWithAnInvalidDefaultWhenNoneIsGiven();
    void replacesAnEarlierValue();
    void keepsKeysFlatAndSpelledWithBlanks();
    void convertsAValueOfAnUnexpectedTypeByTheRulesOfVariants();
};

void TestSettings::cleanup()
{
    QSettings(QStringLiteral("Orvanta"), QStringLiteral("Kv tool")).clear();
}

void TestSettings::livesUnderOrganisationAndApplicationOfTheUser()
{
    {
        Settings settings;
        settings.setValue(QStringLiteral("serial port"), QStringLiteral("/dev/ttyUSB0"));
    }
    const QString path = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
        + QStringLiteral("/Orvanta/Kv tool.conf");
    QVERIFY2(QFileInfo::exists(path), qPrintable(path));

    const QSettings same(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Orvanta"),
                         QStringLiteral("Kv tool"));
    QCOMPARE(same.fileName(), path);
    QCOMPARE(same.value(QStringLiteral("serial port")).toString(), QStringLiteral("/dev/ttyUSB0"));
}

void TestSettings::keepsEachKeyFromRunToRun_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");

    const QDateTime from(QDate(2017, 11, 13), QTime(10, 20, 30, 456), Qt::UTC);
    const struct
    {
        const char *key;
        QVariant value;
    } rows[] = {
        {"serial port", QStringLiteral("/dev/ttyUSB0")},
        {"pollutant unit", 1},
        {"temperature unit", 1},
        {"local storage path", QStringLiteral("/home/someone/Messwerte für Ä")},
        {"graph from", from},
        {"graph to", from.addDays(1)},
        {"graph measurement types", QStringList({QStringLiteral("T"), QStringLiteral("A, B")})},
        {"graph range manual", true},
        {"graph maximum range", 12.25},
        {"graph minimum range", -0.1},
        {"graph show latest measurements", false},
        {"measurement export filename", QStringLiteral("/home/someone/export.csv")},
        {"log filename", QStringLiteral("/home/someone/device.csv")},
        {"eeprom filename", QStringLiteral("/home/someone/backup.dat")},
        {"firmware path", QStringLiteral("/home/someone/image.bin")},
    };
    for (const auto &row : rows) {
        QTest::addRow("%s", row.key) << QString::fromLatin1(row.key) << row.value;
    }
}

void TestSettings::keepsEachKeyFromRunToRun()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    {
        Settings settings;
        settings.setValue(key, value);
        QCOMPARE(settings.value(key), value);
    }
    Settings settings;
    QVariant kept = settings.value(key);
    QVERIFY(kept.convert(value.userType()));
    QCOMPARE(kept, value);
    QCOMPARE(settings.value(key, QStringLiteral("default")), settings.value(key));
}

void TestSettings::givesTheDefaultForAKeyThatWasNeverWritten_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("defaultValue");

    QTest::addRow("text") << QStringLiteral("log filename") << QVariant(QStringLiteral("log.csv"));
    QTest::addRow("true") << QStringLiteral("graph show latest measurements") << QVariant(true);
    QTest::addRow("false") << QStringLiteral("graph range manual") << QVariant(false);
    QTest::addRow("number") << QStringLiteral("graph maximum range") << QVariant(0.0);
    QTest::addRow("index") << QStringLiteral("pollutant unit") << QVariant(0);
    QTest::addRow("empty list") << QStringLiteral("graph measurement types")
                                << QVariant(QStringList());
    QTest::addRow("time") << QStringLiteral("graph from")
                          << QVariant(QDateTime(QDate(2020, 2, 29), QTime(1, 2, 3), Qt::UTC));
}

void TestSettings::givesTheDefaultForAKeyThatWasNeverWritten()
{
    QFETCH(QString, key);
    QFETCH(QVariant, defaultValue);

    const Settings settings;
    QCOMPARE(settings.value(key, defaultValue), defaultValue);
    QVERIFY(!settings.value(key).isValid());
}

void TestSettings::givesAnInvalidValueWithoutADefault()
{
    const Settings settings;
    const QVariant value = settings.value(QStringLiteral("serial port"));
    QVERIFY(!value.isValid());
    QCOMPARE(value.toString(), QString());
    QCOMPARE(value.toInt(), 0);
}

void TestSettings::asksWithAnInvalidDefaultWhenNoneIsGiven()
{
    const EchoingSettings echoing;
    const SettingsInterface &settings = echoing;
    QVERIFY(!settings.value(QStringLiteral("graph from")).isValid());
    QCOMPARE(echoing.m_keys, QStringList(QStringLiteral("graph from")));
    QCOMPARE(echoing.m_defaults.size(), 1);
    QVERIFY(!echoing.m_defaults.first().isValid());
}

void TestSettings::replacesAnEarlierValue()
{
    Settings settings;
    settings.setValue(QStringLiteral("temperature unit"), 1);
    settings.setValue(QStringLiteral("temperature unit"), 0);
    QCOMPARE(settings.value(QStringLiteral("temperature unit"), 7).toInt(), 0);
}

void TestSettings::keepsKeysFlatAndSpelledWithBlanks()
{
    {
        Settings settings;
        settings.setValue(QStringLiteral("graph show latest measurements"), true);
        settings.setValue(QStringLiteral("pollutant unit"), 1);
    }
    const QSettings file(QStringLiteral("Orvanta"), QStringLiteral("Kv tool"));
    QVERIFY(file.childGroups().isEmpty());
    QCOMPARE(file.childKeys(),
             QStringList({QStringLiteral("graph show latest measurements"),
                          QStringLiteral("pollutant unit")}));
}

void TestSettings::convertsAValueOfAnUnexpectedTypeByTheRulesOfVariants()
{
    Settings settings;
    settings.setValue(QStringLiteral("pollutant unit"), QStringLiteral("none"));
    settings.setValue(QStringLiteral("graph from"), QStringLiteral("yesterday"));
    QCOMPARE(settings.value(QStringLiteral("pollutant unit"), 1).toInt(), 0);
    QVERIFY(!settings.value(QStringLiteral("graph from")).toDateTime().isValid());
}

KV_TEST_CORE_MAIN(TestSettings)

#include "tst_settings.moc"
