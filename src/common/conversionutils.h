// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// The arithmetic of unit conversions.
namespace ConversionUtils {

/// @p value times @p factor.
double multiply(double value, double factor);

/// @p celsius times 1.8, plus 32. The factor has single precision: 100 °C is 211.99999523162842 °F.
double celsiusToFahrenheit(double celsius);

/// (@p fahrenheit - 32) times 5, divided by 9. Not the exact inverse of celsiusToFahrenheit.
double fahrenheitToCelsius(double fahrenheit);

} // namespace ConversionUtils
