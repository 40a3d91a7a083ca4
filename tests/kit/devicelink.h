// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialport.h"
#include "serial/serialporthandler.h"
#include "serial/serialportqueue.h"
#include "tests/kit/simulatorprocess.h"
#include "tests/kit/stringliterals.h"

#include <QtCore/QMap>
#include <functional>

/// Longest wait of the functions below.
constexpr int deviceWaitMs = 20000;

/// Runs the event loop until @p done returns true; returns false if it doesn't within @p ms.
/// QTest::qWaitFor() sleeps between its checks, which would take most of the time of a thousand
/// short exchanges.
bool runUntil(const std::function<bool()> &done, int ms = deviceWaitMs);

/// The real transport, which also records what is written.
class RecordingSerialPort : public SerialPort
{
public:
    using SerialPort::SerialPort;

    void write(QString text) override;
    void write(QByteArray data) override;

    QStringList texts; ///< commands, and the byte that starts the bootloader's transfer
    QList<QByteArray> blocks; ///< raw data, block by block
    QByteArray bytes; ///< both, in the order of sending
};

/// The real handler, queue and transport, connected to a simulated transmitter. The handler's
/// signals are recorded in @c events, one string each, with their arguments formatted by
/// toLogString().
class DeviceLink : public QObject
{
public:
    DeviceLink();

    /// Starts the simulator with @p options and without the delays of a serial line, and sets its
    /// port.
    bool start(const QString &options = QString());

    /// As start(), and connects.
    bool startConnected(const QString &options = QString())
    {
        return start(options) && connectDevice();
    }

    /// Sets a new transport for the simulator's port, or for @p path.
    void replacePort() { setPort(simulator.port()); }
    void setPort(const QString &path);

    /// Connects, waits for the device's reply and clears the records.
    bool connectDevice();

    void clearRecords();

    bool waitFor(const QString &event)
    {
        return runUntil([&] { return events.contains(event); });
    }
    bool waitForAllJobsDone() { return waitFor(text("allJobsDone")); }

    /// Reads the variable @p name; whether the device replies with @p value.
    bool readReturns(const char *name, const char *value);

    /// Whether the current job has timed out for the last time, so that the queue has stopped.
    bool isStalled() const;
    bool waitForStall()
    {
        return runUntil([this] { return isStalled(); });
    }
    bool isIdle() const { return !queue->currentJob(); }

    /// Sets the time-out of the current and the waiting jobs, and of later log jobs, to @p ms; 0
    /// keeps the time-outs that they have.
    void setTimeouts(int ms);

    /// How often @p command, without its line ends, has been sent.
    int sendCount(const QString &command) const;

    /// Whether the values, or the log, read last are those of the device.
    bool measurementsMatchDevice() { return measurements == simulator.measurementValues(); }
    bool logMatchesDevice();

    SimulatorProcess simulator;
    QSharedPointer<SerialPortQueue> queue;
    SerialPortHandler handler;
    QSharedPointer<RecordingSerialPort> port;

    QStringList events;
    QMap<QString, QString> measurements; ///< of the last reading
    QDateTime measuredAt; ///< the time of the last reading
    QStringList logTitles; ///< of the last log read
    QVector<LogValue> log;
    QVector<int> logProgress;
    QVector<int> eepromProgress;
    QVector<double> firmwareProgress;
    QByteArray eepromImage; ///< of the EEPROM, as read last
    int chunkPauseMs = 0; ///< pause after each chunk, in which the next bytes gather into one chunk

private:
    void recordAction(SerialPortActionType action, const QVariant &result);

    int m_timeoutMs = 0;
};
