// SPDX-License-Identifier: GPL-3.0-or-later
#include "control/replyvalues.h"

QVector<MeasurementValue> measurementValues(const QMap<QString, QString> &reply)
{
    QVector<MeasurementValue> values;
    for (auto pair = reply.constBegin(); pair != reply.constEnd(); ++pair) {
        const bool valid = pair.value() != QLatin1String("N");
        values.append({pair.key(), valid, valid ? pair.value().toDouble() : 0.0});
    }
    return values;
}

int healthPercentage(const QString &reply)
{
    constexpr int notAvailable = -1;
    if (reply.isEmpty()) {
        return notAvailable;
    }
    return qBound(0, QString(reply).remove(QLatin1Char('%')).toInt(), 100);
}
