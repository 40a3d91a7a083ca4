// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// The names of the device's own variables, as its console spells them. The names of a model's
/// settings are not among them: they come from the description of the model.
namespace DeviceVariables {

const QLatin1String hwVersion("hwver"); ///< version of the hardware
const QLatin1String swVersion("swver"); ///< version of the firmware
const QLatin1String serialNumber("serial"); ///< identifies a device in the store
const QLatin1String modelNumber("model"); ///< as shown in the window and stored
const QLatin1String measurementState("meas_state"); ///< see MeasurementState
const QLatin1String health("health"); ///< negative: not available
const QLatin1String debug("debug"); ///< 0 switches the console's debug output off

} // namespace DeviceVariables
