// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/faultmatrix.h"

/// What the device handler is asked for.
enum HandlerOperation {
    Connect,
    Poll,
    ReadModel,
    ReadValue,
    SetValue,
    ReadClock,
    SetClock,
    StoreSettings,
    ReadLog,
    EraseLog,
    ReadMemory,
    WriteMemory,
    Reboot,
    UpdateFirmware
};

/// Each operation of the handler under each fault of device and line. An outcome begins with "done"
/// (correct, after so many sends), "passed on" (damaged text that nothing checks), "queue stopped"
/// (without a signal, until the named call), "reports" or "failed" (actionFailed).
FaultMatrix handlerFaultMatrix();
