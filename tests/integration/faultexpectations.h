// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/faultmatrix.h"

/// The operations of the device handler that are tested.
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
    ReadEeprom,
    WriteEeprom,
    Reboot,
    UpdateFirmware
};

/// The expected outcome of each operation of the handler under each fault of the device and the
/// line. An outcome begins with "done" (correct result, after so many sends), "wrong result
/// reported" (damaged data that no check detects), "queue stopped" (without a signal, until the
/// named call), "reports" or "failed" (actionFailed).
FaultMatrix handlerFaultMatrix();
