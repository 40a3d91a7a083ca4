// SPDX-License-Identifier: GPL-3.0-or-later
// START: the time from the start of a process until its main window is drawn, and its memory at
// that moment, on a virtual display. The library built from startprobe.cpp is preloaded into the
// process, reports both and ends the process.
#include "benchmarks/benchmarkarguments.h"
#include "benchmarks/benchmarkoutput.h"
#include "tests/kit/testpaths.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

namespace {

/// A virtual display during the lifetime of this object. Sets DISPLAY.
class VirtualDisplay
{
public:
    VirtualDisplay()
    {
        m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_server.start(QStringLiteral("Xvfb"),
                       {QStringLiteral("-displayfd"), QStringLiteral("1"),
                        QStringLiteral("-screen"), QStringLiteral("0"),
                        QStringLiteral("1680x1000x24"), QStringLiteral("-nolisten"),
                        QStringLiteral("tcp"), QStringLiteral("-noreset")});
        while (!m_server.canReadLine()) {
            if (!m_server.waitForReadyRead()) {
                fail("There is no virtual display: " + m_server.errorString().toStdString());
            }
        }
        qputenv("DISPLAY", ':' + m_server.readLine().trimmed());
    }
    ~VirtualDisplay()
    {
        m_server.terminate();
        m_server.waitForFinished();
    }
    Q_DISABLE_COPY(VirtualDisplay)

private:
    QProcess m_server;
};

/// The time until the main window was drawn, and the memory that the process used at that moment.
struct StartResult
{
    double seconds = 0.0;
    double megabytes = 0.0;
};

/// Starts @p program with the preloaded library, which ends the process, and waits for that.
StartResult start(const QString &program)
{
    timespec begin{};
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    clock_gettime(CLOCK_MONOTONIC, &begin);
    process.start(program, QStringList());
    if (!process.waitForFinished() || process.exitCode() != 0) {
        fail(program.toStdString() + " showed no window: " + process.errorString().toStdString());
    }
    const QList<QByteArray> words = process.readAllStandardOutput().simplified().split(' ');
    if (words.size() != 2) {
        fail(program.toStdString() + " did not report that its window was drawn.");
    }
    const double shown = words.at(0).toDouble();
    return {shown - double(begin.tv_sec) - double(begin.tv_nsec) * 1e-9,
            words.at(1).toDouble() / 1024};
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const BenchmarkArguments arguments(argc, argv);
    if (!arguments.isRequested("START")) {
        return 0;
    }
    const QString binaries = QCoreApplication::applicationDirPath();
    const QTemporaryDir home;
    QFile::copy(TestPaths::sourceFile("settings.xml"),
                home.filePath(QStringLiteral("settings.xml")));
    QDir::setCurrent(home.path());
    for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
        qputenv(name, home.path().toLocal8Bit());
    }
    const VirtualDisplay display;
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("LD_PRELOAD", (binaries + QStringLiteral("/libstartprobe.so")).toLocal8Bit());

    const QString tool = binaries + QStringLiteral("/kvtool");
    const QString emptyWindow = binaries + QStringLiteral("/empty-window");
    // The first start creates the store and loads the libraries into memory.
    start(tool);
    start(emptyWindow);
    Samples toolMemory;
    Samples emptyWindowMemory;
    const auto measureStart = [](const QString &program, Samples &memory) {
        const StartResult result = start(program);
        memory.push_back(result.megabytes);
        return result.seconds;
    };
    const std::vector<Samples> seconds =
        runAlternately(arguments.size(21, 1),
                       {[&] { return measureStart(tool, toolMemory); },
                        [&] { return measureStart(emptyWindow, emptyWindowMemory); }});
    // Each one makes the tool's start longer: it asks udev about all of them when it lists the
    // ports.
    const auto ttyDevices = QDir(QStringLiteral("/sys/class/tty"))
                                .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                                .size();
    printRow("START time", withUnit(median(seconds[0]) * 1e3, 0, "ms"),
             withUnit(median(seconds[1]) * 1e3, 0, "ms") + ", an empty QMainWindow; "
                 + std::to_string(ttyDevices) + " tty devices",
             ratiosOf(seconds[0], seconds[1]), "<= 1.5");
    printRow("START memory", withUnit(median(toolMemory), 1, "MB"),
             withUnit(median(emptyWindowMemory), 1, "MB") + ", an empty QMainWindow",
             ratiosOf(toolMemory, emptyWindowMemory), "<= 1.3");
    return 0;
}
