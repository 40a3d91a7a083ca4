// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// The keys of the user's choices. They are part of the persisted format: another spelling loses
/// the user's value.
namespace SettingsKeys {

/// The characters of a literal, without its terminating NUL.
template <int Size>
constexpr QLatin1String key(const char (&text)[Size])
{
    return QLatin1String(text, Size - 1);
}

/// @name Keys
/// The value is what the name says, unless a note says more.
/// @{
constexpr QLatin1String serialPort = key("serial port");
constexpr QLatin1String pollutantUnit = key("pollutant unit"); ///< 0 ppm, otherwise µg/m³
constexpr QLatin1String temperatureUnit = key("temperature unit"); ///< 0 °C, otherwise °F
constexpr QLatin1String localStoragePath = key("local storage path"); ///< a folder
constexpr QLatin1String graphFrom = key("graph from");
constexpr QLatin1String graphTo = key("graph to");
constexpr QLatin1String graphMeasurementTypes = key("graph measurement types");
constexpr QLatin1String graphRangeManual = key("graph range manual");
constexpr QLatin1String graphMaximumRange = key("graph maximum range");
constexpr QLatin1String graphMinimumRange = key("graph minimum range");
constexpr QLatin1String graphShowLatest = key("graph show latest measurements");
constexpr QLatin1String measurementExportFileName = key("measurement export filename");
constexpr QLatin1String logFileName = key("log filename");
constexpr QLatin1String eepromFileName = key("eeprom filename"); ///< of backup and restore
constexpr QLatin1String firmwarePath = key("firmware path");
/// @}

} // namespace SettingsKeys
