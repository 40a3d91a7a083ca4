// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/devicelink.h"

#include "tests/kit/signalrecorder.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QLoggingCategory>
#include <QtCore/QThread>
#include <QtCore/QTimer>

bool runUntil(const std::function<bool()> &done, int ms)
{
    constexpr int tickMs = 20; // so that the time is checked even if no other event arrives
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

void RecordingSerialPort::write(QString text)
{
    texts.append(text);
    bytes.append(text.toLatin1());
    SerialPort::write(text);
}

void RecordingSerialPort::write(QByteArray data)
{
    blocks.append(data);
    bytes.append(data);
    SerialPort::write(data);
}

DeviceLink::DeviceLink()
    : queue(new SerialPortQueue(nullptr))
    , handler(queue, nullptr)
{
    using Handler = SerialPortHandler;
    QLoggingCategory::setFilterRules(text("default.debug=false"));
    const auto record = [this](const QString &event) { events.append(event); };
    const auto logSignal = signalLogger(&handler, record);
    logSignal(&Handler::error, "error %1");
    logSignal(&Handler::connected, "connected");
    logSignal(&Handler::allJobsDone, "allJobsDone");
    logSignal(&Handler::dataWritten, "written %1=%2");
    logSignal(&Handler::dataRead, "read %1=%2");
    logSignal(&Handler::actionFailed, "failed %1");
    logSignal(&Handler::valueRead, "value %1 %2");
    connect(&handler, &Handler::measurementsRead, this,
            [=](const QDateTime &time, const QMap<QString, QString> &values) {
                measuredAt = time;
                measurements = values;
                record(text("measurements"));
            });
    connect(&handler, &Handler::logRead, this,
            [=](const QStringList &columns, const QVector<LogValue> &rows) {
                logTitles = columns;
                log = rows;
                record(text("log"));
            });
    connect(&handler, &Handler::logReadProgress, this,
            [this](int percentage) { logProgress.append(percentage); });
    connect(&handler, &Handler::actionFinished, this, &DeviceLink::recordAction);
    // Queued after the handler's slot, which adds the jobs of the rows.
    connect(
        queue.data(), &SerialPortQueueInterface::valueRead, this,
        [this] { setTimeouts(m_timeoutMs); }, Qt::QueuedConnection);
}

void DeviceLink::recordAction(SerialPortActionType action, const QVariant &result)
{
    switch (action) {
    case SerialPortActionType::ActionEepromBlockRead:
    case SerialPortActionType::ActionEepromBlockWritten:
        eepromProgress.append(result.toInt());
        break;
    case SerialPortActionType::ActionFirmwareBlockTransmitted:
        firmwareProgress.append(result.toDouble());
        break;
    case SerialPortActionType::ActionEepromRead:
        eepromImage = result.toByteArray();
        events.append(text("finished ") + toLogString(action));
        break;
    default:
        events.append(text("finished %1 %2").arg(toLogString(action), toLogString(result)));
    }
}

bool DeviceLink::start(const QString &options)
{
    const QStringList arguments = options.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (!simulator.start(QStringList{text("--rate"), text("0")} + arguments)) {
        return false;
    }
    replacePort();
    return true;
}

void DeviceLink::setPort(const QString &path)
{
    port = QSharedPointer<RecordingSerialPort>::create(path, nullptr);
    connect(
        port.data(), &SerialPortInterface::dataReady, this,
        [this] {
            if (chunkPauseMs > 0) {
                port->flush();
                QThread::msleep(static_cast<unsigned long>(chunkPauseMs));
            }
        },
        Qt::QueuedConnection);
    handler.setSerialPort(port);
}

bool DeviceLink::connectDevice()
{
    handler.connectToDevice();
    const bool done = waitFor(text("connected"));
    clearRecords();
    return done;
}

void DeviceLink::clearRecords()
{
    events.clear();
    port->texts.clear();
    port->blocks.clear();
    port->bytes.clear();
}

bool DeviceLink::readReturns(const char *name, const char *value)
{
    handler.readValue(text(name));
    return waitFor(text("read %1=%2").arg(text(name), text(value)));
}

bool DeviceLink::isStalled() const
{
    const auto job = queue->currentJob();
    return job && !job->isRunning();
}

void DeviceLink::setTimeouts(int ms)
{
    m_timeoutMs = ms;
    auto jobs = queue->jobs();
    jobs.append(queue->currentJob());
    for (const auto &job : qAsConst(jobs)) {
        if (ms > 0 && job) {
            job->setTimeout(ms);
        }
    }
}

int DeviceLink::sendCount(const QString &command) const
{
    return static_cast<int>(
        std::count_if(port->texts.cbegin(), port->texts.cend(),
                      [&](const QString &text) { return text.trimmed() == command; }));
}

bool DeviceLink::logMatchesDevice()
{
    const QVector<LogValue> expected = simulator.logRows();
    return logTitles == simulator.logTitles()
        && std::equal(log.cbegin(), log.cend(), expected.cbegin(), expected.cend(),
                      [](const LogValue &one, const LogValue &other) {
                          return one.time == other.time && one.time.timeSpec() == Qt::UTC
                              && one.values == other.values;
                      });
}
