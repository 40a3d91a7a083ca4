// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjobinterface.h"
#include "serial/serialportqueueinterface.h"
#include "tests/unit/serial/replysamples.h"

#include <QtCore/QStringList>
#include <functional>

inline QString spoken(const QDateTime &time)
{
    return time.toString(Qt::ISODate);
}

inline QString spoken(const QVariant &value)
{
    if (!value.isValid()) {
        return latin1("nothing");
    }
    const bool isTime = value.userType() == QMetaType::QDateTime;
    return latin1(value.typeName()) + latin1(" ")
        + (isTime ? spoken(value.toDateTime()) : value.toString());
}

inline QString spoken(const QString &value)
{
    return value.isNull() ? latin1("null") : value;
}

/// Writes down every signal of the jobs and queues that it is put on, in order. A test may react
/// to the n-th of them, inside it.
///
/// Must outlive its jobs and queues, or be taken off them.
class JobEars
{
public:
    QStringList heard;

    /// Called inside each signal, with the number of signals heard before.
    std::function<void(int)> reaction;

    /// What a job says, and behind it "running" when it has not stopped yet.
    void listenTo(SerialPortJobInterface *job)
    {
        using Job = SerialPortJobInterface;
        const auto hear = [this, job](const QString &text) {
            hearOne(job->isRunning() ? text + latin1(", running") : text);
        };
        QObject::connect(job, &Job::timedOut, job, [hear] { hear(latin1("timedOut")); });
        QObject::connect(job, &Job::finished, job, [hear] { hear(latin1("finished")); });
        QObject::connect(job, &Job::error, job,
                         [hear](const QString &text) { hear(latin1("error ") + text); });
        QObject::connect(job, &Job::failed, job, [hear](SerialPortJobType type) {
            hear(latin1("failed %1").arg(static_cast<int>(type)));
        });
        QObject::connect(job, &Job::dataWrittenToEeprom, job,
                         [hear] { hear(latin1("dataWrittenToEeprom")); });
        listenToResults(job, hear);
    }

    /// What a queue says, with "queue:" in front.
    void listenTo(SerialPortQueueInterface *queue)
    {
        using Queue = SerialPortQueueInterface;
        const auto hear = [this](const QString &text) { hearOne(latin1("queue: ") + text); };
        QObject::connect(queue, &Queue::error, queue,
                         [hear](const QString &text) { hear(latin1("error ") + text); });
        QObject::connect(queue, &Queue::jobFinished, queue, [hear](SerialPortJobType type) {
            hear(latin1("jobFinished %1").arg(static_cast<int>(type)));
        });
        QObject::connect(queue, &Queue::jobFailed, queue, [hear](SerialPortJobType type) {
            hear(latin1("jobFailed %1").arg(static_cast<int>(type)));
        });
        QObject::connect(queue, &Queue::allJobsDone, queue,
                         [hear] { hear(latin1("allJobsDone")); });
        listenToResults(queue, hear);
    }

private:
    // The results have the same signals on a job and on a queue.
    template <typename Speaker, typename Hear>
    void listenToResults(Speaker *speaker, const Hear &hear)
    {
        QObject::connect(speaker, &Speaker::dataWritten, speaker,
                         [hear](const QString &name, const QString &value) {
                             hear(latin1("dataWritten %1=%2").arg(name, spoken(value)));
                         });
        QObject::connect(speaker, &Speaker::dataRead, speaker,
                         [hear](const QString &name, const QString &value) {
                             hear(latin1("dataRead %1=%2").arg(name, spoken(value)));
                         });
        QObject::connect(speaker, &Speaker::measurementsRead, speaker,
                         [hear](const QDateTime &, const QMap<QString, QString> &values) {
                             hear(latin1("measurementsRead ") + joined(values));
                         });
        QObject::connect(speaker, &Speaker::logValueRead, speaker,
                         [hear](int index, const QVector<double> &values, const QDateTime &time) {
                             hear(latin1("logValueRead %1 %2 %3")
                                      .arg(QString::number(index), joined(values), spoken(time)));
                         });
        QObject::connect(speaker, &Speaker::logTitlesRead, speaker,
                         [hear](const QStringList &titles) {
                             hear(latin1("logTitlesRead ") + titles.join(QLatin1Char('|')));
                         });
        QObject::connect(speaker, &Speaker::eepromBlockRead, speaker,
                         [hear](quint16 block, const QByteArray &data) {
                             hear(latin1("eepromBlockRead %1 ").arg(block)
                                  + latin1(data.toHex().constData()));
                         });
        QObject::connect(speaker, &Speaker::eepromBlockWritten, speaker, [hear](quint16 block) {
            hear(latin1("eepromBlockWritten %1").arg(block));
        });
        QObject::connect(
            speaker, &Speaker::actionFinished, speaker,
            [hear](SerialPortActionType action, const QVariant &result) {
                hear(latin1("actionFinished %1 %2")
                         .arg(QString::number(static_cast<int>(action)), spoken(result)));
            });
        QObject::connect(speaker, &Speaker::valueRead, speaker,
                         [hear](SerialPortValueType type, const QVariant &value) {
                             hear(latin1("valueRead %1 %2")
                                      .arg(QString::number(static_cast<int>(type)), spoken(value)));
                         });
    }

    void hearOne(const QString &text)
    {
        const int before = heard.size();
        heard.append(text);
        if (reaction) {
            reaction(before);
        }
    }
};
