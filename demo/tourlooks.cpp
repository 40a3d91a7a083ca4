// SPDX-License-Identifier: GPL-3.0-or-later
// Another walk: each window at its own size, as small as it goes and maximised.
#include "demo/cuttexts.h"
#include "demo/tour.h"

#include <QtTest/QTest>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDialog>
#include <QtWidgets/QPushButton>

bool Tour::showLooks()
{
    m_window.show();
    return QTest::qWaitForWindowExposed(&m_window)
        && step(QStringLiteral("Connect and wait for a reading"),
                [this] {
                    return connectByClick()
                        && waitUntil([this] { return tableShowsTheDevicesValues(); });
                })
        && step(QStringLiteral("The main window"),
                [this] { return pose(QStringLiteral("main"), &m_window); })
        && step(QStringLiteral("The graph"),
                [this] {
                    click("buttonShowGraph");
                    QWidget *const graph = dialog("MeasurementGraph");
                    if (!QTest::qWaitForWindowExposed(graph)) {
                        return false;
                    }
                    graph->findChild<QDateTimeEdit *>(QStringLiteral("fromDateTimeEdit"))
                        ->setDateTime(QDateTime::currentDateTime().addDays(-1));
                    tickTypes({QStringLiteral("W0"), QStringLiteral("W1")});
                    const bool posed = pose(QStringLiteral("graph"), graph);
                    graph->close();
                    return posed;
                })
        && step(QStringLiteral("The export"),
                [this] {
                    return poseDialog(QStringLiteral("export"),
                                      QStringLiteral("Select measurements to export"),
                                      [this] { click("exportLocalMeasurementsButton"); });
                })
        && step(QStringLiteral("The wait dialog"),
                [this] {
                    const QString text = QStringLiteral("Updating firmware, please wait.");
                    return poseDialog(QStringLiteral("wait"), text, [this, text] {
                        m_window.showWaitDialog(WaitDialogReason::NoReason, text);
                    });
                })
        && step(QStringLiteral("Press Disconnect"), [this] { return disconnectByClick(); })
        && step(QStringLiteral("Nothing was cut"), [this] { return m_cut.isEmpty(); });
}

bool Tour::pose(const QString &name, QWidget *window)
{
    const auto look = [this, name, window](const QString &size) {
        const QString title = name + QLatin1Char('-') + size;
        picture(title, window);
        const QStringList cut = cutTexts(window);
        for (const QString &one : cut) {
            say(QStringLiteral("   %1: %2").arg(title, one));
        }
        m_cut.append(cut);
    };
    look(QStringLiteral("own"));
    const QSize least = window->minimumSizeHint().expandedTo(window->minimumSize());
    window->resize(least);
    if (!waitUntil([window, least] { return window->size() == least; })) {
        return false;
    }
    look(QStringLiteral("small"));
    window->showMaximized();
    if (!waitUntil(
            [window, least] { return window->isMaximized() && window->width() > least.width(); })) {
        return false;
    }
    look(QStringLiteral("maximised"));
    window->showNormal();
    return waitUntil([window] { return !window->isMaximized(); });
}

bool Tour::poseDialog(const QString &name, const QString &title, const std::function<void()> &open)
{
    bool posed = false;
    m_dialogs.answerDialog(title, [this, name, &posed](QDialog *shown) {
        posed = pose(name, shown);
        shown->reject();
    });
    open();
    return posed;
}
