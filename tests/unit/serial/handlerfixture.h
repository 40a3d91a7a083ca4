// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialporthandler.h"
#include "tests/kit/fakequeue.h"
#include "tests/kit/fakeserialport.h"
#include "tests/kit/replysamples.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSharedPointer>

/// Delivers the posted events.
inline void turnEventLoop()
{
    QCoreApplication::sendPostedEvents();
}

/// A handler with a fake queue, and a port on which the jobs of that queue can be run.
struct HandlerFixture
{
    HandlerFixture() { queue->port = port; }

    void connectDevice()
    {
        emit queue->jobFinished(SerialPortJobType::JobConnect);
        turnEventLoop();
    }

    /// What the job sends when it is started.
    QByteArray bytesOf(int job)
    {
        port->sent.clear();
        queue->jobs.at(job)->start();
        queue->jobs.at(job)->stop();
        return port->sent.join();
    }

    QByteArray allBytes()
    {
        QByteArray bytes;
        for (int i = 0; i < queue->jobs.size(); ++i) {
            bytes += bytesOf(i);
        }
        return bytes;
    }

    /// The result that the job reports for this reply; invalid when it reports none.
    QVariant resultOf(int job, const QString &reply)
    {
        QVariant result;
        const auto listening = QObject::connect(
            queue->jobs.at(job).data(), &SerialPortJobInterface::actionFinished,
            [&result](SerialPortActionType, const QVariant &value) { result = value; });
        queue->jobs.at(job)->start();
        port->receive(reply);
        queue->jobs.at(job)->stop();
        QObject::disconnect(listening);
        return result;
    }

    QSharedPointer<FakeSerialPort> port = QSharedPointer<FakeSerialPort>::create();
    QSharedPointer<FakeQueue> queue = QSharedPointer<FakeQueue>::create();
    SerialPortHandler handler{queue, nullptr};
};
