// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/toolfixture.h"

/// From the next reading on @p tool polls again as soon as the one before is shown and stored. It
/// is the controller's own timer that ticks; only its minute is gone.
inline void pollEagerly(Tool &tool)
{
    constexpr int minuteMs = 60000;
    MainWindowController *const controller = &tool.controller;
    // Behind the controller's own slot, so that the reading is in the store.
    QObject::connect(&tool.handler, &SerialPortHandlerInterface::measurementsRead, controller,
                     [controller] { controller->setMeasurementInterval(0); });
    QObject::connect(controller, &MainWindowController::measurementPollStarted, controller,
                     [controller] { controller->setMeasurementInterval(minuteMs); });
}
