// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/signalrecorder.h"

#include "tests/kit/replysamples.h"

namespace {

QString toLogString(const QDateTime &time)
{
    return time.toString(Qt::ISODate);
}

QString toLogString(const QVariant &value)
{
    if (!value.isValid()) {
        return latin1("nothing");
    }
    const bool isTime = value.userType() == QMetaType::QDateTime;
    return latin1(value.typeName()) + latin1(" ")
        + (isTime ? toLogString(value.toDateTime()) : value.toString());
}

QString toLogString(const QString &value)
{
    return value.isNull() ? latin1("null") : value;
}

template <typename Enumeration>
QString number(Enumeration value)
{
    return QString::number(static_cast<int>(value));
}

} // namespace

void SignalRecorder::record(SerialPortJobInterface *job)
{
    using Job = SerialPortJobInterface;
    const AddEntry add = [this, job](const QString &text) {
        addEntry(job->isRunning() ? text + latin1(", running") : text);
    };
    QObject::connect(job, &Job::timedOut, job, [add] { add(latin1("timedOut")); });
    QObject::connect(job, &Job::finished, job, [add] { add(latin1("finished")); });
    QObject::connect(job, &Job::error, job,
                     [add](const QString &text) { add(latin1("error ") + text); });
    QObject::connect(job, &Job::failed, job,
                     [add](SerialPortJobType type) { add(latin1("failed ") + number(type)); });
    QObject::connect(job, &Job::dataWrittenToEeprom, job,
                     [add] { add(latin1("dataWrittenToEeprom")); });
    recordResults(job, add);
}

void SignalRecorder::record(SerialPortQueueInterface *queue)
{
    using Queue = SerialPortQueueInterface;
    const AddEntry add = [this](const QString &text) { addEntry(latin1("queue: ") + text); };
    QObject::connect(queue, &Queue::error, queue,
                     [add](const QString &text) { add(latin1("error ") + text); });
    QObject::connect(queue, &Queue::jobFinished, queue,
                     [add](SerialPortJobType type) { add(latin1("jobFinished ") + number(type)); });
    QObject::connect(queue, &Queue::jobFailed, queue,
                     [add](SerialPortJobType type) { add(latin1("jobFailed ") + number(type)); });
    QObject::connect(queue, &Queue::allJobsDone, queue, [add] { add(latin1("allJobsDone")); });
    recordResults(queue, add);
}

// Jobs and queues have the same signals for results.
template <typename Sender>
void SignalRecorder::recordResults(Sender *sender, const AddEntry &add)
{
    QObject::connect(sender, &Sender::dataWritten, sender,
                     [add](const QString &name, const QString &value) {
                         add(latin1("dataWritten %1=%2").arg(name, toLogString(value)));
                     });
    QObject::connect(sender, &Sender::dataRead, sender,
                     [add](const QString &name, const QString &value) {
                         add(latin1("dataRead %1=%2").arg(name, toLogString(value)));
                     });
    QObject::connect(sender, &Sender::measurementsRead, sender,
                     [add](const QDateTime &, const QMap<QString, QString> &values) {
                         add(latin1("measurementsRead ") + joined(values));
                     });
    QObject::connect(sender, &Sender::logValueRead, sender,
                     [add](int index, const QVector<double> &values, const QDateTime &time) {
                         add(latin1("logValueRead %1 %2 %3")
                                 .arg(QString::number(index), joined(values), toLogString(time)));
                     });
    QObject::connect(sender, &Sender::logTitlesRead, sender, [add](const QStringList &titles) {
        add(latin1("logTitlesRead ") + titles.join(QLatin1Char('|')));
    });
    QObject::connect(
        sender, &Sender::eepromBlockRead, sender, [add](quint16 block, const QByteArray &data) {
            add(latin1("eepromBlockRead %1 ").arg(block) + latin1(data.toHex().constData()));
        });
    QObject::connect(sender, &Sender::eepromBlockWritten, sender,
                     [add](quint16 block) { add(latin1("eepromBlockWritten %1").arg(block)); });
    QObject::connect(
        sender, &Sender::actionFinished, sender,
        [add](SerialPortActionType action, const QVariant &result) {
            add(latin1("actionFinished %1 %2").arg(number(action), toLogString(result)));
        });
    QObject::connect(sender, &Sender::valueRead, sender,
                     [add](SerialPortValueType type, const QVariant &value) {
                         add(latin1("valueRead %1 %2").arg(number(type), toLogString(value)));
                     });
}

void SignalRecorder::addEntry(const QString &text)
{
    const int before = log.size();
    log.append(text);
    if (onSignal) {
        onSignal(before);
    }
}
