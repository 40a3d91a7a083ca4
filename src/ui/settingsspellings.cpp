// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/settingsspellings.h"

namespace SettingsSpellings {

const QMap<QString, MeasurementType> &measurementTypes()
{
    static const QMap<QString, MeasurementType> types{
        {QStringLiteral("air temperature"), MeasurementType::AirTemperature},
        {QStringLiteral("air humidity"), MeasurementType::AirHumidity},
        {QStringLiteral("air pressure"), MeasurementType::AirPressure},
        {QStringLiteral("pm2.5"), MeasurementType::ParticulateMatter},
        {QStringLiteral("pm10"), MeasurementType::ParticulateMatter},
        {QStringLiteral("pollutant"), MeasurementType::Pollutant},
        {QStringLiteral("rain"), MeasurementType::Rain},
        {QStringLiteral("winddir"), MeasurementType::WindDirection},
        {QStringLiteral("windspeed"), MeasurementType::WindSpeed},
        {QStringLiteral("solar radiation"), MeasurementType::SolarRadiation},
        {QStringLiteral("extra"), MeasurementType::Extra}};
    return types;
}

const QMap<QString, MeasurementUnit> &measurementUnits()
{
    static const QMap<QString, MeasurementUnit> units{
        {QStringLiteral("c"), MeasurementUnit::Celsius},
        {QStringLiteral("f"), MeasurementUnit::Fahrenheit},
        {QStringLiteral("mbar"), MeasurementUnit::Millibar},
        {QStringLiteral("rh"), MeasurementUnit::RelativeHumidity},
        {QStringLiteral("ppb"), MeasurementUnit::Ppb},
        {QStringLiteral("ppm"), MeasurementUnit::Ppm},
        {QStringLiteral("ug/m3"), MeasurementUnit::MicrogramsPerCubicMetre},
        {QStringLiteral("extra"), MeasurementUnit::ExtraUnit},
        {QStringLiteral("deg"), MeasurementUnit::Degree},
        {QStringLiteral("m/s"), MeasurementUnit::MetresPerSecond},
        {QStringLiteral("w/m2"), MeasurementUnit::WattsPerSquareMetre},
        {QStringLiteral("mm/h"), MeasurementUnit::MillimetresPerHour}};
    return units;
}

ConfigurationItemType configurationItemType(const QString &text)
{
    static const QMap<QString, ConfigurationItemType> types{
        {QStringLiteral("float"), ConfigurationItemType::Float},
        {QStringLiteral("int"), ConfigurationItemType::Int}};
    return types.value(text, ConfigurationItemType::Text);
}

QStringList requiredOfConfigurationItem()
{
    return {QStringLiteral("type"), QStringLiteral("min"), QStringLiteral("max"),
            QStringLiteral("name"), QStringLiteral("alias")};
}

QStringList requiredOfMeasurement()
{
    return {QStringLiteral("name"), QStringLiteral("type"), QStringLiteral("unit")};
}

} // namespace SettingsSpellings
