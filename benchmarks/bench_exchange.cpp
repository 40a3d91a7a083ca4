// SPDX-License-Identifier: GPL-3.0-or-later
// The tool's own time for an exchange: over a pseudo-terminal without a limited rate, compared with
// a poll loop; in logs of different lengths; and for a device that sends much text.
#include "benchmarks/barepeer.h"
#include "benchmarks/rows.h"
#include "serial/dataparser.h"
#include "serial/serialport.h"
#include "serial/serialporthandler.h"
#include "serial/serialportjobreboot.h"
#include "serial/serialportqueue.h"
#include "tests/kit/fakeserialport.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDebug>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <cmath>
#include <ctime>
#include <functional>

namespace {

using Handler = SerialPortHandlerInterface;

constexpr int longestMs = 300000;
constexpr double usPerSecond = 1e6;

/// Handler, queue and transport, connected to the BarePeer.
class Link : public QObject
{
public:
    explicit Link(const QString &port)
        : m_handler(QSharedPointer<SerialPortQueueInterface>(new SerialPortQueue(nullptr)), nullptr)
    {
        connect(&m_handler, &Handler::connected, &m_loop, &QEventLoop::quit);
        connect(&m_handler, &Handler::allJobsDone, this, &Link::onDone);
        connect(&m_handler, &Handler::dataRead, this, [this] { ++m_count; });
        connect(&m_handler, &Handler::logRead, this,
                [this](const QStringList &, const QVector<LogValue> &rows) {
                    m_count = rows.size();
                    onDone();
                });
        m_handler.setSerialPort(QSharedPointer<SerialPortInterface>(new SerialPort(port, nullptr)));
        m_handler.connectToDevice();
        run();
    }

    /// Reads a value @p count times; false when a reply is missing.
    bool readValues(int count)
    {
        QStringList names;
        for (int i = 0; i < count; ++i) {
            names.append(QStringLiteral("altitude"));
        }
        m_signalsToCome = 1;
        m_count = 0;
        m_handler.readValues(names);
        run();
        return m_count == count;
    }

    /// Reads the whole log; false when it has not @p count rows.
    bool readLog(int count)
    {
        // The jobs of the rows are added after the job of the count has ended.
        m_signalsToCome = 3;
        m_count = 0;
        m_handler.readLog();
        run();
        return m_count == count;
    }

private:
    void onDone()
    {
        if (--m_signalsToCome == 0) {
            m_loop.quit();
        }
    }

    void run()
    {
        QTimer longest;
        connect(&longest, &QTimer::timeout, &m_loop, &QEventLoop::quit);
        longest.start(longestMs);
        m_loop.exec();
    }

    SerialPortHandler m_handler;
    QEventLoop m_loop;
    int m_signalsToCome = 0;
    int m_count = 0;
};

void printExchange(const char *name, const std::vector<double> &tool,
                   const std::vector<double> &bare, int trips, const char *bound)
{
    const double toolUs = median(tool) / trips * usPerSecond;
    const double bareUs = median(bare) / trips * usPerSecond;
    Rows::print(name, withUnit(toolUs, 1, "us"), withUnit(bareUs, 1, "us in a poll loop"),
                toolUs / bareUs, bound);
}

bool exchange(const Rows &rows, BarePeer &peer)
{
    const int rounds = rows.size(11, 1);
    const int trips = rows.size(1000, 20);
    Link link(peer.port());
    peer.setLogRows(trips);
    std::vector<double> values;
    std::vector<double> bareValues;
    std::vector<double> logs;
    std::vector<double> bareLogs;
    bool complete = true;
    for (int round = 0; round < rounds && complete; ++round) {
        values.push_back(secondsOf([&] { complete = complete && link.readValues(trips); }));
        bareValues.push_back(secondsOf([&] {
            for (int i = 0; i < trips; ++i) {
                peer.exchange("show altitude");
            }
        }));
        logs.push_back(secondsOf([&] { complete = complete && link.readLog(trips); }));
        bareLogs.push_back(secondsOf([&] {
            for (int i = 0; i <= trips; ++i) {
                peer.exchange("log --read=" + QByteArray::number(i));
            }
        }));
    }
    printExchange("EXCH value", values, bareValues, trips, "<= 3");
    printExchange("EXCH log row", logs, bareLogs, trips, "<= 4.5");
    return complete;
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

bool scale(const Rows &rows, BarePeer &peer)
{
    Link link(peer.port());
    const std::vector<double> sizes =
        rows.isSmall() ? std::vector<double>{10, 20} : std::vector<double>{1000, 10000, 100000};
    std::vector<double> seconds;
    std::string measured;
    for (const double size : sizes) {
        const int count = static_cast<int>(size);
        peer.setLogRows(count);
        std::vector<double> runs;
        for (int run = 0; run < (count > 10000 ? 1 : rows.size(5, 1)); ++run) {
            bool complete = false;
            runs.push_back(secondsOf([&] { complete = link.readLog(count); }));
            if (!complete) {
                return false;
            }
        }
        seconds.push_back(median(runs));
        measured += (measured.empty() ? "" : ", ") + withUnit(seconds.back(), 2, "s");
    }
    Rows::print("SCALE log", measured, "1,000, 10,000, 100,000 rows", exponent(sizes, seconds),
                "<= 1.05");
    return true;
}

/// The text of a start of the device, about @p size characters.
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

/// The index of the chunk with which the job ends, -1 for none.
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

bool chatty(const Rows &rows, BarePeer &)
{
    const QStringList chunks = chunksOf(bootText(rows.size(20000, 500)));
    std::vector<double> tool;
    std::vector<double> plain;
    for (int round = 0; round < rows.size(5, 1); ++round) {
        int toolChunk = -1;
        int plainChunk = -1;
        tool.push_back(cpuSecondsOf([&] { toolChunk = chunkOfJob(chunks); }));
        plain.push_back(cpuSecondsOf([&] { plainChunk = chunkOfPlainMatcher(chunks); }));
        if (toolChunk < 0 || toolChunk != plainChunk) {
            return false;
        }
    }
    const double toolMs = median(tool) * 1000;
    const double plainMs = median(plain) * 1000;
    Rows::print("CHATTY", withUnit(toolMs, 1, "ms"), withUnit(plainMs, 1, "ms, plain matcher"),
                toolMs / plainMs, "<= 0.15");
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    // Before the peer's process starts, so that it runs on the same core.
    BarePeer::pinToOneCore();
    BarePeer peer;
    const QCoreApplication application(argc, argv);
    const Rows rows(argc, argv);
    const struct
    {
        const char *name;
        bool (*run)(const Rows &, BarePeer &);
    } benchmarks[] = {{"EXCH", exchange}, {"CHATTY", chatty}, {"SCALE", scale}};
    for (const auto &benchmark : benchmarks) {
        if (rows.wants(benchmark.name) && !benchmark.run(rows, peer)) {
            qWarning() << benchmark.name << "failed";
            return 1;
        }
    }
    return 0;
}
