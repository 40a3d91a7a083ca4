// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// How a setting's value is to be edited.
enum class ConfigurationItemType {
    Text = 0, ///< free text; max, when above 0, is the maximum length
    Int = 1, ///< integer from min to max
    Float = 2 ///< real number from min to max
};

/// One setting of a model.
struct ConfigurationItem
{
    QString group; ///< the group that it stands in; not shown
    QString name; ///< label
    QString alias; ///< the device's variable, the key by which the program speaks of the setting

    /// The range of a number; for a text max is its greatest length.
    float min = 0.0F;
    float max = 0.0F;

    /// What the editor of the value is made for.
    ConfigurationItemType type = ConfigurationItemType::Text;
};
