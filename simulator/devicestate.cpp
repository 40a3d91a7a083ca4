// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/devicestate.h"

#include "simulator/pseudorandom.h"

#include <QtCore/QDataStream>
#include <QtCore/QFile>
#include <QtCore/QSaveFile>

namespace Simulator {

namespace {

constexpr quint32 stateMagic = 0x4b565431;
constexpr int saveDelayMs = 100;
constexpr int secondsPerMinute = 60;
constexpr qint64 msPerMinute = 60000;

const DeviceModel &modelOrFirst(const QByteArray &name)
{
    const DeviceModel *model = findDeviceModel(name);
    return model != nullptr ? *model : deviceModels().first();
}

} // namespace

DeviceState::DeviceState(const DeviceOptions &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_model(modelOrFirst(options.model))
    , m_settings(m_model)
    , m_memory(options.seed)
    , m_measurements(m_model, options.seed, options.unavailable)
    , m_log(m_model, m_measurements)
    , m_clockOffsetMs(options.clockOffsetMs)
    , m_debug(options.debug)
{
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(saveDelayMs);
    connect(&m_saveTimer, &QTimer::timeout, this, &DeviceState::save);
    if (!load()) {
        storeSettings();
        const qint64 minute = now().toMSecsSinceEpoch() / msPerMinute * msPerMinute;
        m_log.fill(options.logRows, QDateTime::fromMSecsSinceEpoch(minute, Qt::UTC),
                   m_settings.value("log_interval").toInt() * secondsPerMinute);
        save();
    }
    m_settings.fromText(m_memory.settingsText());
    m_sinceBoot.start();
}

DeviceState::~DeviceState()
{
    if (m_saveTimer.isActive()) {
        save();
    }
}

void DeviceState::boot()
{
    m_settings.fromText(m_memory.settingsText());
    m_debug = false;
    m_sinceBoot.restart();
}

QByteArray DeviceState::serial() const
{
    if (!m_options.serial.isEmpty()) {
        return m_options.serial;
    }
    const quint64 number =
        noise(m_options.seed, qChecksum(m_model.name, qstrlen(m_model.name))) % 1000000;
    return 'K' + QByteArray::number(number).rightJustified(6, '0');
}

QDateTime DeviceState::now() const
{
    return QDateTime::currentDateTimeUtc().addMSecs(m_clockOffsetMs);
}

void DeviceState::setClock(const QDateTime &time)
{
    m_clockOffsetMs = QDateTime::currentDateTimeUtc().msecsTo(time);
    changed();
}

bool DeviceState::isWarm() const { return m_sinceBoot.elapsed() >= m_options.warmUpMs; }

bool DeviceState::value(const QByteArray &name, QByteArray &value) const
{
    const struct
    {
        const char *name;
        QByteArray value;
    } variables[] = {
        {"swver", m_model.firmware},
        {"hwver", m_model.hardware},
        {"serial", serial()},
        {"model", m_model.name},
        {"meas_state", isWarm() ? QByteArray::number(m_options.measurementState) : QByteArray("0")},
        {"health", m_options.health},
        {"debug", m_debug ? "1" : "0"},
    };
    for (const auto &variable : variables) {
        if (name == variable.name) {
            value = variable.value;
            return true;
        }
    }
    value = m_settings.value(name);
    return m_settings.contains(name);
}

bool DeviceState::setValue(const QByteArray &name, const QByteArray &text)
{
    if (name == "debug") {
        if (text == "0" || text == "1") {
            m_debug = text == "1";
        }
        return true;
    }
    QByteArray unused;
    return m_settings.set(name, text) || value(name, unused);
}

QByteArray DeviceState::takeMeasurements()
{
    m_lastMeasurements = m_measurements.readingAt(now(), isWarm());
    return m_lastMeasurements;
}

int DeviceState::storeSettings()
{
    const int bytes = m_memory.storeSettingsText(m_settings.toText());
    changed();
    return bytes;
}

void DeviceState::changed()
{
    if (!m_options.stateFile.isEmpty() && !m_saveTimer.isActive()) {
        m_saveTimer.start();
    }
}

bool DeviceState::load()
{
    QFile file(m_options.stateFile);
    if (m_options.stateFile.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        return false;
    }
    QDataStream stream(&file);
    stream.setVersion(QDataStream::Qt_5_15);
    quint32 magic = 0;
    QByteArray model;
    QByteArray image;
    qint32 rows = 0;
    qint32 intervalS = 0;
    QDateTime end;
    qint64 offsetMs = 0;
    stream >> magic >> model >> image >> rows >> intervalS >> end >> offsetMs;
    if (stream.status() != QDataStream::Ok || magic != stateMagic || model != m_model.name
        || !m_memory.setImage(image)) {
        return false;
    }
    m_log.fill(rows, end, intervalS);
    m_clockOffsetMs = offsetMs;
    return true;
}

void DeviceState::save()
{
    m_saveTimer.stop();
    QSaveFile file(m_options.stateFile);
    if (m_options.stateFile.isEmpty() || !file.open(QIODevice::WriteOnly)) {
        return;
    }
    QDataStream stream(&file);
    stream.setVersion(QDataStream::Qt_5_15);
    stream << stateMagic << QByteArray(m_model.name) << m_memory.image() << qint32(m_log.count())
           << qint32(m_log.intervalS()) << m_log.end() << m_clockOffsetMs;
    file.commit();
}

} // namespace Simulator
