// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QRandomGenerator>
#include <QtCore/QtGlobal>

/// How long an endurance test runs: short by default, longer if set in the environment.
namespace TestParameters {

/// The positive number in the environment's @p variable, otherwise @p otherwise.
inline int number(const char *variable, int otherwise)
{
    bool isNumber = false;
    const int value = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber && value > 0 ? value : otherwise;
}

/// KV_SEED of the environment, otherwise a new seed; to be printed.
inline int seed()
{
    constexpr int seeds = 1000000;
    return number("KV_SEED", static_cast<int>(QRandomGenerator::global()->bounded(1, seeds)));
}

} // namespace TestParameters
