// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/pacedline.h"

#include <QtCore/QCoreApplication>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr qint64 nsPerSecond = 1000000000;
constexpr qint64 bitsPerByte = 10;
constexpr int burst = 16; ///< bytes handed on at once, as the buffer of a serial chip does
constexpr qint64 spinNs = 120000; ///< longer than a sleep may overrun
constexpr qint64 idleWaitNs = 5000000;

qint64 nowNs()
{
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * nsPerSecond + time.tv_nsec;
}

void sleepUntilReadable(int descriptor, qint64 ns)
{
    pollfd wanted = {descriptor, POLLIN, 0};
    const timespec time = {ns / nsPerSecond, ns % nsPerSecond};
    ppoll(&wanted, 1, &time, nullptr);
}

} // namespace

PacedLine::PacedLine(Simulator::Device &device, int rate)
    : m_device(device)
    , m_byteNs(rate > 0 ? bitsPerByte * nsPerSecond / rate : 0)
{
    connect(&device, &Simulator::Device::transmit, this, &PacedLine::send);
}

PacedLine::~PacedLine()
{
    ::close(m_master);
    ::close(m_client);
}

QByteArray PacedLine::open()
{
    m_master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0) {
        return QByteArray();
    }
    const QByteArray path = ptsname(m_master);
    m_client = ::open(path.constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings = {};
    tcgetattr(m_client, &settings);
    cfmakeraw(&settings);
    tcsetattr(m_client, TCSANOW, &settings);
    return path;
}

void PacedLine::serve()
{
    // Otherwise each sleep may last 50 us longer than asked.
    prctl(PR_SET_TIMERSLACK, 1);
    for (bool open = true; open;) {
        readInput();
        deliverInput();
        deliverOutput();
        const qint64 now = nowNs();
        const qint64 due = nextDue();
        if (due >= 0) {
            if (due - now > spinNs) {
                sleepUntilReadable(m_master, due - now - spinNs);
            }
        } else {
            // Not spinning: what carries the client's bytes may want this very core.
            open = waitIdle();
        }
    }
}

void PacedLine::readInput()
{
    char bytes[4096];
    const ssize_t count = ::read(m_master, bytes, sizeof bytes);
    if (count <= 0) {
        return;
    }
    const qint64 begin = qMax(m_inDueNs, nowNs());
    m_in.append(bytes, static_cast<int>(count));
    m_inDueNs = begin + count * m_byteNs;
    m_bytesIn += count;
    use(begin, static_cast<int>(count));
}

void PacedLine::deliverInput()
{
    if (m_in.isEmpty() || nowNs() < m_inDueNs) {
        return;
    }
    const QByteArray bytes = m_in;
    m_in.clear();
    m_answeringNs = m_inDueNs;
    m_device.receive(bytes);
    m_answeringNs = -1;
}

void PacedLine::send(const QByteArray &bytes)
{
    if (m_out.isEmpty()) {
        m_outFreeNs = qMax(m_outFreeNs, m_answeringNs >= 0 ? m_answeringNs : nowNs());
    }
    use(m_outFreeNs + m_out.size() * m_byteNs, bytes.size());
    m_out += bytes;
    m_bytesOut += bytes.size();
}

void PacedLine::deliverOutput()
{
    const qint64 now = nowNs();
    if (m_out.isEmpty() || now < m_outFreeNs + nextBurst() * m_byteNs) {
        return;
    }
    const int count = m_byteNs == 0 ? m_out.size() : nextBurst();
    const ssize_t written = ::write(m_master, m_out.constData(), static_cast<size_t>(count));
    if (written > 0) {
        m_out.remove(0, static_cast<int>(written));
        m_outFreeNs += written * m_byteNs;
    }
}

int PacedLine::nextBurst() const
{
    return qMin(burst, m_out.size());
}

qint64 PacedLine::nextDue() const
{
    const qint64 out = m_out.isEmpty() ? -1 : m_outFreeNs + nextBurst() * m_byteNs;
    const qint64 in = m_in.isEmpty() ? -1 : m_inDueNs;
    return out < 0 ? in : in < 0 ? out : qMin(in, out);
}

/// Counts the time once for which both directions are in use.
void PacedLine::use(qint64 fromNs, int bytes)
{
    const qint64 untilNs = fromNs + bytes * m_byteNs;
    m_usedNs += qMax<qint64>(0, untilNs - qMax(fromNs, m_usedUntilNs));
    m_usedUntilNs = qMax(m_usedUntilNs, untilNs);
}

bool PacedLine::waitIdle()
{
    pollfd wanted[] = {{m_master, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    const timespec time = {0, idleWaitNs};
    ppoll(wanted, 2, &time, nullptr);
    QCoreApplication::processEvents();
    return (wanted[1].revents & (POLLIN | POLLHUP)) == 0 || answerDesk();
}

bool PacedLine::answerDesk()
{
    char bytes[256];
    const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
    if (count <= 0) {
        return false;
    }
    m_typed.append(bytes, static_cast<int>(count));
    for (int end = m_typed.indexOf('\n'); end >= 0; end = m_typed.indexOf('\n')) {
        const QByteArray line = m_typed.left(end);
        m_typed.remove(0, end + 1);
        if (line == "reset") {
            m_bytesIn = m_bytesOut = m_usedNs = 0;
        } else if (line == "power") {
            m_device.powerCycle();
        } else if (line == "counters") {
            std::printf("%lld\n%lld\n%lld\n", m_bytesIn, m_bytesOut, m_usedNs);
        }
        std::printf("ok\n");
        std::fflush(stdout);
    }
    return true;
}
