// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportqueue.h"
#include "tests/kit/fakejob.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/signalrecorder.h"

#include <QtCore/QScopedPointer>
#include <QtTest/QtTest>

/// A queue whose slots can be called without a job that raises the signal.
class QueueWithPublicSlots : public SerialPortQueue
{
public:
    using SerialPortQueue::onJobError;
    using SerialPortQueue::onJobFailed;
    using SerialPortQueue::onJobFinished;
    using SerialPortQueue::onJobTimedOut;
    using SerialPortQueue::SerialPortQueue;
};

struct NamedType
{
    SerialPortJobType type;
    const char *name;
};

inline constexpr NamedType displayNames[] = {
    {SerialPortJobType::JobConnect, "Connect to device"},
    {SerialPortJobType::JobReadValue, "Read value"},
    {SerialPortJobType::JobSetValue, "Write value"},
    {SerialPortJobType::JobReadMeasurements, "Read measurements"},
    {SerialPortJobType::JobReadLog, "Read all log entries"},
    {SerialPortJobType::JobReadLogValue, "Read single log value"},
    {SerialPortJobType::JobWriteToEeprom, "Writing settings to EEPROM"},
    {SerialPortJobType::JobEraseLog, "Erasing log"},
    {SerialPortJobType::JobSetDate, "Set device clock"},
    {SerialPortJobType::JobReadDate, "Read device clock"},
    {SerialPortJobType::JobReadModel, "Read device model"},
    {SerialPortJobType::JobFactoryReset, "Factory reset"},
    {SerialPortJobType::JobReboot, "Restart device"},
    {SerialPortJobType::JobUpdateFirmware, "Update firmware"},
    {SerialPortJobType::JobTransmitFirmwareBlock, "Transmit firmware to device"},
    {SerialPortJobType::JobReadEepromBlock, "Read eeprom block from device"},
    {SerialPortJobType::JobWriteEepromBlock, "Write eeprom block to device"},
};

/// A queue whose signals are recorded, and jobs with a common call log.
class QueueFixture : public QObject
{
protected:
    using Type = SerialPortJobType;
    using JobPointer = QSharedPointer<SerialPortJobInterface>;

    void renew()
    {
        drop();
        m_callLog.clear();
        m_recorder.reset(new SignalRecorder);
        m_queue.reset(new QueueWithPublicSlots(nullptr));
        m_recorder->record(m_queue.data());
    }
    void drop()
    {
        m_queue.reset();
        m_recorder.reset();
    }
    QSharedPointer<FakeJob> add(SerialPortJobType type, const char *name)
    {
        QSharedPointer<FakeJob> job(new FakeJob(type, &m_callLog, latin1(name)));
        m_queue->addJob(job);
        return job;
    }

    QScopedPointer<QueueWithPublicSlots> m_queue;
    QScopedPointer<SignalRecorder> m_recorder;
    QStringList m_callLog;
};
