// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

namespace Simulator {

/// What a setting holds.
enum class SettingType { Integer, Real, Text };

/// A setting as the firmware knows it.
struct SettingInfo
{
    const char *name; ///< as the console spells it
    SettingType type; ///< decides which of the fields below count
    double minimum; ///< unused for a text
    double maximum; ///< for a text its greatest length in bytes, 0 for any
    const char *initial; ///< factory value
};

/// How a measurement moves.
enum class Course {
    Wave, ///< up and down around the middle
    Daylight, ///< nothing at night, the swing at noon (UTC)
    Showers, ///< nothing most of the time
    Bearing ///< turns around, 0 to 360
};

/// A measurement as the firmware delivers it, in the unit in which it delivers.
struct MeasurementInfo
{
    const char *name; ///< as the console spells it
    Course course; ///< how it moves
    double middle; ///< value that it moves around
    double swing; ///< greatest distance from the middle
    double minimum; ///< never below
    int decimals; ///< digits behind the point
    bool needsWarmth; ///< "N" while the device warms up
};

/// A model: its name, settings and measurements, in the order in which the device tells them.
struct DeviceModel
{
    const char *name; ///< what the variable "model" says
    const char *firmware; ///< what "swver" says
    const char *hardware; ///< what "hwver" says
    QVector<SettingInfo> settings; ///< all that can be set
    QVector<MeasurementInfo> measurements; ///< all that can be measured
};

/// All models that the simulator can be.
const QVector<DeviceModel> &deviceModels();

/// The model called @p name; null when there is none.
const DeviceModel *findDeviceModel(const QByteArray &name);

} // namespace Simulator
