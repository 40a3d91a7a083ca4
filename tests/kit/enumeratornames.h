// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialporttypes.h"

#include <QtCore/QString>

/// The enumerator's name, or the number of a value without one.
/// @{
QString enumeratorName(SerialPortJobType type);
QString enumeratorName(SerialPortActionType type);
QString enumeratorName(SerialPortValueType type);
/// @}
