// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/devicesettings.h"

#include <QtCore/QList>
#include <cmath>

namespace Simulator {

namespace {

constexpr int realDecimals = 3;

QByteArray header(const DeviceModel &model) { return QByteArray("settings of ") + model.name; }

QByteArray realText(double value)
{
    QByteArray text = QByteArray::number(value, 'f', realDecimals);
    while (text.endsWith('0')) {
        text.chop(1);
    }
    if (text.endsWith('.')) {
        text.chop(1);
    }
    return text == "-0" ? QByteArray("0") : text;
}

} // namespace

DeviceSettings::DeviceSettings(const DeviceModel &model)
    : m_model(model)
{
    loadFactoryValues();
}

bool DeviceSettings::contains(const QByteArray &name) const { return indexOf(name) >= 0; }

QByteArray DeviceSettings::value(const QByteArray &name) const
{
    return m_values.value(indexOf(name));
}

bool DeviceSettings::set(const QByteArray &name, const QByteArray &text)
{
    const int index = indexOf(name);
    if (index < 0) {
        return false;
    }
    QByteArray accepted = text;
    if (normalise(m_model.settings.at(index), accepted)) {
        m_values[index] = accepted;
    }
    return true;
}

void DeviceSettings::loadFactoryValues()
{
    m_values.clear();
    for (const SettingInfo &info : m_model.settings) {
        m_values += QByteArray(info.initial);
    }
}

QByteArray DeviceSettings::toText() const
{
    QByteArray text = header(m_model) + '\n';
    for (int index = 0; index < m_values.size(); ++index) {
        text += m_model.settings.at(index).name + QByteArray("=") + m_values.at(index) + '\n';
    }
    return text;
}

void DeviceSettings::fromText(const QByteArray &text)
{
    loadFactoryValues();
    const QList<QByteArray> lines = text.split('\n');
    if (lines.first() != header(m_model)) {
        return;
    }
    for (const QByteArray &line : lines) {
        const int equals = line.indexOf('=');
        if (equals > 0) {
            set(line.left(equals), line.mid(equals + 1));
        }
    }
}

int DeviceSettings::indexOf(const QByteArray &name) const
{
    for (int index = 0; index < m_model.settings.size(); ++index) {
        if (name == m_model.settings.at(index).name) {
            return index;
        }
    }
    return -1;
}

bool DeviceSettings::normalise(const SettingInfo &info, QByteArray &text)
{
    bool ok = true;
    switch (info.type) {
    case SettingType::Text:
        if (info.maximum > 0.0) {
            text.truncate(static_cast<int>(info.maximum));
        }
        break;
    case SettingType::Integer: {
        const qlonglong number = text.trimmed().toLongLong(&ok);
        text = QByteArray::number(qBound(static_cast<qlonglong>(info.minimum), number,
                                         static_cast<qlonglong>(info.maximum)));
        break;
    }
    case SettingType::Real: {
        const double number = text.trimmed().toDouble(&ok);
        ok = ok && std::isfinite(number);
        text = ok ? realText(qBound(info.minimum, number, info.maximum)) : QByteArray();
        break;
    }
    }
    return ok;
}

} // namespace Simulator
