// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/devicedetails.h"
#include "common/logvalue.h"
#include "common/measurementdisplayoptions.h"
#include "common/measurementitem.h"
#include "common/measurementstate.h"
#include "serial/serialporttypes.h"
#include "storage/localstoragehandler.h"
#include "ui/deviceconfiguration.h"
#include "ui/waitdialogreason.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTimer>
#include <QtCore/QVariant>
#include <QtCore/QVector>

class LocalStorage;
class MainWindowInterface;
class SerialPortHandlerInterface;
class SettingsInterface;

/// Decides what every event means: the window reports what the user wants, the handler talks to the
/// device, the store stores, and all of them meet here alone.
///
/// Owns none of its four collaborators; each must outlive it. Wait dialogs, boxes and file dialogs
/// run a nested event loop, so any slot may run while another one waits for the user.
class MainWindowController : public QObject
{
    Q_OBJECT

public:
    /// Connects to the collaborators. The object behind @p window must also be a QObject with the
    /// signals of MainWindow.
    MainWindowController(MainWindowInterface *window, SerialPortHandlerInterface *serialPortHandler,
                         SettingsInterface *settings, LocalStorage *localStorage, QObject *parent);

    /// Fills the window from settings.xml and the user's remembered choices and opens the store.
    /// False when no folder for the store was found: the program ends then.
    bool start();

    /// While true, value changes from the window are not sent to the device.
    void setSynchronizing(bool synchronizing);

    /// Stops the poll of the measurements; the look at the state of a device goes on.
    void stopMeasurementPolling();

    /// Time between two polls of the measurements, in ms.
    void setMeasurementInterval(int interval);

    /// Time between two looks at the state of a device that is not ready, in ms.
    void setMeasurementAvailabilityInterval(int interval);

    /// Empties the identity that is kept; what the window shows stays.
    void clearDeviceDetails();

signals:
    /// A poll has started; the first asks for the state alone, the second for the measurements.
    void measurementAvailabilityPollStarted();
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
    void connectTimers();
    void connectWindow();
    void connectHandler();

    bool loadConfiguration(const QString &fileName);
    bool setModel(const QString &model);
    void onModelRead(const QString &model);
    void onMeasurementStateRead(const QString &value);
    void onHealthRead(const QString &value);

    bool initializeStorage();
    bool openDefaultStorage();
    bool askForStorage();
    bool openStorage(const QString &folder, bool report);

    bool prepareSerialPort(const QString &portName);

    void exportMeasurementsToCsv(const QStringList &titles, const QVector<LogValue> &rows);
    QString selectSaveFileName(const QString &defaultName, const QString &settingsKey,
                               const QString &caption, const QString &filter);

    QByteArray readFileWithDialog(const QString &caption, const QString &settingsKey,
                                  const QString &filter, const QString &label);
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
};
