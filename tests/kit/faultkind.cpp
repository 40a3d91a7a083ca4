// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/faultkind.h"

QByteArray FaultInfo::simulatorFaultFor(const QByteArray &command,
                                        const QByteArray &damagedByte) const
{
    return QByteArray(simulatorFault).replace("%c", command).replace("%p", damagedByte);
}

const QVector<FaultInfo> &faultInfos()
{
    using F = FaultKind;
    constexpr FaultLevel handler = HandlerLevel;
    constexpr FaultLevel window = WindowLevel;
    const FaultLevels both = FaultLevels(HandlerLevel) | WindowLevel;
    // clang-format off
    static const QVector<FaultInfo> infos = {
        {F::SilenceOnce,           handler, "silence once",              "silence@%c"},
        {F::Silence,               both,    "silence",                   "silence"},
        {F::ShortDelay,            handler, "delay",                     "delay@%c:60"},
        {F::LateReply,             both,    "reply after time-out",      "delay@%c:2250"},
        {F::SingleBytes,           both,    "single bytes",              "single-bytes@%c:1"},
        {F::LostByte,              both,    "lost byte",                 "lost-byte@%c:%p"},
        {F::FlippedBit,            both,    "flipped bit",               "flipped-bit@%c:%p"},
        {F::NulByte,               both,    "NUL",                       "nul@%c:%p"},
        {F::RepliesInOneChunk,     window,  "replies in one chunk",      "replies-in-one-chunk@%c"},
        {F::Chatter,               both,    "debug chatter",             "chatter:2"},
        {F::UnknownModel,          handler, "unknown model",             "unknown-model"},
        {F::WrongChecksum,         both,    "wrong checksum once",       "bad-checksum@1"},
        {F::WrongChecksumInPieces, window,  "wrong checksum, in pieces", "bad-checksum@1"},
        {F::WrongChecksumAlways,   handler, "wrong checksum always",     "bad-checksum-always@1"},
        {F::WrongEntry,            handler, "wrong entry once",          "wrong-entry@1"},
        {F::WrongEntryAlways,      handler, "wrong entry always",        "wrong-entry-always@1"},
        {F::MalformedRecord,       handler, "malformed record once",     "malformed-record@1"},
        {F::MalformedRecordAlways, handler, "malformed record always",   "malformed-record-always@1"},
        {F::NoLogOption,           handler, "log option missing",        ""},
        {F::MalformedBlock,        handler, "malformed block once",      "malformed-block@5"},
        {F::MalformedBlockAlways,  handler, "malformed block always",    "malformed-block-always@5"},
        {F::BlockRejected,         handler, "block rejected",            "block-rejected@2"},
        {F::BlockUnanswered,       handler, "block unanswered",          "block-unanswered@2"},
        {F::BlockRepliesInOneChunk, handler, "block replies in one chunk", "block-replies-in-one-chunk"},
        {F::BootWithLineEnd,       handler, "BOOT with line end",        "boot-with-line-end"},
        {F::FinalStar,             handler, "only * after last block",   "final-star"},
        {F::HangUpBefore,          both,    "hang-up before",            ""},
        {F::HangUpDuring,          both,    "hang-up during",            "hangup@%c:4"},
        {F::HangUpAfter,           both,    "hang-up after",             ""},
        {F::PortMissing,           window,  "port can't be opened",      ""},
        {F::PortInUse,             window,  "port in use",               ""},
        {F::ReadOnlyFolder,        window,  "read-only folder",          ""},
        {F::FullDisk,              window,  "full disk",                 ""},
        {F::LockedDatabase,        window,  "locked database",           ""},
        {F::CorruptDatabase,       window,  "corrupt database",          ""},
        {F::TruncatedDatabase,     window,  "truncated database",        ""},
        {F::UnexpectedSchema,      window,  "database with another schema", ""},
        {F::FolderInPlaceOfStore,  window,  "folder in place of the database", ""},
        {F::TruncatedSettings,     window,  "settings.xml truncated",    ""},
    };
    // clang-format on
    return infos;
}

const FaultInfo &faultInfo(FaultKind kind) { return faultInfos().at(static_cast<int>(kind)); }
