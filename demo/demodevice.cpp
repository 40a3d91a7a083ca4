// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/demodevice.h"

#include <QtCore/QCoreApplication>

DemoDevice::DemoDevice()
    : SimulatorProcess(QCoreApplication::applicationDirPath() + QLatin1String("/kvt-simulator"))
{
}

QString DemoDevice::variable(const QString &name)
{
    return QString::fromLatin1(setting(name.toLatin1()));
}

QMap<QString, QString> DemoDevice::lastMeasurements()
{
    QMap<QString, QString> values;
    const QList<QByteArray> pairs = measurements();
    for (const QByteArray &pair : pairs) {
        const int equals = pair.indexOf('=');
        values.insert(QString::fromLatin1(pair.left(equals)),
                      QString::fromLatin1(pair.mid(equals + 1)));
    }
    return values;
}

QStringList DemoDevice::log()
{
    QStringList records;
    const QList<QByteArray> rows = control("log");
    for (const QByteArray &row : rows) {
        const int begin = row.indexOf('=') + 1;
        records.append(QString::fromLatin1(row.mid(begin, row.lastIndexOf('#') - begin)));
    }
    return records;
}

QDateTime DemoDevice::clock()
{
    QDateTime time =
        QDateTime::fromString(QString::fromLatin1(control("clock").value(0)), Qt::ISODate);
    time.setTimeSpec(Qt::UTC);
    return time;
}

bool DemoDevice::isAtConsole()
{
    return state("mode") == "console";
}
