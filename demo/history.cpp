// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/history.h"

#include "demo/demodevice.h"
#include "ui/configurationloader.h"

#include <QtCore/QtMath>
#include <QtSql/QSqlDatabase>

namespace {

constexpr qint64 secondsOfAMinute = 60;
constexpr int minutesOfADay = 24 * 60;
constexpr int gapBegin = 300;
constexpr int gapEnd = 360;
constexpr int notAvailableBegin = 900;
constexpr int notAvailableEnd = 960;

/// How a type of measurement runs through the day: around a middle, highest in the early afternoon.
struct Course
{
    MeasurementType type;
    double middle;
    double swing;
};

const Course courses[] = {
    {MeasurementType::AirTemperature, 68.0, 6.0}, {MeasurementType::AirHumidity, 45.0, -12.0},
    {MeasurementType::AirPressure, 1012.0, 3.0},  {MeasurementType::Pollutant, 12.0, 7.0},
    {MeasurementType::Extra, 220.0, 210.0},
};

Course courseOf(MeasurementType type)
{
    for (const Course &course : courses) {
        if (course.type == type) {
            return course;
        }
    }
    return {type, 10.0, 5.0};
}

double valueAt(const MeasurementItem &item, int index, const QDateTime &time)
{
    const Course course = courseOf(item.type);
    const double hour = time.toLocalTime().time().msecsSinceStartOfDay() / 3600000.0;
    const double daily = qSin((hour - 8.0) / 24.0 * 2.0 * M_PI);
    const double ripple =
        0.08 * qSin(static_cast<double>(time.toMSecsSinceEpoch()) / 60000.0 / (7.0 + index));
    return qRound((course.middle + course.swing * (daily + ripple)) * 100.0) / 100.0;
}

bool addMinute(LocalStorage &storage, unsigned deviceId, const QVector<MeasurementItem> &items,
               int minute, const QDateTime &time)
{
    MeasurementMetadata metadata;
    metadata.state = MeasurementState::Ready;
    metadata.timestamp = time;
    QVector<MeasurementValue> values;
    for (int index = 0; index < items.size(); ++index) {
        MeasurementValue value;
        value.name = items.at(index).name;
        value.valid = index != 1 || minute < notAvailableBegin || minute >= notAvailableEnd;
        value.value = value.valid ? valueAt(items.at(index), index, time) : 0.0;
        values.append(value);
    }
    unsigned id = 0;
    if (!storage.addMeasurement(deviceId, metadata, id)) {
        return false;
    }
    storage.addMeasurementValues(id, values);
    return true;
}

} // namespace

bool writeHistory(LocalStorage &storage, const QString &path, DemoDevice &device)
{
    QMap<QString, DeviceConfiguration> models;
    ConfigurationLoader loader;
    DeviceDetails details;
    details.modelNumber = device.variable(QStringLiteral("model"));
    details.serialNumber = device.variable(QStringLiteral("serial"));
    details.swVersion = device.variable(QStringLiteral("swver"));
    details.hwVersion = device.variable(QStringLiteral("hwver"));
    if (!loader.load(models, QStringLiteral("settings.xml"))) {
        return false;
    }
    const QVector<MeasurementItem> items = models.value(details.modelNumber).measurementItems;

    unsigned deviceId = 0;
    if (!storage.open(path) || !storage.addDevice(details, deviceId)) {
        return false;
    }
    // A day is 8640 statements, each of which would wait for the disk on its own.
    QSqlDatabase::database().transaction();
    bool written = true;
    const QDateTime begin =
        QDateTime::currentDateTimeUtc().addSecs(-secondsOfAMinute * minutesOfADay);
    for (int minute = 0; written && minute < minutesOfADay; ++minute) {
        if (minute < gapBegin || minute >= gapEnd) {
            written = addMinute(storage, deviceId, items, minute,
                                begin.addSecs(secondsOfAMinute * minute));
        }
    }
    QSqlDatabase::database().commit();
    storage.close();
    return written;
}
