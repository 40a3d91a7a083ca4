// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/externalevents.h"

#include <csignal>
#include <unistd.h>

namespace Simulator {

namespace {

// A signal handler may call only async-signal-safe functions, such as write(). The event loop reads
// the byte.
int signalPipe[2] = {-1, -1};

extern "C" void onSignal(int)
{
    const char byte = 1;
    const ssize_t ignored = ::write(signalPipe[1], &byte, 1);
    Q_UNUSED(ignored);
}

} // namespace

ExternalEvents::ExternalEvents(QObject *parent)
    : QObject(parent)
{ }

void ExternalEvents::watchSignals()
{
    if (::pipe(signalPipe) != 0) {
        return;
    }
    m_signals.reset(new QSocketNotifier(signalPipe[0], QSocketNotifier::Read));
    connect(m_signals.data(), &QSocketNotifier::activated, this, [this] {
        m_signals->setEnabled(false);
        emit terminated();
    });
    std::signal(SIGTERM, onSignal);
    std::signal(SIGINT, onSignal);
    // The process that reads the standard output may exit first.
    std::signal(SIGPIPE, SIG_IGN);
}

void ExternalEvents::watchInput()
{
    m_input.reset(new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read));
    connect(m_input.data(), &QSocketNotifier::activated, this, &ExternalEvents::onInput);
}

void ExternalEvents::onInput()
{
    constexpr size_t chunkSize = 4096;
    char chunk[chunkSize];
    const ssize_t count = ::read(STDIN_FILENO, chunk, chunkSize);
    if (count <= 0) {
        m_input->setEnabled(false);
        emit inputClosed();
        return;
    }
    m_typed.append(chunk, static_cast<int>(count));
    for (int end = m_typed.indexOf('\n'); end >= 0; end = m_typed.indexOf('\n')) {
        const QByteArray line = m_typed.left(end);
        m_typed.remove(0, end + 1);
        emit lineTyped(line);
    }
}

} // namespace Simulator
