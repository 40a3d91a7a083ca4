// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialporthandler.h"
#include "tests/kit/devicereplies.h"
#include "tests/kit/enumeratornames.h"
#include "tests/kit/fakequeue.h"
#include "tests/kit/fakeserialport.h"
#include "tests/kit/stringliterals.h"

#include <QtCore/QCoreApplication>

inline void deliverPostedEvents() { QCoreApplication::sendPostedEvents(); }

/// The type and value of @p result, with the size of a byte array as its value; empty if invalid.
inline QString resultText(const QVariant &result)
{
    if (!result.isValid()) {
        return QString();
    }
    const QString content = result.userType() == QMetaType::QByteArray
        ? QString::number(result.toByteArray().size())
        : result.toString();
    return text(" %1 %2").arg(text(result.typeName()), content);
}

/// Appends each signal of @p handler to @p events, as text.
inline void recordEvents(SerialPortHandlerInterface &handler, QStringList &events)
{
    using Handler = SerialPortHandlerInterface;
    const auto add = [&events](const QString &event) { events.append(event); };
    const auto connectSignal = [&handler](auto signal, const auto &slot) {
        QObject::connect(&handler, signal, &handler, slot);
    };
    connectSignal(&Handler::error, [=](const QString &reason) { add(text("error ") + reason); });
    connectSignal(&Handler::connected, [=] { add(text("connected")); });
    connectSignal(&Handler::dataWritten, [=](const QString &name, const QString &value) {
        add(text("dataWritten %1=%2").arg(name, value));
    });
    connectSignal(&Handler::dataRead, [=](const QString &name, const QString &value) {
        add(text("dataRead %1=%2").arg(name, value));
    });
    connectSignal(
        &Handler::measurementsRead,
        [=](const QDateTime &time, const QMap<QString, QString> &values) {
            add(text("measurementsRead %1 %2").arg(time.toString(Qt::ISODate), joined(values)));
        });
    connectSignal(&Handler::logRead, [=](const QStringList &titles, const QVector<LogValue> &rows) {
        QString event = text("logRead ") + titles.join(QLatin1Char('|'));
        for (const LogValue &row : rows) {
            event += text("; %1 %2").arg(row.time.toString(Qt::ISODate), joined(row.values));
        }
        add(event);
    });
    connectSignal(&Handler::logReadProgress,
                  [=](int percentage) { add(text("logReadProgress %1").arg(percentage)); });
    connectSignal(&Handler::allJobsDone, [=] { add(text("allJobsDone")); });
    connectSignal(&Handler::actionFinished,
                  [=](SerialPortActionType action, const QVariant &result) {
                      add(text("actionFinished ") + enumeratorName(action) + resultText(result));
                  });
    connectSignal(&Handler::actionFailed, [=](SerialPortActionType action) {
        add(text("actionFailed ") + enumeratorName(action));
    });
    connectSignal(&Handler::valueRead, [=](SerialPortValueType type, const QVariant &value) {
        add(text("valueRead ") + enumeratorName(type) + resultText(value));
    });
}

/// A handler with a fake queue, and a port connectSignal which the jobs of that queue can be run.
struct HandlerFixture
{
    HandlerFixture()
    {
        queue->port = port;
        recordEvents(handler, events);
    }

    void connectDevice()
    {
        emit queue->jobFinished(SerialPortJobType::JobConnect);
        deliverPostedEvents();
        events.clear();
    }

    /// The bytes that the job sends when it is started.
    QByteArray bytesSentBy(int job)
    {
        port->sent.clear();
        queue->jobs.at(job)->start();
        queue->jobs.at(job)->stop();
        return port->sent.join();
    }

    QByteArray bytesSentByAllJobs()
    {
        QByteArray bytes;
        for (int i = 0; i < queue->jobs.size(); ++i) {
            bytes += bytesSentBy(i);
        }
        return bytes;
    }

    /// The result of the job's actionFinished() after @p reply; invalid if it is not emitted.
    QVariant resultOf(int job, const QString &reply)
    {
        QVariant result;
        const auto connection = QObject::connect(
            queue->jobs.at(job).data(), &SerialPortJobInterface::actionFinished,
            [&result](SerialPortActionType, const QVariant &value) { result = value; });
        queue->jobs.at(job)->start();
        port->receive(reply);
        queue->jobs.at(job)->stop();
        QObject::disconnect(connection);
        return result;
    }

    QSharedPointer<FakeSerialPort> port = QSharedPointer<FakeSerialPort>::create();
    QSharedPointer<FakeQueue> queue = QSharedPointer<FakeQueue>::create();
    SerialPortHandler handler{queue, nullptr};
    QStringList events;
};
