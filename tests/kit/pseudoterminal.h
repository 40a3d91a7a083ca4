// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/pseudoterminal.h"

#include <termios.h>

/// The device's end of a pseudo-terminal without a device: the test itself reads and writes. The
/// tool opens path().
class PseudoTerminal
{
public:
    PseudoTerminal()
    {
        QString error;
        if (m_terminal.open(error)) {
            m_terminal.setReading(false);
            // Each of these settings differs from the one that the tool sets.
            termios settings = lineSettings();
            settings.c_iflag |= IXON | IXOFF | ICRNL;
            settings.c_lflag |= ICANON;
            settings.c_cflag |= CSTOPB | CRTSCTS;
            ::cfsetspeed(&settings, B9600);
            ::tcsetattr(m_terminal.descriptor(), TCSANOW, &settings);
        }
    }

    /// Empty if no pseudo-terminal was available.
    QString path() const { return m_terminal.path(); }

    /// Sends @p bytes in one write; false if not all of them were accepted.
    bool write(const QByteArray &bytes) { return m_terminal.write(bytes) == bytes.size(); }

    /// What has arrived since the last call, without waiting.
    QByteArray read() { return m_terminal.read(); }

    /// The line settings, which the program that opens path() sets.
    termios lineSettings() const
    {
        termios settings = {};
        ::tcgetattr(m_terminal.descriptor(), &settings);
        return settings;
    }

    /// Closes the device's end.
    void hangUp() { m_terminal.close(); }

private:
    Simulator::PseudoTerminal m_terminal;
};
