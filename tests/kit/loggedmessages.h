// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QStringList>
#include <QtCore/QtGlobal>
#include <functional>

/// Runs @p steps and returns the messages that they log, which are not printed. A warning begins
/// with "warning: ".
inline QStringList messagesLoggedBy(const std::function<void()> &steps)
{
    static QStringList lines;
    lines.clear();
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &line) {
            lines << (type == QtWarningMsg ? QStringLiteral("warning: ") : QString()) + line;
        });
    steps();
    qInstallMessageHandler(previous);
    return lines;
}
