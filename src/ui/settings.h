// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/settingsinterface.h"

#include <QtCore/QSettings>

/// The user's preferences, stored by QSettings.
///
/// Changes are written to the file when QSettings synchronizes, at the latest in the destructor.
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
