// SPDX-License-Identifier: GPL-3.0-or-later
// The time that the tool itself needs for an exchange. EXCH: over a pseudo-terminal without a rate
// limit, compared with a minimal client. SCALE log: for logs of increasing length. CHATTY: for a
// restart of the device with long boot messages.
#include "benchmarks/benchmarkarguments.h"
#include "benchmarks/minimaldevice.h"
#include "benchmarks/toollink.h"
#include "serial/dataparser.h"
#include "serial/serialportjobreboot.h"
#include "tests/kit/fakeserialport.h"

#include <QtCore/QCoreApplication>
#include <cmath>
#include <ctime>
#include <sched.h>

namespace {

using Handler = SerialPortHandlerInterface;

constexpr double usPerSecond = 1e6;

/// Restricts this process, and the processes that it starts, to one core.
void pinToOneCore()
{
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    sched_getaffinity(0, sizeof allowed, &allowed);
    for (int core = CPU_SETSIZE - 1; core >= 0; --core) {
        if (CPU_ISSET(core, &allowed)) {
            CPU_ZERO(&allowed);
            CPU_SET(core, &allowed);
            sched_setaffinity(0, sizeof allowed, &allowed);
            return;
        }
    }
}

/// Reads from the minimal device with the tool.
class ToolReader
{
public:
    explicit ToolReader(const QString &port)
        : m_link(port)
    {
        QObject::connect(&m_link.handler, &Handler::allJobsDone, &m_link.handler,
                         [this] { onDone(); });
        QObject::connect(&m_link.handler, &Handler::dataRead, &m_link.handler,
                         [this] { ++m_count; });
        QObject::connect(&m_link.handler, &Handler::logRead, &m_link.handler,
                         [this](const QStringList &, const QVector<LogValue> &rows) {
                             m_count = rows.size();
                             onDone();
                         });
        m_link.connectToDevice();
    }

    /// Reads a value @p count times.
    void readValues(int count)
    {
        QStringList names;
        for (int i = 0; i < count; ++i) {
            names.append(QStringLiteral("altitude"));
        }
        read(count, 1, [&] { m_link.handler.readValues(names); });
    }

    /// Reads the whole log of @p count rows.
    void readLog(int count)
    {
        // Three signals: logRead, and allJobsDone twice, because the jobs that read the rows are
        // added after the job that reads their number is done.
        read(count, 3, [this] { m_link.handler.readLog(); });
    }

private:
    void read(int count, int awaitedSignals, const std::function<void()> &start)
    {
        m_awaitedSignals = awaitedSignals;
        m_count = 0;
        m_waiter.run(start);
        if (m_count != count) {
            fail("The device was not read completely.");
        }
    }

    void onDone()
    {
        if (--m_awaitedSignals == 0) {
            m_waiter.quit();
        }
    }

    ToolLink m_link;
    Waiter m_waiter;
    int m_awaitedSignals = 0;
    int m_count = 0;
};

void printExchange(const char *name, const Samples &tool, const Samples &minimal, int roundTrips,
                   const char *target)
{
    printRow(name, withUnit(median(tool) / roundTrips * usPerSecond, 1, "us"),
             withUnit(median(minimal) / roundTrips * usPerSecond, 1, "us, minimal client"),
             ratiosOf(tool, minimal), target);
}

void benchmarkExchange(const BenchmarkArguments &arguments, MinimalDevice &device)
{
    const int roundTrips = arguments.size(1000, 20);
    ToolReader tool(device.port());
    device.setLogRows(roundTrips);
    const std::vector<Samples> seconds =
        runAlternately(arguments.size(11, 1),
                       {[&] { return secondsOf([&] { tool.readValues(roundTrips); }); },
                        [&] {
                            return secondsOf([&] {
                                for (int i = 0; i < roundTrips; ++i) {
                                    device.exchange("show altitude");
                                }
                            });
                        },
                        [&] { return secondsOf([&] { tool.readLog(roundTrips); }); },
                        [&] {
                            return secondsOf([&] {
                                for (int i = 0; i <= roundTrips; ++i) {
                                    device.exchange("log --read=" + QByteArray::number(i));
                                }
                            });
                        }});
    printExchange("EXCH value", seconds[0], seconds[1], roundTrips, "<= 3");
    printExchange("EXCH log row", seconds[2], seconds[3], roundTrips, "<= 4.5");
}

/// The exponent of the growth of @p seconds with @p sizes: the slope of the straight line through
/// their logarithms, by least squares.
double exponent(const std::vector<double> &sizes, const std::vector<double> &seconds)
{
    double x = 0;
    double y = 0;
    double xx = 0;
    double xy = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const double logSize = std::log(sizes[i]);
        const double logSeconds = std::log(seconds[i]);
        x += logSize;
        y += logSeconds;
        xx += logSize * logSize;
        xy += logSize * logSeconds;
    }
    const auto count = static_cast<double>(sizes.size());
    return (count * xy - x * y) / (count * xx - x * x);
}

void benchmarkLogSizes(const BenchmarkArguments &arguments, MinimalDevice &device)
{
    ToolReader tool(device.port());
    const std::vector<double> sizes = arguments.isSmall()
        ? std::vector<double>{10, 20}
        : std::vector<double>{1000, 10000, 100000};
    std::vector<std::function<double()>> operations;
    for (const double size : sizes) {
        operations.emplace_back([&tool, &device, count = static_cast<int>(size)] {
            device.setLogRows(count);
            return secondsOf([&] { tool.readLog(count); });
        });
    }
    const int runs = arguments.size(3, 1);
    const std::vector<Samples> seconds = runAlternately(runs, operations);
    std::string measured;
    for (const Samples &samples : seconds) {
        measured += (measured.empty() ? "" : ", ") + withUnit(median(samples), 2, "s");
    }
    Samples exponents;
    for (std::size_t run = 0; run < static_cast<std::size_t>(runs); ++run) {
        std::vector<double> secondsOfRun;
        for (const Samples &samples : seconds) {
            secondsOfRun.push_back(samples[run]);
        }
        exponents.push_back(exponent(sizes, secondsOfRun));
    }
    printRow("SCALE log", measured, "1,000, 10,000, 100,000 rows", exponents, "<= 1.05");
}

/// The messages that a device sends while it starts, extended to about @p size characters.
QString bootMessages(int size)
{
    QString text = QStringLiteral("Reseting device in 5 seconds\r\n\r\nPerforming selftest...\r\n");
    for (int line = 0; text.size() < size; ++line) {
        text += QStringLiteral("  channel %1   offset %2 gain %3   passed\r\n")
                    .arg(line, 3)
                    .arg(line * 37 % 256 - 128)
                    .arg(1.0 + line % 50 / 100.0);
    }
    return text
        + QStringLiteral("All tests passed.\r\n\r\nOrvanta KVT version 3.2.0\r\n"
                         "Compiled on Mar  3 2026 09:41:07\r\nCopyright (c) Orvanta\r\n");
}

QStringList chunksOf(const QString &text)
{
    constexpr int chunkSize = 62;
    QStringList chunks;
    for (int at = 0; at < text.size(); at += chunkSize) {
        chunks.append(text.mid(at, chunkSize));
    }
    return chunks;
}

/// The index of the chunk with which the reboot job finishes; -1 if it doesn't.
int finishingChunkOfJob(const QStringList &chunks)
{
    FakeSerialPort port;
    const auto job = QSharedPointer<SerialPortJobReboot>::create(
        &port, RebootMode::RebootAndWaitForSelftest, nullptr);
    bool done = false;
    QObject::connect(job.data(), &SerialPortJobInterface::finished, &port,
                     [&done] { done = true; });
    job->start();
    for (int i = 0; i < chunks.size(); ++i) {
        port.receive(chunks.at(i));
        if (done) {
            return i;
        }
    }
    return -1;
}

/// The index of the chunk with which the whole pattern, matched anew at each chunk, matches; -1 if
/// it doesn't.
int matchingChunkOfPlainMatcher(const QStringList &chunks)
{
    const QString pattern =
        QStringLiteral(".*Performing selftest...((.|\r\n)*)All tests passed.((.|\r\n)*)"
                       "Orvanta KVT.*\r\nCompiled on .*\r\nCopyright .*");
    QString buffer;
    for (int i = 0; i < chunks.size(); ++i) {
        buffer.append(chunks.at(i));
        QRegExp rx;
        if (DataParser::matchReply(buffer, pattern, 0, rx)) {
            return i;
        }
    }
    return -1;
}

double cpuSecondsOf(const std::function<void()> &operation)
{
    const std::clock_t begin = std::clock();
    operation();
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

void benchmarkLongBootMessages(const BenchmarkArguments &arguments)
{
    const QStringList chunks = chunksOf(bootMessages(arguments.size(20000, 500)));
    int toolChunk = -1;
    int plainChunk = -1;
    const std::vector<Samples> seconds = runAlternately(
        arguments.size(5, 1),
        {[&] { return cpuSecondsOf([&] { toolChunk = finishingChunkOfJob(chunks); }); },
         [&] { return cpuSecondsOf([&] { plainChunk = matchingChunkOfPlainMatcher(chunks); }); }});
    if (toolChunk < 0 || toolChunk != plainChunk) {
        fail("CHATTY: the job and the reference finish with different chunks.");
    }
    printRow("CHATTY", withUnit(median(seconds[0]) * 1e3, 1, "ms"),
             withUnit(median(seconds[1]) * 1e3, 1, "ms, whole pattern for each chunk"),
             ratiosOf(seconds[0], seconds[1]), "<= 0.15");
}

} // namespace

int main(int argc, char *argv[])
{
    // Before the device's process starts, so that it runs on the same core.
    pinToOneCore();
    MinimalDevice device;
    const QCoreApplication application(argc, argv);
    const BenchmarkArguments arguments(argc, argv);
    arguments.run({{"EXCH", [&] { benchmarkExchange(arguments, device); }},
                   {"CHATTY", [&] { benchmarkLongBootMessages(arguments); }},
                   {"SCALE", [&] { benchmarkLogSizes(arguments, device); }}});
    return 0;
}
