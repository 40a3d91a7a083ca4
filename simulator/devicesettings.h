// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/devicemodel.h"

#include <QtCore/QByteArray>
#include <QtCore/QVector>

namespace Simulator {

/// The settings in force, as the device's RAM holds them. All texts are bytes as on the line.
class DeviceSettings
{
public:
    /// @p model must outlive this. Starts with the factory values.
    explicit DeviceSettings(const DeviceModel &model);

    /// Whether the model has a setting @p name.
    bool contains(const QByteArray &name) const;

    /// The value in force; empty for an unknown name.
    QByteArray value(const QByteArray &name) const;

    /// Takes @p text as the firmware does: a number is held within its range, what is no number
    /// leaves the old value, a text is cut to its length. False for an unknown name.
    bool set(const QByteArray &name, const QByteArray &text);

    /// Gives every setting its factory value.
    void loadFactoryValues();

    /// All settings as the memory stores them: a line with the model, then a line for each setting.
    QByteArray toText() const;

    /// Takes the stored @p text over the factory values; text of something else leaves those.
    void fromText(const QByteArray &text);

private:
    int indexOf(const QByteArray &name) const;
    static bool normalise(const SettingInfo &info, QByteArray &text);

    const DeviceModel &m_model;
    QVector<QByteArray> m_values;
};

} // namespace Simulator
