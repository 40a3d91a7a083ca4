// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/dialogdriver.h"
#include "tests/kit/files.h"
#include "tests/kit/simulatorprocess.h"
#include "tests/kit/testpaths.h"
#include "tests/kit/text.h"
#include "tests/kit/tool.h"
#include "tests/kit/windowdriver.h"
#include "ui/configurationeditor.h"
#include "ui/measurementtable.h"

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>
#include <QtTest/QtTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStatusBar>
#include <functional>
#include <memory>

/// The whole tool with its real windows on a real pseudo-terminal, on whose other end the simulated
/// transmitter runs as a process of its own. Each test function has its own settings, store and
/// files. A test that needs more before or after each function declares the slot again.
///
/// The steps that wait return whether what they wait for has happened.
class ToolFixture : public QObject, protected WindowDriver
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareApplication(); }
    void init() { beginTestFunction(); }
    void cleanup() { endTestFunction(); }

protected:
    /// For initTestCase().
    static void prepareApplication();

    /// For init(): a device and dialogs without answers yet. The store and all files are in
    /// @p folder, or in a temporary one.
    void beginTestFunction(const QString &folder = QString());

    /// For cleanup(): deletes the tool as the program's end does, and fails when a dialog was
    /// unexpected or one that was expected did not open.
    void endTestFunction();

    /// Starts the simulated device with short delays and the further @p options.
    bool startDevice(const QStringList &options = QStringList());

    /// The program up to its event loop, with the device chosen in the port list.
    bool startTool()
    {
        m_tool = std::make_unique<Tool>();
        return startExistingTool();
    }

    /// As startTool(), with the objects that m_tool already contains.
    bool startExistingTool();

    /// Device and tool, connected, with the first reading in the store.
    bool startConnected(const QStringList &options = QStringList())
    {
        return startDevice(options) && startTool() && connectByClick();
    }

    /// As startConnected(), with a reading every @p intervalMs.
    bool startPolling(const QStringList &options = QStringList(), int intervalMs = 20);

    /// Deletes the tool and its database connection, as the end of the program does.
    void endTool();

    /// Adds the port @p path to the list, unless empty, and selects it.
    void choosePort(const QString &path);

    /// Runs @p steps in the program's event loop until the main window is closed, or a step has
    /// failed; the exit code.
    int runProgram(const std::function<void()> &steps);

    Tool &tool() { return *m_tool; }
    MainWindow &window() { return m_tool->window; }
    SerialPortQueue &queue() { return static_cast<SerialPortQueue &>(*m_tool->queue); }
    SimulatorProcess &device() { return *m_device; }
    DialogDriver &dialogs() { return *m_dialogs; }

    /// @name Input
    /// @{

    using WindowDriver::press;

    /// Presses the main window's button with this object name.
    bool click(const char *buttonName) { return press(child<QPushButton>(buttonName)); }

    bool connectByClick();
    bool disconnectByClick()
    {
        return click("disconnectButton")
            && waitFor([this] { return !queue().serialPort()->isOpen(); });
    }

    /// Types @p value into the cell of the setting @p alias.
    bool typeSetting(const char *alias, const QString &value)
    {
        return typeIntoCell(editor(), setting(alias)->row(), setting(alias)->column(), value);
    }

    /// Runs @p action once, from the event loop, when the wait dialog's bar shows @p percentage or
    /// more. The connection that is returned ends the wait.
    QMetaObject::Connection atProgress(int percentage, const std::function<void()> &action);

    /// Waits until each request to the device has been answered and its result has been delivered.
    bool waitUntilQuiet();

    /// Prepares the answers to the question and file dialog between the main window's button
    /// @p button and its wait dialog. The file of the file dialog is chosenFile().
    void prepareAnswers(const QByteArray &button);

    /// The file that prepareAnswers() chooses; written before if it is to be read.
    QString chosenFile() const { return file(QStringLiteral("chosen.dat")); }

    /// Prepares the answer of a file dialog with a path whose folder is removed before the file is
    /// written; returns the path.
    QString chooseFileInRemovedFolder(const QString &caption);

    /// Waits until each prepared answer of dialogs() has been given.
    bool waitForAnswers()
    {
        return waitFor([this] { return dialogs().isSatisfied(); });
    }

    /// Waits for two more readings in the store, with the last one in the table.
    bool readingsArrive();

    /// @}
    /// @name Observation
    /// @{

    template <typename T>
    T *child(const char *name)
    {
        return window().findChild<T *>(QLatin1String(name));
    }
    QString field(const char *name) { return child<QLineEdit>(name)->text(); }
    bool isEnabled(const char *name) { return child<QWidget>(name)->isEnabled(); }
    bool isVisible(const char *name) { return child<QWidget>(name)->isVisible(); }
    bool isConnected() { return isVisible("disconnectButton"); }

    /// Whether no job runs or waits.
    bool isIdle() { return !queue().currentJob() && queue().jobs().isEmpty(); }

    ConfigurationEditor *editor() { return child<ConfigurationEditor>("configuration"); }
    MeasurementTable *table() { return child<MeasurementTable>("measurements"); }

    /// The value cell of the setting @p alias; null when it isn't listed.
    QTableWidgetItem *setting(const char *alias);

    /// The texts of the measurement table by raw name.
    QMap<QString, QString> shownValues();

    /// The texts that shownValues() should have for the device's last reading and the initial
    /// units.
    QMap<QString, QString> expectedValues();

    /// The last reading of the device and of the store, as "NAME|1.50", sorted by name.
    /// @{
    QStringList deviceValues();
    QStringList lastStoredValues() const;
    /// @}

    /// @}
    /// @name Files and device
    /// @{

    QString folder() const { return m_folder ? m_folder->path() : m_path; }
    QString file(const QString &name) const { return folder() + QLatin1Char('/') + name; }
    QString storePath() const { return file(QStringLiteral("measurements.db")); }

    static QByteArray contents(const QString &path) { return files::contents(path); }
    static bool write(const QString &path, const QByteArray &bytes)
    {
        return files::write(path, bytes);
    }

    /// The lines that SQLite's own client prints for @p query.
    QStringList sqlite(const QString &query) const;

    /// Whether the CSV file has the values of @p type between @p from and @p to as the store has
    /// them, with @p offset added and then multiplied by @p factor. Python reads both.
    bool csvEqualsStore(const QString &csv, const QString &type, const QDateTime &from,
                        const QDateTime &to, double factor = 1.0, double offset = 0.0) const;

    /// The number of readings in the store, read through a connection of its own.
    int storedReadings() const;

    /// The console commands that the device has received since the last forgetCommands().
    QStringList commands() const;

    /// How many of commands() match the regular expression @p beginning at their start.
    int commandCount(const char *beginning) const
    {
        return commands().filter(QRegularExpression(QLatin1Char('^') + text(beginning))).size();
    }

    void forgetCommands() { m_journalRead = contents(journalPath()).size(); }

    /// A value of the user's settings file.
    static QVariant rememberedValue(const char *key)
    {
        return QSettings(text("Orvanta"), text("Kv tool")).value(QLatin1String(key));
    }

    /// @}

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<SimulatorProcess> m_device;
    std::unique_ptr<DialogDriver> m_dialogs;
    std::unique_ptr<Tool> m_tool;

private:
    QString journalPath() const { return file(QStringLiteral("journal")); }

    QString m_path; ///< without m_folder
    std::unique_ptr<QTimer> m_failedTestDialogCloser;
    int m_journalRead = 0;
};
