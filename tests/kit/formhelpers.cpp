// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/formhelpers.h"

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
