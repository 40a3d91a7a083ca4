// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <atomic>
#include <thread>

/// Where the walk is, for whoever has to tell of its end: the watch below, a sanitizer, a signal.
namespace MonkeyTrail {

/// The walk's own line of how to walk it again; printed with everything that goes wrong.
void begin(const QByteArray &howToRepeat);

/// Action @p number begins; @p what is one word for it.
void note(int number, const char *what);

/// Words about the action under way, such as what was clicked.
void detail(const QString &words);

/// Prints the walk's line, the number of the action and the last ones before it.
void print();

/// Prints @p reason and the trail and ends the process at once, with exit code 1.
[[noreturn]] void fail(const QByteArray &reason);

/// Takes the program's log lines: debug lines are kept for the trail alone, a warning that is not
/// among those that the tool has to give ends the walk.
void watchLog();

/// The warnings that came, and how often.
void printWarnings();

} // namespace MonkeyTrail

/// Ends the process when the event loop was not seen for too long, with the main thread's stack.
///
/// Made in the thread that it watches.
class MonkeyWatch
{
public:
    explicit MonkeyWatch(int limitMs);
    ~MonkeyWatch();
    MonkeyWatch(const MonkeyWatch &) = delete;
    MonkeyWatch &operator=(const MonkeyWatch &) = delete;

    /// The event loop, any nested one included, is alive.
    void tick();

    /// The longest time between two ticks, in ms.
    qint64 longestGap() const { return m_longestGap; }

private:
    void run();

    int m_limitMs;
    std::atomic<qint64> m_lastTick;
    std::atomic<bool> m_ended{false};
    qint64 m_longestGap = 0;
    std::thread m_thread;
};
