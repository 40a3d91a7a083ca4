// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/measurementvalue.h"

#include <QtCore/QMap>
#include <QtCore/QVector>

/// The values of the device's @p reply, from raw name to raw value, in the order of their names.
/// "N" means that a value is not available; anything else that is not a number is read as 0.
QVector<MeasurementValue> measurementValues(const QMap<QString, QString> &reply);

/// The health of a device, such as "98%", limited to 0 to 100; -1 if @p reply is empty, 0 if it is
/// not a number.
int healthPercentage(const QString &reply);
