// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "control/mainwindowcontroller.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/fakemainwindow.h"
#include "tests/kit/fakeserialporthandler.h"
#include "tests/kit/fakesettings.h"
#include "tests/kit/fileio.h"
#include "tests/kit/stringliterals.h"

#include <QtCore/QFile>

/// A controller with fake collaborators, in a working folder with a settings.xml of two models.
///
/// The calls to all fakes, the settings that are written and the debug messages are recorded in one
/// list, so that each comparison with it checks their order and that nothing else happened. Only
/// one fixture can exist at a time.
struct ControllerFixture
{
    ControllerFixture()
    {
        writeModels(R"(<Device name="KVT-2"><Configuration><ConfigurationItemGroup group="g">
<ConfigurationItem type="int" min="0" max="9" name="Two" alias="two"/>
</ConfigurationItemGroup></Configuration>
<Measurements><Measurement name="T" type="air temperature" unit="c"/></Measurements></Device>
<Device name="KVT-1"><Configuration><ConfigurationItemGroup group="g">
<ConfigurationItem type="int" min="0" max="9" name="One" alias="one"/>
</ConfigurationItemGroup></Configuration>
<Measurements><Measurement name="O3" displayName="Ozone" type="pollutant" unit="ppb" conversionMultiplier="0.5"/>
<Measurement name="T" displayName="Temperature" type="air temperature" unit="c"/></Measurements></Device>)");
        handler.currentPortName = text("ttyOLD");
        const auto record = [this](const QString &call) {
            calls.append(call);
            if (duringCall) {
                duringCall(call);
            }
        };
        window.onCall = record;
        handler.onCall = record;
        settings.onWrite = record;
        storage.onCall = record;
        debugMessages = &calls;
        previousHandler = qInstallMessageHandler(handleMessage);
    }

    ~ControllerFixture()
    {
        qInstallMessageHandler(previousHandler);
        QFile::remove(text("settings.xml"));
    }
    Q_DISABLE_COPY(ControllerFixture)

    static bool writeModels(const QByteArray &devices)
    {
        return FileIo::write(text("settings.xml"),
                             "<KVTConfig><Devices>" + devices + "</Devices></KVTConfig>");
    }

    /// Returns and removes what has been recorded, separated by '|'.
    QString takeCalls()
    {
        const QString recorded = calls.join(QLatin1Char('|'));
        calls.clear();
        return recorded;
    }

    /// The controller's running timers, the measurement timer first.
    QList<const QTimer *> runningTimers() const
    {
        QList<const QTimer *> timers;
        for (const QTimer *timer : controller.findChildren<QTimer *>()) {
            if (timer->isActive()) {
                timers.append(timer);
            }
        }
        return timers;
    }

    /// The intervals of runningTimers(), in ms.
    QList<int> timerIntervals() const
    {
        QList<int> intervals;
        for (const QTimer *timer : runningTimers()) {
            intervals.append(timer->interval());
        }
        return intervals;
    }

    QStringList calls;
    std::function<void(const QString &call)> duringCall; ///< runs during each recorded call
    FakeMainWindow window;
    FakeSerialPortHandler handler;
    FakeSettings settings;
    FakeLocalStorage storage;
    MainWindowController controller{&window, &handler, &settings, &storage, nullptr};

private:
    static void handleMessage(QtMsgType type, const QMessageLogContext &context,
                              const QString &message)
    {
        if (type == QtDebugMsg) {
            debugMessages->append(text("log ") + message);
        } else {
            previousHandler(type, context, message);
        }
    }

    inline static QStringList *debugMessages = nullptr;
    inline static QtMessageHandler previousHandler = nullptr;
};

/// A fixture whose controller has been started.
struct StartedController : ControllerFixture
{
    StartedController()
    {
        if (!controller.start()) {
            qFatal("The controller didn't start");
        }
        calls.clear();
    }
};

/// A started fixture that is connected to a device that is ready, so measurements are polled.
struct ConnectedController : StartedController
{
    ConnectedController()
    {
        emit handler.connected();
        emit handler.dataRead(text("serial"), text("S-1"));
        emit handler.dataRead(text("meas_state"), text("1"));
        emit handler.allJobsDone();
        handler.connectedResult = true;
        calls.clear();
    }
};
