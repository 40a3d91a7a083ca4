// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// One value of a reading, under its raw name and in the device's unit.
struct MeasurementValue
{
    QString name; ///< the raw name
    bool valid = false; ///< false: the device reported the measurement as not available
    double value = 0.0; ///< 0.0 when not valid
};
