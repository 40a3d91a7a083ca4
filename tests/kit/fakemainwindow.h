// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/mainwindowinterface.h"

#include <QtCore/QMetaEnum>
#include <QtCore/QObject>
#include <functional>

/// Records each call as one string ("setHealth 98", "askQuestion title; text"), returns what the
/// test has set as answers to questions and dialogs, and has the signals of the real window.
class FakeMainWindow : public QObject, public MainWindowInterface
{
    Q_OBJECT

public:
    void closeWaitDialog() override { record("closeWaitDialog"); }
    void setReadLogEnabled(bool enabled) override { record("setReadLogEnabled", enabled); }
    void showMessageBox(QMessageBox::Icon icon, const QString &text) override
    {
        const QMetaEnum icons = QMetaEnum::fromType<QMessageBox::Icon>();
        record(icons.valueToKey(icon), text);
    }
    QString selectSaveFile(const QString &caption, const QString &path,
                           const QString &filter) override
    {
        record("selectSaveFile", {caption, path, filter});
        return saveFile;
    }
    QString selectOpenFile(const QString &caption, const QString &path,
                           const QString &filter) override
    {
        record("selectOpenFile", {caption, path, filter});
        return openFile;
    }
    QString selectDirectory(const QString &caption, const QString &path) override
    {
        record("selectDirectory", {caption, path});
        return directories.isEmpty() ? QString() : directories.takeFirst();
    }
    void setHwVersion(const QString &version) override { record("setHwVersion", version); }
    void setSwVersion(const QString &version) override { record("setSwVersion", version); }
    void setSerialNumber(const QString &number) override { record("setSerialNumber", number); }
    void setModelNumber(const QString &number) override { record("setModelNumber", number); }
    void setHealth(int percentage) override { record("setHealth", percentage); }
    void setDeviceClock(const QDateTime &time) override
    {
        record("setDeviceClock", time.toString(Qt::ISODate));
    }
    void setConfigurationValue(const QString &name, const QString &value) override
    {
        record("setConfigurationValue", name + QLatin1Char('=') + value);
    }
    void addMeasurement(const MeasurementMetadata &newMetadata,
                        const QVector<MeasurementValue> &newValues) override
    {
        record("addMeasurement");
        metadata = newMetadata;
        values = newValues;
    }
    QStringList configurationNames() override { return names; }
    void closeAll() override { record("closeAll"); }
    void setConnected(bool connected) override { record("setConnected", connected); }
    void setMeasurementState(MeasurementState state) override
    {
        record("setMeasurementState", static_cast<int>(state));
    }
    void addPort(const QString &label, const QString &location) override
    {
        record("addPort", {label, location});
    }
    void selectPortIndex(int index) override { record("selectPortIndex", index); }
    void refreshPorts(const QString &preferredPort) override
    {
        record("refreshPorts", preferredPort);
    }
    void setConfiguration(const DeviceConfiguration &newConfiguration) override
    {
        record("setConfiguration");
        configuration = newConfiguration;
    }
    void setMeasurementItems(const QVector<MeasurementItem> &newItems) override
    {
        record("setMeasurementItems");
        items = newItems;
    }
    void setPollutantUnitIndex(int index) override
    {
        record("setPollutantUnitIndex", index);
        emit pollutantUnitIndexChanged(index);
    }
    void setTemperatureUnitIndex(int index) override
    {
        record("setTemperatureUnitIndex", index);
        emit temperatureUnitIndexChanged(index);
    }
    void setConnectEnabled(bool enabled) override { record("setConnectEnabled", enabled); }
    void showProgressWaitDialog(WaitDialogReason reason, const QString &text) override
    {
        record("showProgressWaitDialog", {QString::number(static_cast<int>(reason)), text});
    }
    void showWaitDialog(WaitDialogReason reason, const QString &text) override
    {
        record("showWaitDialog", {QString::number(static_cast<int>(reason)), text});
    }
    bool askQuestion(const QString &title, const QString &text) override
    {
        record("askQuestion", {title, text});
        return dialogResult;
    }
    void setWaitDialogProgress(int percentage) override
    {
        record("setWaitDialogProgress", percentage);
    }
    bool showExportDialog(const DeviceDetails &newDevice, LocalStorage *newStorage,
                          const QVector<MeasurementItem> &newItems,
                          ExportSelection *selection) override
    {
        record("showExportDialog");
        device = newDevice;
        storage = newStorage;
        items = newItems;
        initialSelection = *selection;
        if (dialogResult) {
            *selection = exportSelection;
        }
        return dialogResult;
    }
    void showGraph(const DeviceDetails &newDevice, LocalStorage *newStorage,
                   const QVector<MeasurementItem> &newItems,
                   const MeasurementDisplayOptions &newOptions,
                   const GraphSettings &settings) override
    {
        record("showGraph");
        device = newDevice;
        storage = newStorage;
        items = newItems;
        options = newOptions;
        graph = settings;
    }
    void setDeviceClockRunning(bool running) override { record("setDeviceClockRunning", running); }
    void graphSettings(GraphSettings &settings) override
    {
        record("graphSettings");
        settings = graph;
    }
    void setDisplayOptions(const MeasurementDisplayOptions &newOptions) override
    {
        record("setDisplayOptions");
        options = newOptions;
    }
    QString selectedPort() override { return port; }

    QStringList calls;
    std::function<void(const QString &call)> onCall; ///< called during each call

    // Results of the calls, set by the test.
    bool dialogResult = false; ///< to questions, and whether the export dialog is accepted
    QString saveFile;
    QString openFile;
    QString port;
    QStringList directories;
    QStringList names;
    ExportSelection exportSelection;

    // The last arguments from the controller.
    MeasurementMetadata metadata;
    QVector<MeasurementValue> values;
    DeviceConfiguration configuration;
    QVector<MeasurementItem> items;
    MeasurementDisplayOptions options;
    DeviceDetails device;
    LocalStorage *storage = nullptr;
    GraphSettings graph;
    ExportSelection initialSelection;

signals:
    void synchronizeClicked();
    void connectClicked(QString portName);
    void disconnectClicked();
    void valueChanged(QString name, QString newValue);
    void startReadingLogClicked();
    void showGraphClicked();
    void waitDialogCancelled(WaitDialogReason reason);
    void eraseLogClicked();
    void writeToEepromClicked();
    void loadSettingsClicked();
    void exportLocalMeasurementsToCsvClicked();
    void synchronizeClockClicked();
    void pollutantUnitIndexChanged(int index);
    void temperatureUnitIndexChanged(int index);
    void graphDialogClosed();
    void updateFirmwareClicked();
    void backupEepromClicked();
    void restoreEepromFromBackupClicked();

private:
    void record(const QString &call)
    {
        calls.append(call);
        if (onCall) {
            onCall(call);
        }
    }
    void record(const char *name) { record(QString::fromLatin1(name)); }
    void record(const char *name, const QString &argument)
    {
        record(QLatin1String(name) + QLatin1Char(' ') + argument);
    }
    void record(const char *name, const QStringList &arguments)
    {
        record(name, arguments.join(QStringLiteral("; ")));
    }
    void record(const char *name, int argument) { record(name, QString::number(argument)); }
};
