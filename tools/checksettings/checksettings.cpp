// SPDX-License-Identifier: GPL-3.0-or-later
// kvtool-check-settings: reports what KV Tool reads from a settings.xml.
#include "common/measurementtypeutils.h"
#include "tools/checksettings/settingsreader.h"
#include "tools/checksettings/settingswarnings.h"
#include "ui/configurationloader.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTextStream>
#include <algorithm>

namespace {

enum ExitCode {
    FileReadCompletely = 0,
    HelpShown = 0,
    FileNotReadCompletely = 1,
    UsageError = 2,
    InternalError = 3
};

constexpr int maxUnreadTags = 20;

/// The messages that the loader logs.
QStringList &loggedMessages()
{
    static QStringList messages;
    return messages;
}

void recordLoggedMessage(QtMsgType, const QMessageLogContext &, const QString &text)
{
    loggedMessages().append(text);
}

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

QString displayUnitTexts(MeasurementType type)
{
    QStringList texts{unitText(MeasurementTypeUtils::displayUnitOf(type, {true, true, true})),
                      unitText(MeasurementTypeUtils::displayUnitOf(type, {false, false, true}))};
    texts.removeDuplicates();
    return texts.join(QStringLiteral(" or "));
}

QString settingText(const ConfigurationItem &item)
{
    const auto number = [](float value) { return QString::number(static_cast<double>(value)); };
    const QString range = QStringLiteral("%1, %2 to %3")
                              .arg(QStringLiteral("%1"), number(item.min), number(item.max));
    QString kind;
    switch (item.type) {
    case ConfigurationItemType::Int:
        kind = range.arg(QStringLiteral("whole number"));
        break;
    case ConfigurationItemType::Float:
        kind = range.arg(QStringLiteral("number"));
        break;
    case ConfigurationItemType::Text:
        kind = item.max >= 1.0F && item.max < 2147483648.0F
            ? QStringLiteral("text, up to %1 characters").arg(static_cast<int>(item.max))
            : QStringLiteral("text of any length");
        break;
    }
    return QStringLiteral("%1 (%2): %3").arg(item.name, item.alias, kind);
}

QString measurementText(const MeasurementItem &item, const QString &type)
{
    const QString factor = QString::number(item.conversionMultiplier);
    QString shown = QStringLiteral("shown in %1").arg(displayUnitTexts(item.type));
    if (item.type == MeasurementType::Pollutant) {
        const QString ppm = unitText(MeasurementUnit::Ppm);
        const QString micrograms = unitText(MeasurementUnit::MicrogramsPerCubicMetre);
        if (item.unit == MeasurementUnit::Ppm) {
            shown =
                QStringLiteral("shown in ppm, or multiplied by %1 in %2").arg(factor, micrograms);
        } else if (item.unit == MeasurementUnit::MicrogramsPerCubicMetre) {
            shown = QStringLiteral("shown in %2, or multiplied by %1 in %3")
                        .arg(factor, micrograms, ppm);
        } else {
            shown = QStringLiteral("multiplied by %1, shown in %2 or in %3")
                        .arg(factor, ppm, micrograms);
        }
    }
    return QStringLiteral("%1 (%2): %3, reported in %4, %5")
        .arg(item.displayName, item.name, type, unitText(item.unit), shown);
}

void printResult(const QMap<QString, DeviceConfiguration> &models, bool isLoaded,
                 const SettingsReader &reader, const QString &path)
{
    if (!isLoaded || models.isEmpty()) {
        out() << "KV Tool rejects this file: \"Failed to load configuration from file "
              << QFileInfo(path).fileName() << "\".\n";
        if (!reader.rejection().text.isEmpty()) {
            out() << "  line " << reader.rejection().line << ": " << reader.rejection().text
                  << '\n';
        } else if (models.isEmpty()) {
            out() << "  It contains no model.\n";
        }
        if (!models.isEmpty()) {
            const QStringList names = models.keys();
            out() << "  Until a device of one of these models is connected, KV Tool shows neither "
                     "settings nor measurements: "
                  << names.join(QStringLiteral(", ")) << ".\n";
        }
    } else {
        out() << "KV Tool accepts this file: " << models.size()
              << (models.size() == 1 ? " model" : " models") << ".\n\"" << models.firstKey()
              << "\" is the current model until a device has reported its own.\n";
    }
    for (const QString &message : qAsConst(loggedMessages())) {
        out() << "  Log message: " << message << '\n';
    }
    if (!reader.xmlError().text.isEmpty()) {
        out() << "\nThe XML is malformed at line " << reader.xmlError().line << ": "
              << reader.xmlError().text
              << "\nKV Tool does not report this; it treats all open elements as closed there.\n";
    }
}

void printModel(const QString &name, const DeviceConfiguration &model,
                const SettingsModelTags &tags)
{
    out() << "\nModel \"" << name << "\" (line " << tags.device->line << ")\n"
          << (model.configurationItems.isEmpty()
                  ? "  No settings.\n"
                  : "  Settings; the device itself decides whether it accepts a value:\n");
    for (const ConfigurationItem &item : model.configurationItems) {
        out() << "    " << settingText(item) << '\n';
    }
    out() << (model.measurementItems.isEmpty() ? "  No measurements.\n" : "  Measurements:\n");
    for (int i = 0; i < model.measurementItems.size(); ++i) {
        const QString type = tags.measurements.at(i)->attributeText(QStringLiteral("type"));
        out() << "    " << measurementText(model.measurementItems.at(i), type.toLower()) << '\n';
    }
}

void printWarnings(const char *title, const QVector<SettingsMessage> &warnings, int limit)
{
    if (!warnings.isEmpty()) {
        out() << '\n' << title << '\n';
    }
    const QVector<SettingsMessage> shown = warnings.mid(0, limit);
    for (const SettingsMessage &warning : shown) {
        out() << "  line " << warning.line << ": " << warning.text << '\n';
    }
    if (limit >= 0 && warnings.size() > limit) {
        out() << "  ... and " << warnings.size() - limit << " more\n";
    }
}

/// Whether @p reader has found the same models as the loader.
bool modelsAgree(const QMap<QString, DeviceConfiguration> &models, const SettingsReader &reader)
{
    return std::equal(models.keyBegin(), models.keyEnd(), reader.models().keyBegin(),
                      reader.models().keyEnd())
        && std::equal(models.begin(), models.end(), reader.models().begin(),
                      [](const DeviceConfiguration &model, const SettingsModelTags &tags) {
                          return model.configurationItems.size() == tags.settings.size()
                              && model.measurementItems.size() == tags.measurements.size();
                      });
}

ExitCode check(const QString &path)
{
    QFile file(path);
    // KV Tool blocks on a pipe and never stops reading an endless device; both are rejected here.
    const bool isSpecial = QFileInfo::exists(path) && !QFileInfo(path).isFile();
    if (isSpecial || !file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        out() << "KV Tool rejects this file: \"Failed to load configuration from file "
              << QFileInfo(path).fileName() << "\".\n  "
              << (isSpecial ? QStringLiteral("Not a regular file") : file.errorString()) << ": "
              << path << '\n';
        return FileNotReadCompletely;
    }
    const SettingsReader reader(&file);

    QMap<QString, DeviceConfiguration> models;
    qInstallMessageHandler(recordLoggedMessage);
    const bool isLoaded = ConfigurationLoader().load(models, path);
    qInstallMessageHandler(nullptr);

    printResult(models, isLoaded, reader, path);
    if (isLoaded != reader.isComplete() || !modelsAgree(models, reader)) {
        out() << "This program and KV Tool read this file differently; please report it.\n";
        return InternalError;
    }
    for (auto model = models.constBegin(); model != models.constEnd(); ++model) {
        printModel(model.key(), model.value(), reader.models().value(model.key()));
    }
    printWarnings("Not read:", reader.unreadTags(), maxUnreadTags);
    printWarnings("Warnings:", settingsWarnings(reader), -1);
    const bool isReadCompletely = isLoaded && !models.isEmpty() && reader.unreadTags().isEmpty()
        && reader.xmlError().text.isEmpty();
    return isReadCompletely ? FileReadCompletely : FileNotReadCompletely;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    out().setCodec("UTF-8");
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.size() > 1 || arguments.value(0).startsWith(QLatin1Char('-'))) {
        const bool isHelp = arguments.first() == QLatin1String("--help");
        QTextStream(isHelp ? stdout : stderr)
            << "Usage: kvtool-check-settings [FILE]\n"
               "Reports what KV Tool reads from FILE (default: settings.xml).\n";
        return isHelp ? HelpShown : UsageError;
    }
    return check(arguments.value(0, QStringLiteral("settings.xml")));
}
