// SPDX-License-Identifier: GPL-3.0-or-later
// The description of the models: the input is the file settings.xml.
#include "common/measurementtypeutils.h"
#include "tests/fuzz/fuzzing.h"
#include "ui/configurationloader.h"

#include <QtCore/QStringList>

namespace {

using Devices = QMap<QString, DeviceConfiguration>;

const QString strangersName = QStringLiteral("a model that was there before");

void checkItem(const ConfigurationItem &item)
{
    DEMAND(item.type == ConfigurationItemType::Text || item.type == ConfigurationItemType::Int
           || item.type == ConfigurationItemType::Float);
    DEMAND(!item.name.isNull() && !item.alias.isNull() && !item.group.isNull());
}

void checkMeasurement(const MeasurementItem &item, const QVector<MeasurementItem> &items)
{
    DEMAND(item.type > MeasurementType::Undefined && item.type <= MeasurementType::SolarRadiation);
    DEMAND(item.unit > MeasurementUnit::Undefined
           && item.unit <= MeasurementUnit::WattsPerSquareMetre);
    DEMAND(item.name.isEmpty() || !item.displayName.isEmpty());
    // What table, graph and export make of it: the first item of a name counts.
    const QString caption = MeasurementTypeUtils::displayUnitCaption(item.name, items, {});
    DEMAND(caption.isEmpty() || (caption.size() > 2 && caption.startsWith(QLatin1Char('('))));
    DEMAND(MeasurementTypeUtils::conversionMultiplier(item.name, items) != 0.0);
    MeasurementItem found;
    DEMAND(MeasurementTypeUtils::findMeasurementItem(item.name, items, found));
    DEMAND(MeasurementTypeUtils::displayName(item.name, items) == found.displayName);
}

QStringList described(const Devices &devices)
{
    QStringList result;
    for (auto it = devices.cbegin(); it != devices.cend(); ++it) {
        result << it.key();
        for (const ConfigurationItem &item : it->configurationItems) {
            result << item.group << item.name << item.alias << QString::number(item.min)
                   << QString::number(item.max) << QString::number(static_cast<int>(item.type));
        }
        for (const MeasurementItem &item : it->measurementItems) {
            result << item.name << item.displayName << QString::number(static_cast<int>(item.unit))
                   << QString::number(static_cast<int>(item.type))
                   << QString::number(item.conversionMultiplier);
        }
    }
    return result;
}

bool load(Devices &devices, const QByteArray &contents)
{
    static const Fuzzing::MemoryFile file;
    file.fill(contents);
    ConfigurationLoader loader;
    return loader.load(devices, file.path());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    Fuzzing::silenceLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray contents = Fuzzing::bytesOf(data, size);
    Devices devices;
    const bool loaded = load(devices, contents);
    for (const DeviceConfiguration &device : qAsConst(devices)) {
        for (const ConfigurationItem &item : device.configurationItems) {
            checkItem(item);
        }
        for (const MeasurementItem &item : device.measurementItems) {
            checkMeasurement(item, device.measurementItems);
        }
    }

    // Into a map that is not empty the same models come, and nothing of it goes.
    Devices filled{{strangersName, {}}};
    DEMAND(load(filled, contents) == loaded);
    if (!devices.contains(strangersName)) {
        DEMAND(filled.remove(strangersName) == 1);
    }
    DEMAND(described(filled) == described(devices));
    return 0;
}
