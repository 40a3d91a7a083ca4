// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/pseudoterminal.h"

#include <QtCore/QFile>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace Simulator {

namespace {

constexpr int readSize = 4096;
constexpr int heldLines = 8; ///< that hung up

void makeRaw(int descriptor)
{
    struct termios settings = {};
    if (tcgetattr(descriptor, &settings) == 0) {
        cfmakeraw(&settings);
        cfsetspeed(&settings, B115200);
        tcsetattr(descriptor, TCSANOW, &settings);
    }
}

} // namespace

PseudoTerminal::PseudoTerminal(QObject *parent)
    : QObject(parent)
{
}

PseudoTerminal::~PseudoTerminal()
{
    close();
    closeDeadClients(0);
}

bool PseudoTerminal::open(QString &error)
{
    close();
    m_master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (m_master >= 0 && grantpt(m_master) == 0 && unlockpt(m_master) == 0) {
        m_path = QFile::decodeName(ptsname(m_master));
        m_client = ::open(QFile::encodeName(m_path).constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
    if (m_client < 0) {
        error = QString::fromLocal8Bit(std::strerror(errno));
        close();
        return false;
    }
    makeRaw(m_client);
    m_notifier.reset(new QSocketNotifier(m_master, QSocketNotifier::Read));
    connect(m_notifier.data(), &QSocketNotifier::activated, this, &PseudoTerminal::onReadable);
    return true;
}

void PseudoTerminal::close()
{
    if (m_notifier) {
        m_notifier->setEnabled(false);
        m_notifier.reset();
    }
    if (m_master >= 0) {
        ::close(m_master);
    }
    if (m_client >= 0) {
        m_deadClients.append(m_client);
    }
    closeDeadClients(heldLines);
    m_master = -1;
    m_client = -1;
    m_path.clear();
}

void PseudoTerminal::closeDeadClients(int held)
{
    while (m_deadClients.size() > held) {
        ::close(m_deadClients.takeFirst());
    }
}

int PseudoTerminal::write(const QByteArray &bytes)
{
    if (m_master < 0) {
        return bytes.size();
    }
    const ssize_t written = ::write(m_master, bytes.constData(), static_cast<size_t>(bytes.size()));
    return written < 0 ? 0 : static_cast<int>(written);
}

void PseudoTerminal::release()
{
    if (m_client >= 0) {
        ioctl(m_client, TIOCNXCL);
    }
}

void PseudoTerminal::setReading(bool on)
{
    if (m_notifier) {
        m_notifier->setEnabled(on);
    }
}

void PseudoTerminal::onReadable()
{
    QByteArray bytes(readSize, Qt::Uninitialized);
    const ssize_t count = ::read(m_master, bytes.data(), static_cast<size_t>(bytes.size()));
    if (count > 0) {
        bytes.truncate(static_cast<int>(count));
        emit received(bytes);
    }
}

} // namespace Simulator
