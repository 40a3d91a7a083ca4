// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// The user's choice of units.
struct MeasurementDisplayOptions
{
    bool temperatureInCelsius = true; ///< °C, otherwise °F
    bool pollutantInPpm = true; ///< ppm, otherwise µg/m³
    bool hideUndefinedUnit = true; ///< leaves out an undefined unit, otherwise shows "Undefined"
};
