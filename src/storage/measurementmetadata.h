// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementstate.h"

#include <QtCore/QDateTime>

/// When a measurement was taken, and what state the device was in.
struct MeasurementMetadata
{
    /// What the device said of itself, and when, in UTC.
    MeasurementState state = MeasurementState::WarmingUp;
    QDateTime timestamp;
};
