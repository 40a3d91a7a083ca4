// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// The keys of the user's preferences. They are part of the stored format: if a key is changed, the
/// stored value is lost.
namespace SettingsKeys {

/// @name Keys
/// The names describe the values; comments add details.
/// @{
const QLatin1String serialPort("serial port");
const QLatin1String pollutantUnit("pollutant unit"); ///< 0 ppm, otherwise µg/m³
const QLatin1String temperatureUnit("temperature unit"); ///< 0 °C, otherwise °F
const QLatin1String localStoragePath("local storage path"); ///< a folder
const QLatin1String graphFrom("graph from");
const QLatin1String graphTo("graph to");
const QLatin1String graphMeasurementTypes("graph measurement types");
const QLatin1String graphRangeManual("graph range manual");
const QLatin1String graphMaximumRange("graph maximum range");
const QLatin1String graphMinimumRange("graph minimum range");
const QLatin1String graphShowLatest("graph show latest measurements");
const QLatin1String measurementExportFileName("measurement export filename");
const QLatin1String logFileName("log filename");
const QLatin1String eepromFileName("eeprom filename"); ///< of backup and restore
const QLatin1String firmwarePath("firmware path");
/// @}

} // namespace SettingsKeys
