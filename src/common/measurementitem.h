// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementtype.h"
#include "common/measurementunit.h"

#include <QtCore/QString>
#include <QtCore/QVector>

/// The description of one measurement of a model.
struct MeasurementItem
{
    QString name; ///< name in the device's replies; identifies the measurement
    QString displayName; ///< the name to show
    MeasurementUnit unit = MeasurementUnit::Undefined; ///< the unit of the device's values

    /// What is measured; determines the unit to show.
    MeasurementType type = MeasurementType::Undefined;
    double conversionMultiplier = 1.0; ///< factor that converts a pollutant to the other unit
};
