// SPDX-License-Identifier: GPL-3.0-or-later
#include "control/mainwindowcontroller.h"

#include "common/devicevariables.h"
#include "common/measurementtypeutils.h"
#include "common/utils.h"
#include "control/graphsettingsstorage.h"
#include "control/measurementexport.h"
#include "control/replyvalues.h"
#include "control/settingskeys.h"
#include "control/windowconnections.h"
#include "serial/serialport.h"
#include "serial/serialporthandlerinterface.h"
#include "ui/configurationloader.h"
#include "ui/mainwindowinterface.h"
#include "ui/settingsinterface.h"

#include <QtCore/QDataStream>
#include <QtCore/QDebug>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStandardPaths>

constexpr int measurementIntervalMs = 60000;
constexpr int measurementAvailabilityIntervalMs = 300000;
constexpr int disconnectDelayMs = 100;

const QLatin1String storageFileName("measurements.db");

MainWindowController::MainWindowController(MainWindowInterface *window,
                                           SerialPortHandlerInterface *serialPortHandler,
                                           SettingsInterface *settings, LocalStorage *localStorage,
                                           QObject *parent)
    : QObject(parent)
    , m_window(window)
    , m_serialPortHandler(serialPortHandler)
    , m_settings(settings)
    , m_configurationFileName(QStringLiteral("settings.xml"))
    , m_localStorageHandler(localStorage)
    , m_fileSelection(window, settings)
{
    m_measurementTimer.setInterval(measurementIntervalMs);
    m_measurementAvailabilityTimer.setInterval(measurementAvailabilityIntervalMs);
    connect(&m_measurementTimer, &QTimer::timeout, this, &MainWindowController::onMeasurementTimer);
    connect(&m_measurementAvailabilityTimer, &QTimer::timeout, this,
            &MainWindowController::onMeasurementAvailabilityTimer);
    const auto *const windowObject = dynamic_cast<QObject *>(window);
    Q_ASSERT_X(windowObject != nullptr, Q_FUNC_INFO, "the window must be a QObject");
    connectWindowSignals(windowObject, this);
    connectHandler();
}

void MainWindowController::connectHandler()
{
    using Handler = SerialPortHandlerInterface;
    using Controller = MainWindowController;
    connect(m_serialPortHandler, &Handler::connected, this, &Controller::onConnected);
    connect(m_serialPortHandler, &Handler::error, this, &Controller::onError);
    connect(m_serialPortHandler, &Handler::dataRead, this, &Controller::onDataRead);
    connect(m_serialPortHandler, &Handler::measurementsRead, this, &Controller::onMeasurementsRead);
    connect(m_serialPortHandler, &Handler::logReadProgress, this, &Controller::onLogReadProgress);
    connect(m_serialPortHandler, &Handler::logRead, this, &Controller::onLogRead);
    connect(m_serialPortHandler, &Handler::actionFinished, this, &Controller::onActionFinished);
    connect(m_serialPortHandler, &Handler::allJobsDone, this, &Controller::onAllJobsDone);
    connect(m_serialPortHandler, &Handler::valueRead, this, &Controller::onValueRead);
    connect(m_serialPortHandler, &Handler::actionFailed, this, &Controller::onActionFailed);
}

bool MainWindowController::start()
{
    m_window->refreshPorts(m_settings->value(SettingsKeys::serialPort).toString());
    // Without models the editor stays empty; graph, export and firmware update still work.
    loadConfiguration(m_configurationFileName);
    m_window->setPollutantUnitIndex(m_settings->value(SettingsKeys::pollutantUnit, 0).toInt());
    m_window->setTemperatureUnitIndex(m_settings->value(SettingsKeys::temperatureUnit, 0).toInt());
    return initializeStorage();
}

bool MainWindowController::loadConfiguration(const QString &fileName)
{
    m_deviceConfigurations.clear();
    ConfigurationLoader loader;
    if (loader.load(m_deviceConfigurations, fileName) && !m_deviceConfigurations.isEmpty()) {
        return setModel(m_deviceConfigurations.firstKey());
    }
    m_window->showMessageBox(QMessageBox::Critical,
                             tr("Failed to load configuration from file %1").arg(fileName));
    return false;
}

bool MainWindowController::setModel(const QString &model)
{
    const auto found = m_deviceConfigurations.constFind(model);
    if (found == m_deviceConfigurations.constEnd()) {
        return false;
    }
    m_measurementItems = found->measurementItems;
    m_window->setMeasurementItems(m_measurementItems);
    m_window->setConfiguration(*found);
    return true;
}

bool MainWindowController::initializeStorage()
{
    const QString remembered = m_settings->value(SettingsKeys::localStoragePath).toString();
    if (!remembered.isEmpty() && openStorage(remembered, false)) {
        return true;
    }
    for (const auto location : {QStandardPaths::AppDataLocation, QStandardPaths::HomeLocation,
                                QStandardPaths::AppLocalDataLocation}) {
        if (openStorage(QStandardPaths::writableLocation(location), false)) {
            return true;
        }
    }
    return askForStorage();
}

bool MainWindowController::askForStorage()
{
    m_window->showMessageBox(
        QMessageBox::Information,
        tr("%1 automatically stores measurements to disk. Please select a directory where the "
           "measurements can be stored.")
            .arg(QStringLiteral("Kv tool")));
    const auto selectFolder = [this] {
        return m_window->selectDirectory(
            tr("Choose where to store measurements"),
            QStandardPaths::writableLocation(QStandardPaths::HomeLocation));
    };
    for (QString folder = selectFolder(); !folder.isEmpty(); folder = selectFolder()) {
        if (openStorage(folder, true)) {
            return true;
        }
    }
    m_window->showMessageBox(
        QMessageBox::Critical,
        tr("Unable to write measurements to disk. Unable to write to default location: %1 and no "
           "replacement directory was chosen. Exiting!")
            .arg(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)));
    return false;
}

bool MainWindowController::openStorage(const QString &folder, bool report)
{
    const QString path =
        QDir::toNativeSeparators(QDir::cleanPath(folder + QDir::separator() + storageFileName));
    if (m_localStorageHandler.open(path)) {
        m_settings->setValue(SettingsKeys::localStoragePath, folder);
        return true;
    }
    if (report) {
        // Quirk: "measures" for "measurements"; the wording is required.
        m_window->showMessageBox(
            QMessageBox::Critical,
            tr("Unable to write measures to %1. Please choose another directory.").arg(folder));
    }
    return false;
}

void MainWindowController::onConnectClicked(QString portName)
{
    if (prepareSerialPort(portName)) {
        m_serialPortHandler->connectToDevice();
    }
}

bool MainWindowController::prepareSerialPort(const QString &portName)
{
    if (portName.isEmpty()) {
        qDebug() << "Unable to connect with empty port name";
        return false;
    }
    // Quirk: a port's location ("/dev/ttyUSB0") differs from the name that the transport reports
    // ("ttyUSB0"), so on Linux each "Connect" creates a new transport.
    if (portName == m_serialPortHandler->portName()) {
        qDebug() << "Port already opened, trying again to read sw version";
    } else {
        m_serialPortHandler->setSerialPort(
            QSharedPointer<SerialPortInterface>(new SerialPort(portName, nullptr)));
    }
    return true;
}

void MainWindowController::onConnected()
{
    m_synchronizing = true;
    m_serialPortHandler->setValue(DeviceVariables::debug, QStringLiteral("0"));
    m_serialPortHandler->readModel();
    // Quirk: the order of the first commands is fixed, so the names are those of the current model;
    // the reply with the device's own model arrives later.
    onSynchronizeClicked();
    m_settings->setValue(SettingsKeys::serialPort, m_serialPortHandler->portName());
}

void MainWindowController::onSynchronizeClicked()
{
    const QStringList identityAndState{
        DeviceVariables::hwVersion,        DeviceVariables::swVersion,
        DeviceVariables::serialNumber,     DeviceVariables::modelNumber,
        DeviceVariables::measurementState, DeviceVariables::health};
    m_serialPortHandler->readValues(identityAndState + m_window->configurationNames());
    m_serialPortHandler->readDate();
}

void MainWindowController::onValueRead(SerialPortValueType type, QVariant value)
{
    switch (type) {
    case SerialPortValueType::ValueDeviceModel:
        applyModel(value.toString());
        break;
    case SerialPortValueType::ValueLogOption:
        if (!value.toBool()) {
            // Quirk: only this close enables "Read", as a cancellation, if the dialog was last
            // shown for a log read; there is no log to read.
            m_window->closeWaitDialog();
            m_window->showMessageBox(
                QMessageBox::Warning,
                tr("No LOG option installed to device, unable to read or clear log."));
        }
        break;
    case SerialPortValueType::ValueDeviceDate:
        m_window->setDeviceClock(value.toDateTime());
        m_window->setDeviceClockRunning(true);
        m_window->closeWaitDialog();
        break;
    case SerialPortValueType::ValueLogCount:
        break;
    }
}

void MainWindowController::applyModel(const QString &model)
{
    qDebug() << "Got model:" << model;
    // Quirk: a device of an unknown model stays connected, with the settings of the previous
    // model, since its measurements are still worth storing.
    if (!setModel(model)) {
        m_window->showMessageBox(QMessageBox::Critical,
                                 tr("Device %1 not supported. Please update KV Tool.").arg(model));
        qDebug() << "Model not supported, supported models are:" << m_deviceConfigurations.keys();
    }
}

void MainWindowController::onDataRead(QString name, QString value)
{
    if (name == DeviceVariables::hwVersion) {
        m_window->setHwVersion(value);
        m_deviceDetails.hwVersion = value;
    } else if (name == DeviceVariables::swVersion) {
        m_window->setSwVersion(value);
        m_deviceDetails.swVersion = value;
    } else if (name == DeviceVariables::serialNumber) {
        m_window->setSerialNumber(value);
        m_deviceDetails.serialNumber = value;
    } else if (name == DeviceVariables::modelNumber) {
        m_window->setModelNumber(value);
        m_deviceDetails.modelNumber = value;
    } else if (name == DeviceVariables::measurementState) {
        applyMeasurementState(value);
    } else if (name == DeviceVariables::health) {
        m_window->setHealth(healthPercentage(value));
    } else {
        m_window->setConfigurationValue(name, value);
    }
}

void MainWindowController::applyMeasurementState(const QString &value)
{
    m_measurementState = measurementStateFromInt(static_cast<unsigned>(value.toInt()));
    if (m_measurementState == MeasurementState::Ready) {
        m_measurementAvailabilityTimer.stop();
    } else {
        m_measurementAvailabilityTimer.start();
    }
    m_window->setMeasurementState(m_measurementState);
}

void MainWindowController::onAllJobsDone()
{
    if (!m_synchronizing) {
        return;
    }
    // Quirk: also reached after a firmware update without a connection; its device has no serial
    // number.
    m_synchronizing = false;
    m_window->setConnected(true);
    onMeasurementTimer();
    m_measurementTimer.start();
    m_localStorageHandler.setDevice(m_deviceDetails);
}

void MainWindowController::onMeasurementTimer()
{
    m_serialPortHandler->readMeasurements();
    emit measurementPollStarted();
}

void MainWindowController::onMeasurementAvailabilityTimer()
{
    m_serialPortHandler->readValue(DeviceVariables::measurementState);
    emit measurementAvailabilityPollStarted();
}

void MainWindowController::onMeasurementsRead(QDateTime timestamp, QMap<QString, QString> values)
{
    const MeasurementMetadata metadata{m_measurementState, timestamp};
    const QVector<MeasurementValue> newValues = measurementValues(values);
    m_window->addMeasurement(metadata, newValues);
    m_localStorageHandler.addMeasurements(metadata, newValues);
}

void MainWindowController::onDisconnectClicked()
{
    m_measurementTimer.stop();
    m_window->setDeviceClockRunning(false);
    m_window->setConnected(false);
    m_deviceDetails.clear();
    // Quirk: m_synchronizing stays true if the first reads have not ended, so changes of values are
    // ignored until the next connection is complete.
    // Quirk: the availability timer keeps running until a device is ready.
    QTimer::singleShot(disconnectDelayMs, Qt::CoarseTimer, this,
                       &MainWindowController::onDisconnectTimer);
}

void MainWindowController::onDisconnectTimer()
{
    m_window->setConnectEnabled(true);
    m_serialPortHandler->disconnectFromDevice();
}

void MainWindowController::onError(QString reason)
{
    m_window->showMessageBox(QMessageBox::Critical,
                             tr("Error occurred with serial port communication: %1").arg(reason));
}

void MainWindowController::onActionFinished(SerialPortActionType action, QVariant result)
{
    switch (action) {
    case SerialPortActionType::ActionWriteToEeprom:
    case SerialPortActionType::ActionEepromWritten:
        m_window->closeWaitDialog();
        break;
    case SerialPortActionType::ActionSetDate:
        // Quirk: setting the clock also saves all settings, as the clock is stored with them.
        m_serialPortHandler->writeToEeprom();
        m_serialPortHandler->readDate();
        break;
    case SerialPortActionType::ActionEraseLog:
        qDebug() << "Log erased";
        break;
    case SerialPortActionType::ActionReboot:
        qDebug() << "Device restarted";
        break;
    case SerialPortActionType::ActionRebootForFirmware:
        qDebug() << "Preparing to reboot";
        break;
    case SerialPortActionType::ActionFirmwareBlockTransmitted:
        qDebug() << "Firmware block transmitted:" << result.toDouble() << "%";
        m_window->setWaitDialogProgress(static_cast<int>(result.toDouble()));
        break;
    case SerialPortActionType::ActionBootloaderEntered:
        m_window->setWaitDialogProgress(0);
        m_window->showProgressWaitDialog(WaitDialogReason::UpdatingFirmware,
                                         tr("Updating firmware, please wait."));
        qDebug() << "Shown with progressbar";
        break;
    case SerialPortActionType::ActionFirmwareTransmitted:
        m_window->closeWaitDialog();
        m_window->showMessageBox(QMessageBox::Information, tr("Firmware updated"));
        onDisconnectClicked();
        break;
    case SerialPortActionType::ActionEepromRead:
        m_window->closeWaitDialog();
        saveEepromBackup(result.toByteArray());
        break;
    case SerialPortActionType::ActionEepromBlockRead:
        onEepromBlockReadProgress(result.toInt());
        break;
    case SerialPortActionType::ActionEepromBlockWritten:
        onEepromBlockWriteProgress(result.toInt());
        break;
    }
}

void MainWindowController::onActionFailed(SerialPortActionType action)
{
    switch (action) {
    case SerialPortActionType::ActionRebootForFirmware:
        qDebug() << "Failed to reboot device for firmware update";
        showActionFailure(tr("Unable to reboot device to begin firmware update"));
        break;
    case SerialPortActionType::ActionFirmwareBlockTransmitted:
    case SerialPortActionType::ActionBootloaderEntered:
    case SerialPortActionType::ActionFirmwareTransmitted:
        qDebug() << "Failed to transfer firmware";
        showActionFailure(tr("Firmware update failed due to unknown reason"));
        break;
    // Quirk: the two messages about the EEPROM say "firmware"; their wording is required.
    case SerialPortActionType::ActionEepromRead:
    case SerialPortActionType::ActionEepromBlockRead:
        showActionFailure(tr("Failed to read device firmware"));
        break;
    case SerialPortActionType::ActionEepromWritten:
    case SerialPortActionType::ActionEepromBlockWritten:
        showActionFailure(tr("Failed to write device firmware"));
        break;
    default:
        break;
    }
}

void MainWindowController::showActionFailure(const QString &text)
{
    m_window->closeWaitDialog();
    m_window->showMessageBox(QMessageBox::Warning, text);
}

void MainWindowController::onWaitDialogCancelled(WaitDialogReason reason)
{
    switch (reason) {
    case WaitDialogReason::ReadingLog:
        m_window->setReadLogEnabled(true);
        m_window->closeWaitDialog();
        m_serialPortHandler->cancelLogRead();
        break;
    case WaitDialogReason::UpdatingFirmware:
        m_serialPortHandler->cancelFirmwareUpdate();
        m_window->closeWaitDialog();
        break;
    case WaitDialogReason::RestoringEeprom:
        m_window->closeWaitDialog();
        m_serialPortHandler->cancelEepromWrite();
        break;
    case WaitDialogReason::BackingUpEeprom:
        m_window->closeWaitDialog();
        m_serialPortHandler->cancelEepromRead();
        break;
    // Quirk: the device can't be stopped while it writes, so only the dialog is closed.
    case WaitDialogReason::WritingToEeprom:
    case WaitDialogReason::SettingDeviceClock:
    case WaitDialogReason::NoReason:
        m_window->closeWaitDialog();
        break;
    }
}

void MainWindowController::onValueChanged(QString name, QString newValue)
{
    if (!m_synchronizing) {
        m_serialPortHandler->setValue(name, newValue);
    }
}

void MainWindowController::onWriteToEepromClicked()
{
    if (m_window->askQuestion(tr("Write data to EEPROM"),
                              tr("Are you sure you want to write settings to EEPROM?"))) {
        m_serialPortHandler->writeToEeprom();
        m_window->showWaitDialog(WaitDialogReason::WritingToEeprom,
                                 tr("Writing data to eeprom, please wait"));
    }
}

void MainWindowController::onLoadSettingsClicked()
{
    // Quirk: there is nothing to load settings from; the button is reserved.
}

void MainWindowController::onSynchroniceClockClicked()
{
    // Quirk: showWaitDialog() returns when the dialog has closed. The same button has also started
    // reading the device; the reply with the clock closes the dialog, and then the clock is
    // written.
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
    m_window->showGraph(m_deviceDetails, m_localStorageHandler.localStorage(), m_measurementItems,
                        m_displayOptions, GraphSettingsStorage::read(*m_settings));
}

void MainWindowController::onGraphDialogClosed()
{
    GraphSettings graph;
    m_window->graphSettings(graph);
    GraphSettingsStorage::write(graph, *m_settings);
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

void MainWindowController::onLogRead(QStringList titles, QVector<LogValue> logData)
{
    m_window->closeWaitDialog();
    m_window->setReadLogEnabled(true);
    if (logData.isEmpty()) {
        m_window->showMessageBox(QMessageBox::Information, tr("Log is empty"));
        return;
    }
    const QString fileName = m_fileSelection.selectSaveFileName(
        QStringLiteral("log.csv"), SettingsKeys::logFileName, tr("Select where to save log to"),
        tr("CSV files (*.csv)"));
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
    const QStringList chosen = selection.measurementTypes.values();
    // Quirk: the first reading names the columns; a value that is missing in a later one shifts
    // the values after it.
    QStringList titles(tr("Timestamp"));
    titles += MeasurementExport::valueNames(measurements.first(), chosen);
    for (QString &title : titles) {
        title = MeasurementTypeUtils::displayName(title, m_measurementItems);
    }
    exportMeasurementsToCsv(
        titles,
        MeasurementExport::rows(measurements, chosen, m_displayOptions, m_measurementItems));
}

void MainWindowController::exportMeasurementsToCsv(const QStringList &titles,
                                                   const QVector<LogValue> &rows)
{
    if (rows.isEmpty()) { // The only caller passes a row for each reading. GCOVR_EXCL_START
        qDebug() << "No measurements to save";
        m_window->showMessageBox(QMessageBox::Information, tr("No measurements to save"));
        return;
    } // GCOVR_EXCL_STOP
    const QString fileName = m_fileSelection.selectSaveFileName(
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

QByteArray MainWindowController::loadFirmwareFile()
{
    return m_fileSelection.readFileWithDialog(tr("Select firmware file"),
                                              SettingsKeys::firmwarePath, QStringLiteral("*.bin"),
                                              tr("firmware"));
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
    // Quirk: the timers are not restarted after a failed or cancelled update, since the device may
    // be in its bootloader.
    m_measurementTimer.stop();
    m_measurementAvailabilityTimer.stop();
    m_serialPortHandler->clearJobs();
    if (prepareFirmwareUpdate()) {
        m_serialPortHandler->updateFirmware(firmware);
        showFirmwareWaitDialog();
    }
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
    // Quirk: the result is ignored; the update waits for a device and can be cancelled.
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
    m_eepromBackupFileName = m_fileSelection.selectSaveFileName(
        QString(), SettingsKeys::eepromFileName, tr("Select where to write eeprom backup"),
        QStringLiteral("*.dat"));
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
    // Quirk: neither success nor failure is shown; backups are reserved for the maintainers.
    if (file.open(QIODevice::WriteOnly)) {
        QDataStream stream(&file);
        stream << data;
    }
}

void MainWindowController::onRestoreEepromClicked()
{
    // Quirk: the messages about this file say "firmware" too; their wording is required.
    const QByteArray contents = m_fileSelection.readFileWithDialog(
        tr("Select eeprom backup file"), SettingsKeys::eepromFileName, QStringLiteral("*.dat"),
        tr("firmware"));
    if (contents.isEmpty()) {
        return;
    }
    // Quirk: the file is written as it is, including the length at the beginning of a backup file,
    // so backup and restore are not inverse operations.
    m_serialPortHandler->writeEeprom(contents);
    m_window->showProgressWaitDialog(
        WaitDialogReason::RestoringEeprom,
        tr("Waiting for eeprom backup to be written to device from file"));
}

void MainWindowController::onEepromBlockWriteProgress(int percentage)
{
    m_window->setWaitDialogProgress(percentage);
}
