// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/configurationloader.h"

#include "ui/settingsspellings.h"

#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <algorithm>

bool ConfigurationLoader::load(QMap<QString, DeviceConfiguration> &devices, const QString &path)
{
    QFile file(path);
    if (!file.exists()) {
        qDebug() << "File" << path << "does not exist!";
        return false;
    }
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        qDebug() << "Failed to open file" << path;
        return false;
    }
    m_reader.setDevice(&file);
    const bool loaded = readDevices(devices);
    m_reader.setDevice(nullptr);
    return loaded;
}

bool ConfigurationLoader::readDevices(QMap<QString, DeviceConfiguration> &devices)
{
    for (const QString &element : {QStringLiteral("KVTConfig"), QStringLiteral("Devices")}) {
        if (!m_reader.readNextStartElement() || !isElement(element)) {
            return false;
        }
    }
    // Quirk: an unknown element or a device without a name ends parsing without an error; the
    // models after it are not read. So does malformed XML, here and in the functions below.
    const QString deviceElement = QStringLiteral("Device");
    const QString nameAttribute = QStringLiteral("name");
    while (m_reader.readNextStartElement() && isElement(deviceElement)
           && hasAttribute(nameAttribute, deviceElement)) {
        const QString name = attributeText(nameAttribute);
        DeviceConfiguration device;
        if (!readDevice(device)) {
            return false;
        }
        devices.insert(name, device);
    }
    return true;
}

// Quirk: an unknown element is neither read nor skipped here and in readConfiguration(). Its
// children count as children of the enclosing element, and its end tag ends that element's list.
bool ConfigurationLoader::readDevice(DeviceConfiguration &device)
{
    while (m_reader.readNextStartElement()) {
        if (isElement(QStringLiteral("Configuration"))) {
            if (!readConfiguration(device)) {
                return false;
            }
        } else if (isElement(QStringLiteral("Measurements"))) {
            if (!readMeasurements(device)) {
                return false;
            }
        }
    }
    return true;
}

bool ConfigurationLoader::readConfiguration(DeviceConfiguration &device)
{
    while (m_reader.readNextStartElement()) {
        if (isElement(QStringLiteral("ConfigurationItemGroup"))
            && !readConfigurationItemGroup(device)) {
            return false;
        }
    }
    return true;
}

bool ConfigurationLoader::readConfigurationItemGroup(DeviceConfiguration &device)
{
    const QString groupAttribute = QStringLiteral("group");
    if (!hasAttribute(groupAttribute, QStringLiteral("ConfigurationItemGroup"))) {
        return false;
    }
    const QString group = attributeText(groupAttribute);
    while (m_reader.readNextStartElement()) {
        if (isElement(QStringLiteral("ConfigurationItem"))
            && !readConfigurationItem(group, device)) {
            return false;
        }
        m_reader.skipCurrentElement();
    }
    return true;
}

bool ConfigurationLoader::readConfigurationItem(const QString &group, DeviceConfiguration &device)
{
    if (!hasAttributes(SettingsSpellings::requiredOfConfigurationItem(),
                       QStringLiteral("ConfigurationItem"))) {
        return false;
    }
    ConfigurationItem item;
    item.group = group;
    item.name = attributeText(QStringLiteral("name"));
    item.alias = attributeText(QStringLiteral("alias"));
    item.min = attributeText(QStringLiteral("min")).toFloat();
    item.max = attributeText(QStringLiteral("max")).toFloat();
    item.type = SettingsSpellings::configurationItemType(attributeText(QStringLiteral("type")));
    device.configurationItems.append(item);
    return true;
}

bool ConfigurationLoader::readMeasurements(DeviceConfiguration &device)
{
    while (m_reader.readNextStartElement()) {
        if (isElement(QStringLiteral("Measurement")) && !readMeasurement(device)) {
            return false;
        }
        m_reader.skipCurrentElement();
    }
    return true;
}

bool ConfigurationLoader::readMeasurement(DeviceConfiguration &device)
{
    // Quirk: the message says "MeasurementItem" instead of the element's name, "Measurement".
    if (!hasAttributes(SettingsSpellings::requiredOfMeasurement(),
                       QStringLiteral("MeasurementItem"))) {
        return false;
    }
    MeasurementItem item;
    item.name = attributeText(QStringLiteral("name"));
    item.displayName = attributeText(QStringLiteral("displayName"));
    if (item.displayName.isEmpty()) {
        item.displayName = item.name;
    }
    const QString type = attributeText(QStringLiteral("type")).toLower();
    const auto &types = SettingsSpellings::measurementTypes();
    const auto knownType = types.constFind(type);
    if (knownType == types.constEnd()) {
        qWarning() << "Unable to parse measurement type" << type;
        return false;
    }
    item.type = *knownType;
    const QString unit = attributeText(QStringLiteral("unit")).toLower();
    const auto &units = SettingsSpellings::measurementUnits();
    const auto knownUnit = units.constFind(unit);
    if (knownUnit == units.constEnd()) {
        qWarning() << "Unable to parse unit" << unit;
        return false;
    }
    item.unit = *knownUnit;
    const QString multiplier = QStringLiteral("conversionMultiplier");
    if (m_reader.attributes().hasAttribute(multiplier)) {
        item.conversionMultiplier = attributeText(multiplier).toDouble();
    }
    device.measurementItems.append(item);
    return true;
}

bool ConfigurationLoader::isElement(const QString &name)
{
    return m_reader.name().toString().toLower() == name.toLower();
}

bool ConfigurationLoader::hasAttribute(const QString &attribute, const QString &element)
{
    if (!m_reader.attributes().hasAttribute(attribute)) {
        qDebug() << attribute << "attribute not specified for" << element << "element!";
        return false;
    }
    return true;
}

bool ConfigurationLoader::hasAttributes(const QStringList &attributes, const QString &element)
{
    return std::all_of(attributes.begin(), attributes.end(),
                       [&](const QString &attribute) { return hasAttribute(attribute, element); });
}

QString ConfigurationLoader::attributeText(const QString &attribute)
{
    return m_reader.attributes().value(attribute).toString();
}
