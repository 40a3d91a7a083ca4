// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// The names of the variables that every model has, as the device's console spells them. The names
/// of a model's settings come from its description in settings.xml.
namespace DeviceVariables {

const QLatin1String hwVersion("hwver"); ///< version of the hardware
const QLatin1String swVersion("swver"); ///< version of the firmware
const QLatin1String serialNumber("serial"); ///< serial number; identifies a device in the store
const QLatin1String modelNumber("model"); ///< model number, as shown in the window and stored
const QLatin1String measurementState("meas_state"); ///< see MeasurementState
const QLatin1String health("health"); ///< health in percent, such as "98%"
const QLatin1String debug("debug"); ///< 0 switches the console's debug output off

} // namespace DeviceVariables
