// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QTimer>
#include <cstdio>
#include <ctime>

/// Measures, from its construction on, the delays of a 10 ms timer, which show for how long the
/// event loop was blocked.
class EventLoopLatencyMonitor
{
public:
    EventLoopLatencyMonitor()
    {
        constexpr int periodMs = 10;
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
            m_longestGap = qMax(m_longestGap, m_sinceTick.restart());
            ++m_ticks;
        });
        m_timer.setTimerType(Qt::PreciseTimer);
        m_sinceTick.start();
        m_sinceStart.start();
        m_timer.start(periodMs);
    }

    /// The longest time between two time-outs of the timer, in ms.
    qint64 longestGap() const { return m_longestGap; }

    /// The number of time-outs so far.
    int ticks() const { return m_ticks; }

    /// Prints @p title, the results and the processor usage.
    void print(const char *title) const
    {
        const qint64 elapsedMs = qMax<qint64>(1, m_sinceStart.elapsed());
        const double processorMs =
            static_cast<double>(std::clock() - m_processorAtStart) / CLOCKS_PER_SEC * 1000.0;
        std::printf("%-28s longest gap %4lld ms, %3d ticks in %4lld ms, processor %3.0f %%\n",
                    title, m_longestGap, m_ticks, elapsedMs,
                    processorMs / static_cast<double>(elapsedMs) * 100.0);
        std::fflush(stdout);
    }

private:
    const std::clock_t m_processorAtStart = std::clock();
    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    QElapsedTimer m_sinceStart;
    qint64 m_longestGap = 0;
    int m_ticks = 0;
};
