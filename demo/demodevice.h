// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/simulatorprocess.h"

#include <QtCore/QDateTime>
#include <QtCore/QMap>

/// The simulated transmitter beside the demo, and what it says of itself without the tool between.
class DemoDevice : public SimulatorProcess
{
public:
    /// The simulator's program stands beside the demo's.
    DemoDevice();

    /// A setting or identity value, as the device holds it now.
    QString variable(const QString &name);

    /// The values that the device told last, by name.
    QMap<QString, QString> lastMeasurements();

    /// The log without entry numbers and checksums: the titles, then a record for each row.
    QStringList log();

    /// The device's clock, in UTC.
    QDateTime clock();

    /// Whether the device has started and its console listens.
    bool isAtConsole();
};
