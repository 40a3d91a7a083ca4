// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "demo/demotool.h"
#include "tests/kit/dialogdriver.h"

#include <QtCore/QFile>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtWidgets/QWidget>
#include <functional>

/// Walks the tool's main jobs as a person would, by mouse and keys on the real window, and checks
/// each against the device, the store and the files. Prints each step and takes pictures on the
/// way.
class Tour
{
public:
    /// @p folder takes the pictures, the log of steps and the files that the tool writes.
    Tour(DemoTool &tool, const QString &folder);

    /// Walks from the first connect to the last disconnect; stops at the first step that fails.
    bool run();

    /// Poses each window at its own size, as small as it goes and maximised, with a picture of
    /// each. False when something is cut; what it was stands in the steps.
    bool showLooks();

private:
    // The walk, in this order.
    bool meetAPortThatDoesNotOpen();
    bool connectAndMeasure();
    bool watchTheState();
    bool changeASetting();
    bool readTheLog();
    bool cancelALongJob();
    bool clearTheLog();
    bool setTheClock();
    bool keepTheSettings();
    bool updateTheFirmware();
    bool lookBack();
    bool exportAPeriod();
    bool disconnectAndCheckTheStore();

    // The other walk.
    bool pose(const QString &name, QWidget *window);
    bool poseDialog(const QString &name, const QString &title, const std::function<void()> &open);

    // One step: prints @p what and whether @p works was true, and that each dialog was as prepared.
    bool step(const QString &what, const std::function<bool()> &works);
    void say(const QString &line);

    // Hands and eyes.
    void click(const char *buttonName);
    void picture(const QString &name, QWidget *window = nullptr);
    /// The next dialogs are pictured under these names as they come up; an empty name passes one.
    void pictureDialogs(const QStringList &names);
    bool waitUntil(const std::function<bool()> &condition, int timeoutMs = 5000);
    bool isConnected();
    QString fieldText(const char *name);
    int settingRow(const QString &alias);
    QString settingText(const QString &alias);
    void beginTyping(const QString &alias, const QString &value);
    void typeSetting(const QString &alias, const QString &value);
    bool connectByClick();
    bool disconnectByClick();
    QWidget *dialog(const char *name);
    void tickTypes(const QStringList &names);
    QStringList tickedTypes();

    // Witnesses.
    QString file(const QString &name) const;
    QStringList sqlite(const QString &query);
    bool tableShowsTheDevicesValues();
    bool storeHoldsTheDevicesValues();
    bool csvEqualsStore(const QString &csv, const QString &query);

    DemoTool &m_tool;
    MainWindow &m_window;
    DemoDevice &m_device;
    DialogDriver m_dialogs;
    QString m_folder;
    QFile m_log;
    QStringList m_dialogPictures;
    QStringList m_cut;
    int m_number = 0;
    int m_pictures = 0;
};
