// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/forms.h"

QStringList contentsOf(const QLayout *layout)
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

QStringList tabOrder(const QWidget *first, const QStringList &names)
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

QString RecordingTranslator::translate(const char *context, const char *sourceText, const char *,
                                       int) const
{
    m_lookups << QString::fromUtf8(context) + QLatin1Char('|') + QString::fromUtf8(sourceText);
    return QString();
}

bool RecordingTranslator::has(const char *context, const QString &text) const
{
    return m_lookups.contains(QString::fromUtf8(context) + QLatin1Char('|') + text);
}
