// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementitem.h"
#include "main/settingswalk.h"

#include <QtCore/QString>
#include <QtCore/QVector>

/// Remarks on elements of a settings file that the tool reads but that are probably mistakes, in
/// the order of the file.
QVector<SettingsRemark> settingsRemarks(const SettingsWalk &walk);

/// The text of @p unit; words for a unit without a text.
QString unitText(MeasurementUnit unit);
