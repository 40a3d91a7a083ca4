// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "ui/settings.h"

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>
#include <type_traits>

static_assert(!std::is_base_of_v<QObject, Settings>, "the settings have no signals");
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
    void cleanup() { QSettings(text("Orvanta"), text("Kv tool")).clear(); }

    void usesTheFileOfOrganisationAndApplication()
    {
        {
            Settings settings;
            settings.setValue(text("serial port"), text("/dev/ttyUSB0"));
        }
        const QString path = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
            + text("/Orvanta/Kv tool.conf");
        QVERIFY2(QFileInfo::exists(path), qPrintable(path));

        const QSettings same(QSettings::NativeFormat, QSettings::UserScope, text("Orvanta"),
                             text("Kv tool"));
        QCOMPARE(same.fileName(), path);
        QCOMPARE(same.value(text("serial port")).toString(), text("/dev/ttyUSB0"));
    }

    void storesEachKeyFromRunToRun_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");

        const QDateTime from(QDate(2017, 11, 13), QTime(10, 20, 30, 456), Qt::UTC);
        const struct
        {
            const char *key;
            QVariant value;
        } rows[] = {
            {"serial port", text("/dev/ttyUSB0")},
            {"pollutant unit", 1},
            {"temperature unit", 1},
            {"local storage path", text("/home/someone/Messwerte für Ä")},
            {"graph from", from},
            {"graph to", from.addDays(1)},
            {"graph measurement types", texts("T|A, B")},
            {"graph range manual", true},
            {"graph maximum range", 12.25},
            {"graph minimum range", -0.1},
            {"graph show latest measurements", false},
            {"measurement export filename", text("/home/someone/export.csv")},
            {"log filename", text("/home/someone/device.csv")},
            {"eeprom filename", text("/home/someone/backup.dat")},
            {"firmware path", text("/home/someone/image.bin")},
        };
        for (const auto &row : rows) {
            QTest::addRow("%s", row.key) << QString::fromLatin1(row.key) << row.value;
        }
    }

    void storesEachKeyFromRunToRun()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        {
            Settings settings;
            settings.setValue(key, value);
            QCOMPARE(settings.value(key), value);
        }
        Settings settings;
        QVariant stored = settings.value(key);
        QVERIFY(stored.convert(value.userType()));
        QCOMPARE(stored, value);
        QCOMPARE(settings.value(key, text("default")), settings.value(key));
    }

    void returnsTheDefaultForAKeyThatWasNeverWritten_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("defaultValue");

        QTest::addRow("text") << text("log filename") << QVariant(text("log.csv"));
        QTest::addRow("true") << text("graph show latest measurements") << QVariant(true);
        QTest::addRow("false") << text("graph range manual") << QVariant(false);
        QTest::addRow("number") << text("graph maximum range") << QVariant(0.0);
        QTest::addRow("index") << text("pollutant unit") << QVariant(0);
        QTest::addRow("empty list") << text("graph measurement types") << QVariant(QStringList());
        QTest::addRow("time") << text("graph from")
                              << QVariant(QDateTime(QDate(2020, 2, 29), QTime(1, 2, 3), Qt::UTC));
    }

    void returnsTheDefaultForAKeyThatWasNeverWritten()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, defaultValue);

        const Settings settings;
        QCOMPARE(settings.value(key, defaultValue), defaultValue);
        QVERIFY(!settings.value(key).isValid());
    }

    void asksWithAnInvalidDefaultWhenNoneIsGiven()
    {
        const EchoingSettings echoing;
        const SettingsInterface &settings = echoing;
        QVERIFY(!settings.value(text("graph from")).isValid());
        QCOMPARE(echoing.m_keys, texts("graph from"));
        QCOMPARE(echoing.m_defaults.size(), 1);
        QVERIFY(!echoing.m_defaults.first().isValid());
    }

    void replacesAnEarlierValue()
    {
        Settings settings;
        settings.setValue(text("temperature unit"), 1);
        settings.setValue(text("temperature unit"), 0);
        QCOMPARE(settings.value(text("temperature unit"), 7).toInt(), 0);
    }

    void storesKeysWithoutGroupsAndWithBlanks()
    {
        {
            Settings settings;
            settings.setValue(text("graph show latest measurements"), true);
            settings.setValue(text("pollutant unit"), 1);
        }
        const QSettings file(text("Orvanta"), text("Kv tool"));
        QVERIFY(file.childGroups().isEmpty());
        QCOMPARE(file.childKeys(), texts("graph show latest measurements|pollutant unit"));
    }

    void convertsAValueOfAnUnexpectedTypeByTheRulesOfVariants()
    {
        Settings settings;
        settings.setValue(text("pollutant unit"), text("none"));
        settings.setValue(text("graph from"), text("yesterday"));
        QCOMPARE(settings.value(text("pollutant unit"), 1).toInt(), 0);
        QVERIFY(!settings.value(text("graph from")).toDateTime().isValid());
    }
};

KV_TEST_CORE_MAIN(TestSettings)

#include "tst_settings.moc"
