// SPDX-License-Identifier: GPL-3.0-or-later
// The long jobs of the tool at the speed of the wire: what each takes beyond the time for which the
// wire is in use.
#include "benchmarks/awakecores.h"
#include "benchmarks/rows.h"
#include "serial/serialport.h"
#include "tests/kit/files.h"
#include "tests/kit/simulatorprocess.h"
#include "tests/kit/testhome.h"
#include "tests/kit/tool.h"

#include <QtCore/QDebug>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QPushButton>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int longestMs = 600000;
constexpr double nsPerSecond = 1e9;
constexpr int eepromBytes = 65536;
constexpr int settingCount = 20;

using Handler = SerialPortHandlerInterface;

QStringList words(const QString &text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// Runs @p start and the event loop until quit() is called; false when the time is over.
class Waiter
{
public:
    void quit()
    {
        m_done = true;
        m_loop.quit();
    }

    bool run(const std::function<void()> &start)
    {
        QTimer::singleShot(longestMs, &m_loop, &QEventLoop::quit);
        start();
        if (!m_done) {
            m_loop.exec();
        }
        return m_done;
    }

private:
    QEventLoop m_loop;
    bool m_done = false;
};

/// The device on a wire of 115200 baud.
class Peer
{
public:
    bool start(const QString &options)
    {
        return m_process.start(words(QStringLiteral("--rate 115200 ") + options));
    }
    QString port() const { return m_process.port(); }
    void powerOn() { m_process.control("power"); }

    /// Starts to count the bytes.
    void reset() { m_process.control("reset"); }

    /// Prints the row of a job that took @p seconds since reset().
    void print(const char *name, double seconds, const char *bound)
    {
        const QList<QByteArray> counters = m_process.control("counters");
        const double used = counters.value(2).toDouble() / nsPerSecond;
        const QByteArray bytes = counters.value(0) + " + " + counters.value(1) + " bytes, ";
        Rows::print(name, withUnit(seconds, 3, "s"),
                    bytes.toStdString() + withUnit(used, 3, "s on the wire"), seconds / used,
                    bound);
    }

private:
    SimulatorProcess m_process{QCoreApplication::applicationDirPath()
                               + QLatin1String("/paced-peer")};
};

/// Handler, queue and transport.
class Link
{
public:
    explicit Link(const QString &port)
        : m_handler(QSharedPointer<SerialPortQueueInterface>(new SerialPortQueue(nullptr)), nullptr)
    {
        m_handler.setSerialPort(QSharedPointer<SerialPortInterface>(new SerialPort(port, nullptr)));
    }

    SerialPortHandler &handler() { return m_handler; }

    bool connectToDevice()
    {
        Waiter waiter;
        QObject context;
        QObject::connect(&m_handler, &Handler::connected, &context, [&waiter] { waiter.quit(); });
        return waiter.run([this] { m_handler.connectToDevice(); });
    }

    /// Runs @p start until the handler reports @p wanted; the result goes to @p result.
    bool runUntil(SerialPortActionType wanted, const std::function<void()> &start,
                  QVariant *result = nullptr)
    {
        Waiter waiter;
        QObject context;
        QObject::connect(&m_handler, &Handler::actionFinished, &context,
                         [&](SerialPortActionType action, const QVariant &value) {
                             if (action == wanted) {
                                 if (result != nullptr) {
                                     *result = value;
                                 }
                                 waiter.quit();
                             }
                         });
        return waiter.run(start);
    }

private:
    SerialPortHandler m_handler;
};

/// A client that only waits for replies: the time that the wire and the machine take alone.
class BareClient
{
public:
    explicit BareClient(const QString &port)
        : m_port(::open(qPrintable(port), O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
    }
    ~BareClient() { ::close(m_port); }
    Q_DISABLE_COPY(BareClient)

    bool send(const QByteArray &bytes) const
    {
        return ::write(m_port, bytes.constData(), static_cast<size_t>(bytes.size()))
            == bytes.size();
    }

    /// Reads until @p last and @p more bytes after it have been received.
    bool await(char last, int more = 0) const
    {
        pollfd wanted = {m_port, POLLIN, 0};
        QByteArray received;
        for (int at = -1; at < 0 || received.size() <= at + more; at = received.indexOf(last)) {
            char bytes[256];
            const ssize_t count =
                ::poll(&wanted, 1, longestMs) == 1 ? ::read(m_port, bytes, sizeof bytes) : -1;
            if (count <= 0) {
                return false;
            }
            received.append(bytes, static_cast<int>(count));
        }
        return true;
    }

private:
    int m_port;
};

bool bareFirmware(const Rows &rows)
{
    constexpr int blockSize = 16;
    const int blocks = rows.size(2000, 8);
    Peer peer;
    if (!peer.start(QStringLiteral("--image-size %1").arg(blocks * blockSize))) {
        return false;
    }
    const BareClient client(peer.port());
    const QByteArray block(blockSize, 'x');
    peer.powerOn();
    bool done = client.await('T') && client.send("b");
    peer.reset();
    const double seconds = secondsOf([&] {
        for (int i = 0; i < blocks && done; ++i) {
            done = client.send(block) && client.await(i + 1 < blocks ? '*' : '.');
        }
    });
    if (done) {
        peer.print("WIRE firmware", seconds, "<= 1.06");
    }
    return done;
}

bool bareLog(const Rows &rows)
{
    const int count = rows.size(500, 8);
    Peer peer;
    if (!peer.start(QStringLiteral("--model KVT-200 --log-rows %1").arg(count))) {
        return false;
    }
    const BareClient client(peer.port());
    bool done = true;
    peer.reset();
    const double seconds = secondsOf([&] {
        for (int i = 0; i <= count && done; ++i) {
            // The checksum's two digits are what the tool waits for.
            done = client.send("\r\nlog --read=" + QByteArray::number(i) + "\r\n")
                && client.await('#', 2);
        }
    });
    if (done) {
        peer.print("WIRE log", seconds, "<= 1.01");
    }
    return done;
}

bool wireItself(const Rows &rows)
{
    return bareFirmware(rows) && bareLog(rows);
}

bool firmware(const Rows &rows)
{
    const QTemporaryDir folder;
    const QByteArray image = files::pseudoRandomBytes(rows.size(256 * 1024, 512));
    const QString taken = folder.filePath(QStringLiteral("image"));
    Peer peer;
    if (!peer.start(QStringLiteral("--image-size %1 --image %2").arg(image.size()).arg(taken))) {
        return false;
    }
    Link link(peer.port());
    link.handler().openPort();
    peer.reset();
    bool done = false;
    const double seconds = secondsOf([&] {
        done = link.runUntil(SerialPortActionType::ActionFirmwareTransmitted, [&] {
            link.handler().updateFirmware(image);
            peer.powerOn();
        });
    });
    if (!done || files::contents(taken) != image) {
        return false;
    }
    peer.print("FW-WIRE", seconds, "<= 1.06");
    return true;
}

bool log(const Rows &rows)
{
    const int count = rows.size(10000, 20);
    Peer peer;
    if (!peer.start(QStringLiteral("--model KVT-200 --log-rows %1").arg(count))) {
        return false;
    }
    Link link(peer.port());
    if (!link.connectToDevice()) {
        return false;
    }
    int read = 0;
    Waiter waiter;
    QObject context;
    QObject::connect(&link.handler(), &Handler::logRead, &context,
                     [&](const QStringList &, const QVector<LogValue> &values) {
                         read = values.size();
                         waiter.quit();
                     });
    peer.reset();
    const double seconds = secondsOf([&] { waiter.run([&] { link.handler().readLog(); }); });
    if (read != count) {
        return false;
    }
    peer.print("LOG-WIRE", seconds, "<= 1.01");
    return true;
}

bool eeprom(const Rows &rows)
{
    Peer peer;
    if (!peer.start(QString())) {
        return false;
    }
    Link link(peer.port());
    if (!link.connectToDevice()) {
        return false;
    }
    Handler &handler = link.handler();
    // The tool always transfers all blocks; a small run stops after a few.
    const auto reading = rows.isSmall() ? SerialPortActionType::ActionEepromBlockRead
                                        : SerialPortActionType::ActionEepromRead;
    const auto writing = rows.isSmall() ? SerialPortActionType::ActionEepromBlockWritten
                                        : SerialPortActionType::ActionEepromWritten;
    bool done = true;
    peer.reset();
    double seconds =
        secondsOf([&] { done = done && link.runUntil(reading, [&] { handler.readEeprom(); }); });
    handler.cancelEepromRead();
    if (!done || !link.connectToDevice()) {
        return false;
    }
    peer.print("EE-WIRE read", seconds, "<= 1.02");
    peer.reset();
    seconds = secondsOf([&] {
        done = done && link.runUntil(writing, [&] {
            handler.writeEeprom(files::pseudoRandomBytes(eepromBytes));
        });
    });
    handler.cancelEepromWrite();
    peer.print("EE-WIRE written", seconds, "<= 1.02");
    return done;
}

/// The settings of the device's model, and some of them again until there are enough.
bool writeConfiguration(const QString &fileName)
{
    const QStringList names =
        words(QStringLiteral("location altitude north_offset avg_interval log_interval "
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
    return files::write(fileName, text.toUtf8());
}

bool connectOnce(Peer &peer, double &seconds)
{
    Tool tool;
    if (!tool.controller.start()) {
        return false;
    }
    tool.choosePort(QStringLiteral("Device"), peer.port());
    tool.window.show();
    QApplication::processEvents();
    Waiter waiter;
    int settings = 0;
    QObject context;
    QObject::connect(&tool.handler, &Handler::dataRead, &context, [&settings] { ++settings; });
    // Before the controller stores the reading, whose time depends on the disk.
    QElapsedTimer clock;
    QObject::connect(tool.queue.data(), &SerialPortQueueInterface::measurementsRead, &context, [&] {
        seconds = static_cast<double>(clock.nsecsElapsed()) / nsPerSecond;
        waiter.quit();
    });
    peer.reset();
    const bool done = waiter.run([&] {
        clock.start();
        tool.window.findChild<QPushButton *>(QStringLiteral("connectButton"))->click();
    });
    return done && settings > settingCount;
}

bool connectSequence(const Rows &rows)
{
    const QTemporaryDir folder;
    if (!writeConfiguration(QStringLiteral("settings.xml"))) {
        return false;
    }
    Settings().setValue(QStringLiteral("local storage path"), folder.path());
    Peer peer;
    if (!peer.start(QStringLiteral("--model KVT-300"))) {
        return false;
    }
    std::vector<double> seconds(static_cast<size_t>(rows.size(7, 1)));
    for (double &time : seconds) {
        if (!connectOnce(peer, time)) {
            return false;
        }
    }
    // The bytes are the same each time; those of the last are counted.
    peer.print("CONNECT", median(seconds), "<= 1.10");
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    const QTemporaryDir home;
    TestHome::useFolders(home.path());
    QApplication application(argc, argv);
    QDir::setCurrent(home.path());
    const AwakeCores awake;
    const Rows rows(argc, argv);
    const struct
    {
        const char *name;
        bool (*run)(const Rows &);
    } benchmarks[] = {{"WIRE", wireItself},
                      {"FW-WIRE", firmware},
                      {"LOG-WIRE", log},
                      {"EE-WIRE", eeprom},
                      {"CONNECT", connectSequence}};
    for (const auto &benchmark : benchmarks) {
        if (rows.wants(benchmark.name) && !benchmark.run(rows)) {
            qWarning() << benchmark.name << "failed";
            return 1;
        }
    }
    return 0;
}
