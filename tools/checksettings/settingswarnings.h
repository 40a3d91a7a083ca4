// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementitem.h"
#include "tools/checksettings/settingsreader.h"

#include <QtCore/QString>
#include <QtCore/QVector>

/// Warnings about elements of a settings file that the tool reads but that are probably mistakes,
/// in the order of the file.
QVector<SettingsMessage> settingsWarnings(const SettingsReader &reader);

/// The text of @p unit; a description for a unit without a text.
QString unitText(MeasurementUnit unit);
