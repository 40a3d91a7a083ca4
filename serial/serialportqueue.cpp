// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportqueue.h"

#include <QtCore/QDebug>
#include <QtCore/QHash>

#include <algorithm>

namespace {

QString displayName(SerialPortJobType type)
{
    using Type = SerialPortJobType;
    static const QHash<int, QString> names{
        {static_cast<int>(Type::JobConnect), QStringLiteral("Connect to device")},
        {static_cast<int>(Type::JobReadValue), QStringLiteral("Read value")},
        {static_cast<int>(Type::JobSetValue), QStringLiteral("Write value")},
        {static_cast<int>(Type::JobReadMeasurements), QStringLiteral("Read measurements")},
        {static_cast<int>(Type::JobReadLog), QStringLiteral("Read all log entries")},
        {static_cast<int>(Type::JobReadLogValue), QStringLiteral("Read single log value")},
        {static_cast<int>(Type::JobWriteToEeprom), QStringLiteral("Writing settings to EEPROM")},
        {static_cast<int>(Type::JobEraseLog), QStringLiteral("Erasing log")},
        {static_cast<int>(Type::JobSetDate), QStringLiteral("Set device clock")},
        {static_cast<int>(Type::JobReadDate), QStringLiteral("Read device clock")},
        {static_cast<int>(Type::JobReadModel), QStringLiteral("Read device model")},
        {static_cast<int>(Type::JobFactoryReset), QStringLiteral("Factory reset")},
        {static_cast<int>(Type::JobReboot), QStringLiteral("Restart device")},
        {static_cast<int>(Type::JobUpdateFirmware), QStringLiteral("Update firmware")},
        {static_cast<int>(Type::JobTransmitFirmwareBlock),
         QStringLiteral("Transmit firmware to device")},
        {static_cast<int>(Type::JobReadEepromBlock),
         QStringLiteral("Read eeprom block from device")},
        {static_cast<int>(Type::JobWriteEepromBlock),
         QStringLiteral("Write eeprom block to device")},
    };
    return names.value(static_cast<int>(type));
}

} // namespace

SerialPortQueue::SerialPortQueue(QObject *parent)
    : SerialPortQueueInterface(parent)
{
}

SerialPortQueue::~SerialPortQueue()
{
    SerialPortQueue::clear();
    SerialPortQueue::close();
}

void SerialPortQueue::setSerialPort(QSharedPointer<SerialPortInterface> port)
{
    clear();
    close();
    if (m_port) {
        m_port->close();
        m_port.clear();
    }
    m_port = port;
}

void SerialPortQueue::clear()
{
    m_queue.clear();
    stopCurrentJob();
}

void SerialPortQueue::close()
{
    stopCurrentJob();
    clear();
    if (m_port) {
        m_port->close();
    }
}

bool SerialPortQueue::open()
{
    return m_port->isOpen() || m_port->open();
}

QString SerialPortQueue::portName()
{
    return m_port ? m_port->portName() : QString();
}

void SerialPortQueue::addJob(QSharedPointer<SerialPortJobInterface> job)
{
    if (!job) {
        qDebug() << "Trying to add null job";
    } else if (!m_current) {
        startJob(job);
    } else {
        m_queue.append(job);
    }
}

QSharedPointer<SerialPortInterface> SerialPortQueue::serialPort()
{
    return m_port;
}

bool SerialPortQueue::hasJob(SerialPortJobType type)
{
    return std::any_of(m_queue.cbegin(), m_queue.cend(),
                       [type](const auto &job) { return job->type() == type; });
}

void SerialPortQueue::removeJobs(SerialPortJobType type)
{
    m_queue.erase(std::remove_if(m_queue.begin(), m_queue.end(),
                                 [type](const auto &job) { return job->type() == type; }),
                  m_queue.end());
    if (m_current && m_current->type() == type) {
        finishCurrentJob();
    }
}

QSharedPointer<SerialPortJobInterface> SerialPortQueue::currentJob()
{
    return m_current;
}

QVector<QSharedPointer<SerialPortJobInterface>> SerialPortQueue::jobs()
{
    return m_queue;
}

void SerialPortQueue::startJob(const QSharedPointer<SerialPortJobInterface> &job)
{
    if (!job || (m_current && m_current->isRunning())) {
        qWarning() << "Unable to start job";
        return;
    }
    // Held here too: the job may drop out of the queue inside its own start.
    const QSharedPointer<SerialPortJobInterface> starting = job;
    stopCurrentJob();
    m_current = starting;
    connectJob(starting.data());
    starting->start();
}

void SerialPortQueue::connectJob(SerialPortJobInterface *job)
{
    using Job = SerialPortJobInterface;
    using Queue = SerialPortQueue;
    connect(job, &Job::finished, this, &Queue::onJobFinished);
    connect(job, &Job::timedOut, this, &Queue::onJobTimedOut);
    connect(job, &Job::dataRead, this, &Queue::dataRead);
    connect(job, &Job::dataWritten, this, &Queue::dataWritten);
    connect(job, &Job::measurementsRead, this, &Queue::measurementsRead);
    connect(job, &Job::logValueRead, this, &Queue::logValueRead);
    connect(job, &Job::logTitlesRead, this, &Queue::logTitlesRead);
    connect(job, &Job::error, this, &Queue::onJobError);
    connect(job, &Job::failed, this, &Queue::onJobFailed);
    connect(job, &Job::actionFinished, this, &Queue::actionFinished);
    connect(job, &Job::valueRead, this, &Queue::valueRead);
    connect(job, &Job::eepromBlockRead, this, &Queue::eepromBlockRead);
    connect(job, &Job::eepromBlockWritten, this, &Queue::eepromBlockWritten);
}

void SerialPortQueue::startNextJob()
{
    if (!m_queue.isEmpty()) {
        startJob(m_queue.takeFirst());
    }
}

void SerialPortQueue::stopCurrentJob()
{
    if (!m_current) {
        return;
    }
    // Kept, with its two ends in this order: it cuts nothing. What silences the job is its stop.
    QObject::disconnect(this, nullptr, m_current.data(), nullptr);
    const QSharedPointer<SerialPortJobInterface> job = m_current;
    job->stop();
    m_current.clear();
}

void SerialPortQueue::finishCurrentJob()
{
    const SerialPortJobType type = m_current->type();
    stopCurrentJob();
    // A finished connect has not finished the work: the handler goes on from it.
    if (m_queue.isEmpty() && type != SerialPortJobType::JobConnect) {
        emit allJobsDone();
    }
    startNextJob();
}

/// The current job, if it is the one that reports; null for one that was dropped but still speaks.
QSharedPointer<SerialPortJobInterface> SerialPortQueue::reportingJob() const
{
    const bool stale = sender() && sender() != m_current.data();
    return stale ? QSharedPointer<SerialPortJobInterface>() : m_current;
}

void SerialPortQueue::onJobFinished()
{
    const auto job = reportingJob();
    if (!job) {
        return;
    }
    emit jobFinished(job->type());
    if (m_current == job) {
        finishCurrentJob();
    }
}

void SerialPortQueue::onJobTimedOut()
{
    const auto job = reportingJob();
    if (!job) {
        return;
    }
    qDebug() << "void SerialPortQueue::onJobTimedOut()" << displayName(job->type()) << "timed out";
    if (job->canRestart()) {
        qDebug() << "Restarting current job";
        // Kept: a job that refuses stays current and stopped, and the queue stands still.
        job->restart();
    } else {
        qDebug() << "Job can't be restarted, notifying user and starting next job";
        onJobFailed(job->type());
    }
}

void SerialPortQueue::onJobError(QString reason)
{
    const auto job = reportingJob();
    if (!job) {
        return;
    }
    emit error(QStringLiteral("%1 failed: %2").arg(displayName(job->type()), reason));
    if (m_current == job) {
        stopCurrentJob();
        startNextJob();
    }
}

void SerialPortQueue::onJobFailed(SerialPortJobType type)
{
    const auto job = reportingJob();
    if (!job) {
        return;
    }
    emit jobFailed(type);
    // A listener that removed the jobs of this type has ended the job, and started the next one.
    if (m_current == job) {
        stopCurrentJob();
        startNextJob();
    }
}
