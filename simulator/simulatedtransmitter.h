// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/device.h"
#include "simulator/deviceoptions.h"
#include "simulator/eventlog.h"
#include "simulator/serialline.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>

namespace Simulator {

/// Options of the simulated transmitter.
struct TransmitterOptions
{
    DeviceOptions device; ///< the device on the line
    int rate = 115200; ///< bits per second, 0 for no delay
    QString link; ///< symbolic link to the port's path; none if empty
    QString eventLog; ///< file for the event log; none if empty
};

/// A simulated device, its serial line and the symbolic link to the line's port.
class SimulatedTransmitter : public QObject
{
    Q_OBJECT

public:
    /// The line is closed until open().
    explicit SimulatedTransmitter(const TransmitterOptions &options, QObject *parent = nullptr);
    ~SimulatedTransmitter() override;

    /// Opens a new line, also after a hang-up, and creates the link. Returns false, with the reason
    /// in @p error, if that fails.
    bool open(QString &error);

    /// Hangs up the line immediately.
    void hangUp();

    /// Ends the exclusive use of the port by a killed client, see PseudoTerminal::release().
    void release() { m_line.release(); }

    /// Whether the line is open, and its path for clients.
    /// @{
    bool isConnected() const { return m_line.isOpen(); }
    QString path() const { return m_line.path(); }
    /// @}

    /// The device; valid as long as this object.
    Device &device() { return m_device; }

private:
    bool setLink(QString &error);

    TransmitterOptions m_options;
    Device m_device;
    SerialLine m_line;
    EventLog m_eventLog;
    QString m_linkTarget;
};

} // namespace Simulator
