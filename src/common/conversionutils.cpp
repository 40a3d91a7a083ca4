// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/conversionutils.h"

// Quirk: single precision, 1.7999999523162842 as a double, so that exported values stay comparable
// with earlier exports.
constexpr double fahrenheitPerCelsius = static_cast<double>(1.8F);
constexpr double fahrenheitAtZeroCelsius = 32.0;

double ConversionUtils::multiply(double value, double factor) { return value * factor; }

double ConversionUtils::celsiusToFahrenheit(double celsius)
{
    return celsius * fahrenheitPerCelsius + fahrenheitAtZeroCelsius;
}

double ConversionUtils::fahrenheitToCelsius(double fahrenheit)
{
    return (fahrenheit - fahrenheitAtZeroCelsius) * 5.0 / 9.0;
}
