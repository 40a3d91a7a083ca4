// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/delivery.h"
#include "simulator/deviceoptions.h"
#include "simulator/devicestate.h"
#include "simulator/faults.h"
#include "simulator/lineeditor.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QTimer>
#include <functional>

namespace Simulator {

/// The firmware's console: echo, commands, replies, prompt.
class DeviceConsole : public QObject
{
    Q_OBJECT

public:
    /// Uses @p state and @p faults, which must outlive it.
    DeviceConsole(DeviceState &state, Faults &faults, const DeviceOptions &options,
                  QObject *parent = nullptr);

    /// Starts the firmware: self-test, banner, prompt.
    void boot();

    /// Discards all input and the running command, like a reset of the processor.
    void reset();

    /// True during a long-running command; bytes must wait until idle().
    bool isBusy() const { return m_pause.isActive(); }

    /// True if no command is running, so that debug output is possible.
    bool isAtPrompt() const { return !isBusy() && m_block < 0; }

    /// Receives one byte. Must not be called while isBusy() is true.
    void feed(char byte);

signals:
    /// Bytes for the line; @p gapMs is the pause after each byte with Delivery::SingleBytes.
    void output(const QByteArray &bytes, Simulator::Delivery delivery, int gapMs);
    /// A long-running command has ended.
    void idle();
    /// The restart has been announced; the console neither reads nor writes from now on.
    void resetting();
    /// @p bytes raw bytes of a memory block have been received.
    void rawBytesReceived(int bytes);
    /// The line must hang up after @p bytes more bytes from the device.
    void hangUpAfter(int bytes);
    /// An event for the event log.
    void eventOccurred(const QByteArray &event);

private:
    using Handler = void (DeviceConsole::*)(const QByteArray &arguments);
    struct Command
    {
        const char *word;
        Handler handler;
    };
    static const Command commands[];

    void beginExchange(const QByteArray &line);
    void execute(const QByteArray &line);
    void endExchange();
    void pause(int ms, const std::function<void()> &next);
    void write(const QByteArray &bytes);
    void reply(const QByteArray &text);
    void replyAndEnd(const QByteArray &text);
    QByteArray withFaults(const QByteArray &text);

    void show(const QByteArray &arguments);
    void set(const QByteArray &arguments);
    void date(const QByteArray &arguments);
    void log(const QByteArray &arguments);
    void storeSettings(const QByteArray &arguments);
    void loadDefaults(const QByteArray &arguments);
    void eeprom(const QByteArray &arguments);
    void reboot(const QByteArray &arguments);
    void help(const QByteArray &arguments);

    QByteArray modelName();
    QByteArray logLine(int index);
    void readBlock(int index);
    void receiveBlockByte(char byte);
    void abandonBlock();

    DeviceState &m_state;
    Faults &m_faults;
    DeviceOptions m_options;
    LineEditor m_editor;
    QTimer m_pause;
    QTimer m_blockIdle;
    std::function<void()> m_next;
    int m_block = -1; ///< memory block whose raw bytes are being received, -1 for none
    QByteArray m_blockData;
    bool m_suppressReplies = false; ///< the current exchange gets no reply
    int m_gapMs = -1; ///< pause between the single bytes of the current reply, -1 for none
    bool m_faultsApplied = false; ///< the faults of the current reply have been applied
    int m_heldExchanges = 0; ///< exchanges until the held-back output is sent
    QByteArray m_held;
};

} // namespace Simulator
