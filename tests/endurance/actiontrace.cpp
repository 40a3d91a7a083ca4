// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/endurance/actiontrace.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <malloc.h>
#include <numeric>
#include <pthread.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#endif

namespace {

struct Trace
{
    QByteArray command;
    std::deque<QByteArray> lines; ///< actions and log lines as they came
    QMap<QByteArray, int> warnings;
};

Trace &trace()
{
    static Trace instance;
    return instance;
}

void append(const QByteArray &line)
{
    constexpr int longest = 160;
    constexpr std::size_t mostLines = 120;
    trace().lines.push_back(line.left(longest));
    if (trace().lines.size() > mostLines) {
        trace().lines.pop_front();
    }
}

/// Warnings that random input provokes. The tool's own: a reading that arrives before the device is
/// known, a value requested before the first connect, a command for a port that the user has
/// closed. Qt's: a NUL typed into a file dialog, a wait dialog opened again under a message box, a
/// click on a selected cell of a table that is filled again, features of a real screen.
bool isExpected(const QString &text)
{
    static const QStringList expected{
        QStringLiteral("Device details not set yet, can't add measurements yet"),
        QStringLiteral("QIODevice::write (QSerialPort): device not open"),
        QStringLiteral("Unable to add job false true"),
        QStringLiteral("Broken filename passed to function"),
        QStringLiteral("QDialog::exec: Recursive call detected"),
        QStringLiteral("edit: index was invalid"),
        QStringLiteral("edit: editing failed"),
        QStringLiteral("This plugin does not support "),
    };
    return std::any_of(expected.begin(), expected.end(),
                       [&](const QString &line) { return text.startsWith(line); });
}

void onLogLine(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    append("    " + text.toLocal8Bit());
    if (type == QtDebugMsg || type == QtInfoMsg) {
        return;
    }
    ++trace().warnings[text.toLocal8Bit()];
    if (!isExpected(text)) {
        ActionTrace::fail("unexpected warning: " + text.toLocal8Bit());
    }
}

#if !defined(__SANITIZE_ADDRESS__)
void onCrash(int number)
{
    ActionTrace::print();
    std::signal(number, SIG_DFL);
    std::raise(number);
}
#endif

double residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    const bool opened = file.open(QIODevice::ReadOnly);
    const double pages = opened ? file.readAll().split(' ').value(1).toDouble() : 0;
    return pages * static_cast<double>(sysconf(_SC_PAGESIZE));
}

/// The slope of the least-squares line through the points from index @p first on.
double slope(const QVector<double> &x, const QVector<double> &y, int first)
{
    const int count = x.size() - first;
    const double meanX = std::accumulate(x.begin() + first, x.end(), 0.0) / count;
    const double meanY = std::accumulate(y.begin() + first, y.end(), 0.0) / count;
    double product = 0;
    double square = 0;
    for (int i = first; i < x.size(); ++i) {
        product += (x.at(i) - meanX) * (y.at(i) - meanY);
        square += (x.at(i) - meanX) * (x.at(i) - meanX);
    }
    return square > 0 ? product / square : 0;
}

} // namespace

void ActionTrace::begin(const QByteArray &command)
{
    trace().command = command;
    qInstallMessageHandler(onLogLine);
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_set_death_callback(print);
#else
    for (const int number : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
        std::signal(number, onCrash);
    }
#endif
}

void ActionTrace::note(int number, const char *kind)
{
    append(QByteArray::number(number) + ' ' + kind);
}

void ActionTrace::detail(const QString &text)
{
    append("    " + text.toUtf8());
}

void ActionTrace::print()
{
    std::fflush(stdout);
    for (const QByteArray &line : trace().lines) {
        std::fprintf(stderr, "%s\n", line.constData());
    }
    std::fprintf(stderr, "%s\n", trace().command.constData());
}

void ActionTrace::fail(const QByteArray &reason)
{
    print();
    std::fprintf(stderr, "FAILED: %s\n", reason.constData());
    std::_Exit(EXIT_FAILURE);
}

void ActionTrace::printWarnings()
{
    const auto &warnings = trace().warnings;
    for (auto line = warnings.constBegin(); line != warnings.constEnd(); ++line) {
        std::printf("  %7d %s\n", line.value(), line.key().constData());
    }
}

EventLoopWatchdog::EventLoopWatchdog(int limitMs)
    : m_limitMs(limitMs)
    , m_lastTick(nowMs())
{
    const pthread_t watched = pthread_self();
    m_thread = std::thread([this, watched] {
        while (!m_ended && nowMs() - m_lastTick < m_limitMs) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        if (!m_ended) {
            std::fprintf(stderr, "The event loop has not run for %d ms\n", m_limitMs);
            ActionTrace::print();
            // The sanitizer prints the stack of the monitored thread.
            pthread_kill(watched, SIGABRT);
        }
    });
}

EventLoopWatchdog::~EventLoopWatchdog()
{
    m_ended = true;
    m_thread.join();
}

void EventLoopWatchdog::tick()
{
    const qint64 now = nowMs();
    m_longestGap = std::max(m_longestGap, now - m_lastTick);
    m_lastTick = now;
}

qint64 EventLoopWatchdog::nowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void MemoryTrend::sample(int actions)
{
    malloc_trim(0);
    m_actions.append(actions);
    m_residentBytes.append(residentBytes());
    m_heapBytes.append(static_cast<double>(mallinfo2().uordblks));
}

bool MemoryTrend::isFlat() const
{
    // The first third fills Qt's caches of glyphs, icons, styles and signal types.
    const int first = m_actions.size() / 3;
    constexpr int fewestSamples = 20;
    if (m_actions.size() - first < fewestSamples) {
        std::printf("memory: too few samples to judge\n");
        return true;
    }
    constexpr double mostBytesAnAction = 20;
    const double resident = slope(m_actions, m_residentBytes, first);
    const double heap = slope(m_actions, m_heapBytes, first);
    std::printf(
        "memory in %d samples: resident %.0f bytes after a third, %.0f at the end, %+.1f an "
        "action; heap %.0f, %.0f, %+.1f\n",
        m_actions.size(), m_residentBytes.at(first), m_residentBytes.last(), resident,
        m_heapBytes.at(first), m_heapBytes.last(), heap);
    return resident < mostBytesAnAction && heap < mostBytesAnAction;
}
