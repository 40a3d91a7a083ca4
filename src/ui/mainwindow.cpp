// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/mainwindow.h"

#include "ui/exportmeasurementstocsvdialog.h"
#include "ui_mainwindow.h"

#include <QtCore/QDebug>
#include <QtSerialPort/QSerialPortInfo>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QScrollBar>
#include <algorithm>

constexpr int locationRole = Qt::UserRole;
constexpr int deviceClockIntervalMs = 1000;

// The part of a message that is shown without its details.
constexpr int maximumBoxLines = 25;
constexpr int maximumBoxCharacters = 600;

static QString portLabel(const QString &name, const QString &description)
{
    return description.isEmpty() ? name : QStringLiteral("%1 - %2").arg(name, description);
}

/// Sets the height of a row to that of one line of text, and a minimum width that fits the headers.
/// Not set in the form, because sizes there are in pixels.
static void sizeByFont(QTableWidget *table)
{
    constexpr double rowLines = 1.4;
    constexpr int widthLines = 18;
    const int line = table->fontMetrics().height();
    table->verticalHeader()->setDefaultSectionSize(qRound(rowLines * line));
    table->setMinimumWidth(widthLines * line);
}

/// Resizes all columns but the last to their contents: each to half of the view at most, together
/// to two thirds at most. The last column fills the rest. The user can resize them afterwards.
static void fitNameColumns(QTableWidget *table)
{
    QSize view = table->maximumViewportSize();
    // The scroll bar appears only with the next layout.
    if (table->verticalHeader()->length() > view.height()) {
        view.rwidth() -= table->verticalScrollBar()->sizeHint().width();
    }
    int available = view.width() * 2 / 3;
    int remaining = view.width();
    for (int column = table->columnCount() - 2; column >= 0; --column) {
        table->resizeColumnToContents(column);
        const int width =
            std::min({table->columnWidth(column), view.width() / 2, available / (column + 1)});
        table->setColumnWidth(column, width);
        available -= width;
        remaining -= width;
    }
    // The stretched column keeps its width until the next resize of the view.
    table->setColumnWidth(table->columnCount() - 1, remaining);
}

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWindow>())
    , m_waitDialog(nullptr)
    , m_graph(nullptr)
{
    // The controller's connections are string-based, and a queued one needs the registered name of
    // the type.
    qRegisterMetaType<WaitDialogReason>("WaitDialogReason");
    m_ui->setupUi(this);
    m_waitDialog.setWindowIcon(windowIcon());
    m_graph.setWindowIcon(windowIcon());
    sizeByFont(m_ui->configuration);
    sizeByFont(m_ui->measurements);
    connectWidgets();
    // Quirk: backup and restore are complete but not offered, as a restore does not invert a
    // backup.
    m_ui->backupEepromButton->hide();
    m_ui->restoreEepromButton->hide();
    m_ui->eepromLabel->hide();
    m_deviceClockTimer.setInterval(deviceClockIntervalMs);
    MainWindow::setConnected(false);
}

MainWindow::~MainWindow() = default;

void MainWindow::connectWidgets()
{
    const auto onClick = [this](QPushButton *button, auto signal) {
        connect(button, &QPushButton::clicked, this, signal);
    };
    const auto currentIndexChanged = qOverload<int>(&QComboBox::currentIndexChanged);

    onClick(m_ui->writeToEepromButton, &MainWindow::writeToEepromClicked);
    onClick(m_ui->connectButton, &MainWindow::onConnectClicked);
    // Quirk: "Set to UTC" reads the device first. The reply with the clock closes the wait dialog,
    // so this connection precedes the one to synchronizeClockClicked().
    onClick(m_ui->syncClockButton, &MainWindow::synchronizeClicked);
    onClick(m_ui->disconnectButton, &MainWindow::disconnectClicked);
    onClick(m_ui->syncClockButton, &MainWindow::synchronizeClockClicked);
    onClick(m_ui->synchronizeButton, &MainWindow::synchronizeClicked);
    connect(m_ui->configuration, &ConfigurationEditor::valueChanged, this,
            &MainWindow::valueChanged);
    onClick(m_ui->readLogButton, &MainWindow::startReadingLogClicked);
    onClick(m_ui->eraseLogButton, &MainWindow::eraseLogClicked);
    onClick(m_ui->exportLocalMeasurementsButton, &MainWindow::exportLocalMeasurementsToCsvClicked);
    onClick(m_ui->buttonShowGraph, &MainWindow::showGraphClicked);
    onClick(m_ui->loadSettingsButton, &MainWindow::loadSettingsClicked);
    connect(m_ui->unit, currentIndexChanged, this, &MainWindow::onPollutantUnitChanged);
    connect(m_ui->unitTemperature, currentIndexChanged, this,
            &MainWindow::onTemperatureUnitChanged);
    connect(&m_waitDialog, &WaitDialog::cancelClicked, this, &MainWindow::onWaitDialogCancelled);
    onClick(m_ui->updateFirmwareButton, &MainWindow::updateFirmwareClicked);
    connect(&m_deviceClockTimer, &QTimer::timeout, this, &MainWindow::onDeviceClockTimer);
    connect(&m_graph, &QDialog::finished, this, &MainWindow::graphDialogClosed);
    onClick(m_ui->restoreEepromButton, &MainWindow::restoreEepromFromBackupClicked);
    onClick(m_ui->backupEepromButton, &MainWindow::backupEepromClicked);
}

void MainWindow::closeWaitDialog() { m_waitDialog.close(); }

void MainWindow::setReadLogEnabled(bool enabled) { m_ui->readLogButton->setEnabled(enabled); }

void MainWindow::showMessageBox(QMessageBox::Icon icon, const QString &text)
{
    switch (icon) {
    case QMessageBox::Warning:
    case QMessageBox::Critical:
    case QMessageBox::Information:
        execMessageBox(icon, tr("Kv tool"), text, QMessageBox::Ok);
        break;
    default:
        qDebug() << "virtual void MainWindow::showMessageBox(QMessageBox::Icon, const QString&)"
                 << "Icon type" << icon << "not supported yet";
    }
}

QString MainWindow::selectSaveFile(const QString &caption, const QString &path,
                                   const QString &filter)
{
    return QFileDialog::getSaveFileName(this, caption, path, filter);
}

QString MainWindow::selectOpenFile(const QString &caption, const QString &path,
                                   const QString &filter)
{
    return QFileDialog::getOpenFileName(this, caption, path, filter);
}

QString MainWindow::selectDirectory(const QString &caption, const QString &path)
{
    return QFileDialog::getExistingDirectory(this, caption, path, QFileDialog::DontUseNativeDialog);
}

void MainWindow::setHwVersion(const QString &version) { m_ui->hwVersion->setText(version); }

void MainWindow::setSwVersion(const QString &version) { m_ui->swVersion->setText(version); }

void MainWindow::setSerialNumber(const QString &serialNumber)
{
    m_ui->serialNumber->setText(serialNumber);
}

void MainWindow::setModelNumber(const QString &modelNumber)
{
    m_ui->modelNumber->setText(modelNumber);
}

void MainWindow::setHealth(int percentage)
{
    m_ui->deviceHealth->setText(percentage < 0 ? tr("N/A") : QStringLiteral("%1%").arg(percentage));
}

void MainWindow::setDeviceClock(const QDateTime &time)
{
    m_ui->deviceClockDateTimeEdit->setDateTime(time.toTimeSpec(Qt::LocalTime));
}

void MainWindow::setConfigurationValue(const QString &name, const QString &value)
{
    m_ui->configuration->setConfigurationValue(name, value);
}

void MainWindow::addMeasurement(const MeasurementMetadata &,
                                const QVector<MeasurementValue> &values)
{
    m_ui->measurements->updateMeasurements(values);
    m_graph.refresh();
}

QStringList MainWindow::configurationNames() { return m_ui->configuration->configurationNames(); }

void MainWindow::closeAll()
{
    m_graph.close();
    m_waitDialog.close();
    close();
}

void MainWindow::setConnected(bool connected)
{
    m_ui->configuration->setEnabled(connected);
    m_ui->synchronizeButton->setEnabled(connected);
    m_ui->measurements->setEnabled(connected);
    m_ui->connectButton->setVisible(!connected);
    m_ui->disconnectButton->setVisible(connected);
    m_ui->readLogButton->setEnabled(connected);
    m_ui->eraseLogButton->setEnabled(connected);
    m_ui->writeToEepromButton->setEnabled(connected);
    m_ui->deviceHealth->setEnabled(connected);
    m_ui->syncClockButton->setEnabled(connected);
    m_ui->loadSettingsButton->setEnabled(connected);
    if (!connected) {
        m_ui->statusBar->clearMessage();
    }
}

void MainWindow::setMeasurementState(MeasurementState state)
{
    const QMap<MeasurementState, QString> texts{
        {MeasurementState::WarmingUp, tr("Device is warming up")},
        {MeasurementState::Ready, tr("Device is ready for measurements")},
        {MeasurementState::TemperatureOverRange,
         tr("Device temperature is over the specified range")},
        {MeasurementState::NotStabilized, tr("Device has not stabilized yet")},
        {MeasurementState::HardwareError, tr("Device has hardware error")},
    };
    // Quirk: black or red on the background of any theme, even a dark one.
    const bool ready = state == MeasurementState::Ready;
    m_ui->statusBar->setStyleSheet(ready ? QStringLiteral("QStatusBar { color : green; }")
                                         : QStringLiteral("QStatusBar { color : red; }"));
    m_ui->statusBar->showMessage(texts.value(state));
    m_ui->measurements->setStyleSheet(ready ? QStringLiteral("QTableWidget { color: black}")
                                            : QStringLiteral("QTableWidget { color: red}"));
}

void MainWindow::addPort(const QString &label, const QString &location)
{
    m_ui->serialPorts->addItem(label, location);
}

void MainWindow::selectPortIndex(int index) { m_ui->serialPorts->setCurrentIndex(index); }

void MainWindow::refreshPorts(const QString &preferredPort)
{
    QVector<Port> ports = availablePorts();
    // Quirk: sorted by UTF-16 code unit, so COM10 comes before COM2.
    std::sort(ports.begin(), ports.end(),
              [](const Port &left, const Port &right) { return left.name < right.name; });
    int selected = 0;
    int index = 0;
    for (const Port &port : qAsConst(ports)) {
        addPort(portLabel(port.name, port.description), port.location);
        // Quirk: a name that occurs anywhere in the preferred port matches, and the last match
        // wins.
        if (preferredPort.indexOf(port.name) != -1) {
            selected = index;
        }
        ++index;
    }
    selectPortIndex(selected);
}

QVector<MainWindow::Port> MainWindow::availablePorts()
{
    QVector<Port> ports;
    const QList<QSerialPortInfo> infos = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo &info : infos) {
        ports.append({info.portName(), info.description(), info.systemLocation()});
    }
    return ports;
}

void MainWindow::setConfiguration(const DeviceConfiguration &configuration)
{
    m_ui->configuration->setConfiguration(configuration);
    fitNameColumns(m_ui->configuration);
}

void MainWindow::setMeasurementItems(const QVector<MeasurementItem> &items)
{
    m_ui->measurements->setMeasurementItems(items);
    fitNameColumns(m_ui->measurements);
}

void MainWindow::setPollutantUnitIndex(int index)
{
    // Quirk: emitted twice for a new index, first through the combo box.
    m_ui->unit->setCurrentIndex(index);
    emit pollutantUnitIndexChanged(index);
}

void MainWindow::setTemperatureUnitIndex(int index)
{
    m_ui->unitTemperature->setCurrentIndex(index);
    emit temperatureUnitIndexChanged(index);
}

void MainWindow::setConnectEnabled(bool enabled) { m_ui->connectButton->setDisabled(!enabled); }

void MainWindow::showProgressWaitDialog(WaitDialogReason reason, const QString &text)
{
    m_waitDialogReason = reason;
    m_waitDialog.showDialog(text, true);
}

void MainWindow::showWaitDialog(WaitDialogReason reason, const QString &text)
{
    m_waitDialogReason = reason;
    m_waitDialog.showDialog(text, false);
}

bool MainWindow::askQuestion(const QString &title, const QString &text)
{
    return execMessageBox(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No)
        == QMessageBox::Yes;
}

int MainWindow::execMessageBox(QMessageBox::Icon icon, const QString &title, const QString &text,
                               QMessageBox::StandardButtons buttons)
{
    QMessageBox box(icon, title, QString(), buttons, this);
    // The text may come from a device or a file. By default a message box renders text that looks
    // like HTML as HTML; hence the format is set before the text.
    box.setTextFormat(Qt::PlainText);
    const QString shown =
        text.section(QLatin1Char('\n'), 0, maximumBoxLines - 1).left(maximumBoxCharacters);
    if (shown == text) {
        box.setText(text);
    } else {
        // A box grows with its text; the detailed text scrolls.
        box.setText(shown + QChar(0x2026));
        box.setDetailedText(text);
    }
    return box.exec();
}

void MainWindow::setWaitDialogProgress(int percentage) { m_waitDialog.progress(percentage); }

bool MainWindow::showExportDialog(const DeviceDetails &device, LocalStorage *storage,
                                  const QVector<MeasurementItem> &items, ExportSelection *selection)
{
    ExportMeasurementsToCsvDialog dialog(storage, this);
    dialog.setMeasurementItems(items);
    dialog.loadDevices();
    dialog.selectDevice(device);
    if (dialog.exec() != QDialog::Accepted) {
        return false;
    }
    selection->deviceId = dialog.selectedDeviceId();
    selection->measurementTypes = dialog.selectedMeasurementTypes();
    selection->from = dialog.fromDate();
    selection->to = dialog.toDate();
    return true;
}

void MainWindow::showGraph(const DeviceDetails &device, LocalStorage *storage,
                           const QVector<MeasurementItem> &items,
                           const MeasurementDisplayOptions &options, const GraphSettings &settings)
{
    if (m_graph.isVisible()) {
        return;
    }
    m_graph.setDisplayOptions(options);
    m_graph.setFromDate(settings.from);
    m_graph.setToDate(settings.to);
    m_graph.setMaximumValue(settings.maximum);
    m_graph.setMinimumValue(settings.minimum);
    m_graph.setManualRange(settings.manualRange);
    m_graph.setLocalStorage(storage);
    m_graph.setMeasurementItems(items);
    m_graph.setShowLatest(settings.showLatest);
    m_graph.beginLoading();
    m_graph.selectDevice(device);
    m_graph.endLoading();
    m_graph.applySelection(settings.measurementTypes);
    m_graph.show();
}

void MainWindow::setDeviceClockRunning(bool running)
{
    if (running) {
        m_deviceClockTimer.start();
    } else {
        m_deviceClockTimer.stop();
    }
}

void MainWindow::graphSettings(GraphSettings &settings)
{
    settings.from = m_graph.fromDate();
    settings.to = m_graph.toDate();
    settings.measurementTypes = m_graph.selectedMeasurements();
    settings.manualRange = m_graph.manualRange();
    settings.showLatest = m_graph.showLatest();
    settings.minimum = m_graph.minimumValue();
    settings.maximum = m_graph.maximumValue();
}

void MainWindow::setDisplayOptions(const MeasurementDisplayOptions &options)
{
    m_ui->measurements->setDisplayOptions(options);
    m_graph.setDisplayOptions(options);
}

QString MainWindow::selectedPort()
{
    return m_ui->serialPorts->currentData(locationRole).toString();
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    // The dialogs have no parent that would close them.
    m_graph.close();
    m_waitDialog.close();
    QWidget::closeEvent(event);
}

void MainWindow::onConnectClicked() { emit connectClicked(selectedPort()); }

void MainWindow::onPollutantUnitChanged(int index) { emit pollutantUnitIndexChanged(index); }

void MainWindow::onTemperatureUnitChanged(int index) { emit temperatureUnitIndexChanged(index); }

void MainWindow::onDeviceClockTimer()
{
    QDateTimeEdit *clock = m_ui->deviceClockDateTimeEdit;
    clock->setDateTime(clock->dateTime().addSecs(1));
}

void MainWindow::onWaitDialogCancelled() { emit waitDialogCancelled(m_waitDialogReason); }
