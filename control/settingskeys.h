// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// The keys under which the user's choices are kept. They are part of the persisted format: another
/// spelling loses the user's value.
namespace SettingsKeys {

constexpr QLatin1String serialPort("serial port");
constexpr QLatin1String pollutantUnit("pollutant unit"); ///< 0 ppm, otherwise µg/m³
constexpr QLatin1String temperatureUnit("temperature unit"); ///< 0 °C, otherwise °F
constexpr QLatin1String localStoragePath("local storage path"); ///< a folder
constexpr QLatin1String graphFrom("graph from");
constexpr QLatin1String graphTo("graph to");
constexpr QLatin1String graphMeasurementTypes("graph measurement types");
constexpr QLatin1String graphRangeManual("graph range manual");
constexpr QLatin1String graphMaximumRange("graph maximum range");
constexpr QLatin1String graphMinimumRange("graph minimum range");
constexpr QLatin1String graphShowLatest("graph show latest measurements");
constexpr QLatin1String measurementExportFileName("measurement export filename");
constexpr QLatin1String logFileName("log filename");
constexpr QLatin1String eepromFileName("eeprom filename"); ///< of backup and restore
constexpr QLatin1String firmwarePath("firmware path");

} // namespace SettingsKeys
