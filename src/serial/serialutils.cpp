// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialutils.h"

#include "common/logvalue.h"
#include "serial/serialporttypes.h"

namespace {

template <typename T>
void registerOnce(const char *name)
{
    if (!QMetaType::isRegistered(QMetaType::type(name))) {
        qRegisterMetaType<T>(name);
    }
}

} // namespace

void registerSerialMetaTypes()
{
    registerOnce<SerialPortActionType>("SerialPortActionType");
    registerOnce<SerialPortValueType>("SerialPortValueType");
    registerOnce<SerialPortJobType>("SerialPortJobType");
    registerOnce<QVector<LogValue>>("QVector<LogValue>");
}
