// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/devicedetails.h"

#include <QtCore/QDateTime>

/// A device in the store, with the times of its oldest and newest measurement. Both times are
/// invalid for a device without measurements.
struct StoredDevice
{
    DeviceDetails details; ///< as they were at the device's first connection
    unsigned id = 0; ///< the id of its row
    QDateTime firstMeasurement; ///< UTC
    QDateTime lastMeasurement; ///< UTC
};
