// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/configurationloader.h"

#include <QtCore/QFile>
#include <QtTest/QtTest>

/// Settings files for tests, built from their parts, and the result of loading them.
namespace SettingsFile {

using Devices = QMap<QString, DeviceConfiguration>;

inline const QByteArray goodItem =
    R"(<ConfigurationItem type="int" min="1" max="2" name="Label" alias="word"/>)";
inline const QByteArray goodMeasurement =
    R"(<Measurement name="T" type="air temperature" unit="c"/>)";

// Collects the log lines during its lifetime instead of printing them.
class LogRecorder
{
public:
    LogRecorder()
    {
        lines().clear();
        m_previous = qInstallMessageHandler(record);
    }
    ~LogRecorder() { qInstallMessageHandler(m_previous); }
    Q_DISABLE_COPY(LogRecorder)

    static QStringList &lines()
    {
        static QStringList recorded;
        return recorded;
    }

private:
    static void record(QtMsgType, const QMessageLogContext &, const QString &text)
    {
        lines().append(text);
    }

    QtMessageHandler m_previous = nullptr;
};

inline void writeFile(const QByteArray &content)
{
    QFile file(QStringLiteral("settings.xml"));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(content), qint64(content.size()));
}

inline bool loadText(const QByteArray &content, Devices &devices)
{
    writeFile(content);
    ConfigurationLoader loader;
    return loader.load(devices, QStringLiteral("settings.xml"));
}

inline QByteArray file(const QByteArray &devices)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<KVTConfig><Devices>" + devices
        + "</Devices></KVTConfig>\n";
}

inline QByteArray device(const QByteArray &name, const QByteArray &content)
{
    return "<Device name=\"" + name + "\">" + content + "</Device>";
}

inline QByteArray group(const QByteArray &items)
{
    return "<ConfigurationItemGroup group=\"G\">" + items + "</ConfigurationItemGroup>";
}

inline QByteArray configuration(const QByteArray &items)
{
    return "<Configuration>" + group(items) + "</Configuration>";
}

inline QByteArray measurements(const QByteArray &items)
{
    return "<Measurements>" + items + "</Measurements>";
}

inline QByteArray item(const QByteArray &alias)
{
    return "<ConfigurationItem type=\"int\" min=\"0\" max=\"9\" name=\"N\" alias=\"" + alias
        + "\"/>";
}

inline QByteArray measurement(const QByteArray &name)
{
    return "<Measurement name=\"" + name + "\" type=\"extra\" unit=\"extra\"/>";
}

inline QStringList aliases(const DeviceConfiguration &device)
{
    QStringList result;
    for (const ConfigurationItem &setting : device.configurationItems) {
        result.append(setting.alias);
    }
    return result;
}

inline QStringList names(const DeviceConfiguration &device)
{
    QStringList result;
    for (const MeasurementItem &entry : device.measurementItems) {
        result.append(entry.name);
    }
    return result;
}

inline QStringList list(const char *words)
{
    return QString::fromUtf8(words).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace SettingsFile
