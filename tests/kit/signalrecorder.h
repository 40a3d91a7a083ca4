// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjobinterface.h"
#include "serial/serialportqueueinterface.h"

#include <QtCore/QStringList>
#include <functional>

/// Records every signal of jobs and queues as text, in the order in which they are raised.
///
/// Must outlive the jobs and queues that it records.
class SignalRecorder
{
public:
    /// Records the signals of @p job, each followed by ", running" while the job is running.
    void record(SerialPortJobInterface *job);

    /// Records the signals of @p queue, each after "queue: ".
    void record(SerialPortQueueInterface *queue);

    QStringList log;

    /// Called inside each signal, with the number of signals before it.
    std::function<void(int)> onSignal;

private:
    using AddEntry = std::function<void(const QString &)>;

    template <typename Sender>
    static void recordResults(Sender *sender, const AddEntry &add);
    void addEntry(const QString &text);
};
