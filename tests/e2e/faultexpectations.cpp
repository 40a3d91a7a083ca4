// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/e2e/faultexpectations.h"

namespace {

using F = FaultKind;

constexpr Expectation done = "done";
constexpr Expectation sentAgain = "done, command sent again";
constexpr Expectation stopped = "queue stopped; works after Disconnect and Connect";
constexpr Expectation stoppedUntilConnect = "queue stopped; works after Connect";
constexpr Expectation dialogStays =
    "dialog stays until cancelled; works after Disconnect and Connect";
constexpr Expectation worksAfterCancel = "dialog stays until cancelled; then works";
constexpr Expectation connectedAfterCancel =
    "dialog stays until cancelled; shows connected; works after Disconnect and Connect";
constexpr Expectation laterHangUp =
    "done; later hang-up not reported; works after Disconnect and Connect";
constexpr Expectation doneOnDeadLine = "done; works after Disconnect and Connect";
constexpr Expectation exits = "exit code 0";

constexpr Expectation cannotOpen =
    "reports \"Error occurred with serial port communication: Unable to open port!\"; works after "
    "Connect";
constexpr Expectation cannotOpenThenWaits =
    "reports \"Error occurred with serial port communication: Unable to open port!\"; dialog stays "
    "until cancelled; shows connected; works after Disconnect and Connect";
constexpr Expectation updateFails =
    "reports \"Firmware update failed due to unknown reason\"; then works";
constexpr Expectation updateFailsOnDeadLine =
    "reports \"Firmware update failed due to unknown reason\"; works after Disconnect and Connect";
constexpr Expectation updateFailsUnconnected =
    "reports \"Firmware update failed due to unknown reason\"; shows connected; works after "
    "Disconnect and Connect";

constexpr Expectation notStored = "shown, not stored; warning logged; the next is stored";
constexpr Expectation neverStored =
    "shown, not stored; warning logged; the next is not stored either";
constexpr Expectation storedAfterConnect =
    "shown, not stored; warning logged; stored again after a new Connect";
constexpr Expectation nextFolder = "the next folder is used, nothing reported; warning logged";
constexpr Expectation opensEmpty = "opens empty; warning logged";
constexpr Expectation nothingToExport =
    "reports \"No measurements found from given time period\"; warning logged";

constexpr Expectation portIsOpen = notApplicable("the port is open by then");
constexpr Expectation opensNoPort = notApplicable("it opens no port");
constexpr Expectation sendsNothing = notApplicable("nothing is sent to the device");
constexpr Expectation awaitsNoReply = notApplicable("no reply is waited for");
constexpr Expectation noChecksum = notApplicable("only log lines carry a checksum");
constexpr Expectation storesNothing = notApplicable("it stores no reading");
constexpr Expectation writesNothing = notApplicable("it writes no file");
constexpr Expectation readAtStart = notApplicable("settings.xml is only read at start");
constexpr Expectation keepsFile = notApplicable("an open store keeps its file");

/// The pairs to which lineRule() and diskRule() don't apply: each fault of a row with each of its
/// actions.
QVector<FaultMatrix::Exception> exceptions()
{
    const QVector<FaultKind> damage{F::LostByte, F::FlippedBit};
    const QVector<FaultKind> unusablePort{F::HangUpBefore, F::PortMissing, F::PortInUse};
    const QVector<FaultKind> unwritableStore{F::ReadOnlyFolder, F::FullDisk, F::LockedDatabase};
    const QVector<FaultKind> damagedStore{F::CorruptDatabase, F::TruncatedDatabase,
                                          F::UnexpectedSchema};
    // clang-format off
    const struct
    {
        QVector<FaultKind> faults;
        QVector<UserAction> actions;
        Expectation expectation;
    } rows[] = {
        {{F::Silence}, {Connect}, stoppedUntilConnect},
        // Cancel only closes the dialog; the job that restarts the device stays in the queue.
        {{F::Silence}, {WriteSettings, SetClock, UpdateConnected}, dialogStays},
        {{F::Silence}, {ReadLog, Backup, Restore}, worksAfterCancel},
        {{F::Silence, F::NulByte}, {UpdateUnconnected}, connectedAfterCancel},
        // The device ignores the second command.
        {{F::LateReply}, {UpdateConnected, UpdateUnconnected}, done},

        // Without a checksum, a damaged value is read as another value. The damaged version that
        // Connect reads first and the damaged echoes of the other two actions aren't shown.
        {damage, {Connect, SetValue, SetClock}, done},
        {damage, {Poll}, "damaged value shown and stored"},
        {damage, {Backup}, "damaged block in the file"},
        {damage, {UpdateUnconnected}, connectedAfterCancel},
        {{F::LostByte}, {Synchronize}, "damaged value 77 shown and sent back; the device has 77"},
        {{F::FlippedBit}, {Synchronize},
         "damaged value 677 shown and sent back; the device has 677"},
        // The value extends to the last prompt.
        {{F::RepliesInOneChunk}, {Synchronize},
         "damaged value of two replies shown and sent back; the device has 777"},
        {{F::RepliesInOneChunk}, {UpdateConnected}, updateFails},
        {{F::RepliesInOneChunk, F::HangUpDuring}, {UpdateUnconnected}, updateFailsUnconnected},
        {{F::WrongChecksum}, {ReadLog}, sentAgain},
        // Each chunk after the damaged line is parsed together with it, fails the checksum again
        // and so uses up one of the five sends.
        {{F::WrongChecksumInPieces}, {ReadLog}, worksAfterCancel},

        {unusablePort, {Connect}, cannotOpen},
        {unusablePort, {UpdateUnconnected}, cannotOpenThenWaits},
        {{F::HangUpBefore}, {SetClock, UpdateConnected}, dialogStays},
        {{F::HangUpBefore, F::HangUpDuring}, {WriteSettings, ReadLog, Backup, Restore},
         dialogStays},
        {{F::HangUpDuring}, {Connect}, stoppedUntilConnect},
        {{F::HangUpDuring}, {UpdateConnected}, updateFailsOnDeadLine},
        // The tool itself disconnects after an update.
        {{F::HangUpAfter}, {UpdateConnected, UpdateUnconnected}, done},
        {{F::HangUpAfter}, {CloseProgram}, notApplicable("nothing is open any more")},
        {{F::Silence, F::LateReply, F::Chatter, F::HangUpBefore, F::HangUpDuring}, {CloseProgram},
         exits},

        {unwritableStore, {Connect}, storedAfterConnect},
        {unwritableStore, {Poll}, notStored},
        {{F::ReadOnlyFolder, F::FullDisk}, {ShowGraph}, done},
        {{F::ReadOnlyFolder}, {ReadLog},
         "reports \"Unable to save log to file FOLDER/log.csv: Permission denied\""},
        {{F::ReadOnlyFolder}, {Backup}, "nothing reported, no file"},
        {{F::ReadOnlyFolder}, {ExportMeasurements},
         "reports \"Unable to save measurements to file FOLDER/measurements.csv: "
         "Permission denied\""},
        {{F::FullDisk}, {ReadLog, Backup, ExportMeasurements}, "nothing reported, an empty file"},
        {{F::FullDisk}, {StartProgram},
         "asks for a folder, the chosen one is used; warning logged"},
        {damagedStore, {Connect, Poll}, neverStored},
        {damagedStore + QVector<FaultKind>{F::LockedDatabase}, {ShowGraph}, opensEmpty},
        {damagedStore + QVector<FaultKind>{F::LockedDatabase}, {ExportMeasurements},
         nothingToExport},
        {{F::ReadOnlyFolder, F::LockedDatabase, F::CorruptDatabase, F::TruncatedDatabase,
          F::FolderInPlaceOfStore}, {StartProgram}, nextFolder},
        {{F::UnexpectedSchema}, {StartProgram}, "used as it is"},
        {{F::TruncatedSettings}, {StartProgram},
         "reports \"Failed to load configuration from file settings.xml\"; then starts"},
    };
    // clang-format on
    QVector<FaultMatrix::Exception> pairs;
    for (const auto &row : rows) {
        for (const FaultKind fault : row.faults) {
            for (const UserAction action : row.actions) {
                pairs.append({fault, action, row.expectation});
            }
        }
    }
    return pairs;
}

QVector<FaultOperation> userActions()
{
    using namespace FaultParts;
    // clang-format off
    return {
        {everydayWork,    "connect",            "show swver",             "14"},
        {everydayWork,    "poll",               "show meas",              "16"},
        {everydayWork,    "set value",          "set altitude=321",       "15"},
        {everydayWork,    "synchronize",        "show altitude",          "16"},
        {everydayWork,    "write settings",     "write --really",         "3"},
        {everydayWork,    "set clock",          "date 2",                 "19"},
        {longOperations,  "read log",           "log --read=1",           "7"},
        {longOperations,  "clear log",          "log --erase",            "3"},
        {longOperations,  "backup",             "eeprom --read_block 0",  "2"},
        {longOperations,  "restore",            "eeprom --write_block 5", "3"},
        {firmwareUpdates, "update connected",   "reboot --really",        "3"},
        {firmwareUpdates, "update unconnected", "",                       ""},
        {withoutDevice,   "graph",              "",                       ""},
        {withoutDevice,   "export",             "",                       ""},
        {withoutDevice,   "start",              "",                       ""},
        {withoutDevice,   "close",              "show altitude",          ""},
    };
    // clang-format on
}

Expectation lineRule(FaultKind fault, UserAction action)
{
    const bool cannotOpenPort = fault == F::PortMissing || fault == F::PortInUse;
    if (action == CloseProgram) {
        return cannotOpenPort ? opensNoPort : awaitsNoReply;
    }
    if (cannotOpenPort) {
        return usesDevice(action) ? portIsOpen : opensNoPort;
    }
    if (!usesDevice(action)) {
        // The port stays open after the hang-up, during graph and export.
        return action == StartProgram ? opensNoPort
            : fault == F::HangUpAfter ? done
            : isHangUp(fault)         ? doneOnDeadLine
                                      : sendsNothing;
    }
    switch (fault) {
    case F::Silence:
    case F::HangUpBefore:
    case F::HangUpDuring:
        return stopped;
    case F::SingleBytes:
    case F::Chatter:
        return done;
    case F::WrongChecksum:
    case F::WrongChecksumInPieces:
        return noChecksum;
    case F::HangUpAfter:
        return laterHangUp;
    default:
        return sentAgain;
    }
}

Expectation diskRule(FaultKind fault, UserAction action)
{
    if (fault == F::TruncatedSettings) {
        return readAtStart;
    }
    if (fault == F::FolderInPlaceOfStore) {
        return keepsFile;
    }
    if (action == CloseProgram) {
        return exits;
    }
    return fault == F::ReadOnlyFolder || fault == F::FullDisk ? writesNothing : storesNothing;
}

Expectation rule(FaultKind fault, int operation)
{
    const auto action = static_cast<UserAction>(operation);
    return isDiskFault(fault) ? diskRule(fault, action) : lineRule(fault, action);
}

} // namespace

FaultMatrix userFaultMatrix()
{
    return FaultMatrix(WindowLevel, userActions(), exceptions(), rule);
}
