// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// The quantity that is measured. MeasurementTable stores the value as item data.
enum class MeasurementType {
    Undefined = 0,
    AirTemperature = 1,
    Pollutant = 2,
    AirHumidity = 3,
    AirPressure = 4,
    ParticulateMatter = 5,
    WindDirection = 6,
    WindSpeed = 7,
    Rain = 8,
    Extra = 9,
    SolarRadiation = 10
};
