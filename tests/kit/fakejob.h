// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjobinterface.h"

#include <QtCore/QStringList>

/// A job that records its calls and is running between start() and stop(). The test emits its
/// signals.
class FakeJob : public SerialPortJobInterface
{
    Q_OBJECT

public:
    explicit FakeJob(SerialPortJobType jobType, QStringList *callLog = nullptr,
                     const QString &jobName = QString())
        : name(jobName)
        , m_type(jobType)
        , m_callLog(callLog)
    { }

    void start() override
    {
        running = true;
        recordCall("start");
    }
    void stop() override
    {
        running = false;
        recordCall("stop");
    }
    bool restart() override
    {
        recordCall("restart");
        return restartResult;
    }
    SerialPortJobType type() override { return m_type; }
    void setTimeout(int ms) override { timeoutMs = ms; }
    int timeout() override { return timeoutMs; }
    bool isRunning() override { return running; }
    bool canRestart() override { return restartable; }

    QString name;
    QStringList calls;
    int timeoutMs = 500;
    bool running = false;
    bool restartable = true;
    bool restartResult = true;

protected slots:
    void dataReady(QString data) override { Q_UNUSED(data) }
    void onTimeOut() override { emit timedOut(); }

protected:
    void sendCommand() override { }
    void parseData(QString buffer) override { Q_UNUSED(buffer) }

private:
    void recordCall(const char *call)
    {
        const QString text = QLatin1String(call);
        calls.append(text);
        if (m_callLog) {
            m_callLog->append(name + QLatin1Char(' ') + text);
        }
    }

    SerialPortJobType m_type;
    QStringList *m_callLog;
};
