// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementitem.h"
#include "tools/checksettings/settingsreader.h"

#include <QtCore/QString>
#include <QtCore/QVector>

/// Warnings about what KV Tool reads although it is probably a mistake, in the order of the file.
QVector<SettingsMessage> settingsWarnings(const SettingsReader &reader);

/// The symbol of @p unit; "no unit" if it has none.
QString unitText(MeasurementUnit unit);
