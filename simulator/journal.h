// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>

namespace Simulator {

/// What happened, a line each, in a file that can be read while it grows. Silent without a file.
class Journal
{
public:
    /// Begins @p fileName anew; false when it can't be written.
    bool open(const QString &fileName);

    /// Writes a line with the time and @p event.
    void add(const QByteArray &event);

private:
    QFile m_file;
};

} // namespace Simulator
