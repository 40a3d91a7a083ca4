// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/simulatorprocess.h"
#include "tests/kit/tool.h"

/// Before the application object is made: puts the user's folders below @p folder, and suppresses
/// native dialogs and debug messages.
void prepareDemo(const QString &folder);

/// Starts @p device with the further @p options, then @p tool with a store in @p folder, and
/// selects the device in the port list. A new store gets a day of history.
///
/// False, with the reason as a warning, when one of them does not start.
bool startDemo(Tool &tool, SimulatorProcess &device, const QString &folder,
               const QStringList &options = QStringList());
