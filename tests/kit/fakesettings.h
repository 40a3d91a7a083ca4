// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/settingsinterface.h"

#include <QtCore/QVariantMap>
#include <functional>

/// Settings in memory that pass each access as one text ("setting firmware path=/f.bin") to onRead
/// or onWrite.
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
