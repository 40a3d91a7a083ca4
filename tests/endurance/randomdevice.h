// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/endurance/inputsimulator.h"
#include "tests/kit/simulatorprocess.h"

#include <memory>

/// The simulated transmitter with random faults, which are removed after a while. Its port keeps
/// one path, as that of a device that is unplugged and plugged in again.
class RandomDevice
{
public:
    /// @p folder takes the symbolic link that is the port's path.
    RandomDevice(const QString &folder, RandomSource &random)
        : m_link(folder + text("/port"))
        , m_random(random)
    { }

    /// False when the simulator didn't start.
    bool start()
    {
        const QString model = m_random.pick(texts("KVT-100|KVT-100|KVT-300"));
        const QString logRows = m_random.pick(texts("0|1|5|12|60"));
        QStringList arguments =
            text("--rate 0 --write-ms 20 --reboot-ms 20 --boot-wait 200 --block-idle-ms 50 "
                 "--image-idle-ms 40 --model %1 --log-rows %2 --seed %3 --link %4")
                .arg(model, logRows, QString::number(m_random.bounded(4)), m_link)
                .split(QLatin1Char(' '));
        if (m_random.percent(10)) {
            arguments << text("--no-log-option");
        }
        m_isHealthy = true;
        m_isHungUp = false;
        m_isKilled = false;
        // On a busy machine a start may exceed the client's time-out.
        constexpr int attempts = 3;
        bool isStarted = false;
        for (int attempt = 0; attempt < attempts && !isStarted; ++attempt) {
            m_process = std::make_unique<SimulatorProcess>();
            isStarted = m_process->start(arguments);
        }
        return isStarted;
    }

    QString port() const { return m_link; }
    bool isHealthy() const { return m_isHealthy; }
    bool isHungUp() const { return m_isHungUp || !m_process->isRunning(); }

    /// False when the simulator's process ended by itself.
    bool isAlive() const { return m_isKilled || m_process->isRunning(); }

    /// Removes all faults if there are any, otherwise changes a state or causes a fault. Returns
    /// what has been done; null when the simulator refused.
    QString disturbOrRepair()
    {
        const int way = m_random.bounded(100);
        if (!m_isHealthy) {
            return repair() ? text("repair") : QString();
        }
        if (way < 20) {
            return control(randomState());
        }
        if (way < 28) {
            return m_process->stop() && start() ? text("replace") : QString();
        }
        if (way < 38) {
            return control("restart");
        }
        m_isHealthy = false;
        if (way < 46) {
            m_isHungUp = true;
            return control("hangup");
        }
        if (way < 50) {
            m_isKilled = true;
            m_process->kill();
            return text("kill");
        }
        return control("fault " + randomFault());
    }

    /// Sends a command to the simulator; null when it refused.
    QString control(const QByteArray &line)
    {
        m_process->control(line);
        return m_process->succeeded() ? QString::fromLatin1(line) : QString();
    }

private:
    bool repair()
    {
        if (!m_process->isRunning()) {
            return start();
        }
        m_isHealthy = !control("fault clear").isNull();
        m_isHungUp = false;
        return m_isHealthy && (!m_process->state("port").isEmpty() || m_process->resume());
    }

    QByteArray randomState()
    {
        return m_random
            .pick(texts("health 0%|health 100%|health|health 4711%|health x|meas-state 0|"
                        "meas-state 1|meas-state 2|meas-state 3|meas-state 4|meas-state 9|"
                        "meas-state 1|set altitude=1|set location=Yard|meas-state 1"))
            .toLatin1();
    }

    /// A fault without a place is permanent; "@next" affects one exchange, "+" all from there on.
    QByteArray randomFault()
    {
        if (m_random.percent(35)) {
            return m_random
                .pick(texts("bad-checksum|bad-checksum@0|bad-checksum-always@1|wrong-entry@2|"
                            "malformed-record@0|malformed-record@1|malformed-block|"
                            "block-rejected@1|block-rejected@7|block-unanswered@3|"
                            "block-replies-in-one-chunk|"
                            "block-replies-in-one-chunk@2|final-star|boot-with-line-end|"
                            "hangup-input:100"))
                .toLatin1();
        }
        QString fault = m_random.pick(
            texts("silence|silence|delay:30|delay:60|delay:150|single-bytes:0|single-bytes:1|"
                  "lost-byte|lost-byte:3|flipped-bit|flipped-bit:12|nul|chatter:20|unknown-model|"
                  "unknown-model:|hangup:0|hangup:9|replies-in-one-chunk"));
        const int colon = fault.indexOf(QLatin1Char(':'));
        fault.insert(colon < 0 ? fault.size() : colon,
                     m_random.pick(texts("|@next|@next+|@show meas|@show|@set|@read|"
                                         "-always@show health|@show date")));
        return fault.toLatin1();
    }

    QString m_link;
    RandomSource &m_random;
    std::unique_ptr<SimulatorProcess> m_process;
    bool m_isHealthy = true;
    bool m_isHungUp = false;
    bool m_isKilled = true;
};
