// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/graphsettings.h"

class SettingsInterface;

/// The graph dialog's state among the user's settings.
namespace GraphSettingsStorage {

/// What was written last; until then a period that begins and ends now, without measurements.
GraphSettings read(const SettingsInterface &settings);

/// Writes all of @p graph.
void write(const GraphSettings &graph, SettingsInterface &settings);

} // namespace GraphSettingsStorage
