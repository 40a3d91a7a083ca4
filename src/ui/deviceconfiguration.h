// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementitem.h"
#include "ui/configurationitem.h"

/// The settings and the measurements of a model, each in the order of the file.
struct DeviceConfiguration
{
    QVector<ConfigurationItem> configurationItems; ///< shown in the configuration editor
    QVector<MeasurementItem> measurementItems; ///< shown in the table, the graph and exports
};
