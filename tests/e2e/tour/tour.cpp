// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/e2e/tour/tour.h"

#include "demo/startdemo.h"
#include "tests/kit/screenshots.h"

#include <QtCore/QDir>
#include <QtCore/QTextStream>

Tour::Tour(const QString &folder)
    : m_log(folder + QLatin1String("/steps.log"))
{
    QDir files(folder);
    const QStringList own{QStringLiteral("[0-9][0-9]-*.png"), QStringLiteral("device.state"),
                          QStringLiteral("firmware.bin"),     QStringLiteral("log.csv"),
                          QStringLiteral("measurements.*"),   QStringLiteral("received.bin")};
    const QStringList old = files.entryList(own, QDir::Files);
    for (const QString &name : old) {
        files.remove(name);
    }
    m_log.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text);
    beginCase(folder);
    dialogs().onDialogShown = [this](QDialog *shown) {
        const QString name = m_dialogPictures.isEmpty() ? QString() : m_dialogPictures.takeFirst();
        if (!name.isEmpty()) {
            picture(name, shown);
        }
    };
}

bool Tour::run()
{
    const struct
    {
        const char *what;
        bool (Tour::*step)();
    } steps[] = {
        {"Try a port that does not open; the tool says so", &Tour::refusePort},
        {"Press Connect", &Tour::connectToDevice},
        {"The device's identity is shown", &Tour::compareIdentity},
        {"The first reading arrives and the table shows it", &Tour::compareTable},
        {"The store has the same values", &Tour::compareStore},
        {"The device is no longer ready: the readings turn red", &Tour::loseReadiness},
        {"It is ready again", &Tour::regainReadiness},
        {"Type a new altitude; the device has it", &Tour::typeAltitude},
        {"Type one out of range; Synchronize shows what the device made of it",
         &Tour::typeAltitudeOutOfRange},
        {"Correct it", &Tour::correctAltitude},
        {"Read the log into a CSV file; the bar moves", &Tour::readLog},
        {"Every row of the file is the device's", &Tour::compareLog},
        {"Cancel the reading of a long log half-way", &Tour::cancelLog},
        {"The tool works on", &Tour::continueAfterCancel},
        {"Clear the log; the device's is empty", &Tour::clearLog},
        {"Set the device's clock to UTC", &Tour::setClock},
        {"Write the settings to the device's memory", &Tour::writeSettings},
        {"Restart the device; the settings are still there", &Tour::restartDevice},
        {"Update the firmware with an image of 64 KiB and 5 bytes", &Tour::updateFirmware},
        {"The device received it byte for byte", &Tour::compareImage},
        {"Connect again; the settings are still there", &Tour::connectAfterUpdate},
        {"Open the graph on the last day and tick two measurements", &Tour::openGraph},
        {"Change the unit; the list says °F or °C accordingly", &Tour::changeUnit},
        {"Show a shorter period that ends in the past", &Tour::shortenPeriod},
        {"Close it and open it again; it is as it was", &Tour::reopenGraph},
        {"Export two hours of one measurement to CSV", &Tour::exportPeriod},
        {"The file has the rows of the database, and no other", &Tour::compareExport},
        {"Press Disconnect", &Tour::disconnectFromDevice},
        {"The database is sound and has a value for each reading", &Tour::checkDatabase},
    };
    bool passed = start();
    for (const auto &step : steps) {
        passed = passed && runStep(step.what, step.step);
    }
    print((passed ? text("Every step worked") : text("The tour stopped at a step that failed"))
          + text("; files and pictures are in ") + folder());
    if (m_tool) {
        window().close();
    }
    endTool();
    return passed;
}

bool Tour::start()
{
    m_tool = std::make_unique<Tool>();
    if (!startDemo(tool(), device(), folder())) {
        return false;
    }
    window().show();
    window().activateWindow();
    return QTest::qWaitForWindowActive(&window());
}

bool Tour::runStep(const char *what, bool (Tour::*step)())
{
    dialogs().reset();
    m_dialogPictures.clear();
    const bool worked = (this->*step)();
    const QString complaint = dialogs().complaint();
    const bool passed = worked && complaint.isEmpty();
    print(text("%1 %2 ... %3")
              .arg(++m_steps, 2)
              .arg(text(what), passed ? text("ok") : text("FAILED ") + complaint));
    if (!passed) {
        picture(text("failed"));
    }
    return passed;
}

void Tour::print(const QString &line)
{
    QTextStream(stdout) << line << '\n';
    QTextStream(&m_log) << line << '\n';
    m_log.flush();
}

void Tour::picture(const QString &name, QWidget *shown)
{
    // For the documentation: more time for window manager and painter than a test needs.
    constexpr int frameMs = 5000;
    constexpr int paintMs = 300;
    const QString path =
        file(text("%1-%2.png").arg(++m_pictures, 2, 10, QLatin1Char('0')).arg(name));
    saveScreenshot(shown ? shown : &window(), path, frameMs, paintMs);
}
