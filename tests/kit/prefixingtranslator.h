// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QTranslator>

/// A translator that puts a prefix in front of every text while the object exists.
class PrefixingTranslator : public QTranslator
{
public:
    /// Translates the texts of @p context; without it, those of every context.
    explicit PrefixingTranslator(const char *prefix, const char *context = nullptr)
        : m_prefix(QString::fromLatin1(prefix))
        , m_context(context)
    {
        QCoreApplication::installTranslator(this);
    }
    ~PrefixingTranslator() override { QCoreApplication::removeTranslator(this); }

    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        const bool isTranslated = m_context == nullptr || qstrcmp(context, m_context) == 0;
        return isTranslated ? m_prefix + QString::fromUtf8(sourceText) : QString();
    }
    bool isEmpty() const override { return false; }

private:
    QString m_prefix;
    const char *m_context;
};
