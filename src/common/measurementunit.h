// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// The unit in which a device reports a measurement, or in which it is shown. MeasurementTable
/// stores the value as item data.
enum class MeasurementUnit {
    Undefined = 0,
    Celsius = 1,
    Fahrenheit = 2,
    Ppb = 3,
    Ppm = 4,
    MicrogramsPerCubicMetre = 5,
    Millibar = 6,
    RelativeHumidity = 7,
    Degree = 8,
    ExtraUnit = 9,
    MillimetresPerHour = 10,
    MetresPerSecond = 11,
    WattsPerSquareMetre = 12
};
