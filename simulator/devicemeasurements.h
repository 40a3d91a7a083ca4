// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/devicemodel.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QList>

namespace Simulator {

/// The measurements of a device, calculated from its seed and the time: plausible and reproducible.
class DeviceMeasurements
{
public:
    /// @p model must outlive this object. The measurements named in @p unavailable are always "N".
    DeviceMeasurements(const DeviceModel &model, quint32 seed, QList<QByteArray> unavailable);

    /// The value of @p info at @p time, in the unit and with the decimals of the model.
    QByteArray valueAt(const MeasurementInfo &info, const QDateTime &time) const;

    /// The reading at @p time in the console's format, "A=1.23;B=N". @p warm is false during
    /// warm-up.
    QByteArray readingAt(const QDateTime &time, bool warm) const;

private:
    const DeviceModel &m_model;
    quint32 m_seed;
    QList<QByteArray> m_unavailable;
};

} // namespace Simulator
