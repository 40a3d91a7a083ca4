// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/devicemeasurements.h"
#include "simulator/devicemodel.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"

#include <QtCore/QFile>
#include <QtCore/QXmlStreamReader>
#include <QtTest/QtTest>

using namespace Simulator;

namespace {

QByteArray settingLine(const QByteArray &name, const QByteArray &type, double minimum,
                       double maximum)
{
    return name + ' ' + type + ' ' + QByteArray::number(minimum) + ' '
        + QByteArray::number(maximum);
}

QByteArray typeName(SettingType type)
{
    return type == SettingType::Integer ? "int" : type == SettingType::Real ? "float" : "text";
}

} // namespace

class TestDeviceModel : public QObject
{
    Q_OBJECT

private slots:
    // The sample describes the simulated models.
    void agreesWithTheSampleDescription()
    {
        QFile file(testpaths::sourceFile("settings.xml"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QXmlStreamReader xml(&file);
        QMap<QByteArray, QList<QByteArray>> described;
        QByteArray model;
        while (!xml.atEnd()) {
            xml.readNext();
            const QXmlStreamAttributes attributes = xml.attributes();
            const auto text = [&attributes](const char *name) {
                return attributes.value(QLatin1String(name)).toLatin1();
            };
            if (!xml.isStartElement()) {
                continue;
            }
            if (xml.name() == QLatin1String("Device")) {
                model = text("name");
            } else if (xml.name() == QLatin1String("ConfigurationItem")) {
                described[model] += settingLine(text("alias"), text("type"), text("min").toDouble(),
                                                text("max").toDouble());
            } else if (xml.name() == QLatin1String("Measurement")) {
                described[model] += text("name");
            }
        }
        QCOMPARE(described.size(), deviceModels().size());
        for (const DeviceModel &known : deviceModels()) {
            QList<QByteArray> lines;
            for (const SettingInfo &info : known.settings) {
                lines += settingLine(info.name, typeName(info.type), info.minimum, info.maximum);
            }
            for (const MeasurementInfo &info : known.measurements) {
                lines += info.name;
            }
            QCOMPARE(lines, described.value(known.name));
        }
    }

    void findsModelsByTheirWholeName()
    {
        QCOMPARE(findDeviceModel("KVT-300")->name, "KVT-300");
        QVERIFY(findDeviceModel("kvt-300") == nullptr);
        QVERIFY(findDeviceModel("") == nullptr);
    }

    void measuresPlausibleValues_data()
    {
        QTest::addColumn<QByteArray>("model");
        for (const DeviceModel &model : deviceModels()) {
            QTest::addRow("%s", model.name) << QByteArray(model.name);
        }
    }

    void measuresPlausibleValues()
    {
        QFETCH(QByteArray, model);
        const DeviceModel &known = *findDeviceModel(model);
        const DeviceMeasurements measurements(known, 3, {});
        const QDateTime midnight(QDate(2026, 11, 21), QTime(0, 0), Qt::UTC);
        for (const MeasurementInfo &info : known.measurements) {
            QSet<QByteArray> values;
            for (int minute = 0; minute < 24 * 60; ++minute) {
                const QByteArray value = measurements.valueAt(info, midnight.addSecs(minute * 60));
                bool ok = false;
                const double number = value.toDouble(&ok);
                QVERIFY(ok);
                QVERIFY(number >= info.minimum);
                QVERIFY(number >= info.middle - info.swing - 1e-9);
                QVERIFY(number <= info.middle + info.swing + 1e-9);
                values += value;
            }
            QVERIFY2(values.size() > 10, info.name);
        }
    }

    void measuresNoSunlightAtNight()
    {
        const DeviceModel &known = *findDeviceModel("KVT-300");
        const DeviceMeasurements measurements(known, 3, {});
        const MeasurementInfo &sun = known.measurements.at(10);
        QCOMPARE(sun.name, "SR");
        const QDateTime midnight(QDate(2026, 11, 21), QTime(0, 0), Qt::UTC);
        QCOMPARE(measurements.valueAt(sun, midnight), QByteArray("0"));
        QVERIFY(measurements.valueAt(sun, midnight.addSecs(12 * 3600)).toDouble() > 400.0);
    }
};

KV_TEST_CORE_MAIN(TestDeviceModel)

#include "tst_devicemodel.moc"
