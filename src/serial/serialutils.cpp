// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialutils.h"

#include "common/logvalue.h"
#include "serial/serialporttypes.h"

template <typename T>
static void registerOnce(const char *name)
{
    if (!QMetaType::isRegistered(QMetaType::type(name))) {
        qRegisterMetaType<T>(name);
    }
}

void registerSerialMetaTypes()
{
    registerOnce<SerialPortActionType>("SerialPortActionType");
    registerOnce<SerialPortValueType>("SerialPortValueType");
    registerOnce<SerialPortJobType>("SerialPortJobType");
    registerOnce<QVector<LogValue>>("QVector<LogValue>");
}
