// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/endurance/monkeydevice.h"

namespace {

/// Without a place a fault is always there; "next" strikes once, "+" from there on.
QByteArray someFault(MonkeyDice &dice)
{
    static const QList<QByteArray> exchangeFaults{"silence",        "delay:30",       "delay:150",
                                                  "single-bytes:0", "single-bytes:1", "lost-byte",
                                                  "lost-byte:3",    "flipped-bit",    "nul",
                                                  "chatter:20",     "unknown-model",  "hangup:0",
                                                  "hangup:9",       "glued-replies",  "silence",
                                                  "unknown-model:", "flipped-bit:12", "delay:60"};
    static const QList<QByteArray> otherFaults{
        "bad-checksum",       "bad-checksum@0",   "wrong-entry@2",        "malformed-record@1",
        "malformed-record@0", "malformed-block",  "block-refused@1",      "block-refused@7",
        "block-unanswered@3", "glued-answers",    "glued-answers@2",      "final-star",
        "boot-with-line-end", "hangup-input:100", "bad-checksum-always@1"};
    if (dice.percent(35)) {
        return dice.pick(otherFaults);
    }
    const QByteArray fault = dice.pick(exchangeFaults);
    static const QList<QByteArray> places{"",          "@next", "@next+", "@show meas",
                                          "@show",     "@set",  "@read",  "-always@show health",
                                          "@show date"};
    const QByteArray place = dice.pick(places);
    const int colon = fault.indexOf(':');
    return colon < 0 ? fault + place : fault.left(colon) + place + fault.mid(colon);
}

QByteArray someState(MonkeyDice &dice)
{
    static const QList<QByteArray> lines{
        "health 0%",    "health 100%",  "health",         "health 4711%",      "health x",
        "meas-state 0", "meas-state 1", "meas-state 2",   "meas-state 3",      "meas-state 4",
        "meas-state 9", "meas-state 1", "set altitude=1", "set location=Yard", "meas-state 1"};
    return dice.pick(lines);
}

} // namespace

MonkeyDevice::MonkeyDevice(const QString &folder)
    : m_link(folder + QLatin1String("/port"))
{
}

bool MonkeyDevice::start(MonkeyDice &dice)
{
    static const QList<QString> models{QStringLiteral("KVT-100"), QStringLiteral("KVT-100"),
                                       QStringLiteral("KVT-300")};
    static const QList<QString> logRows{QStringLiteral("0"), QStringLiteral("1"),
                                        QStringLiteral("5"), QStringLiteral("12"),
                                        QStringLiteral("60")};
    QStringList arguments{QStringLiteral("--link"),          m_link,
                          QStringLiteral("--rate"),          QStringLiteral("0"),
                          QStringLiteral("--write-ms"),      QStringLiteral("20"),
                          QStringLiteral("--reboot-ms"),     QStringLiteral("20"),
                          QStringLiteral("--boot-wait"),     QStringLiteral("200"),
                          QStringLiteral("--block-idle-ms"), QStringLiteral("50"),
                          QStringLiteral("--image-idle-ms"), QStringLiteral("40"),
                          QStringLiteral("--model"),         dice.pick(models),
                          QStringLiteral("--log-rows"),      dice.pick(logRows),
                          QStringLiteral("--seed"),          QString::number(dice.below(4))};
    if (dice.percent(10)) {
        arguments += QStringLiteral("--no-log-option");
    }
    m_healthy = true;
    m_hungUp = false;
    m_killed = false;
    // A busy machine may let a process wait for longer than the simulator is waited for.
    constexpr int attempts = 3;
    bool started = false;
    for (int attempt = 0; attempt < attempts && !started; ++attempt) {
        m_process = std::make_unique<SimulatorProcess>();
        started = m_process->start(arguments);
    }
    return started;
}

QString MonkeyDevice::told(const QByteArray &line)
{
    m_process->control(line);
    return m_process->succeeded() ? QString::fromLatin1(line) : QString();
}

QString MonkeyDevice::meddle(MonkeyDice &dice)
{
    if (isHungUp()) {
        return QStringLiteral("nothing");
    }
    const int way = dice.below(100);
    if (way < 20) {
        return told(someState(dice));
    }
    if (way < 28) {
        return replace(dice);
    }
    if (way < 38) {
        return restart() ? QStringLiteral("restart") : QString();
    }
    m_healthy = false;
    if (way < 46) {
        m_hungUp = true;
        return told("hangup");
    }
    if (way < 50) {
        m_killed = true;
        m_process->kill();
        return QStringLiteral("kill");
    }
    return told("fault " + someFault(dice));
}

QString MonkeyDevice::replace(MonkeyDice &dice)
{
    return m_process->stop() && start(dice) ? QStringLiteral("replace") : QString();
}

bool MonkeyDevice::mend(MonkeyDice &dice)
{
    if (!m_process->isRunning()) {
        return start(dice);
    }
    m_process->control("fault clear");
    m_healthy = m_process->succeeded();
    // A fault may have hung the line up, or a port is there all along.
    const bool hasPort = !m_process->state("port").isEmpty();
    m_hungUp = false;
    return m_healthy && (hasPort || m_process->resume());
}

bool MonkeyDevice::restart()
{
    return isHungUp() || !told("restart").isNull();
}

bool MonkeyDevice::expectImage(int bytes)
{
    return !m_process->isRunning() || !told("image-size " + QByteArray::number(bytes)).isNull();
}
