// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>

namespace Simulator {

/// What eventOccurred, a line each, in a file that can be read while it grows. Silent without a
/// file.
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
