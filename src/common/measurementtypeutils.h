// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/measurementdisplayoptions.h"
#include "common/measurementitem.h"

/// Converts measurements to the units that the user chose, and supplies the names of units and
/// measurements.
///
/// The items are those of the current model. A name is compared exactly; the first of several items
/// with the same name is used. The value and the name of an unknown measurement are returned
/// unchanged, and it has no unit.
class MeasurementTypeUtils
{
public:
    /// Copies the first item called @p name into @p item; false, with @p item untouched, without
    /// one.
    static bool findMeasurementItem(const QString &name, const QVector<MeasurementItem> &items,
                                    MeasurementItem &item);

    /// @p value of the measurement @p name in the chosen unit; unchanged for an unknown name.
    static double convertToDisplayUnit(double value, const QString &name,
                                       const MeasurementDisplayOptions &options,
                                       const QVector<MeasurementItem> &items);

    /// @p value, delivered in @p unit, in the chosen unit. Only air temperature and pollutants have
    /// a choice; every other type passes unchanged, whatever its @p multiplier.
    static double convertToDisplayUnit(double value, MeasurementType type, MeasurementUnit unit,
                                       double multiplier, const MeasurementDisplayOptions &options);

    /// @p value times @p multiplier unless @p unit is the chosen unit already. There is one
    /// factor for both directions: a model contains the one that its device needs.
    static double convertPollutant(double value, MeasurementUnit unit, double multiplier,
                                   const MeasurementDisplayOptions &options);

    /// @p value in the chosen temperature unit. A @p unit of another type is treated
    /// as the one that was not chosen.
    static double convertTemperature(double value, MeasurementUnit unit,
                                     const MeasurementDisplayOptions &options);

    /// Whether @p unit is the temperature unit that was chosen.
    static bool isInDisplayTemperatureUnit(MeasurementUnit unit,
                                           const MeasurementDisplayOptions &options);

    /// The unit in which values of @p type are shown; Undefined for an unknown type.
    static MeasurementUnit displayUnitOf(MeasurementType type,
                                         const MeasurementDisplayOptions &options);

    /// The unit in which the measurement @p name is shown: that of its type, or the item's own when
    /// the type is Undefined. Undefined for an unknown name.
    static MeasurementUnit displayUnitOf(const QString &name, const QVector<MeasurementItem> &items,
                                         const MeasurementDisplayOptions &options);

    /// The text of @p unit; empty, with a warning in the log, for a number that is no unit.
    static QString measurementUnitToString(MeasurementUnit unit);

    /// The text of the unit in which @p name is shown; empty for Undefined while
    /// options.hideUndefinedUnit is set.
    static QString displayUnitText(const QString &name, const QVector<MeasurementItem> &items,
                                   const MeasurementDisplayOptions &options);

    /// displayUnitText() in brackets, to follow a name; empty when there is no text.
    static QString displayUnitCaption(const QString &name, const QVector<MeasurementItem> &items,
                                      const MeasurementDisplayOptions &options);

    /// The text to show for the measurement @p name; the name itself when it is unknown.
    static QString displayName(const QString &name, const QVector<MeasurementItem> &items);

    /// The factor of the measurement @p name; 1.0 when it is unknown or its factor is exactly 0.
    static double conversionMultiplier(const QString &name, const QVector<MeasurementItem> &items);
};
