// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/dialogdriver.h"
#include "tests/kit/fileio.h"
#include "tests/kit/simulatorprocess.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testpaths.h"
#include "tests/kit/toolobjects.h"
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

/// The whole tool with its real windows, connected over a real pseudo-terminal to the simulated
/// transmitter in another process. Each test function has separate settings, database and files. A
/// test that needs more before or after each function redeclares the slot.
///
/// The functions that wait return whether what they wait for has happened.
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

    /// For init(): prepares a device that is not yet started, and dialogs without answers. The
    /// store and all files are in @p folder, or in a temporary one.
    void beginTestFunction(const QString &folder = QString());

    /// For cleanup(): deletes the tool as at the end of the program, and fails if a dialog was
    /// unexpected or an expected one did not open.
    void endTestFunction();

    /// Starts the simulated device with short delays and the further @p options.
    bool startDevice(const QStringList &options = QStringList());

    /// Creates, starts and shows the tool, with the device selected in the port list.
    bool startTool()
    {
        m_tool = std::make_unique<ToolObjects>();
        return startExistingTool();
    }

    /// As startTool(), with the objects that m_tool already contains.
    bool startExistingTool();

    /// Starts device and tool, connects and waits until the first reading is stored.
    bool startConnected(const QStringList &options = QStringList())
    {
        return startDevice(options) && startTool() && connectByClick();
    }

    /// As startConnected(), with a reading every @p intervalMs.
    bool startPolling(const QStringList &options = QStringList(), int intervalMs = 20);

    /// Deletes the tool and its database connection, as at the end of the program.
    void deleteTool();

    /// Adds the port @p path to the list, unless empty, and selects it.
    void addAndSelectPort(const QString &path);

    /// Runs the program's event loop, with @p steps as its first event, until the main window is
    /// closed or a step has failed; returns the exit code.
    int runEventLoop(const std::function<void()> &steps);

    ToolObjects &tool() { return *m_tool; }
    MainWindow &window() { return m_tool->window; }
    SerialPortQueue &queue() { return static_cast<SerialPortQueue &>(*m_tool->queue); }
    SimulatorProcess &device() { return *m_device; }
    DialogDriver &dialogs() { return *m_dialogs; }

    /// @name Input
    /// @{

    using WindowDriver::press;

    /// Clicks the button of the main window with this object name.
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

    /// Runs @p action once, from the event loop, when the progress bar of the wait dialog shows
    /// @p percentage or more. Disconnect the returned connection to cancel this.
    QMetaObject::Connection atProgress(int percentage, const std::function<void()> &action);

    /// Waits until the device has replied to each request and the results have been delivered.
    bool waitUntilIdle();

    /// Prepares the answers to the question and the file dialog that open after a click on the
    /// button @p button and before its wait dialog. The file dialog chooses chosenFile().
    void prepareAnswers(const QByteArray &button);

    /// The file that prepareAnswers() chooses. It is created there if the operation reads it.
    QString chosenFile() const { return file(QStringLiteral("chosen.dat")); }

    /// Prepares a file dialog to be accepted with a path whose folder is removed before the file is
    /// written; returns the path.
    QString chooseFileInRemovedFolder(const QString &caption);

    /// Waits until each prepared answer of dialogs() has been given.
    bool waitForAnswers()
    {
        return waitFor([this] { return dialogs().allExpectationsMet(); });
    }

    /// Waits until two more readings are stored and the table shows a value.
    bool waitForReadings();

    /// @}
    /// @name Observation
    /// @{

    template <typename T>
    T *child(const char *name)
    {
        return window().findChild<T *>(QLatin1String(name));
    }
    QString fieldText(const char *name) { return child<QLineEdit>(name)->text(); }
    bool isEnabled(const char *name) { return child<QWidget>(name)->isEnabled(); }
    bool isVisible(const char *name) { return child<QWidget>(name)->isVisible(); }
    bool isConnected() { return isVisible("disconnectButton"); }

    /// Whether no job is running or waiting.
    bool isIdle() { return !queue().currentJob() && queue().jobs().isEmpty(); }

    ConfigurationEditor *editor() { return child<ConfigurationEditor>("configuration"); }
    MeasurementTable *table() { return child<MeasurementTable>("measurements"); }

    /// The cell with the value of the setting @p alias; null if it isn't listed.
    QTableWidgetItem *setting(const char *alias);

    /// The texts of the values in the measurement table, by raw name.
    QMap<QString, QString> shownValues();

    /// What shownValues() should return for the device's last reading in the default units.
    QMap<QString, QString> expectedValues();

    /// The last reading of the device, and the last one in the store, as "NAME|1.50", sorted by
    /// name.
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

    static QByteArray contents(const QString &path) { return FileIo::contents(path); }
    static bool write(const QString &path, const QByteArray &bytes)
    {
        return FileIo::write(path, bytes);
    }

    /// The lines that the program sqlite3 prints for @p query.
    QStringList sqliteOutput(const QString &query) const;

    /// Whether the CSV file contains the values of the measurement @p type in the store between
    /// @p from and @p to, with @p offset added and then multiplied by @p factor. Python reads both.
    bool csvMatchesDatabase(const QString &csv, const QString &type, const QDateTime &from,
                            const QDateTime &to, double factor = 1.0, double offset = 0.0) const;

    /// The number of readings in the store, read over a separate connection.
    int storedReadings() const;

    /// The console commands that the device has received since the last clearCommands().
    QStringList commands() const;

    /// How many of commands() begin with a match of the regular expression @p beginning.
    int commandCount(const char *beginning) const
    {
        return commands().filter(QRegularExpression(QLatin1Char('^') + text(beginning))).size();
    }

    void clearCommands() { m_journalRead = contents(journalPath()).size(); }

    /// A value of the user's preferences.
    static QVariant savedPreference(const char *key)
    {
        return QSettings(text("Orvanta"), text("Kv tool")).value(QLatin1String(key));
    }

    /// @}

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<SimulatorProcess> m_device;
    std::unique_ptr<DialogDriver> m_dialogs;
    std::unique_ptr<ToolObjects> m_tool;

private:
    QString journalPath() const { return file(QStringLiteral("journal")); }

    QString m_path; ///< the folder, if m_folder is null
    std::unique_ptr<QTimer> m_failedTestDialogCloser;
    int m_journalRead = 0;
};
