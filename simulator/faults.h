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
    const char *name; ///< as it is written
    DeviceFaultKind kind; ///< what goes wrong
    FaultPlace place; ///< what its place counts
    const char *meaning; ///< for the help text
};

/// All kinds, in the order of the help text.
const QVector<DeviceFaultInfo> &deviceFaultKinds();

/// A fault, as it was added.
struct Fault
{
    QByteArray text; ///< as it was added
    DeviceFaultKind kind = DeviceFaultKind::Silence; ///< what goes wrong
    int place = -1; ///< exchange from 1, log row from 0, block; -1: everywhere
    QByteArray command; ///< instead of a place: affects commands that begin with this
    bool always = false; ///< affects its place each time, not once
    bool onward = false; ///< affects every exchange from its place on
    int argument = -1; ///< milliseconds or bytes; -1 without one
    QByteArray word; ///< the argument as text
    bool spent = false; ///< has occurred and won't again
};

/// The faults that a device has, and the count of exchanges that determines their places.
///
/// A fault is written `KIND`, `KIND@PLACE` or `KIND@PLACE:ARGUMENT`. PLACE is a number, the start
/// of a command (`silence@show meas`) or "next", the next exchange. Without a place a fault occurs
/// everywhere. With one it occurs once; with "+" after the place from there on, and with "-always"
/// after the kind each time that the place is reached.
class Faults : public QObject
{
    Q_OBJECT

public:
    /// No fault is set.
    explicit Faults(QObject *parent = nullptr);

    /// Adds the fault that @p text describes; false with the reason in @p error.
    bool add(const QByteArray &text, QByteArray &error);

    /// Removes all faults; the count of exchanges continues.
    void clear();

    /// Exchanges so far: command lines that were not empty.
    int exchange() const { return m_exchange; }

    /// A command line has arrived and begins the next exchange.
    void beginExchange(const QByteArray &command);

    /// True when a fault of @p kind occurs in the current exchange; it is copied to @p fault.
    bool triggersInExchange(DeviceFaultKind kind, Fault &fault);

    /// As above, without the fault itself.
    bool triggersInExchange(DeviceFaultKind kind);

    /// True when a fault of @p kind occurs at log row or block @p place.
    bool triggersAt(DeviceFaultKind kind, int place);

    /// The fault of @p kind that applies permanently at this time; null when there is none.
    const Fault *active(DeviceFaultKind kind) const;

signals:
    /// The fault that was added as @p text occurs.
    void triggered(const QByteArray &text);

private:
    bool matchesExchange(const Fault &fault) const;
    void trigger(Fault &fault);

    QVector<Fault> m_faults;
    int m_exchange = 0;
    QByteArray m_command;
};

} // namespace Simulator
