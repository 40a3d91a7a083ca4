// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Registers the enumerations of serialporttypes.h and the list of log rows as Qt meta-types,
/// unless they are already registered. To be called before a queued connection carries one of them.
void registerSerialMetaTypes();
