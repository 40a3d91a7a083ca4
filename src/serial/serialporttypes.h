// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QMetaType>

/// The kind of a job, one enumerator for each job class.
enum class SerialPortJobType {
    JobConnect = 0,
    JobReadValue = 1,
    JobSetValue = 2,
    JobReadMeasurements = 3,
    JobReadLog = 4,
    JobReadLogValue = 5,
    JobWriteToEeprom = 6,
    JobEraseLog = 7,
    JobSetDate = 8,
    JobReadDate = 9,
    JobReadModel = 10,
    JobFactoryReset = 11,
    JobReboot = 12,
    JobUpdateFirmware = 13,
    JobTransmitFirmwareBlock = 14,
    JobReadEepromBlock = 15,
    JobWriteEepromBlock = 16
};

/// An action on the device, or a step of one. The comment after each enumerator describes the
/// result in actionFinished().
enum class SerialPortActionType {
    ActionWriteToEeprom = 0, ///< none
    ActionSetDate = 1, ///< QDateTime, as the device confirmed it
    ActionEraseLog = 2, ///< none
    ActionReboot = 3, ///< none
    ActionRebootForFirmware = 4, ///< none
    ActionFirmwareBlockTransmitted = 5, ///< double, percent sent
    ActionBootloaderEntered = 6, ///< none
    ActionFirmwareTransmitted = 7, ///< int 100
    ActionEepromRead = 8, ///< QByteArray, the image
    ActionEepromWritten = 9, ///< none
    ActionEepromBlockRead = 10, ///< int, percent
    ActionEepromBlockWritten = 11 ///< int, percent
};

/// The meaning of a value in valueRead(). The comment after each enumerator describes the value.
enum class SerialPortValueType {
    ValueDeviceDate = 0, ///< QDateTime, UTC
    ValueLogOption = 1, ///< bool: the device has the log option
    ValueLogCount = 2, ///< int: number of log entries
    ValueDeviceModel = 3 ///< QString: the model's name
};

Q_DECLARE_METATYPE(SerialPortJobType)
Q_DECLARE_METATYPE(SerialPortActionType)
Q_DECLARE_METATYPE(SerialPortValueType)
