// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/localstorage.h"

#include <QtCore/QString>

class SimulatorProcess;

/// Fills a new store at @p path with the readings of the last day, one a minute, that @p device
/// would have sent, and closes the store. The device must run with the simulator's default seed.
///
/// An hour is missing, and in another hour one measurement was not available. Returns false if the
/// store can't be written.
bool writeHistory(LocalStorage &storage, const QString &path, SimulatorProcess &device);
