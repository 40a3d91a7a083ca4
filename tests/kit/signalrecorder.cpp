// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/signalrecorder.h"

namespace {

// Jobs and queues have the same signals for results.
template <typename Sender, typename Add>
void recordResults(Sender *sender, const Add &add)
{
    const auto logSignal = signalLogger(sender, add);
    logSignal(&Sender::error, "error %1");
    logSignal(&Sender::dataWritten, "dataWritten %1=%2");
    logSignal(&Sender::dataRead, "dataRead %1=%2");
    logSignal(&Sender::logValueRead, "logValueRead %1 %2 %3");
    logSignal(&Sender::logTitlesRead, "logTitlesRead %1");
    logSignal(&Sender::eepromBlockRead, "eepromBlockRead %1 %2");
    logSignal(&Sender::eepromBlockWritten, "eepromBlockWritten %1");
    logSignal(&Sender::actionFinished, "actionFinished %1 %2");
    logSignal(&Sender::valueRead, "valueRead %1 %2");
    QObject::connect(sender, &Sender::measurementsRead, sender,
                     [=](const QDateTime &, const QMap<QString, QString> &values) {
                         add(latin1("measurementsRead ") + joined(values));
                     });
}

} // namespace

void SignalRecorder::record(SerialPortJobInterface *job)
{
    using Job = SerialPortJobInterface;
    const auto add = [this, job](const QString &text) {
        addEntry(job->isRunning() ? text + latin1(", running") : text);
    };
    const auto logSignal = signalLogger(job, add);
    logSignal(&Job::timedOut, "timedOut");
    logSignal(&Job::finished, "finished");
    logSignal(&Job::failed, "failed %1");
    logSignal(&Job::dataWrittenToEeprom, "dataWrittenToEeprom");
    recordResults(job, add);
}

void SignalRecorder::record(SerialPortQueueInterface *queue)
{
    using Queue = SerialPortQueueInterface;
    const auto add = [this](const QString &text) { addEntry(latin1("queue: ") + text); };
    const auto logSignal = signalLogger(queue, add);
    logSignal(&Queue::jobFinished, "jobFinished %1");
    logSignal(&Queue::jobFailed, "jobFailed %1");
    logSignal(&Queue::allJobsDone, "allJobsDone");
    recordResults(queue, add);
}

void SignalRecorder::addEntry(const QString &text)
{
    log.append(text);
    if (onSignal) {
        onSignal(log.size() - 1);
    }
}
