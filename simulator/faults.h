// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QVector>

namespace Simulator {

/// Kinds of faults of the device and its line. See deviceFaultKinds() for their names.
enum class DeviceFaultKind {
    Silence,
    Delay,
    SingleBytes,
    LostByte,
    FlippedBit,
    Nul,
    Chatter,
    UnknownModel,
    Hangup,
    HangupInput,
    RepliesInOneChunk,
    BadChecksum,
    WrongEntry,
    MalformedRecord,
    MalformedBlock,
    BlockRejected,
    BlockUnanswered,
    BlockRepliesInOneChunk,
    FinalStar,
    BootWithLineEnd
};

/// What the number after the @ of a fault counts.
enum class FaultPlace { Exchange, LogRow, MemoryBlock, FirmwareBlock, None };

/// A fault kind with its name.
struct DeviceFaultInfo
{
    const char *name; ///< as written on the command line
    DeviceFaultKind kind; ///< what goes wrong
    FaultPlace place; ///< what its place counts
    const char *meaning; ///< for the help text
};

/// All kinds, in the order of the help text.
const QVector<DeviceFaultInfo> &deviceFaultKinds();

/// A fault that was added.
struct Fault
{
    QByteArray text; ///< as it was added
    DeviceFaultKind kind = DeviceFaultKind::Silence; ///< what goes wrong
    int place = -1; ///< exchange from 1, log row from 0, or block; -1: everywhere
    QByteArray command; ///< instead of a place: the beginning of the affected commands
    bool always = false; ///< occurs each time that its place is reached, not once
    bool onward = false; ///< occurs everywhere from its place on
    int argument = -1; ///< milliseconds or bytes; -1 without one
    QByteArray argumentText; ///< the argument as text
    bool spent = false; ///< has occurred and won't occur again
};

/// The faults that a device has, and the count of exchanges that determines their places.
///
/// A fault is written `KIND[@PLACE][:ARGUMENT]`. PLACE is a number, the beginning of a command
/// (`silence@show meas`) or "next", the next exchange. Without a place a fault occurs everywhere.
/// With a place it occurs once; with "+" after the place from that place on, and with "-always"
/// after the kind each time that the place is reached.
class Faults : public QObject
{
    Q_OBJECT

public:
    /// No fault is set.
    explicit Faults(QObject *parent = nullptr);

    /// Adds the fault that @p text describes. Returns false, with the reason in @p error, if it is
    /// invalid.
    bool add(const QByteArray &text, QByteArray &error);

    /// Removes all faults; the count of exchanges continues.
    void clear();

    /// The number of exchanges so far: command lines that were not empty.
    int exchange() const { return m_exchange; }

    /// Begins the next exchange, with the command line @p command.
    void beginExchange(const QByteArray &command);

    /// Whether a fault of @p kind occurs in the current exchange; copies it to @p fault and emits
    /// triggered().
    bool triggersInExchange(DeviceFaultKind kind, Fault &fault);

    /// The same without the copy of the fault.
    bool triggersInExchange(DeviceFaultKind kind);

    /// Whether a fault of @p kind occurs at the log row or block @p place; emits triggered() if so.
    bool triggersAt(DeviceFaultKind kind, int place);

    /// The fault of @p kind that currently applies to everything; null if there is none.
    const Fault *active(DeviceFaultKind kind) const;

signals:
    /// The fault that was added as @p text has occurred.
    void triggered(const QByteArray &text);

private:
    bool matchesExchange(const Fault &fault) const;
    void trigger(Fault &fault);

    QVector<Fault> m_faults;
    int m_exchange = 0;
    QByteArray m_command;
};

} // namespace Simulator
