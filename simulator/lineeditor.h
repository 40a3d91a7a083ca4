// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>

namespace Simulator {

/// The console's typing line: turns typed bytes into echo and complete lines.
///
/// A line ends with CR, LF or CR LF; an LF right behind a CR belongs to it, whatever is waited for
/// by then. Backspace and delete take the last byte back, other control bytes are ignored.
class LineEditor
{
public:
    static constexpr int maximumLength = 255; ///< bytes; what is typed beyond is lost

    /// True when @p byte is the LF of a CR LF whose CR has ended the line already; to be asked for
    /// every byte, also for those that are not typed into the line.
    bool swallows(char byte);

    /// Takes a byte and returns what to echo. When the line is complete isComplete() is true.
    QByteArray type(char byte);

    /// Whether takeLine() has a line to give.
    bool isComplete() const { return m_complete; }

    /// The complete line; the next begins empty.
    QByteArray takeLine();

    /// Forgets what was typed.
    void clear() { *this = LineEditor(); }

private:
    QByteArray m_line;
    bool m_complete = false;
    bool m_afterCarriageReturn = false;
};

} // namespace Simulator
