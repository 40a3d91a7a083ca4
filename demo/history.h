// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/localstorage.h"

#include <QtCore/QString>

class DemoDevice;

/// Fills a new store at @p path with a day of measurements, one a minute up to now, of the
/// simulated device: day and night, a gap of an hour, and an hour in which one value was not
/// available. The store is closed again. False when it can't be written.
bool writeHistory(LocalStorage &storage, const QString &path, DemoDevice &device);
