// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/userfaults.h"

namespace {

using F = Fault;
using A = Act;

const char done[] = "done";
const char askedAgain[] = "done, asked again";
const char frozen[] = "stands still; Disconnect and Connect free it";
const char reconnect[] = "stands still; Connect frees it";
const char dialog[] = "waits until cancelled; Disconnect and Connect free it";
const char cancelFrees[] = "waits until cancelled, then free";
const char cancelThenConnect[] =
    "waits until cancelled; shows connected; Disconnect and Connect connect";
const char unnoticed[] = "done; then a dead line unnoticed; Disconnect and Connect free it";
const char doneOnADeadLine[] = "done; Disconnect and Connect free it";
const char exits[] = "exit code 0";

const char cannotOpen[] =
    "told \"Error occurred with serial port communication: Unable to open port!\"; Connect "
    "connects";
const char cannotOpenThenWaits[] =
    "told \"Error occurred with serial port communication: Unable to open port!\"; waits until "
    "cancelled; shows connected; Disconnect and Connect connect";
const char updateFailed[] = "told \"Firmware update failed due to unknown reason\"; then free";
const char updateFailedDead[] = "told \"Firmware update failed due to unknown reason\"; "
                                "Disconnect and Connect free it";
const char updateFailedConnect[] = "told \"Firmware update failed due to unknown reason\"; shows "
                                   "connected; Disconnect and Connect "
                                   "connect";

const char notStored[] = "shown, not stored; logged; the next is stored";
const char neverStored[] = "shown, not stored; logged; nor is the next";
const char storedAfterConnect[] = "shown, not stored; logged; stored again after a new Connect";
const char nextFolder[] = "the next folder is taken without a word; logged";
const char empty[] = "opens empty; logged";
const char nothingToExport[] = "told \"No measurements found from given time period\"; logged";

const char openByThen[] = "- the port is open by then";
const char opensNoPort[] = "- it opens no port";
const char noWord[] = "- no word goes to the device";
const char noAnswer[] = "- no answer is waited for";
const char noChecksum[] = "- only log lines carry a checksum";
const char noStore[] = "- it stores no reading";
const char writesNothing[] = "- it writes no file";
const char atStart[] = "- settings.xml is read at start alone";
const char keepsFile[] = "- an open store keeps its file";

struct Cell
{
    Fault fault;
    Act act;
    const char *words;
};

// Where an act differs from the rule of its fault.
const QVector<Cell> &exceptions()
{
    // clang-format off
    static const QVector<Cell> table = {
        {F::Silence, A::Connect, reconnect},
        {F::Silence, A::WriteSettings, dialog}, // the cancel is one of the dialog alone
        {F::Silence, A::SetClock, dialog},
        {F::Silence, A::ReadLog, cancelFrees},
        {F::Silence, A::Backup, cancelFrees},
        {F::Silence, A::Restore, cancelFrees},
        {F::Silence, A::UpdateConnected, dialog}, // the restart stays in the queue
        {F::Silence, A::UpdateUnconnected, cancelThenConnect},
        {F::Silence, A::Close, exits},
        {F::Late, A::UpdateConnected, done}, // deaf to the second command
        {F::Late, A::UpdateUnconnected, done},
        {F::Late, A::Close, exits},
        {F::Chatter, A::Close, exits},

        // No checksum: what is no worse than another value counts as one.
        {F::LostByte, A::Connect, done}, // the version that is asked for first is not shown
        {F::LostByte, A::Poll, "as it came, shown and stored"},
        {F::LostByte, A::SetValue, done}, // what the device says it has taken is not shown
        {F::LostByte, A::Synchronize, "as it came: 77, shown and sent back; the device has 77"},
        {F::LostByte, A::SetClock, done},
        {F::LostByte, A::Backup, "as it came, in the file"},
        {F::LostByte, A::UpdateUnconnected, cancelThenConnect},
        {F::FlippedBit, A::Connect, done},
        {F::FlippedBit, A::Poll, "as it came, shown and stored"},
        {F::FlippedBit, A::SetValue, done},
        {F::FlippedBit, A::Synchronize, "as it came: 677, shown and sent back; the device has 677"},
        {F::FlippedBit, A::SetClock, done},
        {F::FlippedBit, A::Backup, "as it came, in the file"},
        {F::FlippedBit, A::UpdateUnconnected, cancelThenConnect},
        {F::Nul, A::UpdateUnconnected, cancelThenConnect},
        // The value runs to the last prompt.
        {F::GluedReplies, A::Synchronize, "as it came: two answers in one, shown and sent back; the device has 777"},
        {F::GluedReplies, A::UpdateConnected, updateFailed},
        {F::GluedReplies, A::UpdateUnconnected, updateFailedConnect},
        {F::WrongChecksum, A::ReadLog, askedAgain},
        // Each piece that follows the bad line is judged with it and costs a send.
        {F::WrongChecksumInPieces, A::ReadLog, cancelFrees},

        {F::HangUpBefore, A::Connect, cannotOpen},
        {F::HangUpBefore, A::WriteSettings, dialog},
        {F::HangUpBefore, A::SetClock, dialog},
        {F::HangUpBefore, A::ReadLog, dialog},
        {F::HangUpBefore, A::Backup, dialog},
        {F::HangUpBefore, A::Restore, dialog},
        {F::HangUpBefore, A::UpdateConnected, dialog},
        {F::HangUpBefore, A::UpdateUnconnected, cannotOpenThenWaits},
        {F::HangUpBefore, A::Close, exits},
        {F::HangUpDuring, A::Connect, reconnect},
        {F::HangUpDuring, A::WriteSettings, dialog},
        {F::HangUpDuring, A::ReadLog, dialog},
        {F::HangUpDuring, A::Backup, dialog},
        {F::HangUpDuring, A::Restore, dialog},
        {F::HangUpDuring, A::UpdateConnected, updateFailedDead},
        {F::HangUpDuring, A::UpdateUnconnected, updateFailedConnect},
        {F::HangUpDuring, A::Close, exits},
        {F::HangUpAfter, A::UpdateConnected, done}, // the tool disconnects itself
        {F::HangUpAfter, A::UpdateUnconnected, done},
        {F::HangUpAfter, A::Close, "- nothing is open any more"},
        {F::NoSuchPort, A::Connect, cannotOpen},
        {F::NoSuchPort, A::UpdateUnconnected, cannotOpenThenWaits},
        {F::PortInUse, A::Connect, cannotOpen},
        {F::PortInUse, A::UpdateUnconnected, cannotOpenThenWaits},

        {F::ReadOnlyFolder, A::Connect, storedAfterConnect},
        {F::ReadOnlyFolder, A::Poll, notStored},
        {F::ReadOnlyFolder, A::ReadLog, "told \"Unable to save log to file FOLDER/log.csv: Permission denied\""},
        {F::ReadOnlyFolder, A::Backup, "nothing is told, no file"},
        {F::ReadOnlyFolder, A::Graph, done},
        {F::ReadOnlyFolder, A::Export, "told \"Unable to save measurements to file FOLDER/measurements.csv: Permission denied\""},
        {F::ReadOnlyFolder, A::Start, nextFolder},
        {F::FullDisk, A::Connect, storedAfterConnect},
        {F::FullDisk, A::Poll, notStored},
        {F::FullDisk, A::ReadLog, "nothing is told, an empty file"},
        {F::FullDisk, A::Backup, "nothing is told, an empty file"},
        {F::FullDisk, A::Graph, done},
        {F::FullDisk, A::Export, "nothing is told, an empty file"},
        {F::FullDisk, A::Start, "asks for a folder, the chosen one is taken; logged"},

        {F::LockedDatabase, A::Connect, storedAfterConnect},
        {F::LockedDatabase, A::Poll, notStored},
        {F::LockedDatabase, A::Graph, empty},
        {F::LockedDatabase, A::Export, nothingToExport},
        {F::LockedDatabase, A::Start, nextFolder},
        {F::CorruptDatabase, A::Connect, neverStored},
        {F::CorruptDatabase, A::Poll, neverStored},
        {F::CorruptDatabase, A::Graph, empty},
        {F::CorruptDatabase, A::Export, nothingToExport},
        {F::CorruptDatabase, A::Start, nextFolder},
        {F::TruncatedDatabase, A::Connect, neverStored},
        {F::TruncatedDatabase, A::Poll, neverStored},
        {F::TruncatedDatabase, A::Graph, empty},
        {F::TruncatedDatabase, A::Export, nothingToExport},
        {F::TruncatedDatabase, A::Start, nextFolder},
        {F::OtherShape, A::Connect, neverStored},
        {F::OtherShape, A::Poll, neverStored},
        {F::OtherShape, A::Graph, empty},
        {F::OtherShape, A::Export, nothingToExport},
        {F::OtherShape, A::Start, "taken as it is"},
        {F::FolderInPlace, A::Start, nextFolder},
        {F::TruncatedSettings, A::Start, "told \"Failed to load configuration from file settings.xml\"; then starts"},
    };
    // clang-format on
    return table;
}

bool talksToTheDevice(Act act)
{
    return act < A::Graph;
}

QByteArray ruleOfTheLine(Fault fault, Act act)
{
    if (act == A::Close) {
        return fault >= F::NoSuchPort ? opensNoPort : noAnswer;
    }
    const bool hangsUp = fault >= F::HangUpBefore && fault <= F::HangUpAfter;
    if (fault == F::NoSuchPort || fault == F::PortInUse) {
        return talksToTheDevice(act) ? openByThen : opensNoPort;
    }
    if (!talksToTheDevice(act)) {
        // The dead port stays open under the graph and the export.
        return act == A::Start        ? opensNoPort
            : fault == F::HangUpAfter ? done
            : hangsUp                 ? doneOnADeadLine
                                      : noWord;
    }
    switch (fault) {
    case F::Silence:
    case F::HangUpBefore:
    case F::HangUpDuring:
        return frozen;
    case F::Split:
    case F::Chatter:
        return done;
    case F::WrongChecksum:
    case F::WrongChecksumInPieces:
        return noChecksum;
    case F::HangUpAfter:
        return unnoticed;
    default:
        return askedAgain;
    }
}

QByteArray ruleOfTheDisk(Fault fault, Act act)
{
    if (fault == F::TruncatedSettings) {
        return atStart;
    }
    if (act == A::Close) {
        return fault == F::FolderInPlace ? keepsFile : exits;
    }
    if (fault == F::ReadOnlyFolder || fault == F::FullDisk) {
        return writesNothing;
    }
    return fault == F::FolderInPlace ? keepsFile : noStore;
}

} // namespace

const QVector<ActInfo> &acts()
{
    using G = ActGroup;
    // clang-format off
    static const QVector<ActInfo> all = {
        {A::Connect,           G::EverydayWork,    "connect",            "show swver",             "14", 2},
        {A::Poll,              G::EverydayWork,    "poll",               "show meas",              "16", 1},
        {A::SetValue,          G::EverydayWork,    "set value",          "set altitude=321",       "15", 1},
        {A::Synchronize,       G::EverydayWork,    "synchronize",        "show altitude",          "16", 1},
        {A::WriteSettings,     G::EverydayWork,    "write settings",     "write --really",         "3",  1},
        {A::SetClock,          G::EverydayWork,    "set clock",          "date 2",                "19", 1},
        {A::ReadLog,           G::LongJobs,        "read log",           "log --read=1",           "7",  1},
        {A::ClearLog,          G::LongJobs,        "clear log",          "log --erase",            "3",  1},
        {A::Backup,            G::LongJobs,        "backup",             "eeprom --read_block 0",  "2",  1},
        {A::Restore,           G::LongJobs,        "restore",            "eeprom --write_block 5", "3",  1},
        {A::UpdateConnected,   G::FirmwareUpdates, "update connected",   "reboot --really",        "3",  1},
        {A::UpdateUnconnected, G::FirmwareUpdates, "update unconnected",  "",                      "",   0},
        {A::Graph,             G::WithoutADevice,  "graph",              "",                       "",   0},
        {A::Export,            G::WithoutADevice,  "export",             "",                       "",   0},
        {A::Start,             G::WithoutADevice,  "start",              "",                       "",   0},
        {A::Close,             G::WithoutADevice,  "close",              "show altitude",          "",   0},
    };
    // clang-format on
    return all;
}

const QVector<FaultInfo> &faults()
{
    // clang-format off
    static const QVector<FaultInfo> all = {
        {F::Silence,               "silence",                  "silence"},
        {F::Late,                  "late",                     "delay@%c:2250"},
        {F::Split,                 "split",                    "single-bytes@%c:1"},
        {F::LostByte,              "lost byte",                "lost-byte@%c:%p"},
        {F::FlippedBit,            "flipped bit",              "flipped-bit@%c:%p"},
        {F::Nul,                   "NUL",                      "nul@%c:%p"},
        {F::GluedReplies,          "glued replies",            "glued-replies@%c"},
        {F::Chatter,               "chatter",                  "chatter:5"},
        {F::WrongChecksum,         "wrong checksum",           "bad-checksum@1"},
        {F::WrongChecksumInPieces, "wrong checksum, in pieces", "bad-checksum@1"},
        {F::HangUpBefore,          "hang-up before",           ""},
        {F::HangUpDuring,          "hang-up during",           "hangup@%c:4"},
        {F::HangUpAfter,           "hang-up after",            ""},
        {F::NoSuchPort,            "port can't be opened",     ""},
        {F::PortInUse,             "port in use",              ""},
        {F::ReadOnlyFolder,        "read-only folder",         ""},
        {F::FullDisk,              "full disk",                ""},
        {F::LockedDatabase,        "locked database",          ""},
        {F::CorruptDatabase,       "corrupt database",         ""},
        {F::TruncatedDatabase,     "truncated database",       ""},
        {F::OtherShape,            "database of another shape", ""},
        {F::FolderInPlace,         "folder in the store's place", ""},
        {F::TruncatedSettings,     "settings.xml truncated",   ""},
    };
    // clang-format on
    return all;
}

QByteArray demanded(Fault fault, Act act)
{
    for (const Cell &cell : exceptions()) {
        if (cell.fault == fault && cell.act == act) {
            return cell.words;
        }
    }
    return isOnDisk(fault) ? ruleOfTheDisk(fault, act) : ruleOfTheLine(fault, act);
}
