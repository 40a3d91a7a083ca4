// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/faultmatrix.h"

/// A user's action that is run under each fault.
enum UserAction {
    Connect,
    Poll,
    SetValue,
    Synchronize,
    WriteSettings,
    SetClock,
    ReadLog,
    ClearLog,
    Backup,
    Restore,
    UpdateConnected,
    UpdateUnconnected,
    ShowGraph,
    ExportMeasurements,
    StartProgram,
    CloseProgram
};

/// The parts of the matrix. Each is saved as a table with this name.
namespace FaultParts {
constexpr char everydayWork[] = "faults-in-everyday-work";
constexpr char longOperations[] = "faults-in-long-operations";
constexpr char firmwareUpdates[] = "faults-in-firmware-updates";
constexpr char withoutDevice[] = "faults-without-a-device";
} // namespace FaultParts

inline bool isFirmwareUpdate(UserAction action)
{
    return action == UpdateConnected || action == UpdateUnconnected;
}

/// Whether the action sends commands to the device.
inline bool usesDevice(UserAction action) { return action < ShowGraph; }

/// Each user action under each fault of line, port and disk, with the outcome that the user is
/// expected to see.
FaultMatrix userFaultMatrix();
