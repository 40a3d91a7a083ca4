// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportqueueinterface.h"

#include <QtCore/QQueue>

/// Runs the jobs of one device, one at a time and in the order of their arrival.
///
/// Shares the transport and the jobs. A job that times out is sent again until restart() returns
/// false; the queue then stops, without a signal, until it is cleared or closed, gets another
/// transport or removes that job by removeJobs(). A slot may do any of these inside any signal of
/// queue or job.
class SerialPortQueue : public SerialPortQueueInterface
{
    Q_OBJECT

public:
    /// Without a transport: set one before the first open() or addJob().
    using SerialPortQueueInterface::SerialPortQueueInterface;
    ~SerialPortQueue() override;

    void setSerialPort(QSharedPointer<SerialPortInterface> port) override;
    void clear() override;
    void close() override;
    bool open() override;
    QString portName() override;
    void addJob(QSharedPointer<SerialPortJobInterface> job) override;
    QSharedPointer<SerialPortInterface> serialPort() override;
    bool hasJob(SerialPortJobType type) override;

    /// May emit allJobsDone(), like the end of a job.
    void removeJobs(SerialPortJobType type) override;

    /// The current job, or null.
    QSharedPointer<SerialPortJobInterface> currentJob();

    /// The waiting jobs, in the order in which they will run.
    QVector<QSharedPointer<SerialPortJobInterface>> jobs();

protected slots:
    /// The current job has finished, timed out, reported an error or failed.
    /// @{
    void onJobFinished();
    void onJobTimedOut();
    void onJobError(QString reason);
    void onJobFailed(SerialPortJobType type);
    /// @}

private:
    void startJob(QSharedPointer<SerialPortJobInterface> job);
    void startNextJob();
    void stopCurrentJob();
    void finishCurrentJob();
    void connectJob(SerialPortJobInterface *job);

    // The current job if it emitted the signal that is being handled, otherwise null. If the slot
    // was called directly, the current job.
    QSharedPointer<SerialPortJobInterface> reportingJob() const;

    static QString displayName(SerialPortJobType type);

    QSharedPointer<SerialPortInterface> m_port;
    QQueue<QSharedPointer<SerialPortJobInterface>> m_queue;
    QSharedPointer<SerialPortJobInterface> m_current;
};
