// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementitem.h"
#include "main/settingswalk.h"

#include <QtCore/QString>
#include <QtCore/QVector>

/// Remarks on what the tool reads in a settings file and what its author hardly means, in the order
/// of the file.
QVector<SettingsRemark> settingsRemarks(const SettingsWalk &walk);

/// The text of @p unit; words for a unit without a text.
QString unitText(MeasurementUnit unit);
