// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "control/mainwindowcontroller.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/fakemainwindow.h"
#include "tests/kit/fakeserialporthandler.h"
#include "tests/kit/fakesettings.h"

#include <QtCore/QFile>

inline QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

inline QStringList texts(std::initializer_list<const char *> words)
{
    QStringList result;
    for (const char *word : words) {
        result.append(text(word));
    }
    return result;
}

/// A controller with fake collaborators, in a working folder with a settings.xml of two models.
struct ControllerFixture
{
    ControllerFixture()
    {
        writeFile(QStringLiteral("settings.xml"), models());
        handler.currentPortName = QStringLiteral("ttyOLD");
    }

    ~ControllerFixture() { QFile::remove(QStringLiteral("settings.xml")); }
    Q_DISABLE_COPY(ControllerFixture)

    static QByteArray models()
    {
        return R"(<KVTConfig><Devices>
<Device name="KVT-2"><Configuration><ConfigurationItemGroup group="g">
<ConfigurationItem type="int" min="0" max="9" name="Two" alias="two"/>
</ConfigurationItemGroup></Configuration>
<Measurements><Measurement name="T" type="air temperature" unit="c"/></Measurements></Device>
<Device name="KVT-1"><Configuration><ConfigurationItemGroup group="g">
<ConfigurationItem type="int" min="0" max="9" name="One" alias="one"/>
</ConfigurationItemGroup></Configuration>
<Measurements><Measurement name="O3" displayName="Ozone" type="pollutant" unit="ppb" conversionMultiplier="0.5"/>
<Measurement name="T" displayName="Temperature" type="air temperature" unit="c"/></Measurements></Device>
</Devices></KVTConfig>)";
    }

    static void writeFile(const QString &path, const QByteArray &contents)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
            qFatal("The test's own file can't be written");
        }
    }

    static QByteArray readFile(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// Starts the controller and clears the records of the fakes.
    void start()
    {
        if (!controller.start()) {
            qFatal("The controller didn't start");
        }
        forget();
    }

    /// Connects a device that is ready, so that measurements are polled.
    void connectDevice()
    {
        start();
        emit handler.connected();
        emit handler.dataRead(QStringLiteral("serial"), QStringLiteral("S-1"));
        emit handler.dataRead(QStringLiteral("meas_state"), QStringLiteral("1"));
        emit handler.allJobsDone();
        handler.connectedResult = true;
        forget();
    }

    void forget()
    {
        window.calls.clear();
        handler.calls.clear();
        settings.reads.clear();
        settings.writes.clear();
        storage.calls.clear();
    }

    /// The first of the controller's running timers; null when none runs.
    QTimer *runningTimer() const
    {
        for (QTimer *timer : controller.findChildren<QTimer *>()) {
            if (timer->isActive()) {
                return timer;
            }
        }
        return nullptr;
    }

    /// Intervals of the controller's running timers, in ms, the measurement timer's first.
    QList<int> timerIntervals() const
    {
        QList<int> intervals;
        for (const QTimer *timer : controller.findChildren<QTimer *>()) {
            if (timer->isActive()) {
                intervals.append(timer->interval());
            }
        }
        return intervals;
    }

    FakeMainWindow window;
    FakeSerialPortHandler handler;
    FakeSettings settings;
    FakeLocalStorage storage;
    MainWindowController controller{&window, &handler, &settings, &storage, nullptr};
};
