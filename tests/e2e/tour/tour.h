// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/toolfixture.h"

#include <QtCore/QStringList>

/// The tool's main jobs in one go, by mouse and keys at the real windows, each compared with the
/// device, the store and the files. Prints each step and takes pictures of the windows.
class Tour : public ToolFixture
{
public:
    /// @p folder is for the pictures, the log of steps and the files that the tool writes. What an
    /// earlier tour has left there is removed.
    explicit Tour(const QString &folder);

    /// Runs the steps up to the first one that fails; true when all worked.
    bool run();

private:
    bool start();
    bool runStep(const char *what, bool (Tour::*step)());
    void print(const QString &line);
    void picture(const QString &name, QWidget *window = nullptr);

    /// Takes pictures of the next dialogs under these names; an empty name takes none.
    void pictureDialogs(const QStringList &names) { m_dialogPictures = names; }

    bool saysState(const char *text);
    bool deviceHasAltitude(const char *value);
    QWidget *graph() { return topLevel("MeasurementGraph"); }
    QDateTimeEdit *graphDate(const char *name);

    // The steps, in this order.
    bool refusePort();
    bool connectToDevice();
    bool compareIdentity();
    bool compareTable();
    bool compareStore();
    bool loseReadiness();
    bool regainReadiness();
    bool typeAltitude();
    bool typeAltitudeOutOfRange();
    bool correctAltitude();
    bool readLog();
    bool compareLog();
    bool cancelLog();
    bool continueAfterCancel();
    bool clearLog();
    bool setClock();
    bool writeSettings();
    bool restartDevice();
    bool updateFirmware();
    bool compareImage();
    bool connectAfterUpdate();
    bool openGraph();
    bool changeUnit();
    bool shortenPeriod();
    bool reopenGraph();
    bool exportPeriod();
    bool compareExport();
    bool disconnectFromDevice();
    bool checkDatabase();

    QFile m_log;
    QByteArray m_image; ///< of the firmware
    QDateTime m_graphFrom;
    QDateTime m_exportFrom;
    QStringList m_dialogPictures;
    int m_steps = 0;
    int m_pictures = 0;
};
