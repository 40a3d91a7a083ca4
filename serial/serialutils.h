// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Makes the enumerations of jobs, actions and values known to the meta-type system under their
/// names, where they are not yet; a queued connection that carries one needs that.
void registerSerialMetaTypes();
