// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/ratelimitedline.h"

#include <QtCore/QCoreApplication>
#include <cstdio>
#include <poll.h>
#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr qint64 nsPerSecond = 1000000000;
constexpr qint64 bitsPerByte = 10;
constexpr int burstSize = 16; ///< bytes written at once, as from the FIFO of a UART
constexpr qint64 busyWaitNs = 120000; ///< longer than a sleep may oversleep
constexpr qint64 inputWaitNs = 5000000;

qint64 nowNs()
{
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * nsPerSecond + time.tv_nsec;
}

void sleepUntilReadable(int descriptor, qint64 ns)
{
    pollfd polled = {descriptor, POLLIN, 0};
    const timespec time = {ns / nsPerSecond, ns % nsPerSecond};
    ppoll(&polled, 1, &time, nullptr);
}

} // namespace

RateLimitedLine::RateLimitedLine(Simulator::Device &device, int rate)
    : m_device(device)
    , m_byteNs(rate > 0 ? bitsPerByte * nsPerSecond / rate : 0)
{
    connect(&device, &Simulator::Device::transmit, this, &RateLimitedLine::send);
}

QByteArray RateLimitedLine::open()
{
    QString error;
    if (m_terminal.open(error)) {
        m_terminal.setReading(false);
    }
    return m_terminal.path().toLocal8Bit();
}

void RateLimitedLine::serve()
{
    // The default slack makes each sleep up to 50 us longer.
    prctl(PR_SET_TIMERSLACK, 1);
    for (bool open = true; open;) {
        readInput();
        deliverInput();
        deliverOutput();
        const qint64 now = nowNs();
        const qint64 due = nextDueNs();
        if (due >= 0) {
            if (due - now > busyWaitNs) {
                sleepUntilReadable(m_terminal.descriptor(), due - now - busyWaitNs);
            }
        } else {
            // Without busy waiting: the kernel thread that moves the pseudo-terminal's data may
            // need this core.
            open = waitForInput();
        }
    }
}

void RateLimitedLine::readInput()
{
    const QByteArray bytes = m_terminal.read();
    if (bytes.isEmpty()) {
        return;
    }
    const qint64 begin = qMax(m_inDueNs, nowNs());
    m_in.append(bytes);
    m_inDueNs = begin + bytes.size() * m_byteNs;
    m_bytesIn += bytes.size();
    countUse(begin, bytes.size());
}

void RateLimitedLine::deliverInput()
{
    if (m_in.isEmpty() || nowNs() < m_inDueNs) {
        return;
    }
    const QByteArray bytes = m_in;
    m_in.clear();
    m_inputArrivalNs = m_inDueNs;
    m_device.receive(bytes);
    m_inputArrivalNs = -1;
}

void RateLimitedLine::send(const QByteArray &bytes)
{
    if (m_out.isEmpty()) {
        m_outBeginNs = qMax(m_outBeginNs, m_inputArrivalNs >= 0 ? m_inputArrivalNs : nowNs());
    }
    countUse(m_outBeginNs + m_out.size() * m_byteNs, bytes.size());
    m_out += bytes;
    m_bytesOut += bytes.size();
}

void RateLimitedLine::deliverOutput()
{
    const qint64 now = nowNs();
    if (m_out.isEmpty() || now < m_outBeginNs + nextBurstSize() * m_byteNs) {
        return;
    }
    const int count = m_byteNs == 0 ? m_out.size() : nextBurstSize();
    const int written = m_terminal.write(m_out.left(count));
    m_out.remove(0, written);
    m_outBeginNs += written * m_byteNs;
}

int RateLimitedLine::nextBurstSize() const { return qMin(burstSize, m_out.size()); }

/// When the next bytes are to be delivered, in either direction; -1 if there are none.
qint64 RateLimitedLine::nextDueNs() const
{
    const qint64 out = m_out.isEmpty() ? -1 : m_outBeginNs + nextBurstSize() * m_byteNs;
    const qint64 in = m_in.isEmpty() ? -1 : m_inDueNs;
    return out < 0 ? in : in < 0 ? out : qMin(in, out);
}

/// Adds the time that @p bytes bytes take from @p fromNs on to the time for which the line was in
/// use. Time in which both directions are in use is counted once.
void RateLimitedLine::countUse(qint64 fromNs, int bytes)
{
    const qint64 untilNs = fromNs + bytes * m_byteNs;
    m_usedNs += qMax<qint64>(0, untilNs - qMax(fromNs, m_usedUntilNs));
    m_usedUntilNs = qMax(m_usedUntilNs, untilNs);
}

/// Waits up to 5 ms for bytes from the client or a command; false at the end of standard input.
bool RateLimitedLine::waitForInput()
{
    pollfd polled[] = {{m_terminal.descriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    const timespec time = {0, inputWaitNs};
    ppoll(polled, 2, &time, nullptr);
    QCoreApplication::processEvents();
    return (polled[1].revents & (POLLIN | POLLHUP)) == 0 || executeCommands();
}

bool RateLimitedLine::executeCommands()
{
    char bytes[256];
    const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
    if (count <= 0) {
        return false;
    }
    m_commands.append(bytes, static_cast<int>(count));
    for (int end = m_commands.indexOf('\n'); end >= 0; end = m_commands.indexOf('\n')) {
        const QByteArray line = m_commands.left(end);
        m_commands.remove(0, end + 1);
        if (line == "reset") {
            m_bytesIn = m_bytesOut = m_usedNs = 0;
        } else if (line == "restart") {
            m_device.powerCycle();
        } else if (line == "counters") {
            std::printf("%lld\n%lld\n%lld\n", m_bytesIn, m_bytesOut, m_usedNs);
        }
        std::printf("ok\n");
        std::fflush(stdout);
    }
    return true;
}
