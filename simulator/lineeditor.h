// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>

namespace Simulator {

/// The console's line editor: turns typed bytes into an echo and complete lines.
///
/// A line ends with CR, LF or CR LF; an LF right after a CR belongs to it, whatever is
/// expected by then. Backspace and delete remove the last byte, other control bytes are ignored.
class LineEditor
{
public:
    static constexpr int maximumLength = 255; ///< bytes; further ones are lost

    /// True when @p byte is the LF of a CR LF whose CR has ended the line already; to be called for
    /// every byte, including those that don't go into the line.
    bool isSecondOfCrLf(char byte);

    /// Adds a byte to the line and returns what to echo. When the line is complete isComplete() is
    /// true.
    QByteArray type(char byte);

    /// Whether takeLine() has a complete line.
    bool isComplete() const { return m_complete; }

    /// The complete line; the next begins empty.
    QByteArray takeLine();

    /// Discards the incomplete line.
    void clear() { *this = LineEditor(); }

private:
    QByteArray m_line;
    bool m_complete = false;
    bool m_afterCarriageReturn = false;
};

} // namespace Simulator
