// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/graphsettings.h"

class SettingsInterface;

/// Stores the state of the graph dialog in the user's preferences.
namespace GraphSettingsStorage {

/// The state that was written last; before that, a period that begins and ends now, without
/// measurements.
GraphSettings read(const SettingsInterface &settings);

/// Writes all of @p graph.
void write(const GraphSettings &graph, SettingsInterface &settings);

} // namespace GraphSettingsStorage
