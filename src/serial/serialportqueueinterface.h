// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportinterface.h"
#include "serial/serialportjobinterface.h"
#include "serial/serialporttypes.h"

#include <QtCore/QSharedPointer>

/// Runs jobs one at a time, in order of arrival, and relays their signals.
class SerialPortQueueInterface : public QObject
{
    Q_OBJECT

public:
    /// An empty queue without a transport.
    using QObject::QObject;

    /// Removes all jobs, closes and releases the current transport, and uses @p port instead.
    virtual void setSerialPort(QSharedPointer<SerialPortInterface> port) = 0;

    /// Removes all waiting jobs and stops the current one. Emits no signal.
    virtual void clear() = 0;

    /// Removes all jobs and closes the port.
    virtual void close() = 0;

    /// Opens the port if it is not open. Returns false if that fails. A transport must have been
    /// set.
    virtual bool open() = 0;

    /// The transport's port name, or a null string without a transport.
    virtual QString portName() = 0;

    /// Starts @p job immediately if there is no current job, otherwise appends it. Null is ignored.
    virtual void addJob(QSharedPointer<SerialPortJobInterface> job) = 0;

    /// The transport; null before the first one has been set.
    virtual QSharedPointer<SerialPortInterface> serialPort() = 0;

    /// Whether a job of this type is waiting; the current job does not count.
    virtual bool hasJob(SerialPortJobType type) = 0;

    /// Removes the waiting jobs of this type, and ends the current one if it is of this type.
    virtual void removeJobs(SerialPortJobType type) = 0;

signals:
    /// The current job emitted its error(): @p reason is the job's name and its message.
    void error(QString reason);

    /// Relayed from the current job, see SerialPortJobInterface.
    /// @{
    void dataWritten(QString name, QString value);
    void dataRead(QString name, QString value);
    void measurementsRead(QDateTime timestamp, QMap<QString, QString> values);
    /// @}

    /// The current job has finished, or was removed by removeJobs(), and none is waiting. Not
    /// emitted after a job that failed, nor after a connect job, since more jobs follow.
    void allJobsDone();

    /// The current job has finished; the next one, if any, starts after this signal.
    void jobFinished(SerialPortJobType type);

    /// Relayed from the current job, see SerialPortJobInterface.
    /// @{
    void logValueRead(int index, QVector<double> values, QDateTime time);
    void logTitlesRead(QStringList titles);
    void actionFinished(SerialPortActionType action, QVariant result);
    void valueRead(SerialPortValueType type, QVariant value);
    /// @}

    /// The current job, of this type, failed, or timed out and can't be restarted.
    void jobFailed(SerialPortJobType type);

    /// Relayed from the current job, see SerialPortJobInterface.
    /// @{
    void eepromBlockRead(quint16 blockIndex, QByteArray data);
    void eepromBlockWritten(quint16 blockIndex);
    /// @}
};
