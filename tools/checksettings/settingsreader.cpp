// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/checksettings/settingsreader.h"

#include "ui/settingsspellings.h"

static QString joined(const QStringList &spellings) { return spellings.join(QStringLiteral(", ")); }

/// The rule for an element that the loader reads.
struct SettingsReader::Rule
{
    QString element;
    QString parent;
    QStringList required; ///< its required attributes, in the order of the loader's checks
    QStringList optional;
    bool skipsContentsOfChildren = false;
};

QString SettingsTag::attributeText(const QString &attribute) const
{
    return attributes.value(attribute).toString();
}

const QVector<SettingsReader::Rule> &SettingsReader::rules()
{
    const QString device = QStringLiteral("device");
    const QString configuration = QStringLiteral("configuration");
    const QString group = QStringLiteral("configurationitemgroup");
    const QString measurements = QStringLiteral("measurements");
    static const QVector<Rule> table{
        {QStringLiteral("kvtconfig"), QString(), {}, {}},
        {QStringLiteral("devices"), QStringLiteral("kvtconfig"), {}, {}},
        {device, QStringLiteral("devices"), {QStringLiteral("name")}, {}},
        {configuration, device, {}, {}},
        {group, configuration, {QStringLiteral("group")}, {}, true},
        {QStringLiteral("configurationitem"),
         group,
         SettingsSpellings::requiredOfConfigurationItem(),
         {}},
        {measurements, device, {}, {}, true},
        {QStringLiteral("measurement"),
         measurements,
         SettingsSpellings::requiredOfMeasurement(),
         {QStringLiteral("displayName"), QStringLiteral("conversionMultiplier")}}};
    return table;
}

const SettingsReader::Rule *SettingsReader::ruleFor(const QString &element, const QString &parent)
{
    for (const Rule &rule : rules()) {
        if (rule.element == element && rule.parent == parent) {
            return &rule;
        }
    }
    return nullptr;
}

SettingsReader::SettingsReader(QIODevice *file)
{
    readTags(file);
    m_isComplete = readDevices();
}

void SettingsReader::readTags(QIODevice *file)
{
    QXmlStreamReader reader(file);
    qint64 line = reader.lineNumber();
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::StartElement || token == QXmlStreamReader::EndElement) {
            SettingsTag tag;
            tag.text = QStringLiteral("<%1>").arg(reader.qualifiedName().toString());
            tag.name = reader.name().toString().toLower();
            tag.attributes = reader.attributes();
            tag.line = line;
            tag.isEnd = token == QXmlStreamReader::EndElement;
            m_tags.append(tag);
        }
        // The end of one token is the beginning of the next.
        line = reader.lineNumber();
    }
    if (reader.hasError()) {
        m_xmlError = {line, reader.errorString()};
    }
}

/// Like QXmlStreamReader::readNextStartElement(): null at an end tag and at the end of the file.
SettingsTag *SettingsReader::nextStartTag()
{
    m_position = qMin(m_position + 1, m_tags.size());
    if (m_position == m_tags.size() || m_tags.at(m_position).isEnd) {
        return nullptr;
    }
    return &m_tags[m_position];
}

void SettingsReader::skipContents(const SettingsTag &tag)
{
    for (int depth = 1; depth > 0 && m_position < m_tags.size();) {
        if (SettingsTag *inner = nextStartTag()) {
            inner->reason = QStringLiteral("inside %1, whose contents are skipped").arg(tag.text);
            ++depth;
        } else {
            --depth;
        }
    }
}

bool SettingsReader::readDevices()
{
    for (const QString &expected : {QStringLiteral("KVTConfig"), QStringLiteral("Devices")}) {
        SettingsTag *tag = nextStartTag();
        if (tag == nullptr || tag->name != expected.toLower()) {
            const QString found = tag == nullptr ? QStringLiteral("there is none") : tag->text;
            return reject(tag == nullptr ? qMax(m_xmlError.line, qint64(1)) : tag->line,
                          QStringLiteral("<%1> is expected here, found: %2").arg(expected, found));
        }
        tag->isRead = true;
    }
    while (SettingsTag *tag = nextStartTag()) {
        const Rule *rule = ruleFor(tag->name, QStringLiteral("devices"));
        if (rule == nullptr || tag->attributes.value(rule->required.first()).isNull()) {
            tag->reason = QStringLiteral("%1: the list of models ends here, without a message")
                              .arg(rule == nullptr ? QStringLiteral("not a <Device>")
                                                   : QStringLiteral("no attribute \"name\""));
            return true;
        }
        SettingsModelTags model;
        model.device = tag;
        if (!readTag(*tag, *rule) || !readChildren(*rule, model)) {
            return false;
        }
        const QString name = tag->attributeText(QStringLiteral("name"));
        if (m_models.contains(name)) {
            m_warnings.append(
                {tag->line,
                 QStringLiteral("model \"%1\" appears earlier in the file; this later one is used")
                     .arg(name)});
        }
        m_models.insert(name, model);
    }
    return true;
}

bool SettingsReader::readChildren(const Rule &parent, SettingsModelTags &model)
{
    const QString parentText = m_tags.at(m_position).text;
    while (SettingsTag *tag = nextStartTag()) {
        const Rule *rule = ruleFor(tag->name, parent.element);
        if (rule != nullptr && !readTag(*tag, *rule)) {
            return false;
        }
        if (rule == nullptr) {
            tag->reason = QStringLiteral("unknown in %1: ").arg(parentText)
                + (parent.skipsContentsOfChildren
                       ? QStringLiteral("skipped with its contents")
                       : QStringLiteral("its children are read as children of the enclosing "
                                        "element, whose list its end tag ends"));
        } else if (tag->name == QLatin1String("configurationitem")) {
            model.settings.append(tag);
        } else if (tag->name == QLatin1String("measurement")) {
            model.measurements.append(tag);
        }
        if (parent.skipsContentsOfChildren) {
            skipContents(*tag);
        } else if (rule != nullptr && !readChildren(*rule, model)) {
            return false;
        }
    }
    return true;
}

/// Marks @p tag as read and checks its attributes. Returns false if the loader stops reading at it.
bool SettingsReader::readTag(SettingsTag &tag, const Rule &rule)
{
    tag.isRead = true;
    for (const QXmlStreamAttribute &attribute : qAsConst(tag.attributes)) {
        const QString name = attribute.qualifiedName().toString();
        if (!rule.required.contains(name) && !rule.optional.contains(name)) {
            m_warnings.append(
                {tag.line, QStringLiteral("unknown attribute \"%1\" is ignored").arg(name)});
        }
    }
    for (const QString &attribute : rule.required) {
        if (tag.attributes.value(attribute).isNull()) {
            return reject(tag.line,
                          QStringLiteral("%1 has no attribute \"%2\"").arg(tag.text, attribute));
        }
    }
    return tag.name != QLatin1String("measurement") || hasKnownTypeAndUnit(tag);
}

bool SettingsReader::hasKnownTypeAndUnit(const SettingsTag &tag)
{
    const QString unknown = QStringLiteral("%1 \"%2\" is unknown; expected one of %3");
    const QString type = tag.attributeText(QStringLiteral("type")).toLower();
    const auto &types = SettingsSpellings::measurementTypes();
    if (!types.contains(type)) {
        return reject(tag.line,
                      unknown.arg(QStringLiteral("measurement type"), type, joined(types.keys())));
    }
    const QString unit = tag.attributeText(QStringLiteral("unit")).toLower();
    const auto &units = SettingsSpellings::measurementUnits();
    if (!units.contains(unit)) {
        return reject(tag.line, unknown.arg(QStringLiteral("unit"), unit, joined(units.keys())));
    }
    return true;
}

bool SettingsReader::reject(qint64 line, const QString &text)
{
    m_rejection = {line, text};
    return false;
}

QVector<SettingsMessage> SettingsReader::unreadTags() const
{
    QVector<SettingsMessage> result;
    for (const SettingsTag &tag : m_tags) {
        if (!tag.isEnd && !tag.isRead) {
            const QString reason = tag.reason.isEmpty()
                ? QStringLiteral("after the line at which KV Tool stops reading")
                : tag.reason;
            result.append({tag.line, QStringLiteral("%1: %2").arg(tag.text, reason)});
        }
    }
    return result;
}
