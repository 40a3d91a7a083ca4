// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/devicemodel.h"

#include <QtCore/QByteArray>
#include <QtCore/QVector>

namespace Simulator {

/// The current settings, as in the device's RAM. All texts are in the device's character set.
class DeviceSettings
{
public:
    /// @p model must outlive this. Starts with the factory values.
    explicit DeviceSettings(const DeviceModel &model);

    /// Whether the model has a setting @p name.
    bool contains(const QByteArray &name) const;

    /// The current value; empty for an unknown name.
    QByteArray value(const QByteArray &name) const;

    /// Sets a value as the firmware does: a number is limited to its range, text that is no number
    /// changes nothing, a text is truncated. False for an unknown name.
    bool set(const QByteArray &name, const QByteArray &text);

    /// Sets every setting to its factory value.
    void loadFactoryValues();

    /// All settings as the memory stores them: a line with the model, then a line for each setting.
    QByteArray toText() const;

    /// Loads the stored @p text over the factory values; ignores text of another kind.
    void fromText(const QByteArray &text);

private:
    int indexOf(const QByteArray &name) const;
    static bool normalise(const SettingInfo &info, QByteArray &text);

    const DeviceModel &m_model;
    QVector<QByteArray> m_values;
};

} // namespace Simulator
