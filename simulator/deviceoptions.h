// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

namespace Simulator {

/// Options of the device. With the defaults it replies as fast as a real one.
struct DeviceOptions
{
    QByteArray model = QByteArrayLiteral("KVT-100"); ///< one of deviceModels()
    QByteArray serial; ///< derived from model and seed if empty
    quint32 seed = 1; ///< determines serial number, measurements, log and contents of the memory
    int logRows = 25; ///< rows of the log, 0 to 99999
    bool logOption = true; ///< false: the device has no log option
    bool debug = false; ///< debug output is on at the start
    int measurementState = 1; ///< value of meas_state after warm-up
    int warmUpMs = 0; ///< from each start of the firmware until meas_state leaves 0
    QByteArray health = QByteArrayLiteral("98%"); ///< value of "health"
    QList<QByteArray> unavailable; ///< measurements that are always "N"
    qint64 clockOffsetMs = 0; ///< how far the device's clock is ahead of the host's
    int writeMs = 2000; ///< time for storing the settings
    int blockIdleMs = 1000; ///< pause after which an incomplete memory block is discarded
    int rebootMs = 5000; ///< from the announcement of a restart to the start of the bootloader
    int bootWaitMs = 3000; ///< time that the bootloader waits for a byte
    int imageSize = 0; ///< bytes of a firmware image; 0: a pause ends it
    int imageIdleMs = 300; ///< the pause that ends an image of unknown size
    QString imageFile; ///< file for a received image; not saved if empty
    QString stateFile; ///< file that stores memory, log and clock; not stored if empty
};

} // namespace Simulator
