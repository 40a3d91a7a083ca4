// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/toolfixture.h"

/// Makes @p tool poll again as soon as a reading is shown and stored, by the controller's own timer
/// with an interval of 0.
inline void pollContinuously(ToolObjects &tool)
{
    constexpr int minuteMs = 60000;
    MainWindowController *const controller = &tool.controller;
    // Called after the controller's slot, which has stored the reading.
    QObject::connect(&tool.handler, &SerialPortHandlerInterface::measurementsRead, controller,
                     [controller] { controller->setMeasurementInterval(0); });
    QObject::connect(controller, &MainWindowController::measurementPollStarted, controller,
                     [controller] { controller->setMeasurementInterval(minuteMs); });
}
