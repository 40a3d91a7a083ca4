// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/settings.h"

Settings::Settings()
    : m_settings(QStringLiteral("Orvanta"), QStringLiteral("Kv tool"), nullptr)
{ }

QVariant Settings::value(const QString &key, const QVariant &defaultValue) const
{
    return m_settings.value(key, defaultValue);
}

void Settings::setValue(const QString &key, const QVariant &value)
{
    m_settings.setValue(key, value);
}
