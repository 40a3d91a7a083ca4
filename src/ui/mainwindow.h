// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/mainwindowinterface.h"
#include "ui/measurementgraph.h"
#include "ui/waitdialog.h"

#include <QtCore/QTimer>
#include <QtWidgets/QMainWindow>

namespace Ui {
class MainWindow;
}

/// The top-level window. It makes no decisions: each button emits a signal, and each change on
/// screen is made by a function of MainWindowInterface.
///
/// Owns the wait dialog and the graph dialog, which are windows without a parent.
class MainWindow : public QMainWindow, public MainWindowInterface
{
    Q_OBJECT

public:
    /// A hidden window without a device and without ports.
    explicit MainWindow(QWidget *parent);
    ~MainWindow() override;

    void closeWaitDialog() override;
    void setReadLogEnabled(bool enabled) override;
    void showMessageBox(QMessageBox::Icon icon, const QString &text) override;
    QString selectSaveFile(const QString &caption, const QString &path,
                           const QString &filter) override;
    QString selectOpenFile(const QString &caption, const QString &path,
                           const QString &filter) override;
    QString selectDirectory(const QString &caption, const QString &path) override;
    void setHwVersion(const QString &version) override;
    void setSwVersion(const QString &version) override;
    void setSerialNumber(const QString &serialNumber) override;
    void setModelNumber(const QString &modelNumber) override;
    void setHealth(int percentage) override;
    void setDeviceClock(const QDateTime &time) override;
    void setConfigurationValue(const QString &name, const QString &value) override;
    void addMeasurement(const MeasurementMetadata &metadata,
                        const QVector<MeasurementValue> &values) override;
    QStringList configurationNames() override;

    /// Closes the graph dialog, the wait dialog and this window, in that order.
    void closeAll() override;

    void setConnected(bool connected) override;
    void setMeasurementState(MeasurementState state) override;
    void addPort(const QString &label, const QString &location) override;
    void selectPortIndex(int index) override;

    /// Appends the computer's ports, sorted by name, and selects the last one whose name occurs in
    /// @p preferredPort, otherwise the first of the list. Intended to be called once, since it
    /// doesn't clear the list.
    void refreshPorts(const QString &preferredPort) override;

    void setConfiguration(const DeviceConfiguration &configuration) override;
    void setMeasurementItems(const QVector<MeasurementItem> &items) override;
    void setPollutantUnitIndex(int index) override;
    void setTemperatureUnitIndex(int index) override;
    void setConnectEnabled(bool enabled) override;
    void showProgressWaitDialog(WaitDialogReason reason, const QString &text) override;
    void showWaitDialog(WaitDialogReason reason, const QString &text) override;
    bool askQuestion(const QString &title, const QString &text) override;
    void setWaitDialogProgress(int percentage) override;
    bool showExportDialog(const DeviceDetails &device, LocalStorage *storage,
                          const QVector<MeasurementItem> &items,
                          ExportSelection *selection) override;
    void showGraph(const DeviceDetails &device, LocalStorage *storage,
                   const QVector<MeasurementItem> &items, const MeasurementDisplayOptions &options,
                   const GraphSettings &settings) override;
    void setDeviceClockRunning(bool running) override;
    void graphSettings(GraphSettings &settings) override;
    void setDisplayOptions(const MeasurementDisplayOptions &options) override;
    QString selectedPort() override;

signals:
    void synchronizeClicked(); ///< "Synchronize" or "Set to UTC" was clicked

    /// "Connect" was clicked. @p portName is the location of the selected port; empty if there is
    /// none.
    void connectClicked(QString portName);

    void disconnectClicked(); ///< "Disconnect" was clicked

    /// The value of the setting @p name is now @p newValue in the configuration editor.
    void valueChanged(QString name, QString newValue);

    void startReadingLogClicked(); ///< "Read" was clicked
    void showGraphClicked(); ///< "Show graph" was clicked

    /// The wait dialog was cancelled or closed; @p reason is the one for which it was last shown.
    void waitDialogCancelled(WaitDialogReason reason);

    void eraseLogClicked(); ///< "Clear" was clicked
    void writeToEepromClicked(); ///< "Write to eeprom" was clicked
    void loadSettingsClicked(); ///< "Load settings" was clicked
    void exportLocalMeasurementsToCsvClicked(); ///< "Export to csv" was clicked
    void synchronizeClockClicked(); ///< "Set to UTC" was clicked; follows synchronizeClicked()

    /// The user, or setPollutantUnitIndex() or setTemperatureUnitIndex(), has selected the unit at
    /// @p index. Each of these functions then emits the index that it was called with once more,
    /// even if it is not an index of the combo box.
    /// @{
    void pollutantUnitIndexChanged(int index);
    void temperatureUnitIndexChanged(int index);
    /// @}

    /// The graph dialog has closed; graphSettings() still returns its settings.
    void graphDialogClosed();

    void updateFirmwareClicked(); ///< "Update firmware" was clicked
    void backupEepromClicked(); ///< "Backup" was clicked
    void restoreEepromFromBackupClicked(); ///< "Restore" was clicked

protected:
    /// A serial port as the port list shows it.
    struct Port
    {
        QString name; ///< the short name, such as "ttyUSB0" or "COM2"
        QString description; ///< may be empty
        QString location; ///< the system's path, by which the port is opened
    };

    /// The ports of this computer, in any order; tests override it.
    virtual QVector<Port> availablePorts();

    /// Closes the dialogs too.
    void closeEvent(QCloseEvent *event) override;

private slots:
    void onConnectClicked();
    void onPollutantUnitChanged(int index);
    void onTemperatureUnitChanged(int index);
    void onDeviceClockTimer();
    void onWaitDialogCancelled();

private:
    void connectWidgets();
    int execMessageBox(QMessageBox::Icon icon, const QString &title, const QString &text,
                       QMessageBox::StandardButtons buttons);

    std::unique_ptr<Ui::MainWindow> m_ui;
    WaitDialog m_waitDialog;
    MeasurementGraph m_graph;
    QTimer m_deviceClockTimer;
    WaitDialogReason m_waitDialogReason = WaitDialogReason::NoReason;
};
