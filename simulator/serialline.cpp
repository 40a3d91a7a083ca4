// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/serialline.h"

namespace Simulator {

namespace {

constexpr qint64 nsPerMs = 1000000;
constexpr qint64 nsPerSecond = 1000000000;
constexpr qint64 bitsPerByte = 10;
constexpr qint64 burstNs = 2 * nsPerMs; ///< duration of a burst of bytes
constexpr qint64 retryNs = 5 * nsPerMs; ///< between two attempts to write
constexpr qint64 lossNs = nsPerSecond; ///< time after which unread bytes are lost
constexpr int inputLimit = 16384; ///< bytes; further ones remain in the terminal
constexpr int lastBytesMs = 100; ///< time for the client to read the last bytes before the hang-up

} // namespace

SerialLine::SerialLine(int rate, QObject *parent)
    : QObject(parent)
    , m_byteNs(rate > 0 ? bitsPerByte * nsPerSecond / rate + 1 : 0)
{
    m_clock.start();
    for (QTimer *timer : {&m_outTimer, &m_inTimer, &m_hangUpTimer}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
    }
    connect(&m_outTimer, &QTimer::timeout, this, &SerialLine::deliverOutput);
    connect(&m_inTimer, &QTimer::timeout, this, &SerialLine::deliverInput);
    connect(&m_hangUpTimer, &QTimer::timeout, this, &SerialLine::hangUp);
    connect(&m_terminal, &PseudoTerminal::received, this, &SerialLine::onReceived);
}

bool SerialLine::open(QString &error) { return m_terminal.open(error); }

void SerialLine::send(const QByteArray &bytes, Delivery delivery, int gapMs)
{
    if (!m_terminal.isOpen() || m_hangUpWhenSent || bytes.isEmpty()) {
        return;
    }
    if (m_out.isEmpty()) {
        // A reply begins when the command has arrived, not when the timer is handled.
        const qint64 begin =
            m_processingSinceNs >= 0 ? m_processingSinceNs : m_clock.nsecsElapsed();
        m_outFreeNs = qMax(m_outFreeNs, begin);
    }
    m_out += Segment{bytes, delivery, gapMs};
    if (!m_outTimer.isActive()) {
        deliverOutput();
    }
}

void SerialLine::hangUp()
{
    m_outTimer.stop();
    m_inTimer.stop();
    m_hangUpTimer.stop();
    m_out.clear();
    m_in.clear();
    m_hangUpWhenSent = false;
    m_blockedSinceNs = -1;
    if (m_terminal.isOpen()) {
        m_terminal.close();
        emit hungUp();
    }
}

void SerialLine::hangUpWhenSent()
{
    m_hangUpWhenSent = true;
    if (m_out.isEmpty()) {
        m_hangUpTimer.start(lastBytesMs);
    }
}

void SerialLine::onReceived(const QByteArray &bytes)
{
    if (m_in.isEmpty()) {
        m_inFreeNs = qMax(m_inFreeNs, m_clock.nsecsElapsed());
    }
    m_in += bytes;
    m_terminal.setReading(m_in.size() < inputLimit);
    if (!m_inTimer.isActive()) {
        deliverInput();
    }
}

void SerialLine::deliverOutput()
{
    const qint64 now = m_clock.nsecsElapsed();
    while (!m_out.isEmpty() && deliverFront(now)) { }
    if (m_out.isEmpty()) {
        if (m_hangUpWhenSent) {
            m_hangUpTimer.start(lastBytesMs);
        }
        return;
    }
    if (m_blockedSinceNs >= 0) {
        schedule(m_outTimer, now + retryNs, now);
        return;
    }
    const Segment &front = m_out.first();
    qint64 wanted = qMin(qint64(front.bytes.size()) * m_byteNs, qMax(burstNs, m_byteNs));
    if (front.delivery == Delivery::OneChunk) {
        wanted = front.bytes.size() * m_byteNs;
    } else if (front.delivery == Delivery::SingleBytes) {
        wanted = m_byteNs;
    }
    schedule(m_outTimer, m_outFreeNs + wanted, now);
}

/// Writes the bytes of the first segment that are due. Returns false if nothing more is due.
bool SerialLine::deliverFront(qint64 now)
{
    Segment &front = m_out.first();
    const bool single = front.delivery == Delivery::SingleBytes;
    const int due = bytesDue(m_outFreeNs, now, single ? 1 : front.bytes.size());
    if (due == 0 || (front.delivery == Delivery::OneChunk && due < front.bytes.size())) {
        return false;
    }
    const int written = m_terminal.write(front.bytes.left(due));
    front.bytes.remove(0, written);
    m_outFreeNs += written * m_byteNs;
    if (single) {
        // Counted from now, so that the pause after a late byte is not shortened.
        m_outFreeNs = now + front.gapMs * nsPerMs;
    }
    if (front.bytes.isEmpty()) {
        m_out.removeFirst();
    }
    if (written < due) {
        onBlocked(now);
        return false;
    }
    m_blockedSinceNs = -1;
    return true;
}

void SerialLine::onBlocked(qint64 now)
{
    if (m_blockedSinceNs < 0) {
        m_blockedSinceNs = now;
    }
    if (now - m_blockedSinceNs < lossNs) {
        return;
    }
    int bytes = 0;
    for (const Segment &segment : qAsConst(m_out)) {
        bytes += segment.bytes.size();
    }
    m_out.clear();
    m_blockedSinceNs = -1;
    emit lost(bytes);
}

void SerialLine::deliverInput()
{
    const qint64 now = m_clock.nsecsElapsed();
    const int due = bytesDue(m_inFreeNs, now, m_in.size());
    if (due > 0) {
        const QByteArray bytes = m_in.left(due);
        m_in.remove(0, due);
        m_inFreeNs += due * m_byteNs;
        m_processingSinceNs = m_inFreeNs;
        emit received(bytes);
        m_processingSinceNs = -1;
    }
    m_terminal.setReading(m_in.size() < inputLimit);
    if (!m_in.isEmpty()) {
        const qint64 wanted = qMin(m_in.size() * m_byteNs, qMax(burstNs, m_byteNs));
        schedule(m_inTimer, m_inFreeNs + wanted, now);
    }
}

int SerialLine::bytesDue(qint64 since, qint64 now, int wanted) const
{
    if (m_byteNs == 0) {
        return since <= now ? wanted : 0;
    }
    return static_cast<int>(qBound<qint64>(0, (now - since) / m_byteNs, wanted));
}

void SerialLine::schedule(QTimer &timer, qint64 dueNs, qint64 now) const
{
    timer.start(static_cast<int>(qMax<qint64>(0, (dueNs - now + nsPerMs - 1) / nsPerMs)));
}

} // namespace Simulator
