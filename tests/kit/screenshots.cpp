// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/screenshots.h"

#include "tests/kit/uicoveragerecorder.h"

#include <QtGui/QPixmap>
#include <QtGui/QScreen>
#include <QtTest/QTest>
#include <QtWidgets/QWidget>

void takeScreenshot(QWidget *window)
{
    constexpr int exposeMs = 500;
    static int number = 0;
    const QString folder = QString::fromLocal8Bit(qgetenv("KV_SCREENSHOTS"));
    if (folder.isEmpty() || !window->isVisible()
        || !QTest::qWaitForWindowExposed(window, exposeMs)) {
        return;
    }
    const QString scenario =
        UiCoverageRecorder::scenario().replace(QLatin1String("::"), QLatin1String("-"));
    saveScreenshot(window,
                   QStringLiteral("%1/%2-%3-%4.png")
                       .arg(folder, scenario)
                       .arg(++number, 3, 10, QLatin1Char('0'))
                       .arg(UiCoverageRecorder::nameOf(window)));
}

void saveScreenshot(const QWidget *window, const QString &path, int frameMs, int paintMs)
{
    (void)QTest::qWaitFor([=] { return window->frameGeometry() != window->geometry(); }, frameMs);
    QTest::qWait(paintMs);
    const QRect frame = window->frameGeometry();
    window->screen()->grabWindow(0, frame.x(), frame.y(), frame.width(), frame.height()).save(path);
}
