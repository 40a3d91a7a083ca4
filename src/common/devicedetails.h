// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// Identity of a device as it reports it. The store identifies a device by its serial number alone.
struct DeviceDetails
{
    /// Each is the value of the variable of this name in DeviceVariables.
    /// @{
    QString swVersion;
    QString hwVersion;
    QString serialNumber;
    QString modelNumber;
    /// @}

    /// Clears all four strings.
    void clear() { *this = DeviceDetails(); }
};
