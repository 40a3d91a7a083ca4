// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportqueue.h"

#include <QtCore/QDebug>
#include <QtCore/QMap>
#include <algorithm>

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
    m_taken = 0;
    stopCurrentJob();
}

void SerialPortQueue::close()
{
    stopCurrentJob();
    // Qualified: the destructor comes here too.
    SerialPortQueue::clear();
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
        return;
    }
    if (!m_current) {
        startJob(job);
        return;
    }
    m_queue.append(job);
}

QSharedPointer<SerialPortInterface> SerialPortQueue::serialPort()
{
    return m_port;
}

bool SerialPortQueue::hasJob(SerialPortJobType type)
{
    return std::any_of(m_queue.cbegin() + m_taken, m_queue.cend(),
                       [type](const auto &job) { return job->type() == type; });
}

void SerialPortQueue::removeJobs(SerialPortJobType type)
{
    const auto removed = std::remove_if(m_queue.begin() + m_taken, m_queue.end(),
                                        [type](const auto &job) { return job->type() == type; });
    m_queue.erase(removed, m_queue.end());
    dropTaken();
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
    return m_queue.mid(m_taken);
}

void SerialPortQueue::onJobFinished()
{
    const auto job = reportingJob();
    if (!job) {
        return;
    }
    emit jobFinished(job->type());
    // Otherwise a listener has dropped the job, and what it did instead stands.
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
        // A refusal is passed over: the job stays current and stopped, and the queue stands still
        // without a signal until someone frees it.
        job->restart();
        return;
    }
    qDebug() << "Job can't be restarted, notifying user and starting next job";
    onJobFailed(job->type());
}

// By value, as the signal has it. NOLINTNEXTLINE(performance-unnecessary-value-param)
void SerialPortQueue::onJobError(QString reason)
{
    const auto job = reportingJob();
    if (!job) {
        return;
    }
    emit error(tr("%1 failed: %2").arg(displayName(job->type()), reason));
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
    // A listener that removes the failed jobs has already started what comes next.
    if (m_current == job) {
        stopCurrentJob();
        startNextJob();
    }
}

// By value: the job lives until its start() returns, whoever lets go of it meanwhile.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void SerialPortQueue::startJob(QSharedPointer<SerialPortJobInterface> job)
{
    if (!job || (m_current && m_current->isRunning())) {
        qWarning() << "Unable to start job";
        return;
    }
    stopCurrentJob();
    m_current = job;
    connectJob(job.data());
    job->start();
}

void SerialPortQueue::startNextJob()
{
    if (!m_queue.isEmpty()) {
        const auto job = std::move(m_queue[m_taken]);
        ++m_taken;
        dropTaken();
        startJob(job);
    }
}

void SerialPortQueue::dropTaken()
{
    // Not one by one: each time all those that wait would move up.
    if (2 * m_taken >= m_queue.size()) {
        m_queue.remove(0, m_taken);
        m_taken = 0;
    }
}

void SerialPortQueue::stopCurrentJob()
{
    if (!m_current) {
        return;
    }
    // Cuts nothing, since the connections run the other way, and is kept so: what a job still has
    // to say is heard until it is destroyed. It is stop() that makes it fall silent.
    QObject::disconnect(this, nullptr, m_current.data(), nullptr);
    m_current->stop();
    m_current.clear();
}

void SerialPortQueue::finishCurrentJob()
{
    const SerialPortJobType type = m_current->type();
    stopCurrentJob();
    // A finished connect has not finished the work: more jobs follow from it.
    if (m_queue.isEmpty() && type != SerialPortJobType::JobConnect) {
        emit allJobsDone();
    }
    startNextJob();
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

QSharedPointer<SerialPortJobInterface> SerialPortQueue::reportingJob() const
{
    const QObject *reporter = sender();
    return reporter && reporter != m_current.data() ? nullptr : m_current;
}

QString SerialPortQueue::displayName(SerialPortJobType type)
{
    using Type = SerialPortJobType;
    static const QMap<Type, QString> names = {
        {Type::JobConnect, tr("Connect to device")},
        {Type::JobReadValue, tr("Read value")},
        {Type::JobSetValue, tr("Write value")},
        {Type::JobReadMeasurements, tr("Read measurements")},
        {Type::JobReadLog, tr("Read all log entries")},
        {Type::JobReadLogValue, tr("Read single log value")},
        {Type::JobWriteToEeprom, tr("Writing settings to EEPROM")},
        {Type::JobEraseLog, tr("Erasing log")},
        {Type::JobSetDate, tr("Set device clock")},
        {Type::JobReadDate, tr("Read device clock")},
        {Type::JobReadModel, tr("Read device model")},
        {Type::JobFactoryReset, tr("Factory reset")},
        {Type::JobReboot, tr("Restart device")},
        {Type::JobUpdateFirmware, tr("Update firmware")},
        {Type::JobTransmitFirmwareBlock, tr("Transmit firmware to device")},
        {Type::JobReadEepromBlock, tr("Read eeprom block from device")},
        {Type::JobWriteEepromBlock, tr("Write eeprom block to device")},
    };
    return names.value(type);
}
