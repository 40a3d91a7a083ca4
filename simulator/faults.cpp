// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/faults.h"

namespace Simulator {

const QVector<DeviceFaultInfo> &deviceFaultKinds()
{
    static const QVector<DeviceFaultInfo> kinds = {
        {"silence", DeviceFaultKind::Silence, FaultPlace::Exchange, "no reply"},
        {"delay", DeviceFaultKind::Delay, FaultPlace::Exchange, "replies ARG ms late"},
        {"single-bytes", DeviceFaultKind::SingleBytes, FaultPlace::Exchange,
         "replies in single bytes, ARG ms (1) apart"},
        {"lost-byte", DeviceFaultKind::LostByte, FaultPlace::Exchange,
         "byte ARG (the middle one) of the reply is missing"},
        {"flipped-bit", DeviceFaultKind::FlippedBit, FaultPlace::Exchange,
         "the lowest bit of byte ARG (the middle one) of the reply is wrong"},
        {"nul", DeviceFaultKind::Nul, FaultPlace::Exchange,
         "a NUL byte before byte ARG (the middle one) of the reply"},
        {"chatter", DeviceFaultKind::Chatter, FaultPlace::Exchange,
         "debug output every ARG ms (100), from the exchange on, that can't be switched off"},
        {"unknown-model", DeviceFaultKind::UnknownModel, FaultPlace::Exchange,
         "reports the model ARG (KVT-900)"},
        {"hangup", DeviceFaultKind::Hangup, FaultPlace::Exchange,
         "the line hangs up after ARG (0) more bytes from the device"},
        {"hangup-input", DeviceFaultKind::HangupInput, FaultPlace::None,
         "the line hangs up after ARG raw bytes (of memory blocks or an image) to the device"},
        {"replies-in-one-chunk", DeviceFaultKind::RepliesInOneChunk, FaultPlace::Exchange,
         "the reply is held back and sent in one chunk with the next"},
        {"bad-checksum", DeviceFaultKind::BadChecksum, FaultPlace::LogRow,
         "wrong checksum of a log line"},
        {"wrong-entry", DeviceFaultKind::WrongEntry, FaultPlace::LogRow,
         "wrong number of a log line"},
        {"malformed-record", DeviceFaultKind::MalformedRecord, FaultPlace::LogRow,
         "a log record with a word in place of a number; titles without a checksum"},
        {"malformed-block", DeviceFaultKind::MalformedBlock, FaultPlace::MemoryBlock,
         "a memory block with other characters than hexadecimal digits"},
        {"block-rejected", DeviceFaultKind::BlockRejected, FaultPlace::FirmwareBlock,
         "a firmware block, counted from 1, is rejected"},
        {"block-unanswered", DeviceFaultKind::BlockUnanswered, FaultPlace::FirmwareBlock,
         "no reply to a firmware block, nor to later ones"},
        {"block-replies-in-one-chunk", DeviceFaultKind::BlockRepliesInOneChunk,
         FaultPlace::FirmwareBlock,
         "the reply to a firmware block (without a place: the last one) is \"*.\" in one chunk"},
        {"final-star", DeviceFaultKind::FinalStar, FaultPlace::None,
         "the reply to the last firmware block is \"*\" without a \".\""},
        {"boot-with-line-end", DeviceFaultKind::BootWithLineEnd, FaultPlace::None,
         "the bootloader's banner ends with a line end, in one chunk"},
    };
    return kinds;
}

namespace {

const DeviceFaultInfo *findKind(const QByteArray &name)
{
    for (const DeviceFaultInfo &info : deviceFaultKinds()) {
        if (name == info.name) {
            return &info;
        }
    }
    return nullptr;
}

} // namespace

Faults::Faults(QObject *parent)
    : QObject(parent)
{ }

bool Faults::add(const QByteArray &text, QByteArray &error)
{
    Fault fault;
    fault.text = text;
    QByteArray rest = text;
    const int colon = rest.indexOf(':');
    if (colon >= 0) {
        fault.argumentText = rest.mid(colon + 1);
        rest.truncate(colon);
    }
    const int at = rest.indexOf('@');
    QByteArray place = at >= 0 ? rest.mid(at + 1) : QByteArray();
    QByteArray kind = at >= 0 ? rest.left(at) : rest;
    const QByteArray alwaysSuffix = "-always";
    if (kind.endsWith(alwaysSuffix)) {
        kind.chop(alwaysSuffix.size());
        fault.always = true;
    }
    const DeviceFaultInfo *info = findKind(kind);
    if (info == nullptr) {
        error = "unknown kind of fault: " + kind;
        return false;
    }
    fault.kind = info->kind;
    if (colon >= 0 && fault.kind != DeviceFaultKind::UnknownModel) {
        bool isNumber = false;
        fault.argument = fault.argumentText.toInt(&isNumber);
        if (!isNumber || fault.argument < 0) {
            error = "not a number for " + kind + ": " + fault.argumentText;
            return false;
        }
    }
    if (at < 0) {
        m_faults += fault;
        return true;
    }
    if (place.endsWith('+')) {
        place.chop(1);
        fault.onward = true;
    }
    bool ok = false;
    fault.place = place.toInt(&ok);
    if (place == "next") {
        fault.place = m_exchange + 1;
    } else if (!ok && info->place == FaultPlace::Exchange && !place.isEmpty()) {
        fault.place = -1;
        fault.command = place;
    } else if (!ok || info->place == FaultPlace::None) {
        error = "no such place for " + kind + ": " + place;
        return false;
    }
    m_faults += fault;
    return true;
}

void Faults::clear() { m_faults.clear(); }

void Faults::beginExchange(const QByteArray &command)
{
    ++m_exchange;
    m_command = command;
}

bool Faults::triggersInExchange(DeviceFaultKind kind, Fault &fault)
{
    for (Fault &candidate : m_faults) {
        if (candidate.kind == kind && !candidate.spent && matchesExchange(candidate)) {
            fault = candidate;
            trigger(candidate);
            return true;
        }
    }
    return false;
}

bool Faults::triggersInExchange(DeviceFaultKind kind)
{
    Fault unused;
    return triggersInExchange(kind, unused);
}

bool Faults::triggersAt(DeviceFaultKind kind, int place)
{
    for (Fault &candidate : m_faults) {
        const bool atPlace = candidate.place < 0 || candidate.place == place
            || (candidate.onward && place > candidate.place);
        if (candidate.kind == kind && !candidate.spent && atPlace) {
            trigger(candidate);
            return true;
        }
    }
    return false;
}

const Fault *Faults::active(DeviceFaultKind kind) const
{
    for (const Fault &candidate : m_faults) {
        if (candidate.kind != kind || !candidate.command.isEmpty()) {
            continue;
        }
        const bool continues = candidate.onward || kind == DeviceFaultKind::Chatter;
        if (candidate.place < 0 || (continues && m_exchange >= candidate.place)) {
            return &candidate;
        }
    }
    return nullptr;
}

bool Faults::matchesExchange(const Fault &fault) const
{
    if (!fault.command.isEmpty()) {
        return m_command.startsWith(fault.command);
    }
    return fault.place < 0 || fault.place == m_exchange
        || (fault.onward && m_exchange > fault.place);
}

void Faults::trigger(Fault &fault)
{
    const bool hasPlace = fault.place >= 0 || !fault.command.isEmpty();
    fault.spent = hasPlace && !fault.always && !fault.onward;
    // A copy, because a slot may add or clear faults.
    const QByteArray text = fault.text;
    emit triggered(text);
}

} // namespace Simulator
