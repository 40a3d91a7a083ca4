// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/stringliterals.h"

#include <QtCore/QContiguousCache>
#include <QtCore/QRegularExpression>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#endif

/// Records the last actions and log messages of the run and prints them on a failure: an unexpected
/// warning, a blocked event loop, a sanitizer's report or a crash. A failure ends the process.
class ActionTrace
{
public:
    /// Installs the handlers of log messages, crashes and hangs, which SIGALRM reports.
    static void begin()
    {
        qInstallMessageHandler(onLogLine);
        std::signal(SIGALRM, onHang);
#if defined(__SANITIZE_ADDRESS__)
        __sanitizer_set_death_callback(print);
#else
        for (const int number : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
            std::signal(number, onCrash);
        }
#endif
    }

    /// Records an action, which begins with its number, or what the action used: a control, a file
    /// or a command of the simulator.
    static void add(const QByteArray &line)
    {
        constexpr int maximumLength = 160;
        m_entries.append(line.left(maximumLength));
    }

    /// Ends the process immediately with exit code 1, unless @p condition is true.
    static void require(bool condition, const QByteArray &reason)
    {
        if (!condition) {
            print();
            std::fprintf(stderr, "FAILED: %s\n", reason.constData());
            std::_Exit(EXIT_FAILURE);
        }
    }

private:
    static void print()
    {
        std::fflush(stdout);
        for (int index = m_entries.firstIndex(); index <= m_entries.lastIndex(); ++index) {
            std::fprintf(stderr, "%s\n", m_entries.at(index).constData());
        }
    }

    static void onLogLine(QtMsgType type, const QMessageLogContext &, const QString &line)
    {
        // Warnings that random input may cause. From the tool: a reading that arrives before the
        // device is known, a value requested before the first connection, a command for a port that
        // the user has closed. From Qt: a NUL typed into a file dialog, a wait dialog opened again
        // while a message box covers it, a click on a selected cell of a table that is being
        // refilled, unsupported features of the offscreen platform.
        static const QRegularExpression expected(
            text("^(Device details not set yet, can't add measurements yet"
                 "|QIODevice::write \\(QSerialPort\\): device not open|Unable to add job false true"
                 "|Broken filename passed to function|QDialog::exec: Recursive call detected"
                 "|edit: index was invalid|edit: editing failed|This plugin does not support )"));
        add(line.toUtf8());
        require(type == QtDebugMsg || type == QtInfoMsg || expected.match(line).hasMatch(),
                "unexpected warning: " + line.toUtf8());
    }

    static void onHang(int)
    {
        std::fprintf(stderr, "FAILED: the event loop has not run for too long\n");
        std::abort(); // prints the trace and, with a sanitizer, the stack
    }

    static void onCrash(int number)
    {
        print();
        std::signal(number, SIG_DFL);
        std::raise(number);
    }

    // Never deleted: leaks are reported after the end of main().
    static inline auto &m_entries = *new QContiguousCache<QByteArray>(120);
};
