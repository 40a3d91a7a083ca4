// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>
#include <QtCore/QVariant>

/// The user's preferences, which persist until the next run, by key. Has no signals.
class SettingsInterface
{
public:
    virtual ~SettingsInterface() = default;

    /// The value of @p key, or @p defaultValue if none is stored.
    virtual QVariant value(const QString &key, const QVariant &defaultValue) const = 0;

    /// The value of @p key, or an invalid QVariant if none is stored.
    virtual QVariant value(const QString &key) const { return value(key, QVariant()); }

    /// Stores @p value for @p key.
    virtual void setValue(const QString &key, const QVariant &value) = 0;
};
