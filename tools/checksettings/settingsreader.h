// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <QtCore/QXmlStreamReader>

/// A start or end tag of a settings file, and what ConfigurationLoader does with it.
struct SettingsTag
{
    QString text; ///< as written, in angle brackets
    QString name; ///< in lower case, without a prefix
    QXmlStreamAttributes attributes; ///< as written
    qint64 line = 0; ///< the line in which the tag begins
    bool isEnd = false; ///< whether it is an end tag
    bool isRead = false; ///< whether the loader reads it
    QString reason; ///< why it is not read; empty if reading has ended before it

    /// The value of the attribute @p attribute; empty if there is none.
    QString attributeText(const QString &attribute) const;
};

/// A message about a line of the file.
struct SettingsMessage
{
    qint64 line = 0; ///< 1 for the first line
    QString text; ///< a sentence without a full stop
};

/// The tags of a model that were read, in the order of the loader's records.
struct SettingsModelTags
{
    const SettingsTag *device = nullptr; ///< the model's own tag
    QVector<const SettingsTag *> settings; ///< one for each setting
    QVector<const SettingsTag *> measurements; ///< one for each measurement
};

/// Reads a settings file by the rules of ConfigurationLoader, which does not record line numbers,
/// and records which tags are read and why the others are not. Both use SettingsSpellings.
class SettingsReader
{
public:
    /// Reads @p file, which must be open, to its end.
    explicit SettingsReader(QIODevice *file);

    /// Whether the end of the list of models was reached.
    bool isComplete() const { return m_isComplete; }
    /// Why it was not reached; its text is empty if the reason is unknown.
    const SettingsMessage &rejection() const { return m_rejection; }
    /// The XML error at which reading ends; its text is empty if there is none.
    const SettingsMessage &xmlError() const { return m_xmlError; }
    /// The models that were read, by name. The tags belong to this object.
    const QMap<QString, SettingsModelTags> &models() const { return m_models; }
    /// The tags that are not read, each with the reason.
    QVector<SettingsMessage> unreadTags() const;
    /// Probable mistakes in what is read: attributes without effect, models that are replaced.
    const QVector<SettingsMessage> &warnings() const { return m_warnings; }
    /// All tags of the file up to its first XML error.
    const QVector<SettingsTag> &tags() const { return m_tags; }

private:
    struct Rule;
    static const QVector<Rule> &rules();
    static const Rule *ruleFor(const QString &element, const QString &parent);

    void readTags(QIODevice *file);
    SettingsTag *nextStartTag();
    void skipContents(const SettingsTag &tag);
    bool readDevices();
    bool readChildren(const Rule &parent, SettingsModelTags &model);
    bool readTag(SettingsTag &tag, const Rule &rule);
    bool hasKnownTypeAndUnit(const SettingsTag &tag);
    bool reject(qint64 line, const QString &text);

    QVector<SettingsTag> m_tags;
    int m_position = -1;
    bool m_isComplete = false;
    SettingsMessage m_rejection;
    SettingsMessage m_xmlError;
    QVector<SettingsMessage> m_warnings;
    QMap<QString, SettingsModelTags> m_models;
};
