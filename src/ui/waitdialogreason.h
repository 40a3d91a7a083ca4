// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QMetaType>

/// The operation that the wait dialog stands for.
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
