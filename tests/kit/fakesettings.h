// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/settingsinterface.h"

#include <QtCore/QVariantMap>
#include <functional>

/// Settings in memory. Each read access calls onRead with the key, each write access onWrite with a
/// string such as "setting firmware path=/f.bin".
class FakeSettings : public SettingsInterface
{
public:
    using SettingsInterface::value;

    QVariant value(const QString &key, const QVariant &defaultValue) const override
    {
        if (onRead) {
            onRead(key);
        }
        return values.value(key, defaultValue);
    }
    void setValue(const QString &key, const QVariant &value) override
    {
        values.insert(key, value);
        if (onWrite) {
            onWrite(QStringLiteral("setting %1=%2").arg(key, value.toString()));
        }
    }

    QVariantMap values;
    std::function<void(const QString &key)> onRead;
    std::function<void(const QString &call)> onWrite;
};
