// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fakesettings.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "ui/settings.h"

#include <QtCore/QDateTime>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>

class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QSettings(text("Orvanta"), text("Kv tool")).clear(); }

    void keepsEachValueBetweenRuns()
    {
        const QDateTime from(QDate(2017, 11, 13), QTime(10, 20, 30, 456), Qt::UTC);
        const QMap<QString, QVariant> values{
            {text("serial port"), text("/dev/ttyUSB0")},
            {text("pollutant unit"), 1},
            {text("temperature unit"), 1},
            {text("local storage path"), text("/home/someone/Messwerte für Ä")},
            {text("graph from"), from},
            {text("graph to"), from.addDays(1)},
            {text("graph measurement types"), texts("T|A, B")},
            {text("graph range manual"), true},
            {text("graph maximum range"), 12.25},
            {text("graph minimum range"), -0.1},
            {text("graph show latest measurements"), false},
            {text("measurement export filename"), text("/home/someone/export.csv")},
            {text("log filename"), text("/home/someone/device.csv")},
            {text("eeprom filename"), text("/home/someone/backup.dat")},
            {text("firmware path"), text("/home/someone/image.bin")}};
        {
            Settings settings;
            for (auto value = values.begin(); value != values.end(); ++value) {
                settings.setValue(value.key(), text("an earlier value"));
                settings.setValue(value.key(), *value);
                QCOMPARE(settings.value(value.key()), *value);
            }
        }
        const Settings settings;
        for (auto value = values.begin(); value != values.end(); ++value) {
            QVariant stored = settings.value(value.key(), text("default"));
            QCOMPARE(settings.value(value.key()), stored);
            QVERIFY(stored.convert(value->userType()));
            QCOMPARE(stored, *value);
        }
        // The file is named after the organisation and the application, whose name in the settings
        // is "Kv tool"; its keys contain spaces and have no groups.
        const QSettings file(QSettings::NativeFormat, QSettings::UserScope, text("Orvanta"),
                             text("Kv tool"));
        QCOMPARE(file.fileName(),
                 QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
                     + text("/Orvanta/Kv tool.conf"));
        QVERIFY(QFile::exists(file.fileName()));
        QVERIFY(file.childGroups().isEmpty());
        QCOMPARE(file.childKeys(), values.keys());
    }

    void returnsTheDefaultForAKeyThatWasNeverWritten()
    {
        const Settings settings;
        for (const QVariant &defaultValue :
             {QVariant(text("log.csv")), QVariant(true), QVariant(false), QVariant(0.0),
              QVariant(0), QVariant(QStringList()),
              QVariant(QDateTime(QDate(2020, 2, 29), QTime(1, 2, 3), Qt::UTC))}) {
            QCOMPARE(settings.value(text("graph from"), defaultValue), defaultValue);
        }
        QVERIFY(!settings.value(text("graph from")).isValid());
    }

    void usesAnInvalidDefaultIfNoneIsGiven()
    {
        FakeSettings fake;
        QStringList reads;
        fake.onRead = [&reads](const QString &key) { reads.append(key); };
        const SettingsInterface &settings = fake;
        QVERIFY(!settings.value(text("graph from")).isValid());
        QCOMPARE(reads, texts("graph from"));
    }

    void convertsValuesOfAnUnexpectedTypeAsQVariantDoes()
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
