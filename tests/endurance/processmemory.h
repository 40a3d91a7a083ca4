// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QFile>
#include <QtCore/QVector>
#include <cstdio>
#include <malloc.h>
#include <numeric>
#include <unistd.h>

/// False under AddressSanitizer: it keeps freed memory in a quarantine, which always grows.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool memoryIsMeasurable = false;
#else
constexpr bool memoryIsMeasurable = true;
#endif

/// The resident set size of this process.
inline qint64 residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    const bool opened = file.open(QIODevice::ReadOnly);
    const qint64 pages = opened ? file.readAll().split(' ').value(1).toLongLong() : 0;
    return pages * sysconf(_SC_PAGESIZE);
}

/// Takes samples of the memory in use and determines whether it grows with the number of actions.
class MemoryTrend
{
public:
    /// Takes a sample after @p actions actions; to be called when the tool has just been deleted.
    /// Returns free memory to the system first.
    void sample(int actions)
    {
        malloc_trim(0);
        m_actions.append(actions);
        m_resident.append(static_cast<double>(residentBytes()));
        m_heap.append(static_cast<double>(mallinfo2().uordblks));
    }

    /// Prints the trend; false if the resident set or the heap grows by 20 bytes or more per
    /// action.
    bool isFlat() const
    {
        constexpr int minimumSamples = 30;
        constexpr double maximumBytesPerAction = 20;
        if (m_actions.size() < minimumSamples) {
            std::printf("memory: too few samples for a trend\n");
            return true;
        }
        const double resident = bytesPerAction(m_resident);
        const double heap = bytesPerAction(m_heap);
        std::printf("memory in %d samples: resident %.0f bytes at the end, %+.1f per action; heap "
                    "%.0f bytes, %+.1f\n",
                    m_actions.size(), m_resident.last(), resident, m_heap.last(), heap);
        return !memoryIsMeasurable
            || (resident < maximumBytesPerAction && heap < maximumBytesPerAction);
    }

private:
    /// The growth from the second third of the samples to the last one. The first third fills Qt's
    /// caches of glyphs, icons, styles and signal types.
    double bytesPerAction(const QVector<double> &bytes) const
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
