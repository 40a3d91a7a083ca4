// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportqueue.h"

#include <QtCore/QDebug>
#include <algorithm>

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
    // Qualified, because the destructor calls this function too.
    SerialPortQueue::clear();
    if (m_port) {
        m_port->close();
    }
}

bool SerialPortQueue::open() { return m_port->isOpen() || m_port->open(); }

QString SerialPortQueue::portName() { return m_port ? m_port->portName() : QString(); }

void SerialPortQueue::addJob(QSharedPointer<SerialPortJobInterface> job)
{
    if (!job) {
        qDebug() << "Trying to add null job";
        return;
    }
    if (m_current) {
        m_queue.enqueue(job);
    } else {
        startJob(job);
    }
}

QSharedPointer<SerialPortInterface> SerialPortQueue::serialPort() { return m_port; }

bool SerialPortQueue::hasJob(SerialPortJobType type)
{
    return std::any_of(m_queue.cbegin(), m_queue.cend(),
                       [type](const auto &job) { return job->type() == type; });
}

void SerialPortQueue::removeJobs(SerialPortJobType type)
{
    const auto removed = std::remove_if(m_queue.begin(), m_queue.end(),
                                        [type](const auto &job) { return job->type() == type; });
    m_queue.erase(removed, m_queue.end());
    if (m_current && m_current->type() == type) {
        finishCurrentJob();
    }
}

QSharedPointer<SerialPortJobInterface> SerialPortQueue::currentJob() { return m_current; }

QVector<QSharedPointer<SerialPortJobInterface>> SerialPortQueue::jobs()
{
    return m_queue.toVector();
}

void SerialPortQueue::onJobFinished()
{
    const auto job = reportingJob();
    if (!job) {
        return;
    }
    emit jobFinished(job->type());
    // Otherwise a slot has removed the job and decided what follows.
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
        // Quirk: the result of restart() is ignored. After the last attempt the job stays current
        // and stopped, and the queue stops without a signal until the user cancels or disconnects.
        job->restart();
        return;
    }
    qDebug() << "Job can't be restarted, notifying user and starting next job";
    onJobFailed(job->type());
}

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
    // A slot that removes the failed jobs has already started the next one.
    if (m_current == job) {
        stopCurrentJob();
        startNextJob();
    }
}

// By value, so that the job exists until its start() returns, even if a slot removes it.
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
        // Quirk: lost, with a warning, if a slot connected to allJobsDone() has started another
        // job, since nothing may interrupt a running job.
        startJob(m_queue.dequeue());
    }
}

void SerialPortQueue::stopCurrentJob()
{
    if (!m_current) {
        return;
    }
    // Quirk: disconnects nothing, since the queue is the sender here and the job is the sender of
    // the connections. The results that a job still emits after stop() are relayed until it is
    // destroyed.
    QObject::disconnect(this, nullptr, m_current.data(), nullptr);
    m_current->stop();
    m_current.clear();
}

void SerialPortQueue::finishCurrentJob()
{
    const SerialPortJobType type = m_current->type();
    stopCurrentJob();
    // Quirk: not after a connect job, whose end makes the handler add more jobs.
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
