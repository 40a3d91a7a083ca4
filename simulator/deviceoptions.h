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
    QByteArray serial; ///< made from model and seed when empty
    quint32 seed =
        1; ///< decides serial number, course of the measurements, log and memory contents
    int logRows = 25; ///< rows of the log, 0 to 99999
    bool logOption = true; ///< false: no log option installed
    bool debug = false; ///< debug output on from the start
    int measurementState = 1; ///< value of meas_state after warm-up
    int warmUpMs = 0; ///< from each start of the firmware until meas_state leaves 0
    QByteArray health = QByteArrayLiteral("98%"); ///< value of "health"
    QList<QByteArray> unavailable; ///< measurements that are always "N"
    qint64 clockOffsetMs = 0; ///< how far the device's clock is ahead of the host's
    int writeMs = 2000; ///< time for storing the settings
    int blockIdleMs = 1000; ///< pause after which an incomplete memory block is discarded
    int rebootMs = 5000; ///< from the announcement of a reset to the bootloader
    int bootWaitMs = 3000; ///< time that the bootloader waits for its byte
    int imageSize = 0; ///< bytes of a firmware image; 0: a pause ends it
    int imageIdleMs = 300; ///< the pause that ends an image of unknown size
    QString imageFile; ///< file for a received image; not saved when empty
    QString stateFile; ///< file that keeps memory, log and clock; not kept when empty
};

} // namespace Simulator
