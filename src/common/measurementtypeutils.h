// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementdisplayoptions.h"
#include "common/measurementitem.h"

/// Converts measurements to the units that the user chose, and supplies the names of units and
/// measurements.
///
/// The items are those of the current model. A name is compared exactly; the first of several items
/// with the same name is used. The value and the name of an unknown measurement are returned
/// unchanged, and its unit is Undefined.
class MeasurementTypeUtils
{
public:
    /// Copies the first item named @p name to @p item. Returns false and leaves @p item unchanged
    /// if there is none.
    static bool findMeasurementItem(const QString &name, const QVector<MeasurementItem> &items,
                                    MeasurementItem &item);

    /// @p value of the measurement @p name in the chosen unit; unchanged for an unknown name.
    static double convertToDisplayUnit(double value, const QString &name,
                                       const MeasurementDisplayOptions &options,
                                       const QVector<MeasurementItem> &items);

    /// @p value, which the device reported in @p unit, in the chosen unit. The user can choose a
    /// unit only for air temperature and pollutants; values of other types are returned unchanged,
    /// whatever @p multiplier is.
    static double convertToDisplayUnit(double value, MeasurementType type, MeasurementUnit unit,
                                       double multiplier, const MeasurementDisplayOptions &options);

    /// @p value times @p multiplier unless @p unit already is the chosen unit. Never divided: a
    /// model contains the factor for the direction that its device needs.
    static double convertPollutant(double value, MeasurementUnit unit, double multiplier,
                                   const MeasurementDisplayOptions &options);

    /// @p value in the chosen temperature unit. A @p unit that is not a temperature unit is treated
    /// as the temperature unit that was not chosen.
    static double convertTemperature(double value, MeasurementUnit unit,
                                     const MeasurementDisplayOptions &options);

    /// Whether @p unit is the temperature unit that was chosen.
    static bool isInDisplayTemperatureUnit(MeasurementUnit unit,
                                           const MeasurementDisplayOptions &options);

    /// The unit in which values of @p type are shown; Undefined for an unknown type.
    static MeasurementUnit displayUnitOf(MeasurementType type,
                                         const MeasurementDisplayOptions &options);

    /// The unit in which the measurement @p name is shown: that of its type, or the unit of its
    /// item if the type is Undefined. Undefined for an unknown name.
    static MeasurementUnit displayUnitOf(const QString &name, const QVector<MeasurementItem> &items,
                                         const MeasurementDisplayOptions &options);

    /// The string to show for @p unit. Empty for ExtraUnit, and, with a warning in the log, for a
    /// value that is not an enumerator.
    static QString measurementUnitToString(MeasurementUnit unit);

    /// The string to show for the unit of @p name; also empty for Undefined if
    /// options.hideUndefinedUnit is set.
    static QString displayUnitText(const QString &name, const QVector<MeasurementItem> &items,
                                   const MeasurementDisplayOptions &options);

    /// displayUnitText() in parentheses, to be appended to a name; empty if displayUnitText() is.
    static QString displayUnitCaption(const QString &name, const QVector<MeasurementItem> &items,
                                      const MeasurementDisplayOptions &options);

    /// The name to show for the measurement @p name; @p name itself if it is unknown.
    static QString displayName(const QString &name, const QVector<MeasurementItem> &items);

    /// The factor of the measurement @p name; 1.0 if it is unknown or its factor is exactly 0.
    static double conversionMultiplier(const QString &name, const QVector<MeasurementItem> &items);
};
