// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialporttypes.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QVector>

/// One exchange with the device. A job is used once; a slot may delete it inside any of its signals
/// if it is held by a shared pointer.
class SerialPortJobInterface : public QObject
{
    Q_OBJECT

public:
    /// A job that has not started.
    using QObject::QObject;

    /// Connects to the port, starts the timer and sends the command.
    virtual void start() = 0;

    /// Disconnects from the port, stops the timer and discards the received text.
    virtual void stop() = 0;

    /// Uses up one restart and starts the job again. Returns false and doesn't start it if none is
    /// left.
    virtual bool restart() = 0;

    /// The kind of the exchange.
    virtual SerialPortJobType type() = 0;

    /// The time-out, in ms.
    /// @{
    virtual void setTimeout(int ms) = 0;
    virtual int timeout() = 0;
    /// @}

    /// Whether the job has been started and not been stopped since.
    virtual bool isRunning() = 0;

    /// Whether the job may be sent again after a time-out.
    virtual bool canRestart() = 0;

protected slots:
    /// A chunk of text has arrived.
    virtual void dataReady(QString data) = 0;

    /// The time-out has expired.
    virtual void onTimeOut() = 0;

protected:
    /// Writes the job's bytes to the port.
    virtual void sendCommand() = 0;

    /// Checks whether @p buffer, all the text received so far, contains the complete reply.
    virtual void parseData(QString buffer) = 0;

signals:
    /// No complete reply came within the time-out.
    void timedOut();

    /// The exchange is over; the job is not used again.
    void finished();

    /// The variable @p name of the device was set or read and has this @p value; null if the device
    /// has no such variable.
    /// @{
    void dataWritten(QString name, QString value);
    void dataRead(QString name, QString value);
    /// @}

    /// One reading, from raw name to raw value, and the time in UTC at which it was received.
    void measurementsRead(QDateTime timestamp, QMap<QString, QString> values);

    /// Row @p index of the log, 1 or more, with its values in the order of the titles; @p time is
    /// in UTC.
    void logValueRead(int index, QVector<double> values, QDateTime time);

    /// A block of 64 bytes of the memory was read or written; @p blockIndex is 0 to 1023.
    /// @{
    void eepromBlockRead(quint16 blockIndex, QByteArray data);
    void eepromBlockWritten(quint16 blockIndex);
    /// @}

    /// The titles of the log's columns.
    void logTitlesRead(QStringList titles);

    /// The exchange failed with this @p message.
    void error(QString message);

    /// The exchange, a job of this type, failed.
    void failed(SerialPortJobType type);

    /// Never emitted: actionFinished() with ActionWriteToEeprom is emitted instead.
    void dataWrittenToEeprom();

    /// An action was completed, or has made progress if it has several steps; @p result depends on
    /// SerialPortActionType.
    void actionFinished(SerialPortActionType action, QVariant result);

    /// A value was read; SerialPortValueType says which.
    void valueRead(SerialPortValueType type, QVariant value);
};
