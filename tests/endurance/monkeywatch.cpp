// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/endurance/monkeywatch.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <execinfo.h>
#include <pthread.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#endif

namespace {

constexpr int trailLength = 60;
constexpr int logLength = 60;
constexpr int lineLength = 160;

using Line = std::array<char, lineLength>;

// Plain memory: it is read from signal handlers.
Line howToRepeat;
std::array<Line, trailLength> trail;
std::array<Line, logLength> logLines;
int actionNumber = 0;
unsigned logCount = 0;

QMap<QByteArray, int> &warnings()
{
    static QMap<QByteArray, int> all;
    return all;
}

void write(Line &line, const char *words)
{
    std::snprintf(line.data(), line.size(), "%s", words);
}

/// The warnings that are owed: a reading that comes before the device is known; a value that is to
/// be read before the first connect, after an update that needed none; a command for a port that
/// the user has closed. The others are Qt's: of a NUL that was typed into a file dialog; of a wait
/// dialog that is wanted again while a box on top holds up its last end; of a click on a chosen
/// cell, which waits for a second click, when the table is filled anew meanwhile.
bool isOwed(const QString &text)
{
    static const QStringList owed{
        QStringLiteral("Device details not set yet, can't add measurements yet"),
        QStringLiteral("QIODevice::write (QSerialPort): device not open"),
        QStringLiteral("Unable to add job false true"),
        QStringLiteral("Broken filename passed to function"),
        QStringLiteral("QDialog::exec: Recursive call detected"),
        QStringLiteral("edit: index was invalid"),
        QStringLiteral("edit: editing failed"),
    };
    for (const QString &line : owed) {
        if (text.startsWith(line)) {
            return true;
        }
    }
    return false;
}

void onLogLine(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    const QByteArray line = text.toLocal8Bit();
    write(logLines.at(logCount % logLength), line.constData());
    ++logCount;
    if (type == QtDebugMsg || type == QtInfoMsg) {
        return;
    }
    ++warnings()[line];
    // The offscreen platform's own, about what only a real screen has.
    if (!isOwed(text) && !text.startsWith(QLatin1String("This plugin does not support "))) {
        MonkeyTrail::fail("unexpected warning: " + line);
    }
}

void printStack()
{
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_print_stack_trace();
#else
    constexpr int depth = 100;
    std::array<void *, depth> frames{};
    backtrace_symbols_fd(frames.data(), backtrace(frames.data(), depth), STDERR_FILENO);
#endif
}

void onStackWanted(int)
{
    printStack();
    std::fflush(stderr);
    std::_Exit(EXIT_FAILURE);
}

#if !defined(__SANITIZE_ADDRESS__)
void onCrash(int number)
{
    std::fprintf(stderr, "signal %d\n", number);
    MonkeyTrail::print();
    printStack();
    std::signal(number, SIG_DFL);
    std::raise(number);
}
#endif

qint64 nowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

namespace MonkeyTrail {

void begin(const QByteArray &line)
{
    write(howToRepeat, line.constData());
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_set_death_callback(print);
#else
    for (const int number : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
        std::signal(number, onCrash);
    }
#endif
}

void note(int number, const char *what)
{
    actionNumber = number;
    write(trail.at(static_cast<unsigned>(number) % trailLength), what);
}

void detail(const QString &words)
{
    Line &line = trail.at(static_cast<unsigned>(actionNumber) % trailLength);
    const QByteArray both = QByteArray(line.data()) + ": " + words.toUtf8();
    write(line, both.constData());
}

void print()
{
    std::fflush(stdout);
    std::fprintf(stderr, "\n%s\nlast log lines:\n", howToRepeat.data());
    for (unsigned back = logLength; back > 0; --back) {
        if (logCount >= back) {
            std::fprintf(stderr, "  %s\n", logLines.at((logCount - back) % logLength).data());
        }
    }
    std::fprintf(stderr, "last actions:\n");
    for (int number = actionNumber - trailLength + 1; number <= actionNumber; ++number) {
        if (number > 0) {
            std::fprintf(stderr, "  %d %s\n", number,
                         trail.at(static_cast<unsigned>(number) % trailLength).data());
        }
    }
    std::fprintf(stderr, "%s, at action %d\n", howToRepeat.data(), actionNumber);
}

void fail(const QByteArray &reason)
{
    print();
    std::fprintf(stderr, "FAILED: %s\n", reason.constData());
    std::fflush(stderr);
    std::_Exit(EXIT_FAILURE);
}

void watchLog()
{
    qInstallMessageHandler(onLogLine);
}

void printWarnings()
{
    for (auto line = warnings().constBegin(); line != warnings().constEnd(); ++line) {
        std::printf("  %7d %s\n", line.value(), line.key().constData());
    }
}

} // namespace MonkeyTrail

MonkeyWatch::MonkeyWatch(int limitMs)
    : m_limitMs(limitMs)
    , m_lastTick(nowMs())
{
    std::signal(SIGUSR2, onStackWanted);
    const pthread_t watched = pthread_self();
    m_thread = std::thread([this, watched] {
        run();
        if (!m_ended) {
            std::fprintf(stderr, "\nThe event loop was not seen for %d ms\n", m_limitMs);
            MonkeyTrail::print();
            pthread_kill(watched, SIGUSR2);
        }
    });
}

MonkeyWatch::~MonkeyWatch()
{
    m_ended = true;
    m_thread.join();
}

void MonkeyWatch::tick()
{
    const qint64 now = nowMs();
    m_longestGap = std::max(m_longestGap, now - m_lastTick);
    m_lastTick = now;
}

/// Returns when the watch is over or the event loop is overdue.
void MonkeyWatch::run()
{
    constexpr std::chrono::milliseconds lookInterval(100);
    while (!m_ended && nowMs() - m_lastTick < m_limitMs) {
        std::this_thread::sleep_for(lookInterval);
    }
}
