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

QVector<FaultMatrix::Exception> exceptions()
{
    // clang-format off
    return {
        {F::SilenceOnce, Reboot, done}, // only the text of the restart is waited for
        {F::Silence, Connect, stoppedUntilConnect},
        {F::Silence, ReadLog, stoppedUntilCancel},
        {F::Silence, ReadMemory, stoppedUntilCancel},
        {F::Silence, WriteMemory, stoppedUntilCancel},

        // Two answers with a prompt between them in one chunk: the value extends to the last prompt.
        {F::LateAnswer, ReadModel, twoAnswers},
        {F::LateAnswer, ReadValue, twoAnswers},
        {F::LateAnswer, SetValue, twoAnswers},

        {F::LostByte, SetValue, "passed on: 21, 1 send"},
        {F::LostByte, SetClock, "passed on: 0200-01-02T03:04:05Z, 1 send"},
        {F::LostByte, ReadLog, sentTwiceAgain}, // a wrong checksum, see below
        {F::LostByte, ReadMemory, "passed on: 63 bytes, 1 send"}, // an odd digit is dropped
        {F::LostByte, Reboot, done},
        {F::FlippedBit, SetValue, "passed on: 221, 1 send"},
        {F::FlippedBit, SetClock, "passed on: 2020-01-02T03:04:05Z, 1 send"},
        {F::FlippedBit, ReadLog, sentTwiceAgain},
        {F::FlippedBit, Reboot, done},
        {F::NulByte, Reboot, done},

        {F::UnknownModel, ReadModel, "passed on: KVT-900, 1 send"},

        // Sent again at once; that answer is parsed together with the bad line and times out.
        {F::WrongChecksum, ReadLog, sentTwiceAgain},
        {F::WrongChecksumAlways, ReadLog, stoppedUntilCancel},
        {F::WrongEntry, ReadLog, sentAgain},
        {F::WrongEntryAlways, ReadLog, stoppedUntilCancel},
        {F::MalformedRecord, ReadLog, sentAgain},
        {F::MalformedRecordAlways, ReadLog, stoppedUntilCancel},
        {F::NoLogOption, ReadLog, "reports that there is no log"},
        {F::NoLogOption, EraseLog, "reports that there is no log"},
        {F::MalformedBlock, ReadMemory, sentAgain},
        {F::MalformedBlockAlways, ReadMemory, stoppedUntilCancel},

        {F::BlockRefused, UpdateFirmware, "failed at block 2"},
        {F::BlockUnanswered, UpdateFirmware, "failed at block 2"},
        {F::GluedAnswers, UpdateFirmware, "failed at block 3"},
        {F::BootWithLineEnd, UpdateFirmware, "queue stopped after 1 send; works after cancel"},
        {F::FinalStar, UpdateFirmware, "all blocks accepted, no end reported"},
    };
    // clang-format on
}

QVector<FaultOperation> handlerOperations()
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

Expectation rule(FaultKind fault, int)
{
    switch (fault) {
    case F::SilenceOnce:
    case F::LateAnswer:
    case F::LostByte:
    case F::FlippedBit:
    case F::NulByte:
        return sentAgain;
    case F::Silence:
        return stopped;
    case F::ShortDelay:
    case F::SingleBytes:
    case F::Chatter:
        return done;
    case F::UnknownModel:
        return notApplicable("only show unit and show model name a model");
    case F::WrongChecksum:
    case F::WrongChecksumAlways:
    case F::WrongEntry:
    case F::WrongEntryAlways:
    case F::MalformedRecord:
    case F::MalformedRecordAlways:
        return notApplicable("not a log line");
    case F::NoLogOption:
        return notApplicable("only log commands look for the option");
    case F::MalformedBlock:
    case F::MalformedBlockAlways:
        return notApplicable("no memory block is read");
    case F::BlockRefused:
    case F::BlockUnanswered:
    case F::GluedAnswers:
    case F::FinalStar:
        return notApplicable("no firmware block is sent");
    case F::BootWithLineEnd:
        return notApplicable("the bootloader isn't waited for");
    case F::HangUpBefore:
    case F::HangUpDuring:
        return stoppedUntilClose;
    case F::HangUpAfter:
        return "done, 1 send; next command: queue stopped, works after close";
    default:
        return "";
    }
}

} // namespace

FaultMatrix handlerFaultMatrix()
{
    return FaultMatrix(HandlerLevel, handlerOperations(), exceptions(), rule);
}
