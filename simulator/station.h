// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/device.h"
#include "simulator/deviceoptions.h"
#include "simulator/journal.h"
#include "simulator/wire.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>

namespace Simulator {

/// What the station around a device needs to know.
struct StationOptions
{
    DeviceOptions device; ///< what hangs on the line
    int rate = 115200; ///< bits a second, 0 for as fast as it can
    QString link; ///< symbolic link to the port's path; none when empty
    QString journal; ///< file for the journal; none when empty
};

/// A device, the line that it hangs on and the link to the line's port.
class Station : public QObject
{
    Q_OBJECT

public:
    /// The line is not there before open().
    explicit Station(const StationOptions &options, QObject *parent = nullptr);
    ~Station() override;

    /// Opens journal and line and sets the link; false with the reason in @p error. Serves as well
    /// to open a new line after a hang-up.
    bool open(QString &error);

    /// The line goes dead at once.
    void hangUp();

    /// Lets go of what a killed client has left of itself on the line.
    void release() { m_wire.release(); }

    /// The line: whether it is there, and its path for clients.
    bool isConnected() const { return m_wire.isOpen(); }
    QString path() const { return m_wire.path(); }

    /// The device; lives as long as this.
    Device &device() { return m_device; }

private:
    bool setLink(QString &error);

    StationOptions m_options;
    Device m_device;
    Wire m_wire;
    Journal m_journal;
    QString m_linkTarget;
};

} // namespace Simulator
