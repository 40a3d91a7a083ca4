// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFlags>
#include <QtCore/QVector>

/// What goes wrong in the device, on the line, at the port or on the disk.
// clang-format off
enum class FaultKind {
    // in any reply
    SilenceOnce, Silence, ShortDelay, LateReply, SingleBytes, LostByte, FlippedBit, NulByte,
    RepliesInOneChunk, Chatter, UnknownModel,
    // in the log, the EEPROM and a firmware update
    WrongChecksum, WrongChecksumInPieces, WrongChecksumAlways, WrongEntry, WrongEntryAlways,
    MalformedRecord, MalformedRecordAlways, NoLogOption, MalformedBlock, MalformedBlockAlways,
    BlockRejected, BlockUnanswered, BlockRepliesInOneChunk, BootWithLineEnd, FinalStar,
    // at the port
    HangUpBefore, HangUpDuring, HangUpAfter, PortMissing, PortInUse,
    // of files and folders
    ReadOnlyFolder, FullDisk, LockedDatabase, CorruptDatabase, TruncatedDatabase, UnexpectedSchema,
    FolderInPlaceOfStore, TruncatedSettings
};
// clang-format on

/// Where a fault is tested: at the device handler, at the main window, or at both.
enum FaultLevel { HandlerLevel = 1, WindowLevel = 2 };
Q_DECLARE_FLAGS(FaultLevels, FaultLevel)

/// A fault kind with its name in tables and data rows.
struct FaultInfo
{
    FaultKind kind;
    FaultLevels levels;
    const char *name;
    /// For the simulator's control command "fault", where %c is the console command that the fault
    /// affects and %p the number of the damaged byte of its reply. Empty if the test causes the
    /// fault itself.
    const char *simulatorFault;

    QByteArray simulatorFaultFor(const QByteArray &command, const QByteArray &damagedByte) const;
};

/// The delay of FaultKind::LateReply, and the time-out that makes the reply late: it arrives
/// halfway between the first and the second time-out.
constexpr int lateReplyMs = 2250;
constexpr int lateReplyTimeoutMs = 1500;

/// All fault kinds, in the order of the enumeration.
const QVector<FaultInfo> &faultInfos();

const FaultInfo &faultInfo(FaultKind kind);

inline bool isHangUp(FaultKind kind)
{
    return kind >= FaultKind::HangUpBefore && kind <= FaultKind::HangUpAfter;
}

/// Whether @p kind is a fault of files and folders.
inline bool isDiskFault(FaultKind kind) { return kind >= FaultKind::ReadOnlyFolder; }
