// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/measurementvalue.h"

#include <QtCore/QMap>
#include <QtCore/QVector>

/// The values of a device's measurement reply, in the order of their names. The text "N" means that
/// a value is not available; any other text that is not a number is read as 0.
QVector<MeasurementValue> measurementValues(const QMap<QString, QString> &reply);

/// The health "98%" of a device in percent, 0 to 100; -1 for the empty text, and 0 for one that is
/// no number.
int healthPercentage(const QString &reply);
