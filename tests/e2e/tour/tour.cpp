// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/tour.h"

#include <QtCore/QProcess>
#include <QtCore/QTextStream>
#include <QtGui/QScreen>
#include <QtGui/QWindow>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTableWidget>

Tour::Tour(DemoTool &tool, const QString &folder)
    : m_tool(tool)
    , m_window(tool.window())
    , m_device(tool.device())
    , m_folder(folder)
    , m_log(file(QStringLiteral("steps.log")))
{
    m_log.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text);
    m_dialogs.onDialogShown = [this](QDialog *shown) {
        const QString name = m_dialogPictures.isEmpty() ? QString() : m_dialogPictures.takeFirst();
        if (!name.isEmpty()) {
            picture(name, shown);
        }
    };
}

bool Tour::run()
{
    m_window.show();
    return QTest::qWaitForWindowExposed(&m_window) && meetAPortThatDoesNotOpen()
        && connectAndMeasure() && watchTheState() && changeASetting() && readTheLog()
        && cancelALongJob() && clearTheLog() && setTheClock() && keepTheSettings()
        && updateTheFirmware() && lookBack() && exportAPeriod() && disconnectAndCheckTheStore();
}

void Tour::say(const QString &line)
{
    QTextStream(stdout) << line << '\n';
    QTextStream(&m_log) << line << '\n';
    m_log.flush();
}

bool Tour::step(const QString &what, const std::function<bool()> &works)
{
    m_dialogs.reset();
    m_dialogPictures.clear();
    const bool worked = works();
    const QString complaint = m_dialogs.complaint();
    const bool passed = worked && complaint.isEmpty();
    say(QStringLiteral("%1 %2 ... %3")
            .arg(++m_number, 2)
            .arg(what, passed ? QStringLiteral("ok") : QStringLiteral("FAILED ") + complaint));
    if (!passed) {
        picture(QStringLiteral("failed"));
    }
    return passed;
}

void Tour::click(const char *buttonName)
{
    QTest::mouseClick(m_window.findChild<QPushButton *>(QLatin1String(buttonName)), Qt::LeftButton);
}

void Tour::picture(const QString &name, QWidget *window)
{
    QWidget *const shown = window ? window : &m_window;
    // The frame holds the title, and with it what a wait dialog waits for.
    waitUntil([shown] { return shown->frameGeometry() != shown->geometry(); });
    QTest::qWait(300); // the window manager and the painter are processes and events of their own
    const QRect frame = shown->frameGeometry();
    const QString path =
        file(QStringLiteral("%1-%2.png").arg(++m_pictures, 2, 10, QLatin1Char('0')).arg(name));
    shown->screen()->grabWindow(0, frame.x(), frame.y(), frame.width(), frame.height()).save(path);
}

void Tour::pictureDialogs(const QStringList &names)
{
    m_dialogPictures = names;
}

bool Tour::waitUntil(const std::function<bool()> &condition, int timeoutMs)
{
    return QTest::qWaitFor(condition, timeoutMs);
}

QWidget *Tour::dialog(const char *name)
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (widget->objectName() == QLatin1String(name)) {
            return widget;
        }
    }
    return nullptr;
}

QString Tour::file(const QString &name) const
{
    return m_folder + QLatin1Char('/') + name;
}

QStringList Tour::sqlite(const QString &query)
{
    QProcess client;
    client.start(QStringLiteral("sqlite3"),
                 {QStringLiteral("-readonly"), m_tool.storePath(), query});
    client.waitForFinished();
    const QString output = QString::fromUtf8(client.readAllStandardOutput()).trimmed();
    return output.isEmpty() ? QStringList() : output.split(QLatin1Char('\n'));
}
