// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/mainwindowinterface.h"
#include "ui/measurementgraph.h"
#include "ui/waitdialog.h"

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTimer>
#include <QtCore/QVector>
#include <QtWidgets/QMainWindow>
#include <memory>

namespace Ui {
class MainWindow;
}

/// The one top-level window. It decides nothing: each button says by a signal what the user wants,
/// and each change on screen comes through an operation of MainWindowInterface.
///
/// The wait dialog and the graph dialog are windows of their own that live as long as this one.
class MainWindow : public QMainWindow, public MainWindowInterface
{
    Q_OBJECT

public:
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

    /// Appends the machine's ports by name and selects the last one whose name occurs in
    /// @p preferredPort, otherwise the first of the list. Meant to be called once, as it clears
    /// nothing.
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
    /// A button was clicked; the name tells which.
    void synchronizeClicked();

    /// @p portName is the location of the port chosen in the list, or empty without one.
    void connectClicked(QString portName);

    /// A button was clicked; the name tells which.
    void disconnectClicked();

    /// The value of the setting @p name is now @p newValue in the configuration editor.
    void valueChanged(QString name, QString newValue);

    /// A button was clicked; the name tells which.
    void startReadingLogClicked();
    void showGraphClicked();

    /// The wait dialog was cancelled or closed; @p reason is the one last shown.
    void waitDialogCancelled(WaitDialogReason reason);

    /// A button was clicked; the name tells which.
    void eraseLogClicked();
    void writeToEepromClicked();
    void loadSettingsClicked();
    void exportLocalMeasurementsToCsvClicked();
    void synchronizeClockClicked();

    /// @p index is the unit selector's when the user or the operation changed it, and then once
    /// more what the operation asked for, whether or not the selector knows such an index.
    void pollutantUnitIndexChanged(int index);
    void temperatureUnitIndexChanged(int index);

    /// The graph dialog has closed; graphSettings() still tells its choices.
    void graphDialogClosed();

    /// A button was clicked; the name tells which.
    void updateFirmwareClicked();
    void backupEepromClicked();
    void restoreEepromFromBackupClicked();

protected:
    /// What the port list shows of a serial port.
    struct Port
    {
        QString name; ///< the short name, as "ttyUSB0" or "COM2"
        QString description; ///< may be empty
        QString location; ///< what the port is opened by
    };

    /// The ports of this machine, in any order. Tests have others.
    virtual QVector<Port> availablePorts();

    /// Takes the dialogs along.
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
