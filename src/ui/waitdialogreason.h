// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QMetaType>

/// The operation for which the wait dialog is shown.
enum class WaitDialogReason {
    ReadingLog = 0,
    UpdatingFirmware = 1,
    WritingToEeprom = 2,
    SettingDeviceClock = 3,
    RestoringEeprom = 4,
    BackingUpEeprom = 5,
    NoReason = 6
};

Q_DECLARE_METATYPE(WaitDialogReason)
