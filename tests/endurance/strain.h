// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QRandomGenerator>
#include <QtCore/QtGlobal>

/// How long a strain goes on: short among the tests, as long as the environment says otherwise.
namespace Strain {

/// The number in the environment's @p variable, @p otherwise without one.
inline int size(const char *variable, int otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber && number > 0 ? number : otherwise;
}

/// KV_SEED of the environment, a new one without it. To be printed.
inline int seed()
{
    constexpr int seeds = 1000000;
    return size("KV_SEED", static_cast<int>(QRandomGenerator::global()->bounded(1, seeds)));
}

} // namespace Strain
