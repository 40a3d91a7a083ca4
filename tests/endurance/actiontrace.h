// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/text.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <deque>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#endif

/// The last actions and log lines of the run, printed with each failure: an unexpected warning, a
/// blocked event loop, a sanitizer's report or a crash. A failure ends the process.
class ActionTrace
{
public:
    /// Installs the handlers of log lines, crashes and hangs, which SIGALRM reports. @p command
    /// repeats the run.
    static void begin(const QByteArray &command)
    {
        m_command = command;
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

    /// Records an action, or a detail of it such as the name of the control that is clicked.
    static void add(const QByteArray &line)
    {
        constexpr int longest = 160;
        constexpr std::size_t mostLines = 120;
        m_lines.push_back(line.left(longest));
        if (m_lines.size() > mostLines) {
            m_lines.pop_front();
        }
    }

    /// Ends the process at once, with exit code 1, unless @p condition is true.
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
        for (const QByteArray &line : m_lines) {
            std::fprintf(stderr, "%s\n", line.constData());
        }
        std::fprintf(stderr, "%s\n", m_command.constData());
    }

    static void onLogLine(QtMsgType type, const QMessageLogContext &, const QString &line)
    {
        add("    " + line.toUtf8());
        require(type == QtDebugMsg || type == QtInfoMsg || isExpected(line),
                "unexpected warning: " + line.toUtf8());
    }

    /// Warnings that random input provokes. The tool's own: a reading that arrives before the
    /// device is known, a value requested before the first connect, a command for a port that the
    /// user has closed. Qt's: a NUL typed into a file dialog, a wait dialog opened again under a
    /// message box, a click on a selected cell of a table that is filled again, features of a real
    /// screen.
    static bool isExpected(const QString &warning)
    {
        const QStringList beginnings =
            texts("Device details not set yet, can't add measurements yet|"
                  "QIODevice::write (QSerialPort): device not open|Unable to add job false true|"
                  "Broken filename passed to function|QDialog::exec: Recursive call detected|"
                  "edit: index was invalid|edit: editing failed|This plugin does not support ");
        return std::any_of(beginnings.begin(), beginnings.end(),
                           [&](const QString &text) { return warning.startsWith(text); });
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
    static inline auto &m_command = *new QByteArray;
    static inline auto &m_lines = *new std::deque<QByteArray>;
};
