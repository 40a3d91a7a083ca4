// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <functional>
#include <iterator>
#include <vector>

/// One value for each run of a work.
using Samples = std::vector<double>;

/// The seconds that each of @p works returns in @p runs runs. The works take turns, in reverse
/// order in every second run, so that a change of the machine's load affects all of them alike.
inline std::vector<Samples> interleaved(int runs, const std::vector<std::function<double()>> &works)
{
    std::vector<Samples> seconds(works.size(), Samples(static_cast<std::size_t>(runs)));
    for (std::size_t run = 0; run < static_cast<std::size_t>(runs); ++run) {
        for (std::size_t turn = 0; turn < works.size(); ++turn) {
            const std::size_t work = run % 2 == 0 ? turn : works.size() - 1 - turn;
            seconds[work][run] = works[work]();
        }
    }
    return seconds;
}

/// @p dividends by @p divisors, run by run.
inline Samples ratiosOf(const Samples &dividends, const Samples &divisors)
{
    Samples ratios;
    std::transform(dividends.cbegin(), dividends.cend(), divisors.cbegin(),
                   std::back_inserter(ratios), std::divides<>());
    return ratios;
}

/// The middle one of @p values, the upper one of an even number of them; 0 of none.
inline double median(Samples values)
{
    if (values.empty()) {
        return 0.0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}
