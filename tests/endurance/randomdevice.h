// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/endurance/inputsimulator.h"
#include "tests/kit/simulatorprocess.h"

/// The simulated transmitter with random faults, which are removed after a while. The path of its
/// port stays the same, like that of a device that is unplugged and plugged in again.
class RandomDevice : public SimulatorProcess
{
public:
    /// @p link is the path of the port; a symbolic link is created there.
    explicit RandomDevice(const QString &link)
        : m_link(link)
    { }

    /// Starts a device with random options; false if the simulator didn't start.
    bool start()
    {
        m_state = Healthy;
        QStringList arguments =
            texts("--rate|0|--write-ms|20|--reboot-ms|20|--boot-wait|200|--block-idle-ms|50|"
                  "--image-idle-ms|40|--link")
            << m_link << text("--model") << text(Random::pick("KVT-100|KVT-100|KVT-300"))
            << text("--log-rows") << text(Random::pick("0|1|5|12|60")) << text("--seed")
            << text(Random::pick("0|1|2|3"));
        if (Random::percent(10)) {
            arguments << text("--no-log-option");
        }
        return SimulatorProcess::start(arguments);
    }

    bool isHealthy() const { return m_state == Healthy; }
    bool isHungUp() const { return m_state == HungUp || m_state == Killed; }

    /// False if the simulator's process has exited by itself.
    bool isAlive() const { return m_state == Killed || isRunning(); }

    /// Removes all faults if there are any; otherwise causes a fault, replaces the device or
    /// changes one of its states.
    void injectOrClearFaults()
    {
        const int choice = Random::below(100);
        if (!isHealthy()) {
            ActionTrace::require(clearFaults(), "the simulator's faults can't be removed");
        } else if (choice < 20) {
            execute(Healthy,
                    Random::pick("health 0%|health 100%|health|health 4711%|health x|meas-state 0|"
                                 "meas-state 1|meas-state 2|meas-state 3|meas-state 4|meas-state 9|"
                                 "meas-state 1|set altitude=1|set location=Yard|meas-state 1"));
        } else if (choice < 28) {
            ActionTrace::add("replace");
            ActionTrace::require(stop() && start(), "the simulator can't be replaced");
        } else if (choice < 38) {
            execute(Healthy, "restart");
        } else if (choice < 46) {
            execute(HungUp, "hangup");
        } else if (choice < 50) {
            ActionTrace::add("kill");
            m_state = Killed;
            kill();
        } else {
            execute(Faulty, "fault " + randomFault());
        }
    }

    /// Sends a command that the simulator may refuse, unless the line is hung up.
    void controlUnlessHungUp(const QByteArray &command)
    {
        if (!isHungUp()) {
            control(command);
        }
    }

private:
    enum State { Healthy, Faulty, HungUp, Killed };

    bool clearFaults()
    {
        if (m_state == Killed) {
            return start();
        }
        m_state = Healthy;
        control("fault clear");
        return succeeded() && (!state("port").isEmpty() || resume());
    }

    void execute(State state, const QByteArray &command)
    {
        m_state = state;
        ActionTrace::add(command);
        control(command);
        ActionTrace::require(succeeded(), "the simulator rejected the command");
    }

    /// A fault without a place is permanent; "@next" affects the next exchange, "@next+" all
    /// further ones.
    QByteArray randomFault()
    {
        if (Random::percent(35)) {
            return Random::pick(
                "bad-checksum|bad-checksum@0|bad-checksum-always@1|wrong-entry@2|"
                "malformed-record@0|malformed-record@1|malformed-block|block-rejected@1|"
                "block-rejected@7|block-unanswered@3|block-replies-in-one-chunk|"
                "block-replies-in-one-chunk@2|final-star|"
                "boot-with-line-end|hangup-input:100");
        }
        QByteArray fault = Random::pick(
            "silence|silence|delay:30|delay:60|delay:150|single-bytes:0|single-bytes:1|lost-byte|"
            "lost-byte:3|flipped-bit|flipped-bit:12|nul|chatter:20|unknown-model|unknown-model:|"
            "hangup:0|hangup:9|replies-in-one-chunk");
        const int colon = fault.indexOf(':');
        return fault.insert(colon < 0 ? fault.size() : colon,
                            Random::pick("|@next|@next+|@show meas|@show|@set|@read|"
                                         "-always@show health|@show date"));
    }

    QString m_link;
    State m_state = Killed;
};
