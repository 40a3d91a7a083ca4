// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/eventlooplatencymonitor.h"

#include <cstdio>

EventLoopLatencyMonitor::EventLoopLatencyMonitor()
    : m_processorAtStart(std::clock())
{
    constexpr int periodMs = 10;
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_longestGap = qMax(m_longestGap, m_sinceTick.restart());
        ++m_ticks;
    });
    m_sinceTick.start();
    m_sinceStart.start();
    m_timer.start(periodMs);
}

void EventLoopLatencyMonitor::print(const char *title) const
{
    const double usedMs =
        static_cast<double>(std::clock() - m_processorAtStart) / CLOCKS_PER_SEC * 1000.0;
    const qint64 passedMs = qMax<qint64>(1, m_sinceStart.elapsed());
    std::printf("%-28s longest gap %4lld ms, %3d ticks in %4lld ms, processor %3.0f %%\n", title,
                static_cast<long long>(m_longestGap), m_ticks, static_cast<long long>(passedMs),
                usedMs / static_cast<double>(passedMs) * 100.0);
    std::fflush(stdout);
}
