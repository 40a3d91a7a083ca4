// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/measurementstate.h"

#include <QtCore/QHash>

MeasurementState measurementStateFromInt(unsigned value)
{
    static const QHash<unsigned, MeasurementState> states{
        {0, MeasurementState::WarmingUp},
        {1, MeasurementState::Ready},
        {2, MeasurementState::TemperatureOverRange},
        {3, MeasurementState::NotStabilized},
        {4, MeasurementState::HardwareError},
    };
    return states.value(value, MeasurementState::WarmingUp);
}
