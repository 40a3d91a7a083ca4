// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementitem.h"
#include "ui/configurationitem.h"

#include <QtCore/QMap>
#include <QtCore/QStringList>

/// The keywords of settings.xml, for the loader and for the program that checks such a file.
namespace SettingsSpellings {

/// The types of measurements, in lower case; a file may use any case.
const QMap<QString, MeasurementType> &measurementTypes();

/// The units of measurements, in lower case; a file may use any case.
const QMap<QString, MeasurementUnit> &measurementUnits();

/// The type that @p text denotes.
/// Quirk: case-sensitive, unlike types and units of measurements, so "Float" means Text.
ConfigurationItemType configurationItemType(const QString &text);

/// The attributes that a setting must have, in the order in which they are checked.
QStringList requiredOfConfigurationItem();

/// The attributes that a measurement must have, in the order in which they are checked.
QStringList requiredOfMeasurement();

} // namespace SettingsSpellings
