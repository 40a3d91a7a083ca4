// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/device.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtTest/QtTest>
#include <functional>

/// A device without a line, with short delays; records what it sends.
class DeviceHarness
{
public:
    using Change = std::function<void(Simulator::DeviceOptions &)>;

    /// @p change adapts the options.
    explicit DeviceHarness(const Change &change = [](Simulator::DeviceOptions &) {})
        : device(fastOptions(change))
    {
        QObject::connect(&device, &Simulator::Device::transmit, &device,
                         [this](const QByteArray &bytes, Simulator::Delivery delivery, int gapMs) {
                             output += bytes;
                             pieces += {bytes, delivery, gapMs};
                         });
        QObject::connect(&device, &Simulator::Device::hangUp, &device, [this] { ++hangUps; });
        QObject::connect(&device, &Simulator::Device::eventOccurred, &device,
                         [this](const QByteArray &event) { events += event; });
    }

    bool fault(const QByteArray &text)
    {
        QByteArray error;
        return device.addFault(text, error);
    }

    /// Sends @p command with its line end and returns the immediate output.
    QByteArray type(const QByteArray &command)
    {
        output.clear();
        device.receive(command + "\r\n");
        return output;
    }

    /// The answer to @p command without the echo before and the prompt after it.
    QByteArray answer(const QByteArray &command)
    {
        const QByteArray text = type(command);
        const QByteArray echo = command + "\r\n";
        const QByteArray prompt = "KVT $ ";
        if (!text.startsWith(echo) || !text.endsWith(prompt)) {
            return "without echo or prompt: " + text;
        }
        return text.mid(echo.size(), text.size() - echo.size() - prompt.size());
    }

    struct Piece
    {
        QByteArray bytes;
        Simulator::Delivery delivery;
        int gapMs;
    };

    Simulator::Device device;
    QByteArray output;
    QList<Piece> pieces;
    QList<QByteArray> events;
    int hangUps = 0;

private:
    static Simulator::DeviceOptions fastOptions(const Change &change)
    {
        Simulator::DeviceOptions options;
        options.writeMs = 20;
        options.blockIdleMs = 50;
        options.rebootMs = 20;
        options.bootWaitMs = 60;
        options.imageIdleMs = 40;
        change(options);
        return options;
    }
};
