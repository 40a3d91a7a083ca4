// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementstate.h"

#include <QtCore/QDateTime>

/// When a reading was received, and the state of the device at that time.
struct MeasurementMetadata
{
    MeasurementState state = MeasurementState::WarmingUp; ///< the state of the device
    QDateTime timestamp; ///< UTC
};
