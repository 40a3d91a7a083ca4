// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/devicedetails.h"

#include <QtCore/QDateTime>

/// A device that the store knows, and the times of its oldest and newest measurement; both are
/// invalid for a device without measurements.
struct StoredDevice
{
    /// The identity as it was when the device was first seen, and the store's number for it.
    DeviceDetails details;
    unsigned id = 0;

    /// Invalid for a device without measurements; UTC.
    QDateTime firstMeasurement;
    QDateTime lastMeasurement;
};
