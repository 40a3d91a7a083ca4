// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

/// The command line of a benchmark program: the names of rows of the result table, and --small.
class BenchmarkArguments
{
public:
    BenchmarkArguments(int argc, char *argv[])
    {
        for (int i = 1; i < argc; ++i) {
            if (std::strcmp(argv[i], "--small") == 0) {
                m_small = true;
            } else {
                m_names.emplace_back(argv[i]);
            }
        }
    }

    /// Whether each benchmark runs once with tiny sizes, only to check that it works.
    bool isSmall() const { return m_small; }

    /// @p size, or @p small with --small.
    int size(int size, int small) const { return m_small ? small : size; }

    /// Whether the row @p name was requested; without names on the command line, all rows were.
    bool isRequested(const std::string &name) const
    {
        return m_names.empty() || std::find(m_names.begin(), m_names.end(), name) != m_names.end();
    }

    /// Runs those of @p benchmarks whose row names were requested.
    void run(const std::vector<std::pair<const char *, std::function<void()>>> &benchmarks) const
    {
        for (const auto &[name, benchmark] : benchmarks) {
            if (isRequested(name)) {
                benchmark();
            }
        }
    }

private:
    bool m_small = false;
    std::vector<std::string> m_names;
};
