// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/device.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtTest/QtTest>

/// A device without a line: what it sends is gathered here.
class DeviceDesk
{
public:
    explicit DeviceDesk(const Simulator::DeviceOptions &options = fast())
        : device(options)
    {
        QObject::connect(&device, &Simulator::Device::transmit, &device,
                         [this](const QByteArray &bytes, Simulator::Delivery delivery, int gapMs) {
                             output += bytes;
                             pieces += {bytes, delivery, gapMs};
                         });
        QObject::connect(&device, &Simulator::Device::hangUp, &device, [this] { ++hangUps; });
        QObject::connect(&device, &Simulator::Device::happened, &device,
                         [this](const QByteArray &event) { events += event; });
    }

    /// A device that wastes no time and has a clock as any other.
    static Simulator::DeviceOptions fast()
    {
        Simulator::DeviceOptions options;
        options.writeMs = 20;
        options.blockIdleMs = 50;
        options.rebootMs = 20;
        options.bootWaitMs = 60;
        options.imageIdleMs = 40;
        return options;
    }

    bool fault(const QByteArray &text)
    {
        QByteArray error;
        return device.addFault(text, error);
    }

    /// Types @p command and Enter and returns all that comes at once.
    QByteArray type(const QByteArray &command)
    {
        output.clear();
        device.receive(command + "\r\n");
        return output;
    }

    /// The answer to @p command without the echo in front and the prompt behind.
    QByteArray answer(const QByteArray &command)
    {
        QByteArray text = type(command);
        const QByteArray echo = command + "\r\n";
        const QByteArray prompt = "KVT $ ";
        if (!text.startsWith(echo) || !text.endsWith(prompt)) {
            return "not framed: " + text;
        }
        text.remove(0, echo.size());
        text.chop(prompt.size());
        return text;
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
};
