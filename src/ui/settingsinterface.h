// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>
#include <QtCore/QVariant>

/// The user's choices that last from run to run, by key. Reports nothing.
class SettingsInterface
{
public:
    virtual ~SettingsInterface() = default;

    /// The value under @p key, or @p defaultValue where none was ever written.
    virtual QVariant value(const QString &key, const QVariant &defaultValue) const = 0;

    /// The value under @p key, or an invalid one where none was ever written.
    virtual QVariant value(const QString &key) const { return value(key, QVariant()); }

    /// Keeps @p value under @p key for this run and the next.
    virtual void setValue(const QString &key, const QVariant &value) = 0;
};
