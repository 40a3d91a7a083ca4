// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

/// The command line of a benchmark program, and the lines that it prints for scripts/bench.
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

    /// Prints a row. @p ratio should fulfil @p bound, such as "<= 1.06".
    static void print(const char *name, const std::string &measured, const std::string &limit,
                      double ratio, const char *bound)
    {
        std::printf("ROW\t%s\t%s\t%s\t%.3f\t%s\n", name, measured.c_str(), limit.c_str(), ratio,
                    bound);
        std::fflush(stdout);
    }

private:
    bool m_small = false;
    std::vector<std::string> m_names;
};

/// @p number with @p decimals and @p unit, such as "1.25 s".
inline std::string withUnit(double number, int decimals, const char *unit)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f %s", decimals, number, unit);
    return text;
}

/// The median; 0 without values.
inline double median(std::vector<double> values)
{
    if (values.empty()) {
        return 0.0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Wall time of @p work in seconds.
template <typename Work>
double secondsOf(Work work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}
