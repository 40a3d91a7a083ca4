// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>

namespace Simulator {

/// Writes a line for each event to a file, which can be read meanwhile. Does nothing while no file
/// is open.
class EventLog
{
public:
    /// Creates or truncates @p fileName. Returns false if it can't be written.
    bool open(const QString &fileName);

    /// Writes the line @p event.
    void add(const QByteArray &event);

private:
    QFile m_file;
};

} // namespace Simulator
