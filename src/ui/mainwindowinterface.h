// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/devicedetails.h"
#include "common/measurementdisplayoptions.h"
#include "common/measurementitem.h"
#include "common/measurementstate.h"
#include "storage/localstorage.h"
#include "ui/deviceconfiguration.h"
#include "ui/exportselection.h"
#include "ui/graphsettings.h"
#include "ui/waitdialogreason.h"

#include <QtWidgets/QMessageBox>

/// The user interface as the controller uses it.
///
/// The object that implements it must also be a QObject with the signals of MainWindow; the
/// controller connects to them by name. Dialogs and message boxes run a nested event loop: such a
/// call returns only when the user or a slot has closed the dialog. The graph dialog does not.
class MainWindowInterface
{
public:
    virtual ~MainWindowInterface() = default;

    /// Closes the wait dialog, which counts as a cancellation.
    virtual void closeWaitDialog() = 0;

    /// Enables or disables the button that reads the log.
    virtual void setReadLogEnabled(bool enabled) = 0;

    /// Shows @p text literally in an Information, Warning or Critical box; any other icon shows
    /// nothing.
    virtual void showMessageBox(QMessageBox::Icon icon, const QString &text) = 0;

    /// File and folder dialogs; each returns the chosen path, empty if cancelled.
    /// @{
    virtual QString selectSaveFile(const QString &caption, const QString &path,
                                   const QString &filter) = 0;
    virtual QString selectOpenFile(const QString &caption, const QString &path,
                                   const QString &filter) = 0;
    virtual QString selectDirectory(const QString &caption, const QString &path) = 0;
    /// @}

    /// Shows a part of the device's identity.
    /// @{
    virtual void setHwVersion(const QString &version) = 0;
    virtual void setSwVersion(const QString &version) = 0;
    virtual void setSerialNumber(const QString &serialNumber) = 0;
    virtual void setModelNumber(const QString &modelNumber) = 0;
    /// @}

    /// Shows the health, 0 to 100 percent; a negative one as not available.
    virtual void setHealth(int percentage) = 0;

    /// Shows the device's clock, in local time.
    virtual void setDeviceClock(const QDateTime &time) = 0;

    /// Shows @p value in every row of the setting @p name.
    virtual void setConfigurationValue(const QString &name, const QString &value) = 0;

    /// Shows a new reading in the table and redraws the graph.
    virtual void addMeasurement(const MeasurementMetadata &metadata,
                                const QVector<MeasurementValue> &values) = 0;

    /// The device's variables that have a row in the configuration editor, from the top row down.
    virtual QStringList configurationNames() = 0;

    /// Closes all windows of the program.
    virtual void closeAll() = 0;

    /// Enables or disables the controls that need a device, and shows Disconnect or Connect.
    virtual void setConnected(bool connected) = 0;

    /// Shows the state in the status bar and as the colour of the measurements.
    virtual void setMeasurementState(MeasurementState state) = 0;

    /// Appends a port to the list. @p location is the path by which the port is opened.
    virtual void addPort(const QString &label, const QString &location) = 0;

    /// Selects the port at @p index of the list, 0 for the first.
    virtual void selectPortIndex(int index) = 0;

    /// Appends the computer's ports; the last one whose name occurs in @p preferredPort is
    /// selected.
    virtual void refreshPorts(const QString &preferredPort) = 0;

    /// Fills the configuration editor with the settings of a model, without values.
    virtual void setConfiguration(const DeviceConfiguration &configuration) = 0;

    /// Fills the table with the measurements of a model, without values.
    virtual void setMeasurementItems(const QVector<MeasurementItem> &items) = 0;

    /// Selects the unit at @p index and emits the index, even if it has not changed.
    /// @{
    virtual void setPollutantUnitIndex(int index) = 0;
    virtual void setTemperatureUnitIndex(int index) = 0;
    /// @}

    /// Enables or disables the Connect button. The controller only enables it, after disconnecting;
    /// setConnected() hides it while a device is connected.
    virtual void setConnectEnabled(bool enabled) = 0;

    /// Shows the wait dialog with a progress bar, or changes an open one accordingly.
    virtual void showProgressWaitDialog(WaitDialogReason reason, const QString &text) = 0;

    /// Shows the wait dialog with a busy indicator, or changes an open one accordingly.
    virtual void showWaitDialog(WaitDialogReason reason, const QString &text) = 0;

    /// Asks a question with Yes and No, shown literally; true only for Yes.
    virtual bool askQuestion(const QString &title, const QString &text) = 0;

    /// Sets the wait dialog's progress, 0 to 100 percent.
    virtual void setWaitDialogProgress(int percentage) = 0;

    /// Lets the user choose what to export. Returns false and leaves @p selection unchanged if
    /// cancelled.
    virtual bool showExportDialog(const DeviceDetails &device, LocalStorage *storage,
                                  const QVector<MeasurementItem> &items,
                                  ExportSelection *selection) = 0;

    /// Opens the graph dialog, which is modeless; does nothing while it is open.
    virtual void showGraph(const DeviceDetails &device, LocalStorage *storage,
                           const QVector<MeasurementItem> &items,
                           const MeasurementDisplayOptions &options,
                           const GraphSettings &settings) = 0;

    /// Starts or stops advancing the displayed clock every second.
    virtual void setDeviceClockRunning(bool running) = 0;

    /// Fills @p settings from the graph dialog.
    virtual void graphSettings(GraphSettings &settings) = 0;

    /// Sets the units of the table and the graph.
    virtual void setDisplayOptions(const MeasurementDisplayOptions &options) = 0;

    /// The location of the port selected in the list; empty if the list is empty.
    virtual QString selectedPort() = 0;
};
