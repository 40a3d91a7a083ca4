// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Makes the three enumerations of the device link known to Qt's meta-types, unless they are. To be
/// called before a queued connection carries one of them.
void registerSerialMetaTypes();
