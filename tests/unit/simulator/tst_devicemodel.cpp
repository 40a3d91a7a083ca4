// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/devicemeasurements.h"
#include "simulator/devicemodel.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"
#include "ui/configurationloader.h"

using namespace Simulator;

namespace {

const QDateTime midnight(QDate(2026, 11, 21), QTime(0, 0), Qt::UTC);

ConfigurationItemType configurationItemType(SettingType type)
{
    return type == SettingType::Integer ? ConfigurationItemType::Int
        : type == SettingType::Real     ? ConfigurationItemType::Float
                                        : ConfigurationItemType::Text;
}

} // namespace

class TestDeviceModel : public QObject
{
    Q_OBJECT

private slots:
    // The sample settings.xml describes the simulated models.
    void agreesWithSampleSettingsFile()
    {
        QMap<QString, DeviceConfiguration> configurations;
        QVERIFY(ConfigurationLoader().load(configurations, TestPaths::sourceFile("settings.xml")));
        QCOMPARE(configurations.size(), deviceModels().size());
        for (const DeviceModel &model : deviceModels()) {
            const DeviceConfiguration configuration =
                configurations.value(QString::fromLatin1(model.name));
            QCOMPARE(configuration.configurationItems.size(), model.settings.size());
            for (int index = 0; index < model.settings.size(); ++index) {
                const ConfigurationItem &item = configuration.configurationItems.at(index);
                const SettingInfo &info = model.settings.at(index);
                QCOMPARE(item.alias.toLatin1(), QByteArray(info.name));
                QCOMPARE(item.type, configurationItemType(info.type));
                QCOMPARE(item.min, static_cast<float>(info.minimum));
                QCOMPARE(item.max, static_cast<float>(info.maximum));
            }
            QCOMPARE(configuration.measurementItems.size(), model.measurements.size());
            for (int index = 0; index < model.measurements.size(); ++index) {
                QCOMPARE(configuration.measurementItems.at(index).name.toLatin1(),
                         QByteArray(model.measurements.at(index).name));
            }
        }
    }

    void findsModelsByExactName()
    {
        QCOMPARE(findDeviceModel("KVT-300")->name, "KVT-300");
        QVERIFY(findDeviceModel("kvt-300") == nullptr);
        QVERIFY(findDeviceModel("") == nullptr);
    }

    void measuresPlausibleValues()
    {
        for (const DeviceModel &model : deviceModels()) {
            const DeviceMeasurements measurements(model, 3, {});
            for (const MeasurementInfo &info : model.measurements) {
                QSet<QByteArray> values;
                for (int minute = 0; minute < 24 * 60; ++minute) {
                    values += measurements.valueAt(info, midnight.addSecs(minute * 60));
                }
                QVERIFY2(values.size() > 10, info.name);
                for (const QByteArray &value : qAsConst(values)) {
                    bool ok = false;
                    const double number = value.toDouble(&ok);
                    QVERIFY(ok);
                    QVERIFY(number >= info.minimum);
                    QVERIFY(qAbs(number - info.middle) <= info.swing + 1e-9);
                }
            }
        }
    }

    void measuresNoSunlightAtNight()
    {
        const DeviceModel &model = *findDeviceModel("KVT-300");
        const DeviceMeasurements measurements(model, 3, {});
        const MeasurementInfo &sun = model.measurements.at(10);
        QCOMPARE(sun.name, "SR");
        QCOMPARE(measurements.valueAt(sun, midnight), QByteArray("0"));
        QVERIFY(measurements.valueAt(sun, midnight.addSecs(12 * 3600)).toDouble() > 400.0);
    }
};

KV_TEST_CORE_MAIN(TestDeviceModel)

#include "tst_devicemodel.moc"
