// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportinterface.h"
#include "serial/serialportjobinterface.h"

#include <QtCore/QByteArrayList>
#include <QtCore/QSharedPointer>
#include <QtCore/QVector>
#include <functional>

using JobPointer = QSharedPointer<SerialPortJobInterface>;

/// A scripted exchange of bytes between one job and the device.
struct JobDialogue
{
    using JobFactory = std::function<JobPointer(SerialPortInterface *)>;

    const char *name;
    SerialPortJobType type;
    int timeoutMs;
    JobFactory makeJob;
    QByteArrayList command; ///< what start() sends, one entry for each write()
    QString reply; ///< up to and including the character that completes it
    QString textAfterReply; ///< what the device sends after the reply
    QStringList expectedSignals; ///< the signals that the job emits, as SignalRecorder logs them
    QByteArrayList sentAfterReply = {}; ///< what the job sends in response to the reply
    bool canRestart = type != SerialPortJobType::JobTransmitFirmwareBlock;
    bool stopsItself =
        type != SerialPortJobType::JobReadMeasurements; ///< before it emits finished()
};

/// The dialogues of the jobs for values, measurements and the clock, or of all job classes.
/// @{
QVector<JobDialogue> valueDialogues();
QVector<JobDialogue> allDialogues();
/// @}

/// 64 bytes, of which the first is @p first and each following one is one higher.
QByteArray consecutiveBytes(int first);
