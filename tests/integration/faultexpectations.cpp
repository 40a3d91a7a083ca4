// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/integration/faultexpectations.h"

namespace {

using F = FaultKind;

constexpr Expectation done = "done, 1 send";
constexpr Expectation sentAgain = "done, 2 sends";
constexpr Expectation sentTwiceAgain = "done, 3 sends";
constexpr Expectation twoAnswers = "passed on: two answers in one, 2 sends";
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
        {part, "read memory",     "eeprom --read_block 5",    "68"},
        {part, "write memory",    "eeprom --write_block 5",   "3"},
        {part, "reboot",          "reboot --really",          "3"},
        {part, "update firmware", "reboot --really",          "3"},
    };
    // clang-format on
}

QVector<FaultMatrix::Entry> entries()
{
    // clang-format off
    return {
        // Only the text of the restart is waited for.
        {{F::SilenceOnce, F::LostByte, F::FlippedBit, F::NulByte}, Reboot, done},
        // Two answers with a prompt between them in a chunk: the value extends to the last prompt.
        {F::LateAnswer, {ReadModel, ReadValue, SetValue}, twoAnswers},
        {F::LostByte, SetValue, "passed on: 21, 1 send"},
        {F::LostByte, SetClock, "passed on: 0200-01-02T03:04:05Z, 1 send"},
        {F::LostByte, ReadMemory, "passed on: 63 bytes, 1 send"}, // an odd digit is dropped
        {F::FlippedBit, SetValue, "passed on: 221, 1 send"},
        {F::FlippedBit, SetClock, "passed on: 2020-01-02T03:04:05Z, 1 send"},
        // Sent again at once; that answer is parsed together with the bad line and times out.
        {{F::LostByte, F::FlippedBit, F::WrongChecksum}, ReadLog, sentTwiceAgain},
        {{F::SilenceOnce, F::LateAnswer, F::LostByte, F::FlippedBit, F::NulByte}, {}, sentAgain},
        {F::Silence, Connect, stoppedUntilConnect},
        {F::Silence, {ReadLog, ReadMemory, WriteMemory}, stoppedUntilCancel},
        {F::Silence, {}, stopped},
        {{F::ShortDelay, F::SingleBytes, F::Chatter}, {}, done},
        {F::UnknownModel, ReadModel, "passed on: KVT-900, 1 send"},
        {F::UnknownModel, {}, notApplicable("only show unit and show model name a model")},

        {{F::WrongEntry, F::MalformedRecord}, ReadLog, sentAgain},
        {{F::WrongChecksumAlways, F::WrongEntryAlways, F::MalformedRecordAlways}, ReadLog,
         stoppedUntilCancel},
        {{F::WrongChecksum, F::WrongChecksumAlways, F::WrongEntry, F::WrongEntryAlways,
          F::MalformedRecord, F::MalformedRecordAlways}, {}, notApplicable("not a log line")},
        {F::NoLogOption, {ReadLog, EraseLog}, "reports that there is no log"},
        {F::NoLogOption, {}, notApplicable("only log commands look for the option")},
        {F::MalformedBlock, ReadMemory, sentAgain},
        {F::MalformedBlockAlways, ReadMemory, stoppedUntilCancel},
        {{F::MalformedBlock, F::MalformedBlockAlways}, {},
         notApplicable("no memory block is read")},

        {{F::BlockRejected, F::BlockUnanswered}, UpdateFirmware, "failed at block 2"},
        {F::BlockRepliesInOneChunk, UpdateFirmware, "failed at block 3"},
        {F::FinalStar, UpdateFirmware, "all blocks accepted, no end reported"},
        {{F::BlockRejected, F::BlockUnanswered, F::BlockRepliesInOneChunk, F::FinalStar}, {},
         notApplicable("no firmware block is sent")},
        {F::BootWithLineEnd, UpdateFirmware, "queue stopped after 1 send; works after cancel"},
        {F::BootWithLineEnd, {}, notApplicable("the bootloader isn't waited for")},
        {{F::HangUpBefore, F::HangUpDuring}, {}, stoppedUntilClose},
        {F::HangUpAfter, {}, "done, 1 send; next command: queue stopped, works after close"},
    };
    // clang-format on
}

} // namespace

FaultMatrix handlerFaultMatrix() { return FaultMatrix(HandlerLevel, operations(), entries()); }
