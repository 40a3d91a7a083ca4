// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Whether a device's readings are valid. They are valid only in the state Ready.
enum class MeasurementState {
    WarmingUp = 0,
    Ready = 1,
    TemperatureOverRange = 2,
    NotStabilized = 3,
    HardwareError = 4
};

/// The state with the number @p value; WarmingUp for an unknown number.
MeasurementState measurementStateFromInt(unsigned value);
