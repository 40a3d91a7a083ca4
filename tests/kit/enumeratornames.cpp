// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/enumeratornames.h"

#include <QtCore/QVector>

namespace {

template <typename Enum>
QString nameOf(Enum value, const QVector<const char *> &names)
{
    const int number = static_cast<int>(value);
    const char *const name = names.value(number, nullptr);
    return name != nullptr ? QString::fromLatin1(name) : QString::number(number);
}

} // namespace

// In the order of the enumerations.

QString enumeratorName(SerialPortJobType type)
{
    return nameOf(type,
                  {"JobConnect", "JobReadValue", "JobSetValue", "JobReadMeasurements", "JobReadLog",
                   "JobReadLogValue", "JobWriteToEeprom", "JobEraseLog", "JobSetDate",
                   "JobReadDate", "JobReadModel", "JobFactoryReset", "JobReboot",
                   "JobUpdateFirmware", "JobTransmitFirmwareBlock", "JobReadEepromBlock",
                   "JobWriteEepromBlock"});
}

QString enumeratorName(SerialPortActionType type)
{
    return nameOf(type,
                  {"ActionWriteToEeprom", "ActionSetDate", "ActionEraseLog", "ActionReboot",
                   "ActionRebootForFirmware", "ActionFirmwareBlockTransmitted",
                   "ActionBootloaderEntered", "ActionFirmwareTransmitted", "ActionEepromRead",
                   "ActionEepromWritten", "ActionEepromBlockRead", "ActionEepromBlockWritten"});
}

QString enumeratorName(SerialPortValueType type)
{
    return nameOf(type, {"ValueDeviceDate", "ValueLogOption", "ValueLogCount", "ValueDeviceModel"});
}
