// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/uicoveragerecorder.h"

#include <QtGui/QScreen>
#include <QtTest/QTest>
#include <QtWidgets/QWidget>

/// Takes a picture of @p window with its frame, for the folder that the environment's
/// KV_SCREENSHOTS names; without it, none. The event loop runs on while the window gets there.
inline void takePicture(QWidget *window)
{
    constexpr int exposeMs = 500;
    constexpr int frameMs = 300;
    constexpr int paintMs = 40;
    static int number = 0;
    const QString folder = QString::fromLocal8Bit(qgetenv("KV_SCREENSHOTS"));
    if (folder.isEmpty() || !window->isVisible()
        || !QTest::qWaitForWindowExposed(window, exposeMs)) {
        return;
    }
    // A frame may never come. The window manager and the painter are processes and events of their
    // own.
    (void)QTest::qWaitFor([=] { return window->frameGeometry() != window->geometry(); }, frameMs);
    QTest::qWait(paintMs);
    const QRect frame = window->frameGeometry();
    const QString name =
        QStringLiteral("%1/%2-%3-%4.png")
            .arg(folder, Eyewitness::scenario().replace(QLatin1String("::"), QLatin1String("-")))
            .arg(++number, 3, 10, QLatin1Char('0'))
            .arg(Eyewitness::nameOf(window));
    window->screen()->grabWindow(0, frame.x(), frame.y(), frame.width(), frame.height()).save(name);
}
