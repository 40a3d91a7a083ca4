// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QMetaType>

namespace Simulator {

/// How bytes are sent over the serial line.
enum class Delivery {
    Streamed, ///< a few at a time, at the rate of the line
    OneChunk, ///< in one chunk, after the time that sending them would take
    SingleBytes ///< one by one with a pause after each
};

} // namespace Simulator

Q_DECLARE_METATYPE(Simulator::Delivery)
