// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/logvalue.h"
#include "serial/serialportinterface.h"
#include "serial/serialporttypes.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QVector>

/// The operations that a device offers. Each request is queued and answered by signal; what needs a
/// device that was never connected is dropped.
class SerialPortHandlerInterface : public QObject
{
    Q_OBJECT

public:
    explicit SerialPortHandlerInterface(QObject *parent = nullptr)
        : QObject(parent)
    {
    }

    virtual void setSerialPort(QSharedPointer<SerialPortInterface> port) = 0;

    /// Reads the device's variable @p name; an empty name is refused.
    virtual void readValue(const QString &name) = 0;
    virtual void readValues(const QStringList &names) = 0;

    virtual void readMeasurements() = 0;

    /// Sets the device's variable @p name; an empty name is refused.
    virtual void setValue(const QString &name, const QString &value) = 0;

    /// Sets each "name=value" of a list, or of the lines of a text; others are passed over.
    virtual void setValues(const QStringList &keyValuePairs) = 0;
    virtual void setValues(const QString &text) = 0;

    /// Drops all jobs, the current one included.
    virtual void clearJobs() = 0;

    /// Drops all jobs and closes the port. isConnected() stays as it is.
    virtual void disconnectFromDevice() = 0;

    virtual QString portName() = 0;

    virtual void readLog() = 0;
    virtual void writeToEeprom() = 0;
    virtual void cancelLogRead() = 0;
    virtual void eraseLog() = 0;
    virtual void setDate(const QDateTime &date) = 0;
    virtual void readDate() = 0;
    virtual void readModel() = 0;

    /// Opens the port if it is not open. On failure raises error and returns false.
    virtual bool openPort() = 0;

    /// Whether a device has answered since the start; never falls back.
    virtual bool isConnected() = 0;

    virtual void factoryReset() = 0;
    virtual void reboot() = 0;
    virtual void rebootToBootloader() = 0;

    /// Queues the whole transfer of @p firmware, which waits for the bootloader first.
    virtual void updateFirmware(const QByteArray &firmware) = 0;
    virtual void cancelFirmwareUpdate() = 0;

    virtual void cancelEepromRead() = 0;
    virtual void cancelEepromWrite() = 0;
    virtual void readEeprom() = 0;

    /// Queues the writing of @p data as 1024 blocks of 64 bytes; its length is not checked.
    virtual void writeEeprom(const QByteArray &data) = 0;

public slots:
    /// Opens the port and asks for a first answer; connected() tells of it.
    virtual void connectToDevice() = 0;

signals:
    void error(QString reason);
    void connected();
    void dataWritten(QString name, QString value);
    void dataRead(QString name, QString value);
    void measurementsRead(QDateTime timestamp, QMap<QString, QString> values);
    void logRead(QStringList titles, QVector<LogValue> logData);
    void logReadProgress(int percentage);
    void allJobsDone();
    void actionFinished(SerialPortActionType action, QVariant result);
    void actionFailed(SerialPortActionType action);
    void valueRead(SerialPortValueType type, QVariant value);
};
