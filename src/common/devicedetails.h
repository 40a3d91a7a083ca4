// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// Identity of a device as it reports it. The store identifies a device by its serial number alone.
struct DeviceDetails
{
    /// The values of the variables of these names, see DeviceVariables.
    /// @{
    QString swVersion;
    QString hwVersion;
    QString serialNumber;
    QString modelNumber;
    /// @}

    /// Empties all four texts.
    void clear() { *this = DeviceDetails(); }
};
