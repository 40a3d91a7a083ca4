// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// The names of the device's own variables, as its console spells them. The names of a model's
/// settings are not among them: they come from the description of the model.
namespace DeviceVariables {

/// The characters of a literal, without its terminating NUL.
template <int Size>
constexpr QLatin1String variable(const char (&name)[Size])
{
    return QLatin1String(name, Size - 1);
}

constexpr QLatin1String hwVersion = variable("hwver"); ///< version of the hardware
constexpr QLatin1String swVersion = variable("swver"); ///< version of the firmware
constexpr QLatin1String serialNumber = variable("serial"); ///< identifies a device in the store
constexpr QLatin1String modelNumber = variable("model"); ///< as shown in the window and stored
constexpr QLatin1String measurementState = variable("meas_state"); ///< see MeasurementState
constexpr QLatin1String health = variable("health"); ///< negative: not available
constexpr QLatin1String debug = variable("debug"); ///< 0 switches the console's debug output off

} // namespace DeviceVariables
