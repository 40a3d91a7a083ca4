// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>

namespace Simulator {

/// Writes a line for each event to a file that can be read at the same time. Without a file it does
/// nothing.
class EventLog
{
public:
    /// Creates or truncates @p fileName; false when it can't be written.
    bool open(const QString &fileName);

    /// Writes the line @p event.
    void add(const QByteArray &event);

private:
    QFile m_file;
};

} // namespace Simulator
