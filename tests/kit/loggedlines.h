// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QStringList>
#include <QtCore/QtGlobal>
#include <functional>

/// The lines that @p steps log, which are not printed then; a warning begins with "warning: ".
inline QStringList linesLoggedBy(const std::function<void()> &steps)
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
