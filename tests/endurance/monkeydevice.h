// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/endurance/monkeydice.h"
#include "tests/kit/simulatorprocess.h"

#include <QtCore/QString>
#include <memory>

/// The simulated transmitter behind the monkey's window: at its control desk stands somebody who
/// breaks things, and mends them again after a while.
///
/// Its port has one path for the whole walk, as a device that is plugged in anew has.
class MonkeyDevice
{
public:
    /// @p folder takes the link that is the port's path.
    explicit MonkeyDevice(const QString &folder);

    /// False when the simulator does not start.
    bool start(MonkeyDice &dice);

    QString port() const { return m_link; }

    /// False once something was done to it that was not mended since.
    bool isHealthy() const { return m_healthy; }
    bool isHungUp() const { return m_hungUp || !m_process->isRunning(); }

    /// Breaks something; what it was. A null text: the simulator did not do what it was told.
    QString meddle(MonkeyDice &dice);

    /// Mends all that is broken; false when that fails.
    bool mend(MonkeyDice &dice);

    /// Power off and on.
    bool restart();

    /// What the bootloader takes for the end of an image; 0: a pause.
    bool expectImage(int bytes);

    /// False when the process ended by itself.
    bool isAsLeft() const { return m_killed || m_process->isRunning(); }

private:
    QString told(const QByteArray &line);
    QString replace(MonkeyDice &dice);

    QString m_link;
    std::unique_ptr<SimulatorProcess> m_process;
    bool m_healthy = true;
    bool m_hungUp = false;
    bool m_killed = true;
};
