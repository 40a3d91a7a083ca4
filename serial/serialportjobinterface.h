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

/// One exchange with the device. A job is used once; a listener may drop it inside any of its
/// signals.
class SerialPortJobInterface : public QObject
{
    Q_OBJECT

public:
    explicit SerialPortJobInterface(QObject *parent = nullptr)
        : QObject(parent)
    {
    }

    /// Listens, arms the timer and sends the command.
    virtual void start() = 0;

    /// Stops listening and forgets the received text.
    virtual void stop() = 0;

    /// Uses up one restart and starts again; false, and nothing else, when none is left.
    virtual bool restart() = 0;

    virtual SerialPortJobType type() = 0;

    /// The time-out, in ms.
    virtual void setTimeout(int ms) = 0;
    virtual int timeout() = 0;

    virtual bool isRunning() = 0;

    /// Whether the job may be sent again after a time-out.
    virtual bool canRestart() = 0;

protected slots:
    /// A chunk of text arrived.
    virtual void dataReady(QString data) = 0;

    /// The timer fired.
    virtual void onTimeOut() = 0;

protected:
    /// Writes the job's bytes to the port.
    virtual void sendCommand() = 0;

    /// Tries to recognise the reply in all the text received so far.
    virtual void parseData(QString buffer) = 0;

signals:
    void timedOut();
    void finished();
    void dataWritten(QString name, QString value);
    void dataRead(QString name, QString value);
    void measurementsRead(QDateTime timestamp, QMap<QString, QString> values);
    void logValueRead(int index, QVector<double> values, QDateTime time);
    void eepromBlockRead(quint16 blockIndex, QByteArray data);
    void eepromBlockWritten(quint16 blockIndex);
    void logTitlesRead(QStringList titles);
    void error(QString message);
    void failed(SerialPortJobType type);
    void dataWrittenToEeprom();
    void actionFinished(SerialPortActionType action, QVariant result);
    void valueRead(SerialPortValueType type, QVariant value);
};
