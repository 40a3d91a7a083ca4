// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/integration/faultexpectations.h"

namespace {

using F = FaultKind;

constexpr Expectation done = "done, 1 send";
constexpr Expectation sentAgain = "done, 2 sends";
constexpr Expectation sentTwiceAgain = "done, 3 sends";
constexpr Expectation twoReplies = "wrong result reported: two replies in one, 2 sends";
constexpr Expectation stopped = "queue stopped after 5 sends; works after clear";
constexpr Expectation stoppedUntilClose = "queue stopped after 5 sends; works after close";
constexpr Expectation stoppedUntilConnect = "queue stopped after 5 sends; works after connect";
constexpr Expectation stoppedUntilCancel = "queue stopped after 5 sends; works after cancel";

QVector<FaultOperation> operations()
{
    const char *const part = "faults-by-operation";
    // clang-format off
    return {
        {part, "connect",         "show swver",               "8"},
        {part, "poll",            "show meas",                "8"},
        {part, "read model",      "show unit",                "14"},
        {part, "read value",      "show altitude",            "8"},
        {part, "set value",       "set altitude=321",         "15"},
        {part, "read clock",      "date",                     "11"},
        {part, "set clock",       "date 2030-01-02T03:04:05", "19"},
        {part, "store settings",  "write --really",           "3"},
        {part, "read log",        "log --read=1",             "7"},
        {part, "erase log",       "log --erase",              "3"},
        {part, "read EEPROM",     "eeprom --read_block 5",    "68"},
        {part, "write EEPROM",    "eeprom --write_block 5",   "3"},
        {part, "reboot",          "reboot --really",          "3"},
        {part, "update firmware", "reboot --really",          "3"},
    };
    // clang-format on
}

QVector<FaultMatrix::Entry> entries()
{
    // clang-format off
    return {
        // The job waits only for the message of the restart.
        {{F::SilenceOnce, F::LostByte, F::FlippedBit, F::NulByte}, Reboot, done},
        // Two replies in one chunk with a prompt between them: the value extends to the last prompt.
        {F::LateReply, {ReadModel, ReadValue, SetValue}, twoReplies},
        {F::LostByte, SetValue, "wrong result reported: 21, 1 send"},
        {F::LostByte, SetClock, "wrong result reported: 0200-01-02T03:04:05Z, 1 send"},
        {F::LostByte, ReadEeprom, "wrong result reported: 63 bytes, 1 send"}, // an unpaired digit is dropped
        {F::FlippedBit, SetValue, "wrong result reported: 221, 1 send"},
        {F::FlippedBit, SetClock, "wrong result reported: 2020-01-02T03:04:05Z, 1 send"},
        // Sent again immediately; that reply is parsed with the damaged line before it and times out.
        {{F::LostByte, F::FlippedBit, F::WrongChecksum}, ReadLog, sentTwiceAgain},
        {{F::SilenceOnce, F::LateReply, F::LostByte, F::FlippedBit, F::NulByte}, {}, sentAgain},
        {F::Silence, Connect, stoppedUntilConnect},
        {F::Silence, {ReadLog, ReadEeprom, WriteEeprom}, stoppedUntilCancel},
        {F::Silence, {}, stopped},
        {{F::ShortDelay, F::SingleBytes, F::Chatter}, {}, done},
        {F::UnknownModel, ReadModel, "wrong result reported: KVT-900, 1 send"},
        {F::UnknownModel, {}, notApplicable("only show unit and show model name a model")},

        {{F::WrongEntry, F::MalformedRecord}, ReadLog, sentAgain},
        {{F::WrongChecksumAlways, F::WrongEntryAlways, F::MalformedRecordAlways}, ReadLog,
         stoppedUntilCancel},
        {{F::WrongChecksum, F::WrongChecksumAlways, F::WrongEntry, F::WrongEntryAlways,
          F::MalformedRecord, F::MalformedRecordAlways}, {}, notApplicable("not a log line")},
        {F::NoLogOption, {ReadLog, EraseLog}, "reports that there is no log"},
        {F::NoLogOption, {}, notApplicable("only log commands check for the option")},
        {F::MalformedBlock, ReadEeprom, sentAgain},
        {F::MalformedBlockAlways, ReadEeprom, stoppedUntilCancel},
        {{F::MalformedBlock, F::MalformedBlockAlways}, {},
         notApplicable("no EEPROM block is read")},

        {{F::BlockRejected, F::BlockUnanswered}, UpdateFirmware, "failed at block 2"},
        {F::BlockRepliesInOneChunk, UpdateFirmware, "failed at block 3"},
        {F::FinalStar, UpdateFirmware, "all blocks accepted, completion not reported"},
        {{F::BlockRejected, F::BlockUnanswered, F::BlockRepliesInOneChunk, F::FinalStar}, {},
         notApplicable("no firmware block is sent")},
        {F::BootWithLineEnd, UpdateFirmware, "queue stopped after 1 send; works after cancel"},
        {F::BootWithLineEnd, {}, notApplicable("the operation doesn't wait for the bootloader")},
        {{F::HangUpBefore, F::HangUpDuring}, {}, stoppedUntilClose},
        {F::HangUpAfter, {}, "done, 1 send; next command: queue stopped, works after close"},
    };
    // clang-format on
}

} // namespace

FaultMatrix handlerFaultMatrix() { return FaultMatrix(HandlerLevel, operations(), entries()); }
