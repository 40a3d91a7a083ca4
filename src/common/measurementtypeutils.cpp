// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/measurementtypeutils.h"

#include "common/conversionutils.h"

#include <QtCore/QDebug>
#include <QtCore/QMap>
#include <QtCore/QObject>

bool MeasurementTypeUtils::findMeasurementItem(const QString &name,
                                               const QVector<MeasurementItem> &items,
                                               MeasurementItem &item)
{
    for (const MeasurementItem &candidate : items) {
        if (candidate.name == name) {
            item = candidate;
            return true;
        }
    }
    return false;
}

double MeasurementTypeUtils::convertToDisplayUnit(double value, const QString &name,
                                                  const MeasurementDisplayOptions &options,
                                                  const QVector<MeasurementItem> &items)
{
    // Without an item the type is Undefined, and the value is not converted.
    MeasurementItem item;
    findMeasurementItem(name, items, item);
    return convertToDisplayUnit(value, item.type, item.unit, item.conversionMultiplier, options);
}

double MeasurementTypeUtils::convertToDisplayUnit(double value, MeasurementType type,
                                                  MeasurementUnit unit, double multiplier,
                                                  const MeasurementDisplayOptions &options)
{
    if (type == MeasurementType::AirTemperature) {
        return convertTemperature(value, unit, options);
    }
    if (type == MeasurementType::Pollutant) {
        return convertPollutant(value, unit, multiplier, options);
    }
    return value;
}

double MeasurementTypeUtils::convertPollutant(double value, MeasurementUnit unit, double multiplier,
                                              const MeasurementDisplayOptions &options)
{
    // Quirk: multiplied in either direction, never divided: a model contains the factor for the
    // direction that its device needs.
    return unit == displayUnitOf(MeasurementType::Pollutant, options)
        ? value
        : ConversionUtils::multiply(value, multiplier);
}

double MeasurementTypeUtils::convertTemperature(double value, MeasurementUnit unit,
                                                const MeasurementDisplayOptions &options)
{
    if (isInDisplayTemperatureUnit(unit, options)) {
        return value;
    }
    // Quirk: a unit of another type is converted as well, as if it were the other temperature unit.
    return options.temperatureInCelsius ? ConversionUtils::fahrenheitToCelsius(value)
                                        : ConversionUtils::celsiusToFahrenheit(value);
}

bool MeasurementTypeUtils::isInDisplayTemperatureUnit(MeasurementUnit unit,
                                                      const MeasurementDisplayOptions &options)
{
    return unit == displayUnitOf(MeasurementType::AirTemperature, options);
}

MeasurementUnit MeasurementTypeUtils::displayUnitOf(MeasurementType type,
                                                    const MeasurementDisplayOptions &options)
{
    using Type = MeasurementType;
    using Unit = MeasurementUnit;
    static const QMap<Type, Unit> units{
        {Type::AirHumidity, Unit::RelativeHumidity},
        {Type::AirPressure, Unit::Millibar},
        {Type::ParticulateMatter, Unit::MicrogramsPerCubicMetre},
        {Type::WindDirection, Unit::Degree},
        {Type::WindSpeed, Unit::MetresPerSecond},
        {Type::Rain, Unit::MillimetresPerHour},
        {Type::Extra, Unit::ExtraUnit},
        {Type::SolarRadiation, Unit::WattsPerSquareMetre},
    };
    if (type == Type::AirTemperature) {
        return options.temperatureInCelsius ? Unit::Celsius : Unit::Fahrenheit;
    }
    if (type == Type::Pollutant) {
        return options.pollutantInPpm ? Unit::Ppm : Unit::MicrogramsPerCubicMetre;
    }
    return units.value(type, Unit::Undefined);
}

MeasurementUnit MeasurementTypeUtils::displayUnitOf(const QString &name,
                                                    const QVector<MeasurementItem> &items,
                                                    const MeasurementDisplayOptions &options)
{
    MeasurementItem item;
    findMeasurementItem(name, items, item);
    return item.type == MeasurementType::Undefined ? item.unit : displayUnitOf(item.type, options);
}

QString MeasurementTypeUtils::measurementUnitToString(MeasurementUnit unit)
{
    static const QMap<MeasurementUnit, QString> texts{
        {MeasurementUnit::Undefined, QObject::tr("Undefined")},
        {MeasurementUnit::Celsius, QObject::tr("°C")},
        {MeasurementUnit::Fahrenheit, QObject::tr("°F")},
        {MeasurementUnit::Ppb, QObject::tr("ppb")},
        {MeasurementUnit::Ppm, QObject::tr("ppm")},
        {MeasurementUnit::MicrogramsPerCubicMetre, QObject::tr("µg/m³")},
        {MeasurementUnit::Millibar, QObject::tr("mbar")},
        {MeasurementUnit::RelativeHumidity, QObject::tr("%RH")},
        {MeasurementUnit::Degree, QObject::tr("°")},
        {MeasurementUnit::ExtraUnit, QString()},
        {MeasurementUnit::MillimetresPerHour, QObject::tr("mm/h")},
        {MeasurementUnit::MetresPerSecond, QObject::tr("m/s")},
        {MeasurementUnit::WattsPerSquareMetre, QObject::tr("W/m2")},
    };
    const auto found = texts.constFind(unit);
    if (found == texts.cend()) {
        qWarning()
            << "static QString MeasurementTypeUtils::measurementUnitToString(MeasurementUnit)"
            << "Unit type not supported:" << static_cast<int>(unit);
        return QString();
    }
    return *found;
}

QString MeasurementTypeUtils::displayUnitText(const QString &name,
                                              const QVector<MeasurementItem> &items,
                                              const MeasurementDisplayOptions &options)
{
    const MeasurementUnit unit = displayUnitOf(name, items, options);
    const bool hidden = unit == MeasurementUnit::Undefined && options.hideUndefinedUnit;
    return hidden ? QString() : measurementUnitToString(unit);
}

QString MeasurementTypeUtils::displayUnitCaption(const QString &name,
                                                 const QVector<MeasurementItem> &items,
                                                 const MeasurementDisplayOptions &options)
{
    const QString text = displayUnitText(name, items, options);
    return text.isEmpty() ? text : QStringLiteral("(%1)").arg(text);
}

QString MeasurementTypeUtils::displayName(const QString &name,
                                          const QVector<MeasurementItem> &items)
{
    MeasurementItem item;
    return findMeasurementItem(name, items, item) ? item.displayName : name;
}

double MeasurementTypeUtils::conversionMultiplier(const QString &name,
                                                  const QVector<MeasurementItem> &items)
{
    MeasurementItem item;
    findMeasurementItem(name, items, item);
    return item.conversionMultiplier == 0.0 ? 1.0 : item.conversionMultiplier;
}
