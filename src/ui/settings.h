// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/settingsinterface.h"

#include <QtCore/QSettings>

/// The user's choices in the place that Qt gives them on each system.
///
/// Writes reach the file when QSettings sees fit, at the latest with the end of the object.
class Settings : public SettingsInterface
{
public:
    Settings();

    using SettingsInterface::value;

    QVariant value(const QString &key, const QVariant &defaultValue) const override;
    void setValue(const QString &key, const QVariant &value) override;

private:
    QSettings m_settings;
};
