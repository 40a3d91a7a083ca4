// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/integration/faulttable.h"

namespace {

using T = Trouble;
using O = Operation;

const char noModel[] = "- only show unit and show model name a model";
const char noLog[] = "- not a log line";
const char noOption[] = "- only log commands look for the option";
const char noMemory[] = "- no memory block is read";
const char noFirmware[] = "- no firmware block goes out";
const char noBoot[] = "- the bootloader isn't waited for";

const char done[] = "done, 1 send";
const char resent[] = "done, 2 sends";
const char stall[] = "stall after 5 sends, freed by clear";
const char closed[] = "stall after 5 sends, freed by close";
const char restarted[] = "stall after 5 sends, freed by connect";
const char cancelled[] = "stall after 5 sends, freed by cancel";

// Where an operation differs from the rule of its trouble.
const QVector<Demand> &exceptions()
{
    // clang-format off
    static const QVector<Demand> table = {
        {T::SilenceOnce, O::Reboot, done}, // the announcement isn't waited for, only the boot text
        {T::SilenceAlways, O::Connect, restarted},
        {T::SilenceAlways, O::ReadLog, cancelled},
        {T::SilenceAlways, O::ReadMemory, cancelled},
        {T::SilenceAlways, O::WriteMemory, cancelled},

        // Two answers and a prompt between them in one chunk: the value runs to the last prompt.
        {T::LateAnswer, O::ReadModel, "as it came: two answers in one, 2 sends"},
        {T::LateAnswer, O::ReadValue, "as it came: two answers in one, 2 sends"},
        {T::LateAnswer, O::SetValue, "as it came: two answers in one, 2 sends"},

        {T::LostByte, O::SetValue, "as it came: 21, 1 send"},
        {T::LostByte, O::SetClock, "as it came: 0200-01-02T03:04:05Z, 1 send"},
        {T::LostByte, O::ReadLog, "done, 3 sends"}, // a wrong checksum, see there
        {T::LostByte, O::ReadMemory, "as it came: 63 bytes, 1 send"}, // an odd digit is dropped
        {T::LostByte, O::Reboot, done},
        {T::FlippedBit, O::SetValue, "as it came: 221, 1 send"},
        {T::FlippedBit, O::SetClock, "as it came: 2020-01-02T03:04:05Z, 1 send"},
        {T::FlippedBit, O::ReadLog, "done, 3 sends"},
        {T::FlippedBit, O::Reboot, done},
        {T::Nul, O::Reboot, done},

        {T::UnknownModel, O::ReadModel, "as it came: KVT-900, 1 send"},

        // Sent again at once; that answer is judged with the bad line and waited for in vain.
        {T::ChecksumOnce, O::ReadLog, "done, 3 sends"},
        {T::ChecksumAlways, O::ReadLog, cancelled},
        {T::WrongEntryOnce, O::ReadLog, resent},
        {T::WrongEntryAlways, O::ReadLog, cancelled},
        {T::MalformedRecordOnce, O::ReadLog, resent},
        {T::MalformedRecordAlways, O::ReadLog, cancelled},
        {T::NoLogOption, O::ReadLog, "told that there is no log"},
        {T::NoLogOption, O::EraseLog, "told that there is no log"},
        {T::MalformedBlockOnce, O::ReadMemory, resent},
        {T::MalformedBlockAlways, O::ReadMemory, cancelled},

        {T::BlockRefused, O::UpdateFirmware, "failed at block 2"},
        {T::BlockUnanswered, O::UpdateFirmware, "failed at block 2"},
        {T::GluedAnswers, O::UpdateFirmware, "failed at block 3"},
        {T::BootWithLineEnd, O::UpdateFirmware, "stall after 1 send, freed by cancel"},
        {T::FinalStar, O::UpdateFirmware, "all blocks taken, no end told"},
    };
    // clang-format on
    return table;
}

// What holds for every operation that isn't excepted.
QByteArray ruleOf(Trouble trouble)
{
    switch (trouble) {
    case T::SilenceOnce:
    case T::LateAnswer:
    case T::LostByte:
    case T::FlippedBit:
    case T::Nul:
        return resent;
    case T::SilenceAlways:
        return stall;
    case T::Delay:
    case T::SingleBytes:
    case T::Chatter:
        return done;
    case T::UnknownModel:
        return noModel;
    case T::ChecksumOnce:
    case T::ChecksumAlways:
    case T::WrongEntryOnce:
    case T::WrongEntryAlways:
    case T::MalformedRecordOnce:
    case T::MalformedRecordAlways:
        return noLog;
    case T::NoLogOption:
        return noOption;
    case T::MalformedBlockOnce:
    case T::MalformedBlockAlways:
        return noMemory;
    case T::BlockRefused:
    case T::BlockUnanswered:
    case T::GluedAnswers:
    case T::FinalStar:
        return noFirmware;
    case T::BootWithLineEnd:
        return noBoot;
    case T::HangUpBefore:
    case T::HangUpDuring:
        return closed;
    case T::HangUpAfter:
        return "done, 1 send; the next: stall, freed by close";
    }
    return QByteArray();
}

} // namespace

const QVector<Operation> &operations()
{
    // clang-format off
    static const QVector<Operation> all = {
        {O::Connect,        "connect",         "show swver",             "8",  "connect"},
        {O::Poll,           "poll",            "show meas",              "8",  "clear"},
        {O::ReadModel,      "read model",      "show unit",              "14", "clear"},
        {O::ReadValue,      "read value",      "show altitude",          "8",  "clear"},
        {O::SetValue,       "set value",       "set altitude=321",       "15", "clear"},
        {O::ReadClock,      "read clock",      "date",                   "11", "clear"},
        {O::SetClock,       "set clock",       "date 2030-01-02T03:04:05", "19", "clear"},
        {O::StoreSettings,  "store settings",  "write --really",         "3",  "clear"},
        {O::ReadLog,        "read log",        "log --read=1",           "7",  "cancel"},
        {O::EraseLog,       "erase log",       "log --erase",            "3",  "clear"},
        {O::ReadMemory,     "read memory",     "eeprom --read_block 5",  "68", "cancel"},
        {O::WriteMemory,    "write memory",    "eeprom --write_block 5", "3",  "cancel"},
        {O::Reboot,         "reboot",          "reboot --really",        "3",  "clear"},
        {O::UpdateFirmware, "update firmware", "reboot --really",        "3",  "clear"},
    };
    // clang-format on
    return all;
}

const QVector<TroubleInfo> &troubles()
{
    // clang-format off
    static const QVector<TroubleInfo> all = {
        {T::SilenceOnce,           "silence once",            "silence@%c"},
        {T::SilenceAlways,         "silence",                 "silence"},
        {T::Delay,                 "delay",                   "delay@%c:60"},
        {T::LateAnswer,            "answer after time-out",   "delay@%c:1500"},
        {T::SingleBytes,           "single bytes",            "single-bytes@%c:1"},
        {T::LostByte,              "lost byte",               "lost-byte@%c:%p"},
        {T::FlippedBit,            "flipped bit",             "flipped-bit@%c:%p"},
        {T::Nul,                   "NUL",                     "nul@%c:%p"},
        {T::Chatter,               "debug chatter",           "chatter:2"},
        {T::UnknownModel,          "unknown model",           "unknown-model"},
        {T::ChecksumOnce,          "wrong checksum once",     "bad-checksum@1"},
        {T::ChecksumAlways,        "wrong checksum always",   "bad-checksum-always@1"},
        {T::WrongEntryOnce,        "wrong entry once",        "wrong-entry@1"},
        {T::WrongEntryAlways,      "wrong entry always",      "wrong-entry-always@1"},
        {T::MalformedRecordOnce,   "malformed record once",   "malformed-record@1"},
        {T::MalformedRecordAlways, "malformed record always", "malformed-record-always@1"},
        {T::NoLogOption,           "log option missing",      ""},
        {T::MalformedBlockOnce,    "malformed block once",    "malformed-block@5"},
        {T::MalformedBlockAlways,  "malformed block always",  "malformed-block-always@5"},
        {T::BlockRefused,          "block refused",           "block-refused@2"},
        {T::BlockUnanswered,       "block unanswered",        "block-unanswered@2"},
        {T::GluedAnswers,          "answers glued together",  "glued-answers"},
        {T::BootWithLineEnd,       "BOOT with line end",      "boot-with-line-end"},
        {T::FinalStar,             "last block only *",       "final-star"},
        {T::HangUpBefore,          "hang-up before",          ""},
        {T::HangUpDuring,          "hang-up during",          "hangup@%c:4"},
        {T::HangUpAfter,           "hang-up after",           ""},
    };
    // clang-format on
    return all;
}

QByteArray demanded(Trouble trouble, Operation::Kind operation)
{
    for (const Demand &demand : exceptions()) {
        if (demand.trouble == trouble && demand.operation == operation) {
            return demand.words;
        }
    }
    return ruleOf(trouble);
}
