// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

namespace Simulator {

/// The type of a setting.
enum class SettingType { Integer, Real, Text };

/// A setting of the firmware.
struct SettingInfo
{
    const char *name; ///< as the console spells it
    SettingType type; ///< type of the value
    double minimum; ///< not used for Text
    double maximum; ///< for Text the maximum length in bytes, 0 for any
    const char *initial; ///< factory value
};

/// How a measurement changes over time.
enum class Curve {
    Wave, ///< up and down around the middle
    Daylight, ///< zero at night, highest at noon (UTC)
    Showers, ///< zero most of the time
    Direction ///< an angle, 0 to 360
};

/// A measurement as the firmware reports it, in the unit in which it reports it.
struct MeasurementInfo
{
    const char *name; ///< as the console spells it
    Curve curve; ///< how it changes over time
    double middle; ///< value around which it changes
    double swing; ///< greatest distance from the middle
    double minimum; ///< lowest value
    int decimals; ///< digits after the decimal point
    bool unavailableDuringWarmUp; ///< "N" during warm-up
};

/// A model: its name, settings and measurements, in the device's order.
struct DeviceModel
{
    const char *name; ///< value of the variable "model"
    const char *firmware; ///< value of "swver"
    const char *hardware; ///< value of "hwver"
    QVector<SettingInfo> settings; ///< all that can be set
    QVector<MeasurementInfo> measurements; ///< all that can be measured
};

/// All models that can be simulated.
const QVector<DeviceModel> &deviceModels();

/// The model named @p name; null if there is none.
const DeviceModel *findDeviceModel(const QByteArray &name);

} // namespace Simulator
