// SPDX-License-Identifier: GPL-3.0-or-later
// The tool's own time for an exchange: over a pseudo-terminal without a limited rate compared with
// a bare poll loop, in a log of growing length, and for a device with a long boot text.
#include "benchmarks/barepeer.h"
#include "benchmarks/toollink.h"
#include "serial/dataparser.h"
#include "serial/serialportjobreboot.h"
#include "tests/kit/fakeserialport.h"

#include <QtCore/QCoreApplication>
#include <cmath>
#include <ctime>

namespace {

using Handler = SerialPortHandlerInterface;

constexpr double usPerSecond = 1e6;

/// Reads with the tool from the bare peer.
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
        // The rows' jobs are added after the count's own job is done.
        read(count, 3, [this] { m_link.handler.readLog(); });
    }

private:
    void read(int count, int signalsToCome, const std::function<void()> &start)
    {
        m_signalsToCome = signalsToCome;
        m_count = 0;
        m_waiter.run(start);
        if (m_count != count) {
            fail("The device was not read completely.");
        }
    }

    void onDone()
    {
        if (--m_signalsToCome == 0) {
            m_waiter.quit();
        }
    }

    ToolLink m_link;
    Waiter m_waiter;
    int m_signalsToCome = 0;
    int m_count = 0;
};

void printExchange(const char *name, const Samples &tool, const Samples &bare, int trips,
                   const char *bound)
{
    Rows::print(name, withUnit(median(tool) / trips * usPerSecond, 1, "us"),
                withUnit(median(bare) / trips * usPerSecond, 1, "us in a poll loop"),
                ratiosOf(tool, bare), bound);
}

void exchange(const Rows &rows, BarePeer &peer)
{
    const int trips = rows.size(1000, 20);
    ToolReader tool(peer.port());
    peer.setLogRows(trips);
    const std::vector<Samples> seconds =
        interleaved(rows.size(11, 1),
                    {[&] { return secondsOf([&] { tool.readValues(trips); }); },
                     [&] {
                         return secondsOf([&] {
                             for (int i = 0; i < trips; ++i) {
                                 peer.exchange("show altitude");
                             }
                         });
                     },
                     [&] { return secondsOf([&] { tool.readLog(trips); }); },
                     [&] {
                         return secondsOf([&] {
                             for (int i = 0; i <= trips; ++i) {
                                 peer.exchange("log --read=" + QByteArray::number(i));
                             }
                         });
                     }});
    printExchange("EXCH value", seconds[0], seconds[1], trips, "<= 3");
    printExchange("EXCH log row", seconds[2], seconds[3], trips, "<= 4.5");
}

/// The slope of the straight line through the logarithms, by least squares.
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

void scale(const Rows &rows, BarePeer &peer)
{
    ToolReader tool(peer.port());
    const std::vector<double> sizes =
        rows.isSmall() ? std::vector<double>{10, 20} : std::vector<double>{1000, 10000, 100000};
    std::vector<std::function<double()>> works;
    for (const double size : sizes) {
        works.emplace_back([&tool, &peer, count = static_cast<int>(size)] {
            peer.setLogRows(count);
            return secondsOf([&] { tool.readLog(count); });
        });
    }
    const int runs = rows.size(3, 1);
    const std::vector<Samples> seconds = interleaved(runs, works);
    std::string measured;
    for (const Samples &samples : seconds) {
        measured += (measured.empty() ? "" : ", ") + withUnit(median(samples), 2, "s");
    }
    Samples exponents;
    for (std::size_t run = 0; run < static_cast<std::size_t>(runs); ++run) {
        std::vector<double> ofRun;
        for (const Samples &samples : seconds) {
            ofRun.push_back(samples[run]);
        }
        exponents.push_back(exponent(sizes, ofRun));
    }
    Rows::print("SCALE log", measured, "1,000, 10,000, 100,000 rows", exponents, "<= 1.05");
}

/// A long text of a device that starts: about @p size characters.
QString bootText(int size)
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

/// The index of the chunk with which the job is done; -1 if it isn't.
int chunkOfJob(const QStringList &chunks)
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

int chunkOfPlainMatcher(const QStringList &chunks)
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

double cpuSecondsOf(const std::function<void()> &work)
{
    const std::clock_t begin = std::clock();
    work();
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

void chatty(const Rows &rows)
{
    const QStringList chunks = chunksOf(bootText(rows.size(20000, 500)));
    int toolChunk = -1;
    int plainChunk = -1;
    const std::vector<Samples> seconds = interleaved(
        rows.size(5, 1),
        {[&] { return cpuSecondsOf([&] { toolChunk = chunkOfJob(chunks); }); },
         [&] { return cpuSecondsOf([&] { plainChunk = chunkOfPlainMatcher(chunks); }); }});
    if (toolChunk < 0 || toolChunk != plainChunk) {
        fail("CHATTY: the job and the plain matcher finish with different chunks.");
    }
    Rows::print("CHATTY", withUnit(median(seconds[0]) * 1e3, 1, "ms"),
                withUnit(median(seconds[1]) * 1e3, 1, "ms, plain matcher"),
                ratiosOf(seconds[0], seconds[1]), "<= 0.15");
}

} // namespace

int main(int argc, char *argv[])
{
    // Before the peer's process starts, so that it runs on the same core.
    BarePeer::pinToOneCore();
    BarePeer peer;
    const QCoreApplication application(argc, argv);
    const Rows rows(argc, argv);
    rows.run({{"EXCH", [&] { exchange(rows, peer); }},
              {"CHATTY", [&] { chatty(rows); }},
              {"SCALE", [&] { scale(rows, peer); }}});
    return 0;
}
