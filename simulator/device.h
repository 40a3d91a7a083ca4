// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/bootloader.h"
#include "simulator/delivery.h"
#include "simulator/deviceconsole.h"
#include "simulator/deviceoptions.h"
#include "simulator/devicestate.h"
#include "simulator/faults.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QTimer>

namespace Simulator {

/// The whole device: passes bytes from the line to the console or the bootloader, whichever is
/// running, and their replies to the line. Does not depend on the port or on the line's speed.
class Device : public QObject
{
    Q_OBJECT

public:
    /// What the device is doing.
    enum class Mode { Console, Resetting, Bootloader, Starting };

    /// Starts with the firmware running.
    explicit Device(const DeviceOptions &options, QObject *parent = nullptr);

    /// Receives @p bytes from the line. During a long-running command they wait; during a restart
    /// they are lost.
    void receive(const QByteArray &bytes);

    /// Switches the device off and on: the bootloader starts, then the firmware.
    void powerCycle();

    /// Adds a fault, see Faults::add(), and restarts the count of raw bytes.
    bool addFault(const QByteArray &text, QByteArray &error);

    /// To be called when a new line has replaced one that was hung up.
    void lineRestored();

    /// What the device is doing; isBusy() is true during a long-running command.
    /// @{
    Mode mode() const { return m_mode; }
    bool isBusy() const { return m_console.isBusy(); }
    /// @}

    /// Parts of the device, valid as long as this object.
    /// @{
    DeviceState &state() { return m_state; }
    Faults &faults() { return m_faults; }
    Bootloader &bootloader() { return m_bootloader; }
    /// @}

signals:
    /// Bytes for the line; @p gapMs is the pause after each byte with Delivery::SingleBytes.
    void transmit(const QByteArray &bytes, Simulator::Delivery delivery, int gapMs);
    /// The line must hang up after it has sent everything.
    void hangUp();
    /// An event for the event log.
    void eventOccurred(const QByteArray &event);

private:
    void process();
    void send(const QByteArray &bytes, Delivery delivery, int gapMs);
    void onResetting();
    void startFirmware();
    void onRawBytesReceived(int bytes);
    void onHangUpAfter(int bytes);
    void onChatterTimer();
    void saveImage(const QByteArray &image);

    DeviceOptions m_options;
    Faults m_faults;
    DeviceState m_state;
    DeviceConsole m_console;
    Bootloader m_bootloader;
    Mode m_mode = Mode::Console;
    QTimer m_modeTimer;
    QTimer m_chatterTimer;
    QByteArray m_input;
    bool m_processing = false;
    bool m_lineClosed = false;
    int m_bytesToHangUp = -1; ///< bytes to send until the line hangs up, -1 for never
    int m_rawBytes = 0; ///< raw bytes received since a fault was added
    quint64 m_chatterCount = 0;
};

} // namespace Simulator
