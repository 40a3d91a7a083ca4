// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/checksettings/settingswarnings.h"

#include "common/measurementtypeutils.h"
#include "ui/settingsspellings.h"

#include <QtCore/QRegularExpression>
#include <algorithm>
#include <cmath>

namespace {

bool isShownIn(MeasurementType type, MeasurementUnit unit)
{
    return MeasurementTypeUtils::displayUnitOf(type, {true, true, true}) == unit
        || MeasurementTypeUtils::displayUnitOf(type, {false, false, true}) == unit;
}

/// Collects warnings about values that KV Tool accepts although they are probably mistakes.
class ValueCheck
{
public:
    explicit ValueCheck(const SettingsReader &reader)
        : m_warnings(reader.warnings())
    {
        for (const SettingsTag &tag : reader.tags()) {
            if (tag.isRead && tag.name == QLatin1String("configurationitem")) {
                checkSetting(tag);
            } else if (tag.isRead && tag.name == QLatin1String("measurement")) {
                checkMeasurement(tag);
            }
        }
        for (const SettingsModelTags &model : reader.models()) {
            checkModel(model);
        }
        std::stable_sort(
            m_warnings.begin(), m_warnings.end(),
            [](const auto &left, const auto &right) { return left.line < right.line; });
    }

    /// The warnings, in the order of the file.
    const QVector<SettingsMessage> &warnings() const { return m_warnings; }

private:
    void add(const SettingsTag &tag, const QString &text) { m_warnings.append({tag.line, text}); }

    void checkModel(const SettingsModelTags &model)
    {
        const QString name = model.device->attributeText(QStringLiteral("name"));
        if (name.isEmpty() || name != name.trimmed()) {
            add(*model.device,
                QStringLiteral("the model's name is \"%1\": a device must report exactly this, "
                               "including spaces")
                    .arg(name));
        }
        checkForDuplicates(model.settings, QStringLiteral("alias"),
                           QStringLiteral("the alias \"%1\" appears twice in the model: both rows "
                                          "show and change the same setting"));
        checkForDuplicates(model.measurements, QStringLiteral("name"),
                           QStringLiteral("the measurement \"%1\" appears twice in the model: only "
                                          "the first row gets values"));
    }

    void checkForDuplicates(const QVector<const SettingsTag *> &tags, const QString &attribute,
                            const QString &text)
    {
        QStringList seen;
        for (const SettingsTag *tag : tags) {
            const QString value = tag->attributeText(attribute);
            if (seen.contains(value)) {
                add(*tag, text.arg(value));
            }
            seen.append(value);
        }
    }

    void checkSetting(const SettingsTag &tag)
    {
        const QString type = tag.attributeText(QStringLiteral("type"));
        if (!QStringList{QStringLiteral("int"), QStringLiteral("float"), QStringLiteral("text")}
                 .contains(type)) {
            add(tag,
                QStringLiteral("type \"%1\" is read as text; int and float must be lower case")
                    .arg(type));
        }
        checkAlias(tag);
        const auto kind = SettingsSpellings::configurationItemType(type);
        const float min = checkLimit(tag, QStringLiteral("min"), kind);
        const float max = checkLimit(tag, QStringLiteral("max"), kind);
        if (kind != ConfigurationItemType::Text && min > max) {
            add(tag, QStringLiteral("min is above max"));
        }
    }

    void checkAlias(const SettingsTag &tag)
    {
        static const QRegularExpression invalidCharacter(
            QStringLiteral(R"([\s=.*+?()\[\]{}^$|\\]|[^\x00-\x7f])"));
        // Names of the console's own commands and variables.
        static const QStringList consoleNames{
            QStringLiteral("date"),   QStringLiteral("hwver"),      QStringLiteral("health"),
            QStringLiteral("meas"),   QStringLiteral("meas_state"), QStringLiteral("model"),
            QStringLiteral("serial"), QStringLiteral("swver"),      QStringLiteral("unit")};
        const QString alias = tag.attributeText(QStringLiteral("alias"));
        if (alias.isEmpty() || invalidCharacter.match(alias).hasMatch()) {
            add(tag,
                QStringLiteral("the alias \"%1\" is not valid in a command: only ASCII characters, "
                               "no spaces and none of = . * + ? ( ) [ ] { } ^ $ | \\")
                    .arg(alias));
        }
        if (consoleNames.contains(alias)) {
            add(tag,
                QStringLiteral("the alias \"%1\" is a name that the console uses itself: the row "
                               "stays empty or shows something else")
                    .arg(alias));
        }
    }

    float checkLimit(const SettingsTag &tag, const QString &attribute, ConfigurationItemType type)
    {
        const QString text = tag.attributeText(attribute);
        bool isNumber = false;
        const float number = text.toFloat(&isNumber);
        const QString subject = QStringLiteral("%1 \"%2\" ").arg(attribute, text);
        if (!std::isfinite(number)) {
            add(tag, subject + QStringLiteral("is not a finite number"));
        } else if (!isNumber) {
            add(tag, subject + QStringLiteral("is not a number and is read as 0"));
        } else if (type == ConfigurationItemType::Int && number != std::floor(number)) {
            add(tag, subject + QStringLiteral("is not a whole number"));
        }
        return number;
    }

    void checkMeasurement(const SettingsTag &tag)
    {
        const QString name = tag.attributeText(QStringLiteral("name"));
        const QString typeText = tag.attributeText(QStringLiteral("type")).toLower();
        const auto type = SettingsSpellings::measurementTypes().value(typeText);
        const auto unit = SettingsSpellings::measurementUnits().value(
            tag.attributeText(QStringLiteral("unit")).toLower());
        if (name.isEmpty() || name.contains(QRegularExpression(QStringLiteral("[=;\"]")))) {
            add(tag,
                QStringLiteral("a reply cannot contain a value with the name \"%1\"").arg(name));
        }
        const bool fits = isShownIn(type, unit) || type == MeasurementType::Extra
            || (type == MeasurementType::Pollutant && unit == MeasurementUnit::Ppb);
        if (!fits) {
            add(tag,
                QStringLiteral("%1 is not shown in %2: the value is %3")
                    .arg(typeText, unitText(unit),
                         type == MeasurementType::AirTemperature
                             ? QStringLiteral(
                                 "converted as if it were in the unit that is not shown")
                             : QStringLiteral("shown unchanged, with the unit of the type")));
        }
        checkMultiplier(tag, type, unit);
    }

    void checkMultiplier(const SettingsTag &tag, MeasurementType type, MeasurementUnit unit)
    {
        const QStringRef multiplier = tag.attributes.value(QStringLiteral("conversionMultiplier"));
        if (type != MeasurementType::Pollutant) {
            if (!multiplier.isNull()) {
                add(tag, QStringLiteral("conversionMultiplier has an effect only on a pollutant"));
            }
            return;
        }
        if (multiplier.isNull()) {
            add(tag,
                QStringLiteral("no conversionMultiplier: the number stays the same when the "
                               "unit changes"));
        } else if (multiplier.toDouble() == 0.0) {
            add(tag,
                QStringLiteral("conversionMultiplier \"%1\" is read as 0: each converted "
                               "value is 0")
                    .arg(multiplier.toString()));
        }
        if (unit == MeasurementUnit::Ppb) {
            add(tag,
                QStringLiteral("a value in ppb is multiplied for both units that can be shown: "
                               "one factor cannot be right for both ppm and µg/m³"));
        }
    }

    QVector<SettingsMessage> m_warnings;
};

} // namespace

QVector<SettingsMessage> settingsWarnings(const SettingsReader &reader)
{
    return ValueCheck(reader).warnings();
}

QString unitText(MeasurementUnit unit)
{
    const QString text = MeasurementTypeUtils::measurementUnitToString(unit);
    return text.isEmpty() ? QStringLiteral("no unit") : text;
}
