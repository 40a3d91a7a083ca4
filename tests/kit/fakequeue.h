// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportqueueinterface.h"
#include "tests/kit/enumeratornames.h"

#include <QtCore/QSharedPointer>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// A queue that stores the jobs added to it, without starting them, and records its calls. The test
/// emits its signals and sets which types are waiting.
class FakeQueue : public SerialPortQueueInterface
{
    Q_OBJECT

public:
    using SerialPortQueueInterface::SerialPortQueueInterface;

    void setSerialPort(QSharedPointer<SerialPortInterface> newPort) override
    {
        port = newPort;
        calls.append(QStringLiteral("setSerialPort"));
    }
    void clear() override { calls.append(QStringLiteral("clear")); }
    void close() override { calls.append(QStringLiteral("close")); }
    bool open() override
    {
        calls.append(QStringLiteral("open"));
        return openResult;
    }
    QString portName() override { return currentPortName; }
    void addJob(QSharedPointer<SerialPortJobInterface> job) override
    {
        jobs.append(job);
        calls.append(QStringLiteral("addJob ") + enumeratorName(job->type()));
    }
    QSharedPointer<SerialPortInterface> serialPort() override { return port; }
    bool hasJob(SerialPortJobType type) override { return waitingTypes.contains(type); }
    void removeJobs(SerialPortJobType type) override
    {
        calls.append(QStringLiteral("removeJobs ") + enumeratorName(type));
    }

    QStringList calls;
    QSharedPointer<SerialPortInterface> port;
    QVector<QSharedPointer<SerialPortJobInterface>> jobs;
    QVector<SerialPortJobType> waitingTypes;
    QString currentPortName;
    bool openResult = true;
};
