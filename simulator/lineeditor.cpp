// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/lineeditor.h"

namespace Simulator {

bool LineEditor::isSecondOfCrLf(char byte)
{
    const bool second = m_afterCarriageReturn && byte == '\n';
    m_afterCarriageReturn = false;
    return second;
}

QByteArray LineEditor::type(char byte)
{
    constexpr char backspace = '\b';
    constexpr char deletion = '\x7f';
    if (byte == '\r' || byte == '\n') {
        m_afterCarriageReturn = byte == '\r';
        m_complete = true;
        return QByteArrayLiteral("\r\n");
    }
    if (byte == backspace || byte == deletion) {
        if (m_line.isEmpty()) {
            return QByteArray();
        }
        m_line.chop(1);
        return QByteArrayLiteral("\b \b");
    }
    const bool control = static_cast<unsigned char>(byte) < ' ';
    if (control || m_line.size() >= maximumLength) {
        return QByteArray();
    }
    m_line += byte;
    return QByteArray(1, byte);
}

QByteArray LineEditor::takeLine()
{
    QByteArray line = m_line;
    m_line.clear();
    m_complete = false;
    return line;
}

} // namespace Simulator
