// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/devicedetails.h"
#include "common/logvalue.h"
#include "common/measurementdisplayoptions.h"
#include "common/measurementitem.h"
#include "common/measurementstate.h"
#include "control/fileselection.h"
#include "serial/serialporttypes.h"
#include "storage/localstoragehandler.h"
#include "ui/deviceconfiguration.h"
#include "ui/waitdialogreason.h"

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QTimer>
#include <QtCore/QVariant>

class LocalStorage;
class MainWindowInterface;
class SerialPortHandlerInterface;
class SettingsInterface;

/// Decides how the program reacts to each event. The window reports what the user asks for, the
/// handler communicates with the device and the store keeps the readings; only this class connects
/// them.
///
/// Doesn't own its four collaborators; each must outlive it. Wait dialogs, message boxes and file
/// dialogs run a nested event loop, so any slot may run while another one waits for the user.
class MainWindowController : public QObject
{
    Q_OBJECT

public:
    /// Connects to the collaborators. The object that implements @p window must also be a QObject
    /// with the signals of MainWindow.
    MainWindowController(MainWindowInterface *window, SerialPortHandlerInterface *serialPortHandler,
                         SettingsInterface *settings, LocalStorage *localStorage, QObject *parent);

    /// Fills the window from settings.xml and the user's preferences, and opens the store. Returns
    /// false if the store could not be opened in any folder; the program must then exit.
    bool start();

    /// While true, value changes from the window are not sent to the device.
    void setSynchronizing(bool synchronizing) { m_synchronizing = synchronizing; }

    /// Stops polling measurements; the state of a device that is not ready is still polled.
    void stopMeasurementPolling() { m_measurementTimer.stop(); }

    /// Time between two polls of the measurements, in ms.
    void setMeasurementInterval(int interval) { m_measurementTimer.setInterval(interval); }

    /// Time between two polls of the state of a device that is not ready, in ms.
    void setMeasurementAvailabilityInterval(int interval)
    {
        m_measurementAvailabilityTimer.setInterval(interval);
    }

    /// Clears the identity of the device; the window keeps showing it.
    void clearDeviceDetails() { m_deviceDetails.clear(); }

signals:
    /// The state of a device that is not ready has been requested.
    void measurementAvailabilityPollStarted();

    /// The measurements have been requested.
    void measurementPollStarted();

private slots:
    void onLogRead(QStringList titles, QVector<LogValue> logData);
    void onConnected();
    void onError(QString reason);
    void onDataRead(QString name, QString value);
    void onMeasurementsRead(QDateTime timestamp, QMap<QString, QString> values);
    void onActionFinished(SerialPortActionType action, QVariant result);
    void onActionFailed(SerialPortActionType action);
    void onAllJobsDone();
    void onLogReadProgress(int percentage);
    void onValueRead(SerialPortValueType type, QVariant value);
    void onEepromBlockReadProgress(int percentage);
    void onEepromBlockWriteProgress(int percentage);
    void onConnectClicked(QString portName);
    void onSynchronizeClicked();
    void onValueChanged(QString name, QString newValue);
    void onPollutantUnitIndexChanged(int index);
    void onTemperatureUnitIndexChanged(int index);
    void onStartReadingLogClicked();
    void onWaitDialogCancelled(WaitDialogReason reason);
    void onEraseLogClicked();
    void onWriteToEepromClicked();
    void onLoadSettingsClicked();
    void onDisconnectClicked();
    void onExportLocalMeasurementsToCsv();
    void onShowGraphClicked();
    void onSynchroniceClockClicked();
    void onGraphDialogClosed();
    void onUpdateFirmwareClicked();
    void onBackupEepromClicked();
    void onRestoreEepromClicked();
    void onMeasurementTimer();
    void onMeasurementAvailabilityTimer();
    void onDisconnectTimer();

private:
    void connectHandler();

    bool loadConfiguration(const QString &fileName);
    bool setModel(const QString &model);
    void applyModel(const QString &model);
    void applyMeasurementState(const QString &value);
    void showActionFailure(const QString &text);

    bool initializeStorage();
    bool askForStorage();
    bool openStorage(const QString &folder, bool report);

    bool prepareSerialPort(const QString &portName);

    void exportMeasurementsToCsv(const QStringList &titles, const QVector<LogValue> &rows);
    QByteArray loadFirmwareFile();
    bool prepareFirmwareUpdate();
    void showFirmwareWaitDialog();
    void saveEepromBackup(const QByteArray &data);

    MainWindowInterface *m_window;
    SerialPortHandlerInterface *m_serialPortHandler;
    SettingsInterface *m_settings;
    bool m_synchronizing = true;
    QTimer m_measurementTimer{this};
    QTimer m_measurementAvailabilityTimer{this};
    QString m_configurationFileName;
    DeviceDetails m_deviceDetails;
    MeasurementState m_measurementState = MeasurementState::WarmingUp;
    LocalStorageHandler m_localStorageHandler;
    QVector<MeasurementItem> m_measurementItems;
    MeasurementDisplayOptions m_displayOptions;
    QMap<QString, DeviceConfiguration> m_deviceConfigurations;
    QString m_eepromBackupFileName;
    FileSelection m_fileSelection;
};
