// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/localstorage.h"

#include <QtCore/QString>

class SimulatorProcess;

/// Fills a new store at @p path with the readings of the last day, one a minute, that @p device
/// would have given, and closes it again. The device must run with the simulator's initial seed.
///
/// An hour is missing, and in another hour one measurement was not available. False when the store
/// can't be written.
bool writeHistory(LocalStorage &storage, const QString &path, SimulatorProcess &device);
