// SPDX-License-Identifier: GPL-3.0-or-later
// A library that is preloaded (LD_PRELOAD) into a program. When the main window of the program has
// been drawn for the first time, it prints the time in seconds of the monotonic clock and the
// process's proportional set size (PSS) in kB, and ends the process.
#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QFile>
#include <QtCore/QTimer>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace {

double proportionalKilobytes()
{
    QFile file(QStringLiteral("/proc/self/smaps_rollup"));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0.0;
    }
    const QByteArray text = file.readAll();
    const QByteArray size = text.mid(text.indexOf("\nPss:") + 5).trimmed();
    return size.left(size.indexOf(' ')).toDouble();
}

[[noreturn]] void printAndExit()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    std::printf("%ld.%09ld %.0f\n", now.tv_sec, now.tv_nsec, proportionalKilobytes());
    std::fflush(stdout);
    _exit(0);
}

class PaintProbe : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && !m_painted && watched->inherits("QMainWindow")) {
            m_painted = true;
            // When the event loop continues, the whole window has been drawn and flushed.
            QTimer::singleShot(0, qApp, printAndExit);
        }
        return false;
    }

private:
    bool m_painted = false;
};

void installProbe() { qApp->installEventFilter(new PaintProbe); }
Q_COREAPP_STARTUP_FUNCTION(installProbe)

} // namespace
