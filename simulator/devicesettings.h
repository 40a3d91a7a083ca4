// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/devicemodel.h"

#include <QtCore/QByteArray>
#include <QtCore/QVector>

namespace Simulator {

/// The current settings, as in the device's RAM. All strings are in the device's character set.
class DeviceSettings
{
public:
    /// @p model must outlive this object. Starts with the factory values.
    explicit DeviceSettings(const DeviceModel &model);

    /// Whether the model has a setting @p name.
    bool contains(const QByteArray &name) const;

    /// The current value; empty for an unknown name.
    QByteArray value(const QByteArray &name) const;

    /// Sets a value as the firmware does: limits a number to its range, ignores @p text that is not
    /// a number where one is required, truncates the value of a Text setting. Returns false for an
    /// unknown name.
    bool set(const QByteArray &name, const QByteArray &text);

    /// Sets every setting to its factory value.
    void loadFactoryValues();

    /// All settings as the memory stores them: a line with the model, then a line for each setting.
    QByteArray toText() const;

    /// Loads the factory values, then the values of the stored @p text; ignores @p text if it is
    /// not that of this model.
    void fromText(const QByteArray &text);

private:
    int indexOf(const QByteArray &name) const;
    static bool normalise(const SettingInfo &info, QByteArray &text);

    const DeviceModel &m_model;
    QVector<QByteArray> m_values;
};

} // namespace Simulator
