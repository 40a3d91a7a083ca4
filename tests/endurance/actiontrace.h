// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>
#include <atomic>
#include <thread>

/// The last actions and log lines of the run, kept for the report of a failure: an unexpected
/// warning, a blocked event loop, a sanitizer's report or a crash.
namespace ActionTrace {

/// Installs the handlers of log lines and crashes. @p command repeats the run and is printed with
/// every failure. An unexpected warning ends the process.
void begin(const QByteArray &command);

/// Records that action @p number begins; @p kind names it.
void note(int number, const char *kind);

/// Records a detail of the action, for example the name of the control that was clicked.
void detail(const QString &text);

/// Prints the last actions and log lines, and the command.
void print();

/// Prints @p reason and the trace, and ends the process at once with exit code 1.
[[noreturn]] void fail(const QByteArray &reason);

/// Prints the warnings that were logged, and how often.
void printWarnings();

} // namespace ActionTrace

/// Aborts the process, with the trace, when the event loop doesn't run for too long.
///
/// To be constructed in the thread whose event loop it monitors.
class EventLoopWatchdog
{
public:
    explicit EventLoopWatchdog(int limitMs);
    ~EventLoopWatchdog();
    EventLoopWatchdog(const EventLoopWatchdog &) = delete;
    EventLoopWatchdog &operator=(const EventLoopWatchdog &) = delete;

    /// To be called from the event loop, nested ones included.
    void tick();

    /// The longest time between two ticks, in ms.
    qint64 longestGap() const { return m_longestGap; }

private:
    static qint64 nowMs();

    int m_limitMs;
    std::atomic<qint64> m_lastTick;
    std::atomic<bool> m_ended{false};
    qint64 m_longestGap = 0;
    std::thread m_thread;
};

/// Samples of the memory in use, and whether it grows with the number of actions.
class MemoryTrend
{
public:
    /// Takes a sample after @p actions, for a moment in which the tool has just ended. Free memory
    /// is returned to the system first.
    void sample(int actions);

    /// Prints the trend. False when the resident set or the heap grows by 20 bytes an action or
    /// more; not meaningful under a sanitizer, whose quarantine always grows.
    bool isFlat() const;

private:
    QVector<double> m_actions;
    QVector<double> m_residentBytes;
    QVector<double> m_heapBytes;
};
