// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QTimer>
#include <cstdio>
#include <ctime>

/// Measures, from its construction on, for how long the event loop leaves a timer of 10 ms waiting.
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

    /// The longest time between two ticks, in ms.
    qint64 longestGap() const { return m_longestGap; }

    /// Ticks so far.
    int ticks() const { return m_ticks; }

    /// Prints the figures and the share of a processor used, with @p title in front.
    void print(const char *title) const
    {
        const qint64 passedMs = qMax<qint64>(1, m_sinceStart.elapsed());
        const double usedMs =
            static_cast<double>(std::clock() - m_processorAtStart) / CLOCKS_PER_SEC * 1000.0;
        std::printf("%-28s longest gap %4lld ms, %3d ticks in %4lld ms, processor %3.0f %%\n",
                    title, m_longestGap, m_ticks, passedMs,
                    usedMs / static_cast<double>(passedMs) * 100.0);
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
