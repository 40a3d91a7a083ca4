// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QTimer>
#include <ctime>

/// Measures, from its construction on, for how long the event loop leaves a timer of 10 ms waiting.
class EventLoopLatencyMonitor : public QObject
{
public:
    EventLoopLatencyMonitor();

    /// The longest time between two ticks, in ms.
    qint64 longestGap() const { return m_longestGap; }

    /// Ticks so far.
    int ticks() const { return m_ticks; }

    /// Prints the figures and the share of a processor used, with @p title in front.
    void print(const char *title) const;

private:
    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    QElapsedTimer m_sinceStart;
    std::clock_t m_processorAtStart;
    qint64 m_longestGap = 0;
    int m_ticks = 0;
};
