// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/logvalue.h"
#include "serial/serialportinterface.h"
#include "serial/serialporttypes.h"

#include <QtCore/QMap>
#include <QtCore/QSharedPointer>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

/// The operations that a device offers. Each request is queued; its result is reported by a signal.
/// A request that needs a device is ignored until the first device has been connected.
class SerialPortHandlerInterface : public QObject
{
    Q_OBJECT

public:
    /// A handler that is not connected.
    using QObject::QObject;

    /// Removes all jobs, closes the current port and uses @p port instead.
    virtual void setSerialPort(QSharedPointer<SerialPortInterface> port) = 0;

    /// Reads the device's variable @p name; an empty name is ignored.
    virtual void readValue(const QString &name) = 0;

    /// Reads each of the variables, see readValue().
    virtual void readValues(const QStringList &names) = 0;

    /// Reads all measurements once; then emits measurementsRead().
    virtual void readMeasurements() = 0;

    /// Sets the device's variable @p name; an empty name is ignored.
    virtual void setValue(const QString &name, const QString &value) = 0;

    /// Sets the variable of each "name=value" in a list or in the lines of a string; ignores any
    /// other item.
    /// @{
    virtual void setValues(const QStringList &keyValuePairs) = 0;
    virtual void setValues(const QString &text) = 0;
    /// @}

    /// Removes all jobs, including the current one.
    virtual void clearJobs() = 0;

    /// Removes all jobs and closes the port. The result of isConnected() doesn't change.
    virtual void disconnectFromDevice() = 0;

    /// Name of the current port; empty without one.
    virtual QString portName() = 0;

    /// Reads the whole log. Emits logReadProgress() for each row but the last, then logRead().
    virtual void readLog() = 0;

    /// Stores the settings in the device's non-volatile memory; then emits
    /// actionFinished(ActionWriteToEeprom).
    virtual void writeToEeprom() = 0;

    /// Cancels the reading of the log; logRead() is not emitted.
    virtual void cancelLogRead() = 0;

    /// Erases the device's log; then emits actionFinished(ActionEraseLog).
    virtual void eraseLog() = 0;

    /// Sets the device's clock to @p date, which should be in UTC; then emits
    /// actionFinished(ActionSetDate).
    virtual void setDate(const QDateTime &date) = 0;

    /// Reads the clock or the model; then emits valueRead().
    /// @{
    virtual void readDate() = 0;
    virtual void readModel() = 0;
    /// @}

    /// Opens the port if it is not open. On failure emits error() and returns false.
    virtual bool openPort() = 0;

    /// Whether any device has been connected since the program started. Stays true after a
    /// disconnection.
    virtual bool isConnected() = 0;

    /// Loads the device's factory settings.
    virtual void factoryReset() = 0;

    /// Restarts the device, into its firmware or its bootloader; then emits actionFinished() with
    /// ActionReboot or ActionRebootForFirmware.
    /// @{
    virtual void reboot() = 0;
    virtual void rebootToBootloader() = 0;
    /// @}

    /// Queues the whole transfer of @p firmware, which waits for the bootloader first. Emits
    /// actionFinished() with ActionBootloaderEntered, with ActionFirmwareBlockTransmitted for each
    /// accepted block, and with ActionFirmwareTransmitted.
    virtual void updateFirmware(const QByteArray &firmware) = 0;

    /// Removes the jobs of the transfer, including the current one.
    virtual void cancelFirmwareUpdate() = 0;

    /// Removes the jobs that read blocks, or those that write them, including the current one.
    /// @{
    virtual void cancelEepromRead() = 0;
    virtual void cancelEepromWrite() = 0;
    /// @}

    /// Queues the reading of all 1024 blocks of 64 bytes. Emits actionFinished() with
    /// ActionEepromBlockRead for each block, and with ActionEepromRead.
    virtual void readEeprom() = 0;

    /// Queues the writing of @p data as 1024 blocks of 64 bytes; its length is not checked. Emits
    /// actionFinished() with ActionEepromBlockWritten for each block, and with ActionEepromWritten.
    virtual void writeEeprom(const QByteArray &data) = 0;

public slots:
    /// Opens the port and sends a first command; connected() follows its reply.
    virtual void connectToDevice() = 0;

signals:
    /// A job reported an error, the model could not be read or the port could not be opened;
    /// @p reason is a message for the user.
    void error(QString reason);

    /// The device has replied to the first command of connectToDevice().
    void connected();

    /// The device's variable @p name was set or read and has this @p value; null if the device has
    /// no such variable.
    /// @{
    void dataWritten(QString name, QString value);
    void dataRead(QString name, QString value);
    /// @}

    /// One reading, from raw name to raw value, and the time in UTC at which it was received.
    void measurementsRead(QDateTime timestamp, QMap<QString, QString> values);

    /// The whole log.
    void logRead(QStringList titles, QVector<LogValue> logData);

    /// How much of the log has been read. Meaningless for a log of one row.
    void logReadProgress(int percentage);

    /// No job is left, see SerialPortQueueInterface::allJobsDone().
    void allJobsDone();

    /// An action was completed, or has made progress if it has several steps; @p result depends on
    /// SerialPortActionType. A failure is reported by actionFailed().
    void actionFinished(SerialPortActionType action, QVariant result);

    /// An action failed. Not emitted for a time-out after which the queue stops.
    void actionFailed(SerialPortActionType action);

    /// A value was read; SerialPortValueType says which.
    void valueRead(SerialPortValueType type, QVariant value);
};
