// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/device.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtTest/QtTest>
#include <functional>

/// A device without a line and with short delays. Records what it sends.
class DeviceHarness
{
public:
    using ConfigureOptions = std::function<void(Simulator::DeviceOptions &)>;

    /// @p configure changes the options.
    explicit DeviceHarness(const ConfigureOptions &configure = [](Simulator::DeviceOptions &) {})
        : device(fastOptions(configure))
    {
        QObject::connect(&device, &Simulator::Device::transmit, &device,
                         [this](const QByteArray &bytes, Simulator::Delivery delivery, int gapMs) {
                             output += bytes;
                             transmissions += {bytes, delivery, gapMs};
                         });
        QObject::connect(&device, &Simulator::Device::hangUp, &device, [this] { ++hangUps; });
        QObject::connect(&device, &Simulator::Device::eventOccurred, &device,
                         [this](const QByteArray &event) { events += event; });
    }

    /// See Faults::add().
    bool addFault(const QByteArray &text)
    {
        QByteArray error;
        return device.addFault(text, error);
    }

    /// Sends @p command and a line end, and returns the immediate output.
    QByteArray type(const QByteArray &command)
    {
        output.clear();
        device.receive(command + "\r\n");
        return output;
    }

    /// The reply to @p command, without the echo before it and the prompt after it.
    QByteArray reply(const QByteArray &command)
    {
        const QByteArray text = type(command);
        const QByteArray echo = command + "\r\n";
        const QByteArray prompt = "KVT $ ";
        if (!text.startsWith(echo) || !text.endsWith(prompt)) {
            return "without echo or prompt: " + text;
        }
        return text.mid(echo.size(), text.size() - echo.size() - prompt.size());
    }

    /// The arguments of one Device::transmit().
    struct Transmission
    {
        QByteArray bytes;
        Simulator::Delivery delivery;
        int gapMs;
    };

    Simulator::Device device;
    QByteArray output;
    QList<Transmission> transmissions;
    QList<QByteArray> events;
    int hangUps = 0;

private:
    static Simulator::DeviceOptions fastOptions(const ConfigureOptions &configure)
    {
        Simulator::DeviceOptions options;
        options.writeMs = 20;
        options.blockIdleMs = 50;
        options.rebootMs = 20;
        options.bootWaitMs = 60;
        options.imageIdleMs = 40;
        configure(options);
        return options;
    }
};
