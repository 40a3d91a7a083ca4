// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/simulatedtransmitter.h"

#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace Simulator {

SimulatedTransmitter::SimulatedTransmitter(const TransmitterOptions &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_device(options.device)
    , m_line(options.rate)
{
    connect(&m_line, &SerialLine::received, &m_device, &Device::receive);
    connect(&m_line, &SerialLine::hungUp, this, [this] { m_eventLog.add("hangup"); });
    connect(&m_line, &SerialLine::lost, this,
            [this](int bytes) { m_eventLog.add("lost " + QByteArray::number(bytes) + " bytes"); });
    connect(&m_device, &Device::transmit, &m_line, &SerialLine::send);
    connect(&m_device, &Device::hangUp, &m_line, &SerialLine::hangUpWhenSent);
    connect(&m_device, &Device::eventOccurred, this,
            [this](const QByteArray &event) { m_eventLog.add(event); });
    if (!options.eventLog.isEmpty() && !m_eventLog.open(options.eventLog)) {
        qWarning() << "Unable to write event log" << options.eventLog;
    }
}

SimulatedTransmitter::~SimulatedTransmitter()
{
    // Another process may have replaced the link.
    if (!m_linkTarget.isEmpty() && QFile::symLinkTarget(m_options.link) == m_linkTarget) {
        QFile::remove(m_options.link);
    }
}

bool SimulatedTransmitter::open(QString &error)
{
    m_line.hangUp();
    if (!m_line.open(error)) {
        return false;
    }
    m_device.lineRestored();
    m_eventLog.add("port " + m_line.path().toLocal8Bit());
    return m_options.link.isEmpty() || setLink(error);
}

void SimulatedTransmitter::hangUp() { m_line.hangUp(); }

bool SimulatedTransmitter::setLink(QString &error)
{
    if (QFileInfo(m_options.link).isSymLink()) {
        QFile::remove(m_options.link);
    }
    if (!QFile::link(m_line.path(), m_options.link)) {
        error = QStringLiteral("unable to make the link ") + m_options.link;
        return false;
    }
    m_linkTarget = m_line.path();
    return true;
}

} // namespace Simulator
