// SPDX-License-Identifier: GPL-3.0-or-later
// The flows that a user starts: settings, clock, units, graph, log, export, firmware and memory.
#include "common/measurementtypeutils.h"
#include "common/utils.h"
#include "control/mainwindowcontroller.h"
#include "control/settingskeys.h"
#include "serial/serialporthandlerinterface.h"
#include "ui/mainwindowinterface.h"
#include "ui/settingsinterface.h"

#include <QtCore/QDataStream>
#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QSet>

// By value, as the signal has it.
// cppcheck-suppress passedByValue // NOLINTNEXTLINE(performance-unnecessary-value-param)
void MainWindowController::onValueChanged(QString name, QString newValue)
{
    if (!m_synchronizing) {
        m_serialPortHandler->setValue(name, newValue);
    }
}

void MainWindowController::onWriteToEepromClicked()
{
    if (!m_window->askQuestion(tr("Write data to EEPROM"),
                               tr("Are you sure you want to write settings to EEPROM?"))) {
        return;
    }
    m_serialPortHandler->writeToEeprom();
    m_window->showWaitDialog(WaitDialogReason::WritingToEeprom,
                             tr("Writing data to eeprom, please wait"));
}

void MainWindowController::onLoadSettingsClicked()
{
    // Nothing to load from: the button stands ready, and its signal ends here.
}

void MainWindowController::onSynchroniceClockClicked()
{
    // The dialog returns when it has closed, so the clock is written after that; the clock reply of
    // the re-reading that the same button starts is what closes it.
    m_window->showWaitDialog(WaitDialogReason::SettingDeviceClock,
                             tr("Setting device clock, please wait"));
    m_serialPortHandler->setDate(QDateTime::currentDateTimeUtc());
}

void MainWindowController::onPollutantUnitIndexChanged(int index)
{
    m_settings->setValue(SettingsKeys::pollutantUnit, index);
    m_displayOptions.pollutantInPpm = index == 0;
    m_window->setDisplayOptions(m_displayOptions);
}

void MainWindowController::onTemperatureUnitIndexChanged(int index)
{
    m_settings->setValue(SettingsKeys::temperatureUnit, index);
    m_displayOptions.temperatureInCelsius = index == 0;
    m_window->setDisplayOptions(m_displayOptions);
}

void MainWindowController::onShowGraphClicked()
{
    const auto now = [] { return QDateTime::currentDateTimeUtc(); };
    GraphSettings graph;
    graph.from = m_settings->value(SettingsKeys::graphFrom, now()).toDateTime();
    graph.to = m_settings->value(SettingsKeys::graphTo, now()).toDateTime();
    graph.measurementTypes =
        m_settings->value(SettingsKeys::graphMeasurementTypes, QStringList()).toStringList();
    graph.manualRange = m_settings->value(SettingsKeys::graphRangeManual, false).toBool();
    graph.maximum = m_settings->value(SettingsKeys::graphMaximumRange, 0.0).toDouble();
    graph.minimum = m_settings->value(SettingsKeys::graphMinimumRange, 0.0).toDouble();
    graph.showLatest = m_settings->value(SettingsKeys::graphShowLatest, true).toBool();
    m_window->showGraph(m_deviceDetails, m_localStorageHandler.localStorage(), m_measurementItems,
                        m_displayOptions, graph);
}

void MainWindowController::onGraphDialogClosed()
{
    GraphSettings graph;
    m_window->graphSettings(graph);
    m_settings->setValue(SettingsKeys::graphFrom, graph.from);
    m_settings->setValue(SettingsKeys::graphTo, graph.to);
    m_settings->setValue(SettingsKeys::graphRangeManual, graph.manualRange);
    m_settings->setValue(SettingsKeys::graphMaximumRange, graph.maximum);
    m_settings->setValue(SettingsKeys::graphMinimumRange, graph.minimum);
    m_settings->setValue(SettingsKeys::graphMeasurementTypes, graph.measurementTypes);
    m_settings->setValue(SettingsKeys::graphShowLatest, graph.showLatest);
}

void MainWindowController::onStartReadingLogClicked()
{
    m_window->setReadLogEnabled(false);
    m_serialPortHandler->readLog();
    m_window->showProgressWaitDialog(WaitDialogReason::ReadingLog, tr("Reading log, please wait"));
}

void MainWindowController::onLogReadProgress(int percentage)
{
    m_window->setWaitDialogProgress(percentage);
}

// By value, as the signal has it.
// cppcheck-suppress passedByValue // NOLINTNEXTLINE(performance-unnecessary-value-param)
void MainWindowController::onLogRead(QStringList titles, QVector<LogValue> logData)
{
    m_window->closeWaitDialog();
    m_window->setReadLogEnabled(true);
    if (logData.isEmpty()) {
        m_window->showMessageBox(QMessageBox::Information, tr("Log is empty"));
        return;
    }
    const QString fileName =
        selectSaveFileName(QStringLiteral("log.csv"), SettingsKeys::logFileName,
                           tr("Select where to save log to"), tr("CSV files (*.csv)"));
    if (fileName.isEmpty()) {
        return;
    }
    qDebug() << "Saving log to" << fileName;
    QString error;
    if (!saveToCsv(fileName, titles, logData, error)) {
        m_window->showMessageBox(QMessageBox::Critical,
                                 tr("Unable to save log to file %1: %2").arg(fileName, error));
    }
}

void MainWindowController::onEraseLogClicked()
{
    if (m_window->askQuestion(tr("Clear log"), tr("Are you sure you want to clear the log?"))) {
        m_serialPortHandler->eraseLog();
    }
}

void MainWindowController::onExportLocalMeasurementsToCsv()
{
    ExportSelection selection;
    if (!m_window->showExportDialog(m_deviceDetails, m_localStorageHandler.localStorage(),
                                    m_measurementItems, &selection)) {
        return;
    }
    const QVector<StoredMeasurement> measurements =
        m_localStorageHandler.measurements(selection.from, selection.to, selection.deviceId);
    if (measurements.isEmpty() || selection.measurementTypes.isEmpty()) {
        qDebug() << "No measurements found from given time period";
        m_window->showMessageBox(QMessageBox::Information,
                                 tr("No measurements found from given time period"));
        return;
    }
    const QList<QString> types = selection.measurementTypes.values();
    const QSet<QString> chosen(types.cbegin(), types.cend());

    // The first measurement names the columns; the later ones are taken to have the same.
    QStringList names{tr("Timestamp")};
    for (const MeasurementValue &value : measurements.first().values) {
        if (chosen.contains(value.name)) {
            names.append(value.name);
        }
    }
    QStringList titles;
    for (const QString &name : qAsConst(names)) {
        titles.append(MeasurementTypeUtils::displayName(name, m_measurementItems));
    }

    QVector<LogValue> rows;
    rows.reserve(measurements.size());
    for (const StoredMeasurement &measurement : measurements) {
        LogValue row;
        row.time = measurement.timestamp;
        row.values.reserve(names.size() - 1);
        for (const MeasurementValue &value : measurement.values) {
            if (chosen.contains(value.name)) {
                row.values.append(MeasurementTypeUtils::convertToDisplayUnit(
                    value.value, value.name, m_displayOptions, m_measurementItems));
            }
        }
        rows.append(row);
    }
    exportMeasurementsToCsv(titles, rows);
}

void MainWindowController::exportMeasurementsToCsv(const QStringList &titles,
                                                   const QVector<LogValue> &rows)
{
    if (rows.isEmpty()) {
        qDebug() << "No measurements to save";
        m_window->showMessageBox(QMessageBox::Information, tr("No measurements to save"));
        return;
    }
    const QString fileName = selectSaveFileName(
        QStringLiteral("measurements.csv"), SettingsKeys::measurementExportFileName,
        tr("Select where to save measurements to"), tr("CSV files (*.csv)"));
    if (fileName.isEmpty()) {
        return;
    }
    QString error;
    if (!saveToCsv(fileName, titles, rows, error)) {
        const QString message =
            tr("Unable to save measurements to file %1: %2").arg(fileName, error);
        qDebug() << message;
        m_window->showMessageBox(QMessageBox::Critical, message);
    }
}

QString MainWindowController::selectSaveFileName(const QString &defaultName,
                                                 const QString &settingsKey, const QString &caption,
                                                 const QString &filter)
{
    const QString proposed = m_settings->value(settingsKey, defaultName).toString();
    QString fileName = m_window->selectSaveFile(caption, proposed, filter);
    if (!fileName.isEmpty()) {
        m_settings->setValue(settingsKey, fileName);
    }
    return fileName;
}

QByteArray MainWindowController::readFileWithDialog(const QString &caption,
                                                    const QString &settingsKey,
                                                    const QString &filter, const QString &label)
{
    const QString path =
        m_window->selectOpenFile(caption, m_settings->value(settingsKey).toString(), filter);
    if (path.isEmpty()) {
        return QByteArray();
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << "Unable to open file" << path;
        m_window->showMessageBox(QMessageBox::Warning, tr("Unable to open %1!").arg(label));
        return QByteArray();
    }
    QByteArray contents = file.readAll();
    if (contents.isEmpty()) {
        qDebug() << label << "file is empty" << path;
        m_window->showMessageBox(QMessageBox::Warning, tr("Selected %1 is empty!").arg(label));
    }
    m_settings->setValue(settingsKey, path);
    return contents;
}

QByteArray MainWindowController::loadFirmwareFile()
{
    return readFileWithDialog(tr("Select firmware file"), SettingsKeys::firmwarePath,
                              QStringLiteral("*.bin"), tr("firmware"));
}

void MainWindowController::onUpdateFirmwareClicked()
{
    if (!m_window->askQuestion(tr("Are you sure?"),
                               tr("Choosing invalid firmware or aborting firmware may render the "
                                  "device unusable. Are you sure you wish to continue?"))) {
        return;
    }
    const QByteArray firmware = loadFirmwareFile();
    if (firmware.isEmpty()) {
        return;
    }
    qDebug() << "Updating firmware";
    m_measurementTimer.stop();
    m_measurementAvailabilityTimer.stop();
    m_serialPortHandler->clearJobs();
    if (!prepareFirmwareUpdate()) {
        return;
    }
    m_serialPortHandler->updateFirmware(firmware);
    showFirmwareWaitDialog();
}

bool MainWindowController::prepareFirmwareUpdate()
{
    if (m_serialPortHandler->isConnected()) {
        m_serialPortHandler->rebootToBootloader();
        return true;
    }
    const QString port = m_window->selectedPort();
    if (!prepareSerialPort(port)) {
        qDebug() << "Failed to open serial port" << port;
        m_window->showMessageBox(QMessageBox::Warning,
                                 tr("Unable to open serial port: %1").arg(port));
        return false;
    }
    // Whether it opens or not: the update waits for a device in its bootloader and can be
    // cancelled.
    m_serialPortHandler->openPort();
    return true;
}

void MainWindowController::showFirmwareWaitDialog()
{
    m_window->showWaitDialog(WaitDialogReason::UpdatingFirmware,
                             m_serialPortHandler->isConnected()
                                 ? tr("Please wait while update starts")
                                 : tr("Please reboot the device manually"));
}

void MainWindowController::onBackupEepromClicked()
{
    m_eepromBackupFileName =
        selectSaveFileName(QString(), SettingsKeys::eepromFileName,
                           tr("Select where to write eeprom backup"), QStringLiteral("*.dat"));
    if (m_eepromBackupFileName.isEmpty()) {
        return;
    }
    m_serialPortHandler->readEeprom();
    m_window->showProgressWaitDialog(WaitDialogReason::BackingUpEeprom,
                                     tr("Waiting for eeprom backup to be created from the device"));
}

void MainWindowController::onEepromBlockReadProgress(int percentage)
{
    m_window->setWaitDialogProgress(percentage);
}

void MainWindowController::saveEepromBackup(const QByteArray &data)
{
    QFile file(m_eepromBackupFileName);
    if (!file.open(QIODevice::WriteOnly)) {
        return;
    }
    QDataStream stream(&file);
    stream << data;
}

void MainWindowController::onRestoreEepromClicked()
{
    // Kept: the messages speak of firmware here too.
    const QByteArray contents =
        readFileWithDialog(tr("Select eeprom backup file"), SettingsKeys::eepromFileName,
                           QStringLiteral("*.dat"), tr("firmware"));
    if (contents.isEmpty()) {
        return;
    }
    // Kept: the file goes out as it stands, with the length that a backup puts in front of the
    // image.
    m_serialPortHandler->writeEeprom(contents);
    m_window->showProgressWaitDialog(
        WaitDialogReason::RestoringEeprom,
        tr("Waiting for eeprom backup to be written to device from file"));
}

void MainWindowController::onEepromBlockWriteProgress(int percentage)
{
    m_window->setWaitDialogProgress(percentage);
}
