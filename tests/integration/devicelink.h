// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialport.h"
#include "serial/serialporthandler.h"
#include "serial/serialportqueue.h"
#include "tests/kit/simulatorprocess.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QLoggingCategory>
#include <QtCore/QThread>
#include <QtCore/QTimer>
#include <QtTest/QtTest>

/// Runs the event loop until @p done says so; false when it doesn't within @p ms. Without the
/// pauses of QTest::qWaitFor, which would take most of the time of a thousand short exchanges.
template <typename Condition>
bool runUntil(Condition done, int ms = 20000)
{
    constexpr int tickMs = 20; // in which the time that is left is looked at
    QTimer tick;
    tick.start(tickMs);
    QElapsedTimer time;
    time.start();
    while (!done()) {
        if (time.elapsed() > ms) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

/// The real transport, which also writes down what goes out through it.
class RecordedPort : public SerialPort
{
public:
    using SerialPort::SerialPort;

    void write(QString text) override
    {
        texts.append(text);
        bytes.append(text.toLatin1());
        SerialPort::write(text);
    }
    void write(QByteArray data) override
    {
        blocks.append(data);
        bytes.append(data);
        SerialPort::write(data);
    }

    QStringList texts; ///< commands, and the byte that wakes the bootloader
    QList<QByteArray> blocks; ///< raw data, block by block
    QByteArray bytes; ///< both, in their order
};

/// The whole device link, handler to transport, and the simulated transmitter at its far end. What
/// the handler says stands in events, one line a signal, in the order of its saying.
class DeviceLink : public QObject
{
public:
    DeviceLink()
        : queue(new SerialPortQueue(nullptr))
        , handler(queue, nullptr)
    {
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
        listen();
        listenToLongReads();
    }

    /// Starts the simulator, as fast as it can be, with @p options and sets its port.
    bool start(const QString &options = QString())
    {
        QStringList arguments = {QStringLiteral("--rate"), QStringLiteral("0")};
        arguments += options.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (!simulator.start(arguments)) {
            return false;
        }
        plugIn();
        return true;
    }

    /// A new transport for the port that the simulator has now.
    void plugIn()
    {
        port = QSharedPointer<RecordedPort>::create(simulator.port(), nullptr);
        QObject::connect(
            port.data(), &SerialPortInterface::dataReady, this,
            [this] {
                if (gatherMs > 0) {
                    port->flush();
                    QThread::msleep(static_cast<unsigned long>(gatherMs));
                }
            },
            Qt::QueuedConnection);
        handler.setSerialPort(port);
    }

    /// Connects and waits for the device's answer; what has been said and sent so far is forgotten.
    bool connectDevice()
    {
        handler.connectToDevice();
        const bool done = waitFor(QStringLiteral("connected"));
        forget();
        return done;
    }

    void forget()
    {
        events.clear();
        if (port) {
            port->texts.clear();
            port->blocks.clear();
            port->bytes.clear();
        }
    }

    bool waitFor(const QString &event, int ms = 20000)
    {
        return runUntil([&] { return events.contains(event); }, ms);
    }
    bool waitForDone() { return waitFor(QStringLiteral("allJobsDone")); }

    /// Waits until the last job has used up its sends and stands still.
    bool waitForStall(int ms = 20000)
    {
        return runUntil([&] { return isStalled(); }, ms);
    }
    bool isStalled() const
    {
        const auto job = queue->currentJob();
        return job && !job->isRunning();
    }
    bool isIdle() const { return !queue->currentJob(); }

    /// Gives all jobs of the moment, and those of a log read to come, a time-out of @p ms; 0 leaves
    /// each its own.
    void hurry(int ms)
    {
        hurryMs = ms;
        if (ms <= 0) {
            return;
        }
        if (const auto job = queue->currentJob()) {
            job->setTimeout(ms);
        }
        for (const auto &job : queue->jobs()) {
            job->setTimeout(ms);
        }
    }

    /// How often @p command, given without its line ends, has been sent.
    int sends(const QString &command) const
    {
        int count = 0;
        for (const QString &text : port->texts) {
            count += text.trimmed() == command ? 1 : 0;
        }
        return count;
    }

    SimulatorProcess simulator;
    QSharedPointer<SerialPortQueue> queue;
    SerialPortHandler handler;
    QSharedPointer<RecordedPort> port;

    QStringList events;
    QMap<QString, QString> measurements; ///< the last ones read
    QDateTime measuredAt;
    QStringList titles; ///< of the last log read
    QVector<LogValue> log;
    QVector<int> logProgress;
    QVector<int> memoryProgress;
    QVector<double> firmwareProgress;
    QByteArray image; ///< of the last memory read
    int gatherMs = 0; ///< stops the event loop after each chunk, so that the next one comes whole
    int hurryMs = 0;

private:
    void say(const QString &event) { events.append(event); }

    void listen()
    {
        using Handler = SerialPortHandlerInterface;
        const Handler *source = &handler;
        QObject::connect(source, &Handler::error, this,
                         [this](const QString &reason) { say(QStringLiteral("error ") + reason); });
        QObject::connect(source, &Handler::connected, this,
                         [this] { say(QStringLiteral("connected")); });
        QObject::connect(source, &Handler::dataWritten, this,
                         [this](const QString &name, const QString &value) {
                             say(QStringLiteral("written %1=%2").arg(name, value));
                         });
        QObject::connect(source, &Handler::dataRead, this,
                         [this](const QString &name, const QString &value) {
                             say(QStringLiteral("read %1=%2")
                                     .arg(name, value.isNull() ? QStringLiteral("(null)") : value));
                         });
        QObject::connect(source, &Handler::measurementsRead, this,
                         [this](const QDateTime &time, const QMap<QString, QString> &values) {
                             measuredAt = time;
                             measurements = values;
                             say(QStringLiteral("measurements"));
                         });
        QObject::connect(source, &Handler::allJobsDone, this,
                         [this] { say(QStringLiteral("allJobsDone")); });
        QObject::connect(source, &Handler::actionFailed, this, [this](SerialPortActionType action) {
            say(QStringLiteral("failed %1").arg(static_cast<int>(action)));
        });
        QObject::connect(
            source, &Handler::valueRead, this,
            [this](SerialPortValueType type, const QVariant &value) {
                say(QStringLiteral("value %1 %2").arg(static_cast<int>(type)).arg(textOf(value)));
            });
    }

    void listenToLongReads()
    {
        using Handler = SerialPortHandlerInterface;
        const Handler *source = &handler;
        QObject::connect(source, &Handler::logRead, this,
                         [this](const QStringList &columns, const QVector<LogValue> &rows) {
                             titles = columns;
                             log = rows;
                             say(QStringLiteral("log"));
                         });
        QObject::connect(source, &Handler::logReadProgress, this,
                         [this](int percentage) { logProgress.append(percentage); });
        QObject::connect(source, &Handler::actionFinished, this,
                         [this](SerialPortActionType action, const QVariant &result) {
                             onAction(action, result);
                         });
        // Behind the handler's own slot, which adds the rows' jobs.
        QObject::connect(
            queue.data(), &SerialPortQueueInterface::valueRead, this, [this] { hurry(hurryMs); },
            Qt::QueuedConnection);
    }

    void onAction(SerialPortActionType action, const QVariant &result)
    {
        switch (action) {
        case SerialPortActionType::ActionEepromBlockRead:
        case SerialPortActionType::ActionEepromBlockWritten:
            memoryProgress.append(result.toInt());
            return;
        case SerialPortActionType::ActionFirmwareBlockTransmitted:
            firmwareProgress.append(result.toDouble());
            return;
        case SerialPortActionType::ActionEepromRead:
            image = result.toByteArray();
            say(QStringLiteral("finished 8"));
            return;
        default:
            say(QStringLiteral("finished %1 %2")
                    .arg(static_cast<int>(action))
                    .arg(textOf(result))
                    .trimmed());
        }
    }

    static QString textOf(const QVariant &value)
    {
        return value.type() == QVariant::DateTime ? value.toDateTime().toString(Qt::ISODate)
                                                  : value.toString();
    }
};
