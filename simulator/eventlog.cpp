// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/eventlog.h"

namespace Simulator {

bool EventLog::open(const QString &fileName)
{
    m_file.setFileName(fileName);
    return m_file.open(QIODevice::WriteOnly | QIODevice::Truncate);
}

void EventLog::add(const QByteArray &event)
{
    if (m_file.isOpen()) {
        m_file.write(event + '\n');
        m_file.flush();
    }
}

} // namespace Simulator
