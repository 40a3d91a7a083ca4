// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"
#include "tests/kit/text.h"
#include "tests/unit/ui/settingsfile.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <algorithm>

using namespace SettingsFile;

namespace {

const QString samplePath = testpaths::sourceFile("settings.xml");

Devices sampleDevices()
{
    Devices devices;
    ConfigurationLoader loader;
    return loader.load(devices, samplePath) ? devices : Devices();
}

QByteArray sampleText()
{
    QFile sample(samplePath);
    return sample.open(QIODevice::ReadOnly) ? sample.readAll() : QByteArray();
}

// Where each element whose tag fits the pattern is complete.
QVector<int> endsOf(const QByteArray &content, const char *pattern)
{
    QVector<int> ends;
    const QString latin = QString::fromLatin1(content);
    auto matches = QRegularExpression(QLatin1String(pattern)).globalMatch(latin);
    while (matches.hasNext()) {
        ends.append(matches.next().capturedEnd());
    }
    return ends;
}

int countUpTo(const QVector<int> &ends, int size)
{
    return int(std::count_if(ends.begin(), ends.end(), [size](int end) { return end <= size; }));
}

} // namespace

class TestSampleSettings : public QObject
{
    Q_OBJECT

private slots:
    void readsTheSample()
    {
        const LogRecorder log;
        const Devices devices = sampleDevices();
        QCOMPARE(LogRecorder::lines(), QStringList());
        QCOMPARE(devices.keys(), list("KVT-100 KVT-200 KVT-300"));
        QVERIFY(sampleText().indexOf("\"KVT-300\"") < sampleText().indexOf("\"KVT-100\""));
        for (const DeviceConfiguration &device : devices) {
            QVERIFY(device.configurationItems.size() >= 8);
            QVERIFY(device.measurementItems.size() >= 6);
            QStringList sorted = aliases(device);
            sorted.sort();
            QVERIFY(sorted != aliases(device));
        }
    }

    void sampleUsesEverySpelling()
    {
        const Devices devices = sampleDevices();
        QSet<int> types;
        QSet<int> units;
        QSet<int> itemTypes;
        QSet<bool> namesShown;
        for (const DeviceConfiguration &device : devices) {
            for (const ConfigurationItem &setting : device.configurationItems) {
                itemTypes.insert(int(setting.type));
            }
            for (const MeasurementItem &entry : device.measurementItems) {
                types.insert(int(entry.type));
                units.insert(int(entry.unit));
                namesShown.insert(entry.name == entry.displayName);
            }
        }
        // Everything but Undefined, the 0 of both.
        QCOMPARE(types.size(), 10);
        QCOMPARE(units.size(), 12);
        QCOMPARE(itemTypes.size(), 3);
        QCOMPARE(namesShown.size(), 2);
        QVERIFY(sampleText().contains("type=\"pm2.5\""));
        QVERIFY(sampleText().contains("type=\"pm10\""));
    }

    void sampleUsesOnlyNamesThatADeviceCanSend()
    {
        const QStringList taken = list("date hwver health meas meas_state model serial swver unit");
        const QRegularExpression word(text("^[a-z][a-z0-9_]*$"));
        const QRegularExpression key(text("^[A-Za-z0-9]+$"));
        const Devices devices = sampleDevices();
        for (const DeviceConfiguration &device : devices) {
            QCOMPARE(aliases(device).removeDuplicates(), 0);
            QCOMPARE(names(device).removeDuplicates(), 0);
            for (const ConfigurationItem &setting : device.configurationItems) {
                QVERIFY2(word.match(setting.alias).hasMatch(), qPrintable(setting.alias));
                QVERIFY2(!taken.contains(setting.alias), qPrintable(setting.alias));
                QVERIFY2(setting.min < setting.max, qPrintable(setting.alias));
            }
            for (const MeasurementItem &entry : device.measurementItems) {
                QVERIFY2(key.match(entry.name).hasMatch(), qPrintable(entry.name));
            }
        }
    }

    void truncatedSampleKeepsItsCompleteElements()
    {
        const QByteArray content = sampleText();
        const QVector<int> lists = endsOf(content, "<Devices>");
        const QVector<int> models = endsOf(content, "<Device [^>]*>");
        const QVector<int> settings = endsOf(content, "<ConfigurationItem [^>]*>");
        const QVector<int> entries = endsOf(content, "<Measurement [^>]*>");
        QCOMPARE(lists.size(), 1);
        QCOMPARE(models.size(), 3);
        const Devices whole = sampleDevices();

        writeFile(content);
        QFile cut(text("settings.xml"));
        const LogRecorder log;
        for (int size = content.size(); size >= 0; --size) {
            QVERIFY(cut.resize(size));
            Devices devices;
            ConfigurationLoader loader;
            QCOMPARE(loader.load(devices, cut.fileName()), size >= lists.first());
            QCOMPARE(devices.size(), countUpTo(models, size));

            int settingCount = 0;
            int entryCount = 0;
            for (auto found = devices.cbegin(); found != devices.cend(); ++found) {
                settingCount += found->configurationItems.size();
                entryCount += found->measurementItems.size();
                const DeviceConfiguration expected = whole.value(found.key());
                QCOMPARE(aliases(*found),
                         aliases(expected).mid(0, found->configurationItems.size()));
                QCOMPARE(names(*found), names(expected).mid(0, found->measurementItems.size()));
            }
            QCOMPARE(settingCount, countUpTo(settings, size));
            QCOMPARE(entryCount, countUpTo(entries, size));
        }
        QCOMPARE(LogRecorder::lines(), QStringList());
    }
};

KV_TEST_CORE_MAIN(TestSampleSettings)

#include "tst_samplesettings.moc"
