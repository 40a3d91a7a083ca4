// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QRandomGenerator>
#include <QtCore/QtGlobal>

/// How long an endurance test runs: short by default, longer if set in the environment.
namespace EnduranceParameters {

/// The positive number in the environment variable @p variable; without one, @p defaultValue.
inline int positiveNumber(const char *variable, int defaultValue)
{
    bool isNumber = false;
    const int value = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber && value > 0 ? value : defaultValue;
}

/// The number in the environment variable KV_SEED; without one, a new seed. The caller prints it.
inline int seed()
{
    constexpr int seeds = 1000000;
    return positiveNumber("KV_SEED",
                          static_cast<int>(QRandomGenerator::global()->bounded(1, seeds)));
}

} // namespace EnduranceParameters
