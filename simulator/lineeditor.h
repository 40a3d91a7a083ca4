// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>

namespace Simulator {

/// The console's line editor: turns typed bytes into an echo and complete lines.
///
/// A line ends with CR, LF or CR LF; an LF directly after a CR belongs to the same line end, even
/// if raw bytes are expected after the CR. Backspace and delete remove the last byte, other control
/// bytes are ignored.
class LineEditor
{
public:
    static constexpr int maximumLength = 255; ///< bytes; further ones are ignored

    /// Whether @p byte is the LF of a CR LF whose CR has already ended the line. Must be called for
    /// every byte, including raw ones.
    bool isSecondOfCrLf(char byte);

    /// Adds @p byte to the line and returns the echo.
    QByteArray type(char byte);

    /// Whether the line is complete.
    bool isComplete() const { return m_complete; }

    /// Returns the complete line and begins a new one.
    QByteArray takeLine();

    /// Discards the incomplete line.
    void clear() { *this = LineEditor(); }

private:
    QByteArray m_line;
    bool m_complete = false;
    bool m_afterCarriageReturn = false;
};

} // namespace Simulator
