// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QVector>

namespace Simulator {

/// The ways in which a device, or the line to it, can go wrong. See faultKinds() for their names.
enum class FaultKind {
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
    GluedReplies,
    BadChecksum,
    WrongEntry,
    MalformedRecord,
    MalformedBlock,
    BlockRefused,
    BlockUnanswered,
    GluedAnswers,
    FinalStar,
    BootWithLineEnd
};

/// What the number behind the @ of a fault counts.
enum class FaultPlace { Exchange, LogRow, MemoryBlock, FirmwareBlock, None };

/// A kind of fault as the command line names it.
struct FaultKindInfo
{
    const char *name; ///< as it is written
    FaultKind kind; ///< what goes wrong
    FaultPlace place; ///< what its place counts
    const char *meaning; ///< for the help text
};

/// All kinds, in the order of the help text.
const QVector<FaultKindInfo> &faultKinds();

/// One fault that waits for its place.
struct Fault
{
    QByteArray text; ///< as it was given
    FaultKind kind = FaultKind::Silence; ///< what goes wrong
    int place = -1; ///< exchange from 1, log row from 0, block; -1: everywhere
    QByteArray command; ///< instead of a place: strikes at commands that begin with this
    bool always = false; ///< strikes each time, not once
    bool onward = false; ///< strikes at every exchange from its place on
    int argument = -1; ///< milliseconds or bytes; -1 when not given
    QByteArray word; ///< the argument as text
    bool spent = false; ///< has struck and won't again
};

/// The faults that a device is told to have, and the count of exchanges that they go by.
///
/// A fault is written `KIND`, `KIND@PLACE` or `KIND@PLACE:ARGUMENT`. PLACE is a number, the start
/// of a command (`silence@show meas`) or "next", the coming exchange. Without a place a fault
/// strikes everywhere. With one it strikes once; "+" behind the place makes it strike from there
/// on, and
/// "-always" behind the kind each time that the place comes round.
class Faults : public QObject
{
    Q_OBJECT

public:
    explicit Faults(QObject *parent = nullptr);

    /// Adds the fault that @p text describes; false with the reason in @p error.
    bool add(const QByteArray &text, QByteArray &error);

    /// Forgets all faults; the count of exchanges goes on.
    void clear();

    /// Exchanges so far: command lines that were not empty.
    int exchange() const { return m_exchange; }

    /// A command line has come; it is the next exchange.
    void beginExchange(const QByteArray &command);

    /// True when a fault of @p kind strikes the exchange under way; it is copied to @p fault.
    bool strikeExchange(FaultKind kind, Fault &fault);

    /// The same without the fault itself.
    bool strikeExchange(FaultKind kind);

    /// True when a fault of @p kind strikes at log row or block @p place.
    bool strikeAt(FaultKind kind, int place);

    /// The fault of @p kind that is in force all the time by now, without being spent; null when
    /// there is none.
    const Fault *standing(FaultKind kind) const;

signals:
    /// The fault that was given as @p text strikes.
    void struck(const QByteArray &text);

private:
    bool matchesExchange(const Fault &fault) const;
    void strike(Fault &fault);

    QVector<Fault> m_faults;
    int m_exchange = 0;
    QByteArray m_command;
};

} // namespace Simulator
