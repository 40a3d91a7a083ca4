// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QStringList>
#include <QtCore/QTranslator>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLayout>
#include <QtWidgets/QWidget>

/// The object names among @p names, in tab order from @p first.
QStringList tabOrder(const QWidget *first, const QStringList &names);

/// Records the lookups of texts with their contexts, and translates nothing.
class RecordingTranslator : public QTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int n) const override;
    bool isEmpty() const override { return false; }

    /// Whether @p text was looked up in @p context.
    bool has(const char *context, const QString &text) const;

private:
    mutable QStringList m_lookups;
};
