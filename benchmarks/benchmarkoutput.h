// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "benchmarks/alternatingruns.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

/// @p number with @p decimals and @p unit, such as "1.25 s".
inline std::string withUnit(double number, int decimals, const char *unit)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f %s", decimals, number, unit);
    return text;
}

/// Prints a row of the result table, in the form that scripts/bench reads. @p ratios has one ratio
/// for each run; their median should satisfy @p target, such as "<= 1.06".
inline void printRow(const char *name, const std::string &measured, const std::string &reference,
                     const Samples &ratios, const char *target)
{
    const auto [smallest, largest] = std::minmax_element(ratios.cbegin(), ratios.cend());
    const std::string spread = ratios.size() == 1 ? "measured once"
                                                  : withUnit(*smallest, 3, "to ")
            + withUnit(*largest, 3, "in ") + withUnit(double(ratios.size()), 0, "runs");
    std::printf("ROW\t%s\t%s\t%s\t%.3f\t%s\t%s\n", name, measured.c_str(), reference.c_str(),
                median(ratios), spread.c_str(), target);
    std::fflush(stdout);
}

/// Prints a row that is measured once.
inline void printRow(const char *name, const std::string &measured, const std::string &reference,
                     double ratio, const char *target)
{
    printRow(name, measured, reference, Samples{ratio}, target);
}

/// Ends the program after a benchmark that can't be run or whose results are wrong.
[[noreturn]] inline void fail(const std::string &reason)
{
    std::fprintf(stderr, "%s\n", reason.c_str());
    std::exit(1);
}
