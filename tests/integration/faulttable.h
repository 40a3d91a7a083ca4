// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

/// What the device or the line does wrong, in the order of the table's rows.
enum class Trouble {
    SilenceOnce,
    SilenceAlways,
    Delay,
    LateAnswer,
    SingleBytes,
    LostByte,
    FlippedBit,
    Nul,
    Chatter,
    UnknownModel,
    ChecksumOnce,
    ChecksumAlways,
    WrongEntryOnce,
    WrongEntryAlways,
    MalformedRecordOnce,
    MalformedRecordAlways,
    NoLogOption,
    MalformedBlockOnce,
    MalformedBlockAlways,
    BlockRefused,
    BlockUnanswered,
    GluedAnswers,
    BootWithLineEnd,
    FinalStar,
    HangUpBefore,
    HangUpDuring,
    HangUpAfter
};

/// One row of the table. In @c fault %c stands for the command that is struck and %p for the byte
/// of its answer; empty where the test itself does what goes wrong.
struct TroubleInfo
{
    Trouble trouble;
    const char *name;
    const char *fault;
};

/// One column: a request to the device, the command in it that faults strike (the byte for lost,
/// flipped and zero bytes counted from 1), and how it is freed when it stands still.
struct Operation
{
    enum Kind {
        Connect,
        Poll,
        ReadModel,
        ReadValue,
        SetValue,
        ReadClock,
        SetClock,
        StoreSettings,
        ReadLog,
        EraseLog,
        ReadMemory,
        WriteMemory,
        Reboot,
        UpdateFirmware
    };
    Kind kind;
    const char *name;
    const char *command;
    const char *byte;
    const char *cancel;
};

/// One pair. Demanded words: "done" as asked and by as many sends as were needed, "as it came" when
/// damaged text is passed on for want of a check, "stall" when the queue stands still without a
/// signal after five sends until it is freed, "failed" when actionFailed tells of it. A pair that
/// can't meet has its reason behind "- ".
struct Demand
{
    Trouble trouble;
    Operation::Kind operation;
    const char *words;
};

/// All operations and all troubles, each in the order of its enumeration.
const QVector<Operation> &operations();
const QVector<TroubleInfo> &troubles();

/// What has to come of the pair; empty when the table says nothing, which is an error.
QByteArray demanded(Trouble trouble, Operation::Kind operation);
