// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/devicelink.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QLoggingCategory>
#include <QtCore/QThread>
#include <QtCore/QTimer>

namespace {

using Handler = SerialPortHandlerInterface;

QString valueText(const QVariant &value)
{
    return value.type() == QVariant::DateTime ? value.toDateTime().toString(Qt::ISODate)
                                              : value.toString();
}

} // namespace

bool runUntil(const std::function<bool()> &done, int ms)
{
    constexpr int tickMs = 20; // so that the time is checked though nothing else happens
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
    QLoggingCategory::setFilterRules(text("default.debug=false"));
    recordSignals();
    recordLongReads();
}

bool DeviceLink::start(const QString &options)
{
    const QStringList arguments = options.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (!simulator.start(QStringList{text("--rate"), text("0")} + arguments)) {
        return false;
    }
    renewPort();
    return true;
}

bool DeviceLink::startConnected(const QString &options)
{
    return start(options) && connectDevice();
}

void DeviceLink::renewPort()
{
    setPort(simulator.port());
}

void DeviceLink::setPort(const QString &path)
{
    port = QSharedPointer<RecordingSerialPort>::create(path, nullptr);
    connect(
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
    if (port) {
        port->texts.clear();
        port->blocks.clear();
        port->bytes.clear();
    }
}

bool DeviceLink::waitFor(const QString &event)
{
    return runUntil([&] { return events.contains(event); });
}

bool DeviceLink::canRead(const char *name, const char *value)
{
    handler.readValue(text(name));
    return waitFor(text("read %1=%2").arg(text(name), text(value)));
}

bool DeviceLink::isStalled() const
{
    const auto job = queue->currentJob();
    return job && !job->isRunning();
}

bool DeviceLink::waitForStall()
{
    return runUntil([this] { return isStalled(); });
}

void DeviceLink::setTimeouts(int ms)
{
    m_timeoutMs = ms;
    if (ms <= 0) {
        return;
    }
    if (const auto job = queue->currentJob()) {
        job->setTimeout(ms);
    }
    const auto jobs = queue->jobs();
    for (const auto &job : jobs) {
        job->setTimeout(ms);
    }
}

int DeviceLink::sends(const QString &command) const
{
    return static_cast<int>(
        std::count_if(port->texts.cbegin(), port->texts.cend(),
                      [&](const QString &text) { return text.trimmed() == command; }));
}

bool DeviceLink::hasDevicesMeasurements()
{
    QMap<QString, QString> own;
    const QList<QByteArray> pairs = simulator.measurements();
    for (const QByteArray &pair : pairs) {
        const int equals = pair.indexOf('=');
        own.insert(QString::fromLatin1(pair.left(equals)),
                   QString::fromLatin1(pair.mid(equals + 1)));
    }
    return measurements == own;
}

QVector<LogValue> DeviceLink::devicesLog(QStringList &ownTitles)
{
    QVector<LogValue> rows;
    const QList<QByteArray> lines = simulator.control("log");
    for (const QByteArray &line : lines) {
        const int begin = line.indexOf('=') + 1;
        QStringList fields = QString::fromLatin1(line.mid(begin, line.lastIndexOf('#') - begin))
                                 .split(QLatin1Char(','));
        if (&line == &lines.first()) {
            ownTitles = fields;
            continue;
        }
        LogValue row;
        row.time = QDateTime::fromString(fields.takeFirst(), Qt::ISODate);
        row.time.setTimeSpec(Qt::UTC);
        for (const QString &field : qAsConst(fields)) {
            row.values += field.toDouble();
        }
        rows += row;
    }
    return rows;
}

bool DeviceLink::hasDevicesLog()
{
    QStringList ownTitles;
    const QVector<LogValue> own = devicesLog(ownTitles);
    return titles == ownTitles
        && std::equal(log.cbegin(), log.cend(), own.cbegin(), own.cend(),
                      [](const LogValue &one, const LogValue &other) {
                          return one.time == other.time && one.time.timeSpec() == Qt::UTC
                              && one.values == other.values;
                      });
}

void DeviceLink::recordSignals()
{
    const Handler *const source = &handler;
    connect(source, &Handler::error, this,
            [this](const QString &reason) { record(text("error ") + reason); });
    connect(source, &Handler::connected, this, [this] { record(text("connected")); });
    connect(source, &Handler::allJobsDone, this, [this] { record(text("allJobsDone")); });
    connect(source, &Handler::dataWritten, this, [this](const QString &name, const QString &value) {
        record(text("written %1=%2").arg(name, value));
    });
    connect(source, &Handler::dataRead, this, [this](const QString &name, const QString &value) {
        record(text("read %1=%2").arg(name, value.isNull() ? text("(null)") : value));
    });
    connect(source, &Handler::measurementsRead, this,
            [this](const QDateTime &time, const QMap<QString, QString> &values) {
                measuredAt = time;
                measurements = values;
                record(text("measurements"));
            });
    connect(source, &Handler::actionFailed, this, [this](SerialPortActionType action) {
        record(text("failed %1").arg(static_cast<int>(action)));
    });
    connect(source, &Handler::valueRead, this,
            [this](SerialPortValueType type, const QVariant &value) {
                record(text("value %1 %2").arg(static_cast<int>(type)).arg(valueText(value)));
            });
}

void DeviceLink::recordLongReads()
{
    const Handler *const source = &handler;
    connect(source, &Handler::logRead, this,
            [this](const QStringList &columns, const QVector<LogValue> &rows) {
                titles = columns;
                log = rows;
                record(text("log"));
            });
    connect(source, &Handler::logReadProgress, this,
            [this](int percentage) { logProgress.append(percentage); });
    connect(source, &Handler::actionFinished, this, &DeviceLink::recordAction);
    // After the handler's own slot, which adds the jobs of the rows.
    connect(
        queue.data(), &SerialPortQueueInterface::valueRead, this,
        [this] { setTimeouts(m_timeoutMs); }, Qt::QueuedConnection);
}

void DeviceLink::recordAction(SerialPortActionType action, const QVariant &result)
{
    switch (action) {
    case SerialPortActionType::ActionEepromBlockRead:
    case SerialPortActionType::ActionEepromBlockWritten:
        memoryProgress.append(result.toInt());
        break;
    case SerialPortActionType::ActionFirmwareBlockTransmitted:
        firmwareProgress.append(result.toDouble());
        break;
    case SerialPortActionType::ActionEepromRead:
        image = result.toByteArray();
        record(text("finished 8"));
        break;
    default:
        record(
            text("finished %1 %2").arg(static_cast<int>(action)).arg(valueText(result)).trimmed());
    }
}
