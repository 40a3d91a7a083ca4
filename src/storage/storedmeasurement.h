// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/measurementmetadata.h"
#include "storage/measurementvalue.h"

#include <QtCore/QVector>

/// A reading in the store. Its values are always valid.
struct StoredMeasurement : MeasurementMetadata
{
    /// Empty if none was valid or none could be stored.
    QVector<MeasurementValue> values;
};
