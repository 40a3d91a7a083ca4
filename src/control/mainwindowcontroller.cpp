// SPDX-License-Identifier: GPL-3.0-or-later
#include "control/mainwindowcontroller.h"

#include "control/settingskeys.h"
#include "serial/serialport.h"
#include "serial/serialporthandlerinterface.h"
#include "ui/configurationloader.h"
#include "ui/mainwindowinterface.h"
#include "ui/settingsinterface.h"

#include <QtCore/QDebug>
#include <QtCore/QDir>
#include <QtCore/QStandardPaths>
#include <utility>

namespace {

constexpr int measurementIntervalMs = 60000;
constexpr int measurementAvailabilityIntervalMs = 300000;
constexpr int disconnectDelayMs = 100;

const QLatin1String storageFileName("measurements.db");

QString writableFolder(QStandardPaths::StandardLocation location)
{
    return QStandardPaths::writableLocation(location);
}

} // namespace

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
{
    m_measurementTimer.setInterval(measurementIntervalMs);
    m_measurementAvailabilityTimer.setInterval(measurementAvailabilityIntervalMs);
    connectTimers();
    connectWindow();
    connectHandler();
}

void MainWindowController::connectTimers()
{
    connect(&m_measurementTimer, &QTimer::timeout, this, &MainWindowController::onMeasurementTimer);
    connect(&m_measurementAvailabilityTimer, &QTimer::timeout, this,
            &MainWindowController::onMeasurementAvailabilityTimer);
}

void MainWindowController::connectWindow()
{
    // By name, so that any object with these signals can stand behind the interface.
    const struct
    {
        const char *signal;
        const char *slot;
    } connections[] = {
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
    auto *const window = dynamic_cast<QObject *>(m_window);
    for (const auto &connection : connections) {
        connect(window, connection.signal, this, connection.slot);
    }
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
    // Without models the editor stays empty; graph, export and firmware update work all the same.
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
    const DeviceConfiguration &configuration = *found;
    m_measurementItems = configuration.measurementItems;
    m_window->setMeasurementItems(m_measurementItems);
    m_window->setConfiguration(configuration);
    return true;
}

bool MainWindowController::initializeStorage()
{
    const QString remembered = m_settings->value(SettingsKeys::localStoragePath).toString();
    if (!remembered.isEmpty() && openStorage(remembered, false)) {
        return true;
    }
    return openDefaultStorage() || askForStorage();
}

bool MainWindowController::openDefaultStorage()
{
    for (const auto location : {QStandardPaths::AppDataLocation, QStandardPaths::HomeLocation,
                                QStandardPaths::AppLocalDataLocation}) {
        if (openStorage(writableFolder(location), false)) {
            return true;
        }
    }
    return false;
}

bool MainWindowController::askForStorage()
{
    m_window->showMessageBox(
        QMessageBox::Information,
        tr("%1 automatically stores measurements to disk. Please select a directory where the "
           "measurements can be stored.")
            .arg(QStringLiteral("Kv tool")));
    forever {
        const QString folder = m_window->selectDirectory(
            tr("Choose where to store measurements"), writableFolder(QStandardPaths::HomeLocation));
        if (folder.isEmpty()) {
            break;
        }
        if (openStorage(folder, true)) {
            return true;
        }
    }
    m_window->showMessageBox(
        QMessageBox::Critical,
        tr("Unable to write measurements to disk. Unable to write to default location: %1 and no "
           "replacement directory was chosen. Exiting!")
            .arg(writableFolder(QStandardPaths::AppDataLocation)));
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
        m_window->showMessageBox(
            QMessageBox::Critical,
            tr("Unable to write measures to %1. Please choose another directory.").arg(folder));
    }
    return false;
}

// By value, as the signal has it.
// cppcheck-suppress passedByValue // NOLINTNEXTLINE(performance-unnecessary-value-param)
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
    // A port's location differs from the name that the transport tells ("/dev/ttyUSB0", "ttyUSB0"),
    // so that on Linux each connect makes a new transport.
    if (portName == m_serialPortHandler->portName()) {
        qDebug() << "Port already opened, trying again to read sw version";
        return true;
    }
    m_serialPortHandler->setSerialPort(
        QSharedPointer<SerialPortInterface>(new SerialPort(portName, nullptr)));
    return true;
}

void MainWindowController::onConnected()
{
    m_synchronizing = true;
    m_serialPortHandler->setValue(QStringLiteral("debug"), QStringLiteral("0"));
    m_serialPortHandler->readModel();
    // Kept: the names come from the model in force, before the device has told its own.
    onSynchronizeClicked();
    m_settings->setValue(SettingsKeys::serialPort, m_serialPortHandler->portName());
}

void MainWindowController::onSynchronizeClicked()
{
    const QStringList identityAndState{QStringLiteral("hwver"),      QStringLiteral("swver"),
                                       QStringLiteral("serial"),     QStringLiteral("model"),
                                       QStringLiteral("meas_state"), QStringLiteral("health")};
    m_serialPortHandler->readValues(identityAndState + m_window->configurationNames());
    m_serialPortHandler->readDate();
}

// By value, as the signal has it. NOLINTNEXTLINE(performance-unnecessary-value-param)
void MainWindowController::onValueRead(SerialPortValueType type, QVariant value)
{
    switch (type) {
    case SerialPortValueType::ValueDeviceModel:
        onModelRead(value.toString());
        break;
    case SerialPortValueType::ValueLogOption:
        if (!value.toBool()) {
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

void MainWindowController::onModelRead(const QString &model)
{
    qDebug() << "Got model:" << model;
    if (setModel(model)) {
        return;
    }
    m_window->showMessageBox(QMessageBox::Critical,
                             tr("Device %1 not supported. Please update KV Tool.").arg(model));
    qDebug() << "Model not supported, supported models are:" << m_deviceConfigurations.keys();
}

// By value, as the signal has it.
// cppcheck-suppress passedByValue // NOLINTNEXTLINE(performance-unnecessary-value-param)
void MainWindowController::onDataRead(QString name, QString value)
{
    if (name == QLatin1String("hwver")) {
        m_window->setHwVersion(value);
        m_deviceDetails.hwVersion = value;
    } else if (name == QLatin1String("swver")) {
        m_window->setSwVersion(value);
        m_deviceDetails.swVersion = value;
    } else if (name == QLatin1String("serial")) {
        m_window->setSerialNumber(value);
        m_deviceDetails.serialNumber = value;
    } else if (name == QLatin1String("model")) {
        m_window->setModelNumber(value);
        m_deviceDetails.modelNumber = value;
    } else if (name == QLatin1String("meas_state")) {
        onMeasurementStateRead(value);
    } else if (name == QLatin1String("health")) {
        onHealthRead(value);
    } else {
        m_window->setConfigurationValue(name, value);
    }
}

void MainWindowController::onMeasurementStateRead(const QString &value)
{
    m_measurementState = measurementStateFromInt(static_cast<unsigned>(value.toInt()));
    if (m_measurementState == MeasurementState::Ready) {
        m_measurementAvailabilityTimer.stop();
    } else {
        m_measurementAvailabilityTimer.start();
    }
    m_window->setMeasurementState(m_measurementState);
}

void MainWindowController::onHealthRead(const QString &value)
{
    constexpr int notAvailable = -1;
    if (value.isEmpty()) {
        m_window->setHealth(notAvailable);
        return;
    }
    QString number = value;
    m_window->setHealth(qBound(0, number.remove(QLatin1Char('%')).toInt(), 100));
}

void MainWindowController::onAllJobsDone()
{
    if (!m_synchronizing) {
        return;
    }
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
    m_serialPortHandler->readValue(QStringLiteral("meas_state"));
    emit measurementAvailabilityPollStarted();
}

// By value, as the signal has it. NOLINTNEXTLINE(performance-unnecessary-value-param)
void MainWindowController::onMeasurementsRead(QDateTime timestamp, QMap<QString, QString> values)
{
    MeasurementMetadata metadata;
    metadata.state = m_measurementState;
    metadata.timestamp = std::move(timestamp);

    QVector<MeasurementValue> measurementValues;
    measurementValues.reserve(values.size());
    for (auto pair = values.constBegin(); pair != values.constEnd(); ++pair) {
        MeasurementValue value;
        value.name = pair.key();
        value.valid = pair.value() != QLatin1String("N");
        value.value = value.valid ? pair.value().toDouble() : 0.0;
        measurementValues.append(value);
    }
    m_window->addMeasurement(metadata, measurementValues);
    m_localStorageHandler.addMeasurements(metadata, measurementValues);
}

void MainWindowController::onDisconnectClicked()
{
    m_measurementTimer.stop();
    m_window->setDeviceClockRunning(false);
    m_window->setConnected(false);
    m_deviceDetails.clear();
    // Kept: the availability timer runs on, until a device that is connected reports to be ready.
    QTimer::singleShot(disconnectDelayMs, Qt::CoarseTimer, this,
                       &MainWindowController::onDisconnectTimer);
}

void MainWindowController::onDisconnectTimer()
{
    m_window->setConnectEnabled(true);
    m_serialPortHandler->disconnectFromDevice();
}

// By value, as the signal has it. NOLINTNEXTLINE(performance-unnecessary-value-param)
void MainWindowController::onError(QString reason)
{
    m_window->showMessageBox(QMessageBox::Critical,
                             tr("Error occurred with serial port communication: %1").arg(reason));
}

// By value, as the signal has it. NOLINTNEXTLINE(performance-unnecessary-value-param)
void MainWindowController::onActionFinished(SerialPortActionType action, QVariant result)
{
    switch (action) {
    case SerialPortActionType::ActionWriteToEeprom:
    case SerialPortActionType::ActionEepromWritten:
        m_window->closeWaitDialog();
        break;
    case SerialPortActionType::ActionSetDate:
        // Setting the clock so saves all settings too.
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
        m_window->closeWaitDialog();
        m_window->showMessageBox(QMessageBox::Warning,
                                 tr("Unable to reboot device to begin firmware update"));
        break;
    case SerialPortActionType::ActionFirmwareBlockTransmitted:
    case SerialPortActionType::ActionBootloaderEntered:
    case SerialPortActionType::ActionFirmwareTransmitted:
        qDebug() << "Failed to transfer firmware";
        m_window->closeWaitDialog();
        m_window->showMessageBox(QMessageBox::Warning,
                                 tr("Firmware update failed due to unknown reason"));
        break;
    // Kept: these two speak of firmware, though it is the memory that was read or written.
    case SerialPortActionType::ActionEepromRead:
    case SerialPortActionType::ActionEepromBlockRead:
        m_window->closeWaitDialog();
        m_window->showMessageBox(QMessageBox::Warning, tr("Failed to read device firmware"));
        break;
    case SerialPortActionType::ActionEepromWritten:
    case SerialPortActionType::ActionEepromBlockWritten:
        m_window->closeWaitDialog();
        m_window->showMessageBox(QMessageBox::Warning, tr("Failed to write device firmware"));
        break;
    case SerialPortActionType::ActionWriteToEeprom:
    case SerialPortActionType::ActionSetDate:
    case SerialPortActionType::ActionEraseLog:
    case SerialPortActionType::ActionReboot:
        break;
    }
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
    // The job of these two goes on: only the dialog is cancelled.
    case WaitDialogReason::WritingToEeprom:
    case WaitDialogReason::SettingDeviceClock:
    case WaitDialogReason::NoReason:
        m_window->closeWaitDialog();
        break;
    }
}

void MainWindowController::setSynchronizing(bool synchronizing)
{
    m_synchronizing = synchronizing;
}

void MainWindowController::stopMeasurementPolling()
{
    m_measurementTimer.stop();
}

void MainWindowController::setMeasurementInterval(int interval)
{
    m_measurementTimer.setInterval(interval);
}

void MainWindowController::setMeasurementAvailabilityInterval(int interval)
{
    m_measurementAvailabilityTimer.setInterval(interval);
}

void MainWindowController::clearDeviceDetails()
{
    m_deviceDetails.clear();
}
