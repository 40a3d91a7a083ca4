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
    using Maker = std::function<JobPointer(SerialPortInterface *)>;

    const char *name;
    SerialPortJobType type;
    int timeoutMs;
    Maker make;
    QByteArrayList command; ///< what start() sends, one entry for each write
    QString reply; ///< up to the character that completes it
    QString rest; ///< what the device sends afterwards
    QStringList report; ///< the job's signals, as SignalRecorder logs them
    QByteArrayList answer = {}; ///< what the job sends in response to the reply
    bool restarts = type != SerialPortJobType::JobTransmitFirmwareBlock;
    bool stopsItself = type != SerialPortJobType::JobReadMeasurements;
};

/// The dialogues of the jobs for values and the clock, and of all job classes.
/// @{
QVector<JobDialogue> valueDialogues();
QVector<JobDialogue> allDialogues();
/// @}

/// 64 bytes, each one more than the byte before.
QByteArray consecutiveBytes(int first);
