// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/measurementmetadata.h"
#include "storage/measurementvalue.h"

#include <QtCore/QVector>

/// A measurement as the store holds it. Its values are always valid.
struct StoredMeasurement : MeasurementMetadata
{
    /// Empty where none could be stored.
    QVector<MeasurementValue> values;
};
