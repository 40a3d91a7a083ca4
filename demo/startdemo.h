// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/simulatorprocess.h"
#include "tests/kit/toolobjects.h"

/// Redirects the user's folders to @p folder, and suppresses native dialogs and debug messages.
/// Must be called before the application object is created.
void prepareDemo(const QString &folder);

/// Starts @p device with the additional @p options, then @p tool with a store in @p folder, and
/// selects the device in the port list. A new store is filled with the readings of a day.
///
/// Returns false, with the reason as a warning, if one of them does not start.
bool startDemo(ToolObjects &tool, SimulatorProcess &device, const QString &folder,
               const QStringList &options = QStringList());
