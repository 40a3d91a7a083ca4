// SPDX-License-Identifier: GPL-3.0-or-later
// FW-WIRE, LOG-WIRE and EE-WIRE: the tool's long operations over a line of 115200 baud, compared
// with a minimal client, one poll(2) loop. CONNECT: connecting, compared with the time for which
// the line was in use.
#include "benchmarks/benchmarkarguments.h"
#include "benchmarks/cpuidleinhibitor.h"
#include "benchmarks/toollink.h"
#include "tests/kit/fileio.h"
#include "tests/kit/simulatorprocess.h"
#include "tests/kit/testhome.h"
#include "tests/kit/toolobjects.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QTemporaryDir>
#include <QtWidgets/QApplication>
#include <QtWidgets/QPushButton>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int timeoutMs = 600000;
constexpr double nsPerSecond = 1e9;
constexpr int eepromBytes = 65536;
constexpr int eepromBlockBytes = 64;
constexpr int settingCount = 20;

using Handler = SerialPortHandlerInterface;

QStringList splitWords(const QString &text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// The simulated device on a line of 115200 baud, as a process.
class RateLimitedDevice
{
public:
    struct Counters
    {
        qint64 bytesIn = 0; ///< received by the device
        qint64 bytesOut = 0; ///< sent by the device
        double wireSeconds = 0; ///< for which the line was in use
    };

    explicit RateLimitedDevice(const QString &options)
    {
        if (!m_process.start(splitWords(QStringLiteral("--rate 115200 ") + options))) {
            fail("The simulated device did not start: " + m_process.error().toStdString());
        }
    }

    QString port() const { return m_process.port(); }

    /// Switches the device off and on.
    void powerCycle() { m_process.control("restart"); }

    /// Sets the counters to 0.
    void resetCounters() { m_process.control("reset"); }

    /// The counters since resetCounters().
    Counters counters()
    {
        const QList<QByteArray> values = m_process.control("counters");
        return {values.value(0).toLongLong(), values.value(1).toLongLong(),
                values.value(2).toDouble() / nsPerSecond};
    }

private:
    SimulatorProcess m_process{QCoreApplication::applicationDirPath()
                               + QLatin1String("/rate-limited-simulator")};
};

std::string toText(const RateLimitedDevice::Counters &counters)
{
    return std::to_string(counters.bytesIn) + " + " + std::to_string(counters.bytesOut) + " bytes, "
        + withUnit(counters.wireSeconds, 3, "s on the wire");
}

/// Calls @p start and waits until @p handler has emitted actionFinished() for @p expected @p times
/// times.
void runUntil(const SerialPortHandler &handler, SerialPortActionType expected, int times,
              const std::function<void()> &start)
{
    Waiter waiter;
    QObject context;
    QObject::connect(&handler, &Handler::actionFinished, &context,
                     [&](SerialPortActionType action) {
                         if (action == expected && --times == 0) {
                             waiter.quit();
                         }
                     });
    waiter.run(start);
}

/// A client with one poll(2) loop that only waits for the end of each reply, so it takes no longer
/// than the line and the machine require.
class MinimalClient
{
public:
    explicit MinimalClient(const QString &port)
        : m_port(::open(qPrintable(port), O_RDWR | O_NOCTTY | O_CLOEXEC))
    { }
    ~MinimalClient() { ::close(m_port); }
    Q_DISABLE_COPY(MinimalClient)

    void send(const QByteArray &bytes) const
    {
        if (::write(m_port, bytes.constData(), static_cast<size_t>(bytes.size())) != bytes.size()) {
            fail("The minimal client could not write.");
        }
    }

    /// Reads until @p text and @p extraBytes bytes after it have arrived.
    void waitFor(const QByteArray &text, int extraBytes = 0)
    {
        int offset = m_received.indexOf(text);
        while (offset < 0 || m_received.size() < offset + text.size() + extraBytes) {
            read();
            offset = m_received.indexOf(text);
        }
        m_received.remove(0, offset + text.size() + extraBytes);
    }

private:
    void read()
    {
        pollfd polled = {m_port, POLLIN, 0};
        char bytes[256];
        const ssize_t count =
            ::poll(&polled, 1, timeoutMs) == 1 ? ::read(m_port, bytes, sizeof bytes) : -1;
        if (count <= 0) {
            fail("The minimal client received no reply.");
        }
        m_received.append(bytes, static_cast<int>(count));
    }

    int m_port;
    QByteArray m_received; ///< since the last reply
};

/// Resets the device's counters, runs one operation and returns its duration in seconds.
using Operation = std::function<double(RateLimitedDevice &)>;

/// Measures and prints the row @p name. Runs of the tool and of the minimal client alternate, each
/// with a new device that is started with @p deviceOptions.
void benchmarkOperation(const BenchmarkArguments &arguments, const char *name,
                        const QString &deviceOptions, const Operation &tool,
                        const Operation &minimal)
{
    constexpr double maximumRatio = 1.01;
    RateLimitedDevice::Counters toolCounters;
    RateLimitedDevice::Counters minimalCounters;
    const auto run = [&](const Operation &operation, RateLimitedDevice::Counters &counters) {
        RateLimitedDevice device(deviceOptions);
        const double seconds = operation(device);
        counters = device.counters();
        return seconds;
    };
    const std::vector<Samples> seconds = runAlternately(
        arguments.size(5, 1),
        {[&] { return run(tool, toolCounters); }, [&] { return run(minimal, minimalCounters); }});
    const double sent = double(toolCounters.bytesIn) / double(minimalCounters.bytesIn);
    if (!arguments.isSmall() && (sent > maximumRatio || sent < 1 / maximumRatio)) {
        fail(std::string(name) + ": the tool sent " + toText(toolCounters) + ", the minimal client "
             + toText(minimalCounters));
    }
    printRow(name, withUnit(median(seconds[0]), 3, "s"),
             withUnit(median(seconds[1]), 3, "s, minimal client (") + toText(minimalCounters) + ")",
             ratiosOf(seconds[0], seconds[1]), "<= 1.02");
}

void benchmarkFirmware(const BenchmarkArguments &arguments)
{
    constexpr int blockSize = 16;
    const QTemporaryDir folder;
    const QByteArray image = FileIo::pseudoRandomBytes(arguments.size(64 * 1024, 512));
    const QString received = folder.filePath(QStringLiteral("image"));
    const auto tool = [&](RateLimitedDevice &device) {
        ToolLink link(device.port());
        link.handler.openPort();
        device.resetCounters();
        const double seconds = secondsOf([&] {
            runUntil(link.handler, SerialPortActionType::ActionFirmwareTransmitted, 1, [&] {
                link.handler.updateFirmware(image);
                device.powerCycle();
            });
        });
        if (FileIo::contents(received) != image) {
            fail("FW-WIRE: the device received another image.");
        }
        return seconds;
    };
    const auto minimal = [&](RateLimitedDevice &device) {
        MinimalClient client(device.port());
        device.resetCounters();
        return secondsOf([&] {
            device.powerCycle();
            client.waitFor("BOOT");
            client.send("b");
            for (int offset = 0; offset < image.size(); offset += blockSize) {
                client.send(image.mid(offset, blockSize));
                client.waitFor(offset + blockSize < image.size() ? "*" : ".");
            }
        });
    };
    benchmarkOperation(arguments, "FW-WIRE",
                       QStringLiteral("--image-size %1 --image %2").arg(image.size()).arg(received),
                       tool, minimal);
}

void benchmarkLog(const BenchmarkArguments &arguments)
{
    const int count = arguments.size(1000, 20);
    const auto tool = [&](RateLimitedDevice &device) {
        ToolLink link(device.port());
        link.connectToDevice();
        int read = 0;
        Waiter waiter;
        QObject context;
        QObject::connect(&link.handler, &Handler::logRead, &context,
                         [&](const QStringList &, const QVector<LogValue> &values) {
                             read = values.size();
                             waiter.quit();
                         });
        device.resetCounters();
        const double seconds = secondsOf([&] { waiter.run([&] { link.handler.readLog(); }); });
        if (read != count) {
            fail("LOG-WIRE: the log was not read completely.");
        }
        return seconds;
    };
    const auto minimal = [&](RateLimitedDevice &device) {
        MinimalClient client(device.port());
        device.resetCounters();
        return secondsOf([&] {
            client.send("\r\nlog --count\r\n");
            client.waitFor("count=");
            client.waitFor("$");
            for (int i = 0; i <= count; ++i) {
                client.send("\r\nlog --read=" + QByteArray::number(i) + "\r\n");
                client.waitFor("#", 2); // the checksum's digits
            }
        });
    };
    benchmarkOperation(arguments, "LOG-WIRE",
                       QStringLiteral("--model KVT-200 --log-rows %1").arg(count), tool, minimal);
}

void benchmarkEeprom(const BenchmarkArguments &arguments)
{
    const int blocks = arguments.size(256, 2);
    const QByteArray data = FileIo::pseudoRandomBytes(eepromBytes);
    const auto tool = [blocks](SerialPortActionType blockAction, const auto &start) {
        return [=](RateLimitedDevice &device) {
            ToolLink link(device.port());
            link.connectToDevice();
            device.resetCounters();
            return secondsOf(
                [&] { runUntil(link.handler, blockAction, blocks, [&] { start(link.handler); }); });
        };
    };
    const auto minimal = [blocks](const QByteArray &command, const QByteArray &blockData) {
        return [=](RateLimitedDevice &device) {
            MinimalClient client(device.port());
            device.resetCounters();
            return secondsOf([&] {
                for (int block = 0; block < blocks; ++block) {
                    client.send("\r\neeprom --" + command + ' ' + QByteArray::number(block) + "\r\n"
                                + blockData.mid(block * eepromBlockBytes, eepromBlockBytes));
                    client.waitFor("Done\r\n");
                }
            });
        };
    };
    benchmarkOperation(arguments, "EE-WIRE read", QString(),
                       tool(SerialPortActionType::ActionEepromBlockRead,
                            [](Handler &handler) { handler.readEeprom(); }),
                       minimal("read_block", QByteArray()));
    benchmarkOperation(arguments, "EE-WIRE written", QString(),
                       tool(SerialPortActionType::ActionEepromBlockWritten,
                            [&data](Handler &handler) { handler.writeEeprom(data); }),
                       minimal("write_block", data));
}

/// Writes a settings.xml for the device's model with settingCount settings, some of them repeated.
bool writeConfiguration(const QString &fileName)
{
    const QStringList names = splitWords(
        QStringLiteral("location altitude north_offset avg_interval log_interval "
                       "heater_setpoint heater_band alarm_ozone alarm_particles alarm_wind"));
    QString text = QStringLiteral("<KVTConfig><Devices><Device name=\"KVT-300\"><Configuration>"
                                  "<ConfigurationItemGroup group=\"All\">");
    for (int i = 0; i < settingCount; ++i) {
        text += QStringLiteral("<ConfigurationItem type=\"text\" min=\"0\" max=\"32\" "
                               "name=\"Setting %1\" alias=\"%2\"/>")
                    .arg(i)
                    .arg(names.at(i % names.size()));
    }
    text += QStringLiteral("</ConfigurationItemGroup></Configuration><Measurements>"
                           "<Measurement name=\"W0\" type=\"air temperature\" unit=\"c\"/>"
                           "</Measurements></Device></Devices></KVTConfig>");
    return FileIo::write(fileName, text.toUtf8());
}

double secondsToConnect(RateLimitedDevice &device)
{
    ToolObjects tool;
    if (!tool.controller.start()) {
        fail("CONNECT: the tool did not start.");
    }
    tool.addAndSelectPort(QStringLiteral("Device"), device.port());
    tool.window.show();
    QApplication::processEvents();
    Waiter waiter;
    int values = 0;
    QObject context;
    QObject::connect(&tool.handler, &Handler::dataRead, &context, [&values] { ++values; });
    // The queue emits this signal before the controller stores the reading, so the time of the disk
    // isn't included.
    QElapsedTimer clock;
    double seconds = 0;
    QObject::connect(tool.queue.data(), &SerialPortQueueInterface::measurementsRead, &context, [&] {
        seconds = static_cast<double>(clock.nsecsElapsed()) / nsPerSecond;
        waiter.quit();
    });
    device.resetCounters();
    waiter.run([&] {
        clock.start();
        tool.window.findChild<QPushButton *>(QStringLiteral("connectButton"))->click();
    });
    // The device's identity and state are counted too.
    if (values <= settingCount) {
        fail("CONNECT: the settings were not read completely.");
    }
    return seconds;
}

void benchmarkConnecting(const BenchmarkArguments &arguments)
{
    const QTemporaryDir folder;
    if (!writeConfiguration(QStringLiteral("settings.xml"))) {
        fail("CONNECT: the settings file could not be written.");
    }
    Settings().setValue(QStringLiteral("local storage path"), folder.path());
    RateLimitedDevice device(QStringLiteral("--model KVT-300"));
    RateLimitedDevice::Counters counters;
    Samples seconds;
    Samples wireSeconds;
    for (int run = 0; run < arguments.size(7, 1); ++run) {
        seconds.push_back(secondsToConnect(device));
        counters = device.counters();
        wireSeconds.push_back(counters.wireSeconds);
    }
    printRow("CONNECT", withUnit(median(seconds), 3, "s"), toText(counters),
             ratiosOf(seconds, wireSeconds), "<= 1.10");
}

} // namespace

int main(int argc, char *argv[])
{
    const QTemporaryDir home;
    TestHome::useFolders(home.path());
    QApplication application(argc, argv);
    QDir::setCurrent(home.path());
    const CpuIdleInhibitor inhibitor;
    const BenchmarkArguments arguments(argc, argv);
    arguments.run({{"FW-WIRE", [&] { benchmarkFirmware(arguments); }},
                   {"LOG-WIRE", [&] { benchmarkLog(arguments); }},
                   {"EE-WIRE", [&] { benchmarkEeprom(arguments); }},
                   {"CONNECT", [&] { benchmarkConnecting(arguments); }}});
    return 0;
}
