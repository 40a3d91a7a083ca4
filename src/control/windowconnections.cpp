// SPDX-License-Identifier: GPL-3.0-or-later
#include "control/windowconnections.h"

#include <QtCore/QObject>
#include <utility>

void connectWindowSignals(const QObject *window, const QObject *controller)
{
    const std::pair<const char *, const char *> connections[] = {
        {SIGNAL(synchronizeClicked()), SLOT(onSynchronizeClicked())},
        {SIGNAL(connectClicked(QString)), SLOT(onConnectClicked(QString))},
        {SIGNAL(valueChanged(QString, QString)), SLOT(onValueChanged(QString, QString))},
        {SIGNAL(disconnectClicked()), SLOT(onDisconnectClicked())},
        {SIGNAL(startReadingLogClicked()), SLOT(onStartReadingLogClicked())},
        {SIGNAL(waitDialogCancelled(WaitDialogReason)),
         SLOT(onWaitDialogCancelled(WaitDialogReason))},
        {SIGNAL(eraseLogClicked()), SLOT(onEraseLogClicked())},
        {SIGNAL(writeToEepromClicked()), SLOT(onWriteToEepromClicked())},
        {SIGNAL(loadSettingsClicked()), SLOT(onLoadSettingsClicked())},
        {SIGNAL(exportLocalMeasurementsToCsvClicked()), SLOT(onExportLocalMeasurementsToCsv())},
        {SIGNAL(pollutantUnitIndexChanged(int)), SLOT(onPollutantUnitIndexChanged(int))},
        {SIGNAL(temperatureUnitIndexChanged(int)), SLOT(onTemperatureUnitIndexChanged(int))},
        {SIGNAL(showGraphClicked()), SLOT(onShowGraphClicked())},
        {SIGNAL(synchronizeClockClicked()), SLOT(onSynchroniceClockClicked())},
        {SIGNAL(graphDialogClosed()), SLOT(onGraphDialogClosed())},
        {SIGNAL(updateFirmwareClicked()), SLOT(onUpdateFirmwareClicked())},
        {SIGNAL(backupEepromClicked()), SLOT(onBackupEepromClicked())},
        {SIGNAL(restoreEepromFromBackupClicked()), SLOT(onRestoreEepromClicked())},
    };
    for (const auto &[signal, slot] : connections) {
        QObject::connect(window, signal, controller, slot);
    }
}
