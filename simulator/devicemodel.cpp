// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/devicemodel.h"

namespace Simulator {

namespace {

constexpr SettingType Integer = SettingType::Integer;
constexpr SettingType Real = SettingType::Real;
constexpr SettingType Text = SettingType::Text;

// clang-format off
QVector<SettingInfo> outdoorSettings()
{
    return {
        {"location",        Text,    0,    32,   "Roof"},
        {"altitude",        Integer, -400, 9000, "120"},
        {"north_offset",    Real,    -180, 180,  "0"},
        {"avg_interval",    Integer, 1,    3600, "60"},
        {"log_interval",    Integer, 1,    1440, "10"},
        {"heater_setpoint", Real,    5,    60,   "35"},
        {"heater_band",     Real,    0.1,  5,    "0.5"},
        {"alarm_ozone",     Real,    0,    10,   "0.12"},
        {"alarm_particles", Integer, 0,    1000, "150"},
        {"alarm_wind",      Real,    0,    75,   "20.8"},
        {"bus_address",     Integer, 1,    247,  "1"},
        {"asset_tag",       Text,    0,    16,   ""},
    };
}

QVector<MeasurementInfo> outdoorMeasurements()
{
    return {
        {"W0",   Curve::Wave,     14.0,   6.0,   -60.0, 2, false},
        {"W1",   Curve::Wave,     61.0,   18.0,  0.0,   1, false},
        {"W2",   Curve::Wave,     1009.0, 9.0,   500.0, 1, false},
        {"A0",   Curve::Wave,     0.041,  0.02,  0.0,   4, true},
        {"A1",   Curve::Wave,     23.0,   14.0,  0.0,   1, false},
        {"P0",   Curve::Wave,     9.0,    5.0,   0.0,   1, false},
        {"P1",   Curve::Wave,     17.0,   9.0,   0.0,   1, false},
        {"W3",   Curve::Direction,  180.0,  180.0, 0.0,   0, false},
        {"W4",   Curve::Wave,     3.4,    3.2,   0.0,   1, false},
        {"W5",   Curve::Showers,  0.0,    6.0,   0.0,   1, false},
        {"SR",   Curve::Daylight, 0.0,    820.0, 0.0,   0, false},
        {"BATT", Curve::Wave,     12.6,   0.3,   0.0,   2, false},
    };
}

QVector<SettingInfo> indoorSettings()
{
    return {
        {"location",       Text,    0,    24,   "Room 1"},
        {"altitude",       Integer, -400, 9000, "120"},
        {"temp_offset",    Real,    -9,   9,    "0"},
        {"gain_co",        Real,    0.5,  2,    "1"},
        {"avg_interval",   Integer, 1,    600,  "30"},
        {"log_interval",   Integer, 1,    1440, "15"},
        {"alarm_co",       Real,    0,    200,  "35"},
        {"alarm_humidity", Integer, 0,    100,  "70"},
    };
}

QVector<MeasurementInfo> indoorMeasurements()
{
    return {
        {"W0",   Curve::Wave,     71.2,   3.0,   -40.0, 1, false},
        {"W1",   Curve::Wave,     41.0,   8.0,   0.0,   1, false},
        {"W2",   Curve::Wave,     1009.0, 9.0,   500.0, 1, false},
        {"A2",   Curve::Wave,     1.9,    1.4,   0.0,   2, true},
        {"A4",   Curve::Wave,     14.0,   9.0,   0.0,   1, false},
        {"LUX",  Curve::Daylight, 0.0,    640.0, 0.0,   0, false},
    };
}

QVector<SettingInfo> gasSettings()
{
    return {
        {"heater_setpoint", Real,    5,    60,   "40"},
        {"gain_sulphur",    Real,    0.5,  2,    "1"},
        {"offset_sulphur",  Real,    -50,  50,   "-1.5"},
        {"gain_ozone",      Real,    0.5,  2,    "1.02"},
        {"avg_interval",    Integer, 1,    3600, "60"},
        {"log_interval",    Integer, 1,    1440, "10"},
        {"location",        Text,    0,    32,   "Stack 2"},
        {"altitude",        Integer, -400, 9000, "120"},
        {"alarm_sulphur",   Integer, 0,    2000, "75"},
        {"alarm_ozone",     Real,    0,    10,   "0.1"},
    };
}

QVector<MeasurementInfo> gasMeasurements()
{
    return {
        {"A3",   Curve::Wave, 12.0,   8.0,  0.0,   1, true},
        {"A0",   Curve::Wave, 0.038,  0.02, 0.0,   4, false},
        {"A1",   Curve::Wave, 31.0,   15.0, 0.0,   1, false},
        {"P1",   Curve::Wave, 24.0,   12.0, 0.0,   1, false},
        {"W0",   Curve::Wave, 18.0,   5.0,  -60.0, 2, false},
        {"W1",   Curve::Wave, 52.0,   15.0, 0.0,   1, false},
        {"W2",   Curve::Wave, 1009.0, 9.0,  500.0, 1, false},
        {"FLOW", Curve::Wave, 0.7,    0.05, 0.0,   3, false},
    };
}
// clang-format on

} // namespace

const QVector<DeviceModel> &deviceModels()
{
    static const QVector<DeviceModel> models = {
        {"KVT-300", "3.2.0", "C", outdoorSettings(), outdoorMeasurements()},
        {"KVT-100", "2.4.1", "B", indoorSettings(), indoorMeasurements()},
        {"KVT-200", "2.6.0", "B2", gasSettings(), gasMeasurements()},
    };
    return models;
}

const DeviceModel *findDeviceModel(const QByteArray &name)
{
    for (const DeviceModel &model : deviceModels()) {
        if (name == model.name) {
            return &model;
        }
    }
    return nullptr;
}

} // namespace Simulator
