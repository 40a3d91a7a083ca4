// SPDX-License-Identifier: GPL-3.0-or-later
// The loader of settings.xml: the input is the contents of the file.
#include "common/measurementtypeutils.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/kit/fileio.h"
#include "tests/kit/stringliterals.h"
#include "ui/configurationloader.h"

#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

namespace {

using Devices = QMap<QString, DeviceConfiguration>;

const QString otherName = QStringLiteral("a model that was there before");

void checkItem(const ConfigurationItem &item)
{
    FUZZ_ASSERT(item.type == ConfigurationItemType::Text || item.type == ConfigurationItemType::Int
                || item.type == ConfigurationItemType::Float);
    FUZZ_ASSERT(!item.name.isNull() && !item.alias.isNull() && !item.group.isNull());
}

void checkMeasurement(const MeasurementItem &item, const QVector<MeasurementItem> &items)
{
    FUZZ_ASSERT(item.type > MeasurementType::Undefined
                && item.type <= MeasurementType::SolarRadiation);
    FUZZ_ASSERT(item.unit > MeasurementUnit::Undefined
                && item.unit <= MeasurementUnit::WattsPerSquareMetre);
    FUZZ_ASSERT(item.name.isEmpty() || !item.displayName.isEmpty());
    // As the table, the graph and the export do: the first item with a name is used.
    const QString caption = MeasurementTypeUtils::displayUnitCaption(item.name, items, {});
    FUZZ_ASSERT(caption.isEmpty() || (caption.size() > 2 && caption.startsWith(QLatin1Char('('))));
    FUZZ_ASSERT(MeasurementTypeUtils::conversionMultiplier(item.name, items) != 0.0);
    MeasurementItem found;
    FUZZ_ASSERT(MeasurementTypeUtils::findMeasurementItem(item.name, items, found));
    FUZZ_ASSERT(MeasurementTypeUtils::displayName(item.name, items) == found.displayName);
}

QStringList toStringList(const Devices &devices)
{
    QStringList result;
    for (auto it = devices.cbegin(); it != devices.cend(); ++it) {
        result << it.key();
        for (const ConfigurationItem &item : it->configurationItems) {
            result << item.group << item.name << item.alias
                   << text("%1 %2 %3").arg(item.min).arg(item.max).arg(static_cast<int>(item.type));
        }
        for (const MeasurementItem &item : it->measurementItems) {
            result << item.name << item.displayName
                   << text("%1 %2 %3")
                          .arg(static_cast<int>(item.unit))
                          .arg(static_cast<int>(item.type))
                          .arg(item.conversionMultiplier);
        }
    }
    return result;
}

bool load(Devices &devices, const QByteArray &contents)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("settings.xml"));
    FUZZ_ASSERT(FileIo::write(path, contents));
    ConfigurationLoader loader;
    return loader.load(devices, path);
}

} // namespace

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

    // Loading into a map that is not empty adds the same models and removes nothing.
    Devices filled{{otherName, {}}};
    FUZZ_ASSERT(load(filled, contents) == loaded);
    if (!devices.contains(otherName)) {
        FUZZ_ASSERT(filled.remove(otherName) == 1);
    }
    FUZZ_ASSERT(toStringList(filled) == toStringList(devices));
    return 0;
}
