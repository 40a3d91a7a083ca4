// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementitem.h"
#include "ui/configurationitem.h"

#include <QtCore/QVector>

/// What a model has: its settings and its measurements, each in the order of the file.
struct DeviceConfiguration
{
    /// In the order of the file.
    QVector<ConfigurationItem> configurationItems;
    QVector<MeasurementItem> measurementItems;
};
