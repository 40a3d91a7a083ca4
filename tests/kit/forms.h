// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QStringList>
#include <QtCore/QTranslator>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLayout>
#include <QtWidgets/QWidget>

/// The object names of what @p layout holds, in order; "spacer" for a spacer, nothing for an object
/// that is not called anything.
inline QStringList contentsOf(const QLayout *layout)
{
    QStringList names;
    for (int i = 0; layout != nullptr && i < layout->count(); ++i) {
        QLayoutItem *item = layout->itemAt(i);
        if (item->widget() != nullptr) {
            names << item->widget()->objectName();
        } else if (item->layout() != nullptr) {
            names << item->layout()->objectName();
        } else {
            names << QStringLiteral("spacer");
        }
    }
    return names;
}

/// The object names of those widgets of @p form that are in @p names, in tab order from @p first.
inline QStringList tabOrder(const QWidget *first, const QStringList &names)
{
    QStringList order;
    const QWidget *widget = first;
    do {
        if (names.contains(widget->objectName())) {
            order << widget->objectName();
        }
        widget = widget->nextInFocusChain();
    } while (widget != first);
    return order;
}

/// Notes the contexts in which texts are looked up, and translates nothing.
class RecordingTranslator : public QTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        m_lookups << QString::fromUtf8(context) + QLatin1Char('|') + QString::fromUtf8(sourceText);
        return QString();
    }
    bool isEmpty() const override { return false; }

    /// Whether @p text was looked up in @p context.
    bool has(const char *context, const QString &text) const
    {
        return m_lookups.contains(QString::fromUtf8(context) + QLatin1Char('|') + text);
    }

private:
    mutable QStringList m_lookups;
};
