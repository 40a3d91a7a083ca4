// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/devicelog.h"
#include "simulator/devicemeasurements.h"
#include "simulator/devicememory.h"
#include "simulator/deviceoptions.h"
#include "simulator/devicesettings.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QTimer>

namespace Simulator {

/// The state of the device: identity, clock, settings, memory, log and measurements.
///
/// Memory, log and clock are written to the state file shortly after a change, at the latest in the
/// destructor.
class DeviceState : public QObject
{
    Q_OBJECT

public:
    /// Loads the state file if it is that of this model, otherwise starts with the initial state.
    /// The first model of deviceModels() replaces an unknown one.
    explicit DeviceState(const DeviceOptions &options, QObject *parent = nullptr);
    ~DeviceState() override;

    /// Starts the firmware: loads the stored settings and begins the warm-up.
    void boot();

    /// Identity and parts of the device. References are valid as long as this object.
    /// @{
    const DeviceModel &model() const { return m_model; }
    QByteArray serial() const;
    DeviceSettings &settings() { return m_settings; }
    DeviceMemory &memory() { return m_memory; }
    DeviceLog &log() { return m_log; }
    bool hasLogOption() const { return m_options.logOption; }
    /// @}

    /// The device's running clock, in UTC.
    /// @{
    QDateTime now() const;
    void setClock(const QDateTime &time);
    /// @}

    /// Whether warm-up has ended.
    bool isWarm() const;

    /// Whether debug output is on.
    /// @{
    bool debug() const { return m_debug; }
    void setDebug(bool on) { m_debug = on; }
    /// @}

    /// The values of "health" and, after warm-up, of "meas_state" from now on.
    /// @{
    void setHealth(const QByteArray &text) { m_options.health = text; }
    void setMeasurementState(int state) { m_options.measurementState = state; }
    /// @}

    /// Copies the value of the variable or setting @p name to @p value. Returns false for an
    /// unknown name.
    bool value(const QByteArray &name, QByteArray &value) const;

    /// Sets the variable or setting @p name to @p text; read-only variables don't change. Returns
    /// false for an unknown name.
    bool setValue(const QByteArray &name, const QByteArray &text);

    /// Takes a reading and returns it in the console's format.
    QByteArray takeMeasurements();

    /// What takeMeasurements() returned last.
    QByteArray lastMeasurements() const { return m_lastMeasurements; }

    /// Copies the current settings to memory and returns the number of bytes written.
    int storeSettings();

    /// Causes the state to be saved shortly.
    void changed();

private:
    bool load();
    void save();

    DeviceOptions m_options;
    const DeviceModel &m_model;
    DeviceSettings m_settings;
    DeviceMemory m_memory;
    DeviceMeasurements m_measurements;
    DeviceLog m_log;
    QElapsedTimer m_sinceBoot;
    QTimer m_saveTimer;
    QByteArray m_lastMeasurements;
    qint64 m_clockOffsetMs = 0;
    bool m_debug = false;
};

} // namespace Simulator
