// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementtype.h"
#include "common/measurementunit.h"

#include <QtCore/QString>
#include <QtCore/QVector>

/// The description of one measurement of a model.
struct MeasurementItem
{
    QString name; ///< the key, as the device's reply spells it
    QString displayName; ///< the text to show
    MeasurementUnit unit = MeasurementUnit::Undefined; ///< the unit in which the device delivers

    /// What is measured; determines the unit to show.
    MeasurementType type = MeasurementType::Undefined;
    double conversionMultiplier = 1.0; ///< factor of a pollutant that is shown in another unit
};
