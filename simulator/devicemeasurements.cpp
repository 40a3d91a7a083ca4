// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/devicemeasurements.h"

#include "simulator/pseudorandom.h"

#include <QtCore/qmath.h>
#include <cmath>
#include <utility>

namespace Simulator {

namespace {

constexpr double slowPeriodS = 6.0 * 3600.0;
constexpr double fastPeriodS = 420.0;
constexpr double dayS = 86400.0;
constexpr double fullTurnDeg = 360.0;
// Shares of the swing; their sum never exceeds it.
constexpr double slowShare = 0.7;
constexpr double fastShare = 0.2;
constexpr double jitterShare = 0.1;
constexpr double showerThreshold = 0.6;

double wave(double seconds, double periodS, double phase)
{
    return qSin(2.0 * M_PI * (seconds / periodS + phase));
}

} // namespace

DeviceMeasurements::DeviceMeasurements(const DeviceModel &model, quint32 seed,
                                       QList<QByteArray> unavailable)
    : m_model(model)
    , m_seed(seed)
    , m_unavailable(std::move(unavailable))
{ }

QByteArray DeviceMeasurements::valueAt(const MeasurementInfo &info, const QDateTime &time) const
{
    const qint64 second = time.toSecsSinceEpoch();
    const double seconds = static_cast<double>(second);
    const quint64 measurementSeed = noise(m_seed, qChecksum(info.name, qstrlen(info.name)));
    const double variation =
        slowShare * wave(seconds, slowPeriodS, noiseFraction(measurementSeed, 1))
        + fastShare * wave(seconds, fastPeriodS, noiseFraction(measurementSeed, 2))
        + jitterShare * (2.0 * noiseFraction(measurementSeed, static_cast<quint64>(second)) - 1.0);
    double value = info.middle + info.swing * variation;
    switch (info.curve) {
    case Curve::Wave:
        break;
    case Curve::Daylight: {
        const double sun = wave(seconds, dayS, -0.25);
        value = sun > 0.0 ? info.swing * sun * (0.9 + 0.1 * variation) : 0.0;
        break;
    }
    case Curve::Showers:
        value = info.swing * (variation - showerThreshold) / (1.0 - showerThreshold);
        break;
    case Curve::Direction:
        value = std::fmod(value, fullTurnDeg);
        break;
    }
    return QByteArray::number(qMax(value, info.minimum), 'f', info.decimals);
}

QByteArray DeviceMeasurements::readingAt(const QDateTime &time, bool warm) const
{
    QList<QByteArray> pairs;
    for (const MeasurementInfo &info : m_model.measurements) {
        const bool missing =
            m_unavailable.contains(info.name) || (info.unavailableDuringWarmUp && !warm);
        pairs += QByteArray(info.name) + '=' + (missing ? QByteArray("N") : valueAt(info, time));
    }
    return pairs.join(';');
}

} // namespace Simulator
