// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QFile>
#include <QtCore/QVector>
#include <cstdio>
#include <malloc.h>
#include <numeric>
#include <unistd.h>

/// Under AddressSanitizer freed memory stays in its quarantine, which always grows.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool memoryIsMeasurable = false;
#else
constexpr bool memoryIsMeasurable = true;
#endif

/// The resident memory of this process.
inline qint64 residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    const bool opened = file.open(QIODevice::ReadOnly);
    const qint64 pages = opened ? file.readAll().split(' ').value(1).toLongLong() : 0;
    return pages * sysconf(_SC_PAGESIZE);
}

/// Samples of the memory in use, and whether it grows with the number of actions.
class MemoryTrend
{
public:
    /// Takes a sample after @p actions, for a moment in which the tool has just ended. Free memory
    /// is returned to the system first.
    void sample(int actions)
    {
        malloc_trim(0);
        m_actions.append(actions);
        m_resident.append(static_cast<double>(residentBytes()));
        m_heap.append(static_cast<double>(mallinfo2().uordblks));
    }

    /// Prints the trend. False when the resident set or the heap grows by 20 bytes an action or
    /// more.
    bool isFlat() const
    {
        constexpr int fewestSamples = 30;
        constexpr double mostBytesAnAction = 20;
        if (m_actions.size() < fewestSamples) {
            std::printf("memory: too few samples to judge\n");
            return true;
        }
        const double resident = growth(m_resident);
        const double heap = growth(m_heap);
        std::printf("memory in %d samples: resident %.0f bytes at the end, %+.1f an action; heap "
                    "%.0f, %+.1f\n",
                    m_actions.size(), m_resident.last(), resident, m_heap.last(), heap);
        return !memoryIsMeasurable || (resident < mostBytesAnAction && heap < mostBytesAnAction);
    }

private:
    /// Bytes an action, from the second third of the samples to the last one. The first third fills
    /// Qt's caches of glyphs, icons, styles and signal types.
    double growth(const QVector<double> &bytes) const
    {
        const int third = bytes.size() / 3;
        const auto mean = [=](const QVector<double> &values, int from) {
            return std::accumulate(values.begin() + from, values.begin() + from + third, 0.0)
                / third;
        };
        return (mean(bytes, 2 * third) - mean(bytes, third))
            / (mean(m_actions, 2 * third) - mean(m_actions, third));
    }

    QVector<double> m_actions;
    QVector<double> m_resident;
    QVector<double> m_heap;
};
