// SPDX-License-Identifier: GPL-3.0-or-later
// What the program makes of files of models: a line of JSON for each file named on standard input.
#include "ui/configurationloader.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTextStream>
#include <cstdio>

namespace {

QJsonArray &messages()
{
    static QJsonArray recorded;
    return recorded;
}

void record(QtMsgType, const QMessageLogContext &, const QString &text)
{
    messages().append(text);
}

// As text, because JSON knows neither infinity nor the end of a float's digits.
QString number(double value, int digits)
{
    return QString::number(value, 'g', digits);
}

QJsonObject settingAsJson(const ConfigurationItem &item)
{
    return {{QStringLiteral("group"), item.group},
            {QStringLiteral("name"), item.name},
            {QStringLiteral("alias"), item.alias},
            {QStringLiteral("min"), number(static_cast<double>(item.min), 9)},
            {QStringLiteral("max"), number(static_cast<double>(item.max), 9)},
            {QStringLiteral("type"), static_cast<int>(item.type)}};
}

QJsonObject measurementAsJson(const MeasurementItem &item)
{
    return {{QStringLiteral("name"), item.name},
            {QStringLiteral("displayName"), item.displayName},
            {QStringLiteral("type"), static_cast<int>(item.type)},
            {QStringLiteral("unit"), static_cast<int>(item.unit)},
            {QStringLiteral("multiplier"), number(item.conversionMultiplier, 17)}};
}

QJsonObject modelAsJson(const DeviceConfiguration &model)
{
    QJsonArray settings;
    for (const ConfigurationItem &item : model.configurationItems) {
        settings.append(settingAsJson(item));
    }
    QJsonArray measurements;
    for (const MeasurementItem &item : model.measurementItems) {
        measurements.append(measurementAsJson(item));
    }
    return {{QStringLiteral("settings"), settings}, {QStringLiteral("measurements"), measurements}};
}

QJsonObject verdict(const QString &path)
{
    messages() = QJsonArray();
    QMap<QString, DeviceConfiguration> devices;
    ConfigurationLoader loader;
    const bool loaded = loader.load(devices, path);
    QJsonObject models;
    for (auto device = devices.constBegin(); device != devices.constEnd(); ++device) {
        models.insert(device.key(), modelAsJson(device.value()));
    }
    return {{QStringLiteral("loaded"), loaded},
            {QStringLiteral("models"), models},
            {QStringLiteral("log"), messages()}};
}

} // namespace

int main()
{
    qInstallMessageHandler(record);
    QTextStream input(stdin);
    for (QString path = input.readLine(); !path.isNull(); path = input.readLine()) {
        const QByteArray line = QJsonDocument(verdict(path)).toJson(QJsonDocument::Compact);
        std::puts(line.constData());
    }
    return 0;
}
