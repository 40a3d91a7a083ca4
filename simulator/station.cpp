// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/station.h"

#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace Simulator {

Station::Station(const StationOptions &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_device(options.device)
    , m_wire(options.rate)
{
    connect(&m_wire, &Wire::received, &m_device, &Device::receive);
    connect(&m_wire, &Wire::hungUp, this, [this] { m_journal.add("hangup"); });
    connect(&m_wire, &Wire::lost, this,
            [this](int bytes) { m_journal.add("lost " + QByteArray::number(bytes) + " bytes"); });
    connect(&m_device, &Device::transmit, &m_wire, &Wire::send);
    connect(&m_device, &Device::hangUp, &m_wire, &Wire::hangUpWhenSent);
    connect(&m_device, &Device::happened, this,
            [this](const QByteArray &event) { m_journal.add(event); });
    if (!options.journal.isEmpty() && !m_journal.open(options.journal)) {
        qWarning() << "Unable to write journal" << options.journal;
    }
}

Station::~Station()
{
    // Another station may have taken the link over by now.
    if (!m_linkTarget.isEmpty() && QFile::symLinkTarget(m_options.link) == m_linkTarget) {
        QFile::remove(m_options.link);
    }
}

bool Station::open(QString &error)
{
    m_wire.hangUp();
    if (!m_wire.open(error)) {
        return false;
    }
    m_device.lineRestored();
    m_journal.add("port " + m_wire.path().toLocal8Bit());
    return m_options.link.isEmpty() || setLink(error);
}

void Station::hangUp()
{
    m_wire.hangUp();
}

bool Station::setLink(QString &error)
{
    if (QFileInfo(m_options.link).isSymLink()) {
        QFile::remove(m_options.link);
    }
    if (!QFile::link(m_wire.path(), m_options.link)) {
        error = QStringLiteral("unable to make the link ") + m_options.link;
        return false;
    }
    m_linkTarget = m_wire.path();
    return true;
}

} // namespace Simulator
