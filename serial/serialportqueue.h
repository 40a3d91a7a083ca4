// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportqueueinterface.h"

#include <QtCore/QSharedPointer>
#include <QtCore/QVector>

/// Runs the jobs of one device conversation, one at a time and in the order of their arrival.
///
/// Shares the transport and owns the running job. A job that times out is sent again until it
/// refuses; the queue then stands still, without a signal, until it is cleared or closed, gets
/// another transport or has jobs of that type removed.
class SerialPortQueue : public SerialPortQueueInterface
{
    Q_OBJECT

public:
    explicit SerialPortQueue(QObject *parent);
    ~SerialPortQueue() override;

    void setSerialPort(QSharedPointer<SerialPortInterface> port) override;
    void clear() override;
    void close() override;
    bool open() override;
    QString portName() override;
    void addJob(QSharedPointer<SerialPortJobInterface> job) override;
    QSharedPointer<SerialPortInterface> serialPort() override;
    bool hasJob(SerialPortJobType type) override;

    /// Can raise allJobsDone, as the current job's own end would.
    void removeJobs(SerialPortJobType type) override;

    /// The job under way, or null.
    QSharedPointer<SerialPortJobInterface> currentJob();

    /// The waiting jobs, first to run first.
    QVector<QSharedPointer<SerialPortJobInterface>> jobs();

protected slots:
    void onJobFinished();
    void onJobTimedOut();
    void onJobError(QString reason);
    void onJobFailed(SerialPortJobType type);

private:
    QSharedPointer<SerialPortJobInterface> reportingJob() const;
    void startJob(const QSharedPointer<SerialPortJobInterface> &job);
    void connectJob(SerialPortJobInterface *job);
    void startNextJob();
    void stopCurrentJob();
    void finishCurrentJob();

    QSharedPointer<SerialPortInterface> m_port;
    QVector<QSharedPointer<SerialPortJobInterface>> m_queue;
    QSharedPointer<SerialPortJobInterface> m_current;
};
