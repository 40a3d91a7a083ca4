// SPDX-License-Identifier: GPL-3.0-or-later
#include "control/measurementexport.h"

#include "common/measurementtypeutils.h"

#include <QtCore/QHash>

QStringList MeasurementExport::valueNames(const StoredMeasurement &measurement,
                                          const QStringList &chosen)
{
    QStringList names;
    for (const MeasurementValue &value : measurement.values) {
        if (chosen.contains(value.name)) {
            names.append(value.name);
        }
    }
    return names;
}

QVector<LogValue> MeasurementExport::rows(const QVector<StoredMeasurement> &measurements,
                                          const QStringList &chosen,
                                          const MeasurementDisplayOptions &options,
                                          const QVector<MeasurementItem> &items)
{
    // Looked up once: a year of measurements has millions of values. A name without an item gets
    // the type Undefined, so its values are not converted.
    QHash<QString, MeasurementItem> itemsByName;
    for (const QString &name : chosen) {
        MeasurementTypeUtils::findMeasurementItem(name, items, itemsByName[name]);
    }
    QVector<LogValue> result;
    result.reserve(measurements.size());
    for (const StoredMeasurement &measurement : measurements) {
        LogValue row;
        row.time = measurement.timestamp;
        for (const MeasurementValue &value : measurement.values) {
            const auto item = itemsByName.constFind(value.name);
            if (item != itemsByName.constEnd()) {
                row.values.append(MeasurementTypeUtils::convertToDisplayUnit(
                    value.value, item->type, item->unit, item->conversionMultiplier, options));
            }
        }
        result.append(row);
    }
    return result;
}
