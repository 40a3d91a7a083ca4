// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "benchmarks/interleaved.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

/// @p number with @p decimals and @p unit, such as "1.25 s".
inline std::string withUnit(double number, int decimals, const char *unit)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f %s", decimals, number, unit);
    return text;
}

/// The rows that the command line asks for, and the lines that scripts/bench reads.
class Rows
{
public:
    Rows(int argc, char *argv[])
    {
        for (int i = 1; i < argc; ++i) {
            if (std::strcmp(argv[i], "--small") == 0) {
                m_small = true;
            } else {
                m_names.emplace_back(argv[i]);
            }
        }
    }

    /// Tiny sizes, once each: only to see that everything runs.
    bool isSmall() const { return m_small; }

    /// @p size, or @p small when everything is to be small.
    int size(int size, int small) const { return m_small ? small : size; }

    /// Whether the row @p name is asked for; all are without a name.
    bool wants(const std::string &name) const
    {
        return m_names.empty() || std::find(m_names.begin(), m_names.end(), name) != m_names.end();
    }

    /// Runs those of @p benchmarks that are asked for, by the names of their rows.
    void run(const std::vector<std::pair<const char *, std::function<void()>>> &benchmarks) const
    {
        for (const auto &[name, benchmark] : benchmarks) {
            if (wants(name)) {
                benchmark();
            }
        }
    }

    /// Prints a row. The median of @p ratios, one of each run, is to be what @p bound says, such as
    /// "<= 1.06"; their spread is from the smallest to the largest.
    static void print(const char *name, const std::string &measured, const std::string &limit,
                      const Samples &ratios, const char *bound)
    {
        const auto [least, most] = std::minmax_element(ratios.cbegin(), ratios.cend());
        const std::string spread = ratios.size() == 1 ? "measured once"
                                                      : withUnit(*least, 3, "to ")
                + withUnit(*most, 3, "in ") + withUnit(double(ratios.size()), 0, "runs");
        std::printf("ROW\t%s\t%s\t%s\t%.3f\t%s\t%s\n", name, measured.c_str(), limit.c_str(),
                    median(ratios), spread.c_str(), bound);
        std::fflush(stdout);
    }

    /// Prints a row that is measured once.
    static void print(const char *name, const std::string &measured, const std::string &limit,
                      double ratio, const char *bound)
    {
        print(name, measured, limit, Samples{ratio}, bound);
    }

private:
    bool m_small = false;
    std::vector<std::string> m_names;
};

/// Ends the program after a benchmark that can't be run or whose results are wrong.
[[noreturn]] inline void fail(const std::string &reason)
{
    std::fprintf(stderr, "%s\n", reason.c_str());
    std::exit(1);
}

/// Wall time of @p work in seconds.
template <typename Work>
double secondsOf(Work work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}
