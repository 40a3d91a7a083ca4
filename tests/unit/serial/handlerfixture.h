// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialporthandler.h"
#include "tests/kit/enumeratornames.h"
#include "tests/kit/fakequeue.h"
#include "tests/kit/fakeserialport.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/text.h"

#include <QtCore/QCoreApplication>

/// Delivers the posted events.
inline void turnEventLoop() { QCoreApplication::sendPostedEvents(); }

/// The type and content of a result, of bytes their number; empty without a result.
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

/// Appends every signal of the handler to a list, as text.
inline void recordEvents(SerialPortHandlerInterface &handler, QStringList &events)
{
    using Handler = SerialPortHandlerInterface;
    const auto add = [&events](const QString &event) { events.append(event); };
    const auto on = [&handler](auto signal, const auto &slot) {
        QObject::connect(&handler, signal, &handler, slot);
    };
    on(&Handler::error, [=](const QString &reason) { add(text("error ") + reason); });
    on(&Handler::connected, [=] { add(text("connected")); });
    on(&Handler::dataWritten, [=](const QString &name, const QString &value) {
        add(text("dataWritten %1=%2").arg(name, value));
    });
    on(&Handler::dataRead, [=](const QString &name, const QString &value) {
        add(text("dataRead %1=%2").arg(name, value));
    });
    on(&Handler::measurementsRead,
       [=](const QDateTime &time, const QMap<QString, QString> &values) {
           add(text("measurementsRead %1 %2").arg(time.toString(Qt::ISODate), joined(values)));
       });
    on(&Handler::logRead, [=](const QStringList &titles, const QVector<LogValue> &rows) {
        QString event = text("logRead ") + titles.join(QLatin1Char('|'));
        for (const LogValue &row : rows) {
            event += text("; %1 %2").arg(row.time.toString(Qt::ISODate), joined(row.values));
        }
        add(event);
    });
    on(&Handler::logReadProgress,
       [=](int percentage) { add(text("logReadProgress %1").arg(percentage)); });
    on(&Handler::allJobsDone, [=] { add(text("allJobsDone")); });
    on(&Handler::actionFinished, [=](SerialPortActionType action, const QVariant &result) {
        add(text("actionFinished ") + enumeratorName(action) + resultText(result));
    });
    on(&Handler::actionFailed,
       [=](SerialPortActionType action) { add(text("actionFailed ") + enumeratorName(action)); });
    on(&Handler::valueRead, [=](SerialPortValueType type, const QVariant &value) {
        add(text("valueRead ") + enumeratorName(type) + resultText(value));
    });
}

/// A handler with a fake queue, and a port on which the jobs of that queue can be run.
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
        turnEventLoop();
        events.clear();
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
    QStringList events;
};
