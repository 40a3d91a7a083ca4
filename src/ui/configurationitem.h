// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// How a setting's value is to be edited.
enum class ConfigurationItemType {
    Text = 0, ///< free text; max, if above 0, is the maximum length
    Int = 1, ///< integer from min to max
    Float = 2 ///< real number from min to max
};

/// One setting of a model.
struct ConfigurationItem
{
    QString group; ///< the group in settings.xml; not shown
    QString name; ///< label
    QString alias; ///< the device's variable; identifies the setting

    float min = 0.0F; ///< smallest number; not used for Text
    float max = 0.0F; ///< largest number; for Text the maximum length, if above 0
    ConfigurationItemType type = ConfigurationItemType::Text; ///< kind of the value
};
