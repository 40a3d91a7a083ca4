// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QList>
#include <random>

/// The draws of one action. They follow from the walk's seed and the action's number alone, so that
/// an action which finds other things than last time does not shift the draws of those behind it.
class MonkeyDice
{
public:
    MonkeyDice(unsigned seed, int action)
    {
        std::seed_seq both{seed, static_cast<unsigned>(action)};
        m_generator.seed(both);
    }

    /// From 0 to @p count - 1; 0 when there is nothing to choose from.
    int below(int count)
    {
        return count > 0 ? static_cast<int>(m_generator() % static_cast<unsigned>(count)) : 0;
    }

    /// From @p low to @p high, both included.
    int between(int low, int high) { return low + below(high - low + 1); }

    bool percent(double chance) { return below(100000) < chance * 1000; }

    template <typename T>
    const T &pick(const QList<T> &choices)
    {
        return choices.at(below(choices.size()));
    }

private:
    std::mt19937 m_generator;
};
