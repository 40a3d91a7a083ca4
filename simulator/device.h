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

/// A whole transmitter: hands the bytes from the line to the console or the bootloader, whichever
/// runs, and what they say to the line. Knows nothing of ports or of time on the wire.
class Device : public QObject
{
    Q_OBJECT

public:
    /// What of the device is running.
    enum class Mode { Console, Resetting, Bootloader, Starting };

    /// Switched on, with its firmware running.
    explicit Device(const DeviceOptions &options, QObject *parent = nullptr);

    /// Takes @p bytes from the line. While a command takes its time they wait; while the device is
    /// being reset they are lost.
    void receive(const QByteArray &bytes);

    /// Power off and on: the bootloader greets, then the firmware starts.
    void powerCycle();

    /// Adds a fault, see Faults::add. Raw bytes are counted anew from here.
    bool addFault(const QByteArray &text, QByteArray &error);

    /// A new line has taken the place of one that went dead.
    void lineRestored();

    /// What it is doing; isBusy() while a command takes its time.
    Mode mode() const { return m_mode; }
    bool isBusy() const { return m_console.isBusy(); }

    /// Its parts, which live as long as this.
    DeviceState &state() { return m_state; }
    Faults &faults() { return m_faults; }
    Bootloader &bootloader() { return m_bootloader; }

signals:
    /// Bytes for the line; @p gapMs is the gap behind each byte when sent singly.
    void transmit(const QByteArray &bytes, Simulator::Delivery delivery, int gapMs);
    /// The line goes dead once what has been transmitted is out.
    void hangUp();
    /// Something for the journal.
    void happened(const QByteArray &event);

private:
    void process();
    void send(const QByteArray &bytes, Delivery delivery, int gapMs);
    void onResetting();
    void startFirmware();
    void onRawBytes(int bytes);
    void onHangUpAfter(int bytes);
    void onChatterTimer();
    void keepImage(const QByteArray &image);

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
    bool m_lineDead = false;
    int m_bytesToHangUp = -1; ///< bytes to the line until it goes dead, -1 for never
    int m_rawBytes = 0; ///< raw bytes taken since a fault was added
    quint64 m_chatterCount = 0;
};

} // namespace Simulator
