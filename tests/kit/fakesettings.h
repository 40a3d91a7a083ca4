// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/settingsinterface.h"

#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <functional>

/// Settings in memory that remember the order in which keys were read and written.
class FakeSettings : public SettingsInterface
{
public:
    using SettingsInterface::value;

    QVariant value(const QString &key, const QVariant &defaultValue) const override
    {
        reads.append(key);
        if (onRead) {
            onRead();
        }
        return values.value(key, defaultValue);
    }
    void setValue(const QString &key, const QVariant &value) override
    {
        writes.append(key);
        if (interleaved) {
            interleaved->append(QStringLiteral("setting ") + key);
        }
        values.insert(key, value);
    }

    QMap<QString, QVariant> values;
    mutable QStringList reads;
    QStringList writes;
    std::function<void()> onRead; ///< runs during each read
    QStringList *interleaved = nullptr; ///< records the writes too, for their order between fakes
};
