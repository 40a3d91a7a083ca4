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
constexpr int reservedNumbers = 8; ///< closed terminals whose numbers the system must not reuse

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
{ }

PseudoTerminal::~PseudoTerminal()
{
    close();
    dropClosedClients(0);
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
        m_closedClients.append(m_client);
    }
    dropClosedClients(reservedNumbers);
    m_master = -1;
    m_client = -1;
    m_path.clear();
}

void PseudoTerminal::dropClosedClients(int kept)
{
    while (m_closedClients.size() > kept) {
        ::close(m_closedClients.takeFirst());
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

QByteArray PseudoTerminal::read()
{
    QByteArray bytes(readSize, Qt::Uninitialized);
    const ssize_t count = ::read(m_master, bytes.data(), static_cast<size_t>(bytes.size()));
    bytes.truncate(static_cast<int>(qMax<ssize_t>(0, count)));
    return bytes;
}

void PseudoTerminal::onReadable()
{
    const QByteArray bytes = read();
    if (!bytes.isEmpty()) {
        emit received(bytes);
    }
}

} // namespace Simulator
