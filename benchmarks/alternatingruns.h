// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <iterator>
#include <vector>

/// One value for each run of an operation.
using Samples = std::vector<double>;

/// The wall-clock time of @p operation in seconds.
template <typename Operation>
double secondsOf(Operation operation)
{
    const auto begin = std::chrono::steady_clock::now();
    operation();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// Runs each of @p operations, which return their duration in seconds, @p runs times; returns the
/// durations of each. The operations run alternately, in reverse order in every second run, so that
/// a change of the machine's load affects all of them equally.
inline std::vector<Samples> runAlternately(int runs,
                                           const std::vector<std::function<double()>> &operations)
{
    std::vector<Samples> seconds(operations.size(), Samples(static_cast<std::size_t>(runs)));
    for (std::size_t run = 0; run < static_cast<std::size_t>(runs); ++run) {
        for (std::size_t i = 0; i < operations.size(); ++i) {
            const std::size_t operation = run % 2 == 0 ? i : operations.size() - 1 - i;
            seconds[operation][run] = operations[operation]();
        }
    }
    return seconds;
}

/// For each run, the ratio of its value in @p dividends to that in @p divisors.
inline Samples ratiosOf(const Samples &dividends, const Samples &divisors)
{
    Samples ratios;
    std::transform(dividends.cbegin(), dividends.cend(), divisors.cbegin(),
                   std::back_inserter(ratios), std::divides<>());
    return ratios;
}

/// The median of @p values, for an even number of them the upper of the two middle ones; 0 if there
/// are none.
inline double median(Samples values)
{
    if (values.empty()) {
        return 0.0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}
