// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/journal.h"

namespace Simulator {

bool Journal::open(const QString &fileName)
{
    m_file.setFileName(fileName);
    return m_file.open(QIODevice::WriteOnly | QIODevice::Truncate);
}

void Journal::add(const QByteArray &event)
{
    if (m_file.isOpen()) {
        m_file.write(event + '\n');
        m_file.flush();
    }
}

} // namespace Simulator
