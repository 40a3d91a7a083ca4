// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/history.h"

#include "control/replyvalues.h"
#include "simulator/devicemeasurements.h"
#include "simulator/deviceoptions.h"
#include "storage/localstoragehandler.h"
#include "tests/kit/simulatorprocess.h"

#include <QtCore/QMap>
#include <QtSql/QSqlDatabase>

namespace {

constexpr qint64 secondsPerMinute = 60;
constexpr int minutesPerDay = 24 * 60;
constexpr int gapBeginMinute = 300;
constexpr int gapEndMinute = 360;
constexpr int notAvailableBeginMinute = 1020;
constexpr int notAvailableEndMinute = 1080;

/// The reading "A=1.23;B=N" as the device handler delivers it, from raw name to raw value.
QMap<QString, QString> parseReading(const QByteArray &line)
{
    QMap<QString, QString> reply;
    const QList<QByteArray> pairs = line.split(';');
    for (const QByteArray &pair : pairs) {
        const int equals = pair.indexOf('=');
        reply.insert(QString::fromLatin1(pair.left(equals)),
                     QString::fromLatin1(pair.mid(equals + 1)));
    }
    return reply;
}

} // namespace

bool writeHistory(LocalStorage &storage, const QString &path, SimulatorProcess &device)
{
    DeviceDetails details;
    details.modelNumber = QString::fromLatin1(device.setting("model"));
    details.serialNumber = QString::fromLatin1(device.setting("serial"));
    details.swVersion = QString::fromLatin1(device.setting("swver"));
    details.hwVersion = QString::fromLatin1(device.setting("hwver"));
    const Simulator::DeviceModel *const model =
        Simulator::findDeviceModel(details.modelNumber.toLatin1());
    LocalStorageHandler handler(&storage);
    if (model == nullptr || !handler.open(path)) {
        return false;
    }
    handler.setDevice(details);

    const Simulator::DeviceMeasurements measurements(*model, Simulator::DeviceOptions().seed, {});
    const QDateTime begin =
        QDateTime::currentDateTimeUtc().addSecs(-secondsPerMinute * minutesPerDay);
    // The device's readings depend on the device's clock.
    const qint64 clockOffset = QDateTime::currentDateTimeUtc().secsTo(device.clock());
    // A day takes thousands of statements, each of which would otherwise be flushed to disk
    // separately.
    QSqlDatabase::database().transaction();
    for (int minute = 0; minute < minutesPerDay; ++minute) {
        if (minute >= gapBeginMinute && minute < gapEndMinute) {
            continue;
        }
        const QDateTime time = begin.addSecs(secondsPerMinute * minute);
        auto reply = parseReading(measurements.readingAt(time.addSecs(clockOffset), true));
        if (minute >= notAvailableBeginMinute && minute < notAvailableEndMinute) {
            // The last measurement by name, because a missing value shifts the following columns of
            // an export.
            reply.last() = QStringLiteral("N");
        }
        handler.addMeasurements({MeasurementState::Ready, time}, measurementValues(reply));
    }
    const bool written = handler.hasDevice() && QSqlDatabase::database().commit();
    storage.close();
    return written;
}
