// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/deviceconfiguration.h"

#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtCore/QXmlStreamReader>

/// Reads settings.xml, the description of the models. An object is used for one load.
///
/// Malformed XML is not reported as an error: it counts as the end of the current element, so a
/// truncated file is read up to that point.
class ConfigurationLoader
{
public:
    /// Adds the models of the file @p path to @p devices, by model name; a later model replaces an
    /// earlier one with the same name. Returns false if the file can't be read, isn't a list of
    /// models, lacks a required attribute within a model or has an unknown type or unit; the models
    /// before the error have then been added.
    bool load(QMap<QString, DeviceConfiguration> &devices, const QString &path);

private:
    bool readDevices(QMap<QString, DeviceConfiguration> &devices);
    bool readDevice(DeviceConfiguration &device);
    bool readConfiguration(DeviceConfiguration &device);
    bool readConfigurationItemGroup(DeviceConfiguration &device);
    bool readConfigurationItem(const QString &group, DeviceConfiguration &device);
    bool readMeasurements(DeviceConfiguration &device);
    bool readMeasurement(DeviceConfiguration &device);

    bool isElement(const QString &name);
    bool hasAttribute(const QString &attribute, const QString &element);
    bool hasAttributes(const QStringList &attributes, const QString &element);
    QString attributeText(const QString &attribute);

    QXmlStreamReader m_reader;
};
