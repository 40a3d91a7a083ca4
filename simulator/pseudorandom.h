// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QtGlobal>

namespace Simulator {

/// A pseudo-random number that depends only on @p seed and @p position, so a seed always gives the
/// same device. Uses the finalizer of SplitMix64 (Steele, Lea, Flood 2014).
inline quint64 noise(quint64 seed, quint64 position)
{
    quint64 mixed =
        seed * Q_UINT64_C(0x9e3779b97f4a7c15) + position + Q_UINT64_C(0x632be59bd9b4e019);
    mixed = (mixed ^ (mixed >> 30)) * Q_UINT64_C(0xbf58476d1ce4e5b9);
    mixed = (mixed ^ (mixed >> 27)) * Q_UINT64_C(0x94d049bb133111eb);
    return mixed ^ (mixed >> 31);
}

/// The same as a fraction from 0 (inclusive) to 1 (exclusive).
inline double noiseFraction(quint64 seed, quint64 position)
{
    return static_cast<double>(noise(seed, position) >> 11) / 9007199254740992.0;
}

} // namespace Simulator
