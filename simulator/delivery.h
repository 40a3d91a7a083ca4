// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QMetaType>

namespace Simulator {

/// How bytes are sent to the line.
enum class Delivery {
    Streamed, ///< as a serial line carries them, a few at a time
    OneChunk, ///< all at once, when the last of them would have arrived
    SingleBytes ///< one by one with a pause after each
};

} // namespace Simulator

Q_DECLARE_METATYPE(Simulator::Delivery)
