// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

/// What a user does with the tool.
enum class Act {
    Connect,
    Poll,
    SetValue,
    Synchronize,
    WriteSettings,
    SetClock,
    ReadLog,
    ClearLog,
    Backup,
    Restore,
    UpdateConnected,
    UpdateUnconnected,
    Graph,
    Export,
    Start,
    Close
};

/// What goes wrong meanwhile on the line, at the port or on the disk.
enum class Fault {
    Silence,
    Late,
    Split,
    LostByte,
    FlippedBit,
    Nul,
    GluedReplies,
    Chatter,
    WrongChecksum,
    WrongChecksumInPieces,
    HangUpBefore,
    HangUpDuring,
    HangUpAfter,
    NoSuchPort,
    PortInUse,
    ReadOnlyFolder,
    FullDisk,
    LockedDatabase,
    CorruptDatabase,
    TruncatedDatabase,
    OtherShape,
    FolderInPlace,
    TruncatedSettings
};

/// The acts that one test program carries out.
enum class ActGroup { EverydayWork, LongJobs, FirmwareUpdates, WithoutADevice };

/// One act, and the command in it that faults of the line strike, the byte of its answer counted
/// from 1, and how often it goes out when all is well.
struct ActInfo
{
    Act act;
    ActGroup group;
    const char *name;
    const char *command;
    const char *byte;
    int sends;
};

/// One fault. In @c strike, the simulator's word for it, %c stands for the command and %p for the
/// byte; empty where the test itself does what goes wrong.
struct FaultInfo
{
    Fault fault;
    const char *name;
    const char *strike;
};

/// All acts and all faults, each in the order of its enumeration.
const QVector<ActInfo> &acts();
const QVector<FaultInfo> &faults();

/// What has to come of the pair, in the words of the test; behind "- " the reason why the two can't
/// meet. Empty when the table says nothing, which is an error.
QByteArray demanded(Fault fault, Act act);

/// True for faults of files and folders.
inline bool isOnDisk(Fault fault)
{
    return fault >= Fault::ReadOnlyFolder;
}
