// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/logvalue.h"
#include "tests/kit/testpaths.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// The simulated transmitter as a separate process, and the commands of its control interface.
///
/// The calls wait for the process without running the caller's event loop. The process ends
/// when this object is deleted, and when the caller's process ends for any reason.
class SimulatorProcess
{
public:
    /// Longest wait for the process to start, to reply or to end.
    static constexpr int waitMs = 20000;

    /// @p program is the path of kvt-simulator; by default the one of this build.
    explicit SimulatorProcess(const QString &program = TestPaths::buildFile("kvt-simulator"));
    ~SimulatorProcess();
    Q_DISABLE_COPY(SimulatorProcess)

    /// Starts with the options @p arguments and waits until the port exists.
    bool start(const QStringList &arguments = QStringList());

    /// The path of the port, such as /dev/pts/3.
    QString port() const { return m_port; }

    /// Whether the process is running.
    bool isRunning() const { return m_process.state() == QProcess::Running; }

    /// The exit code of a process that has exited.
    int exitCode() const { return m_process.exitCode(); }

    /// Sends the command @p line and returns the lines of the reply without the closing "ok".
    /// After a failure succeeded() is false, and error() holds the reason.
    QList<QByteArray> control(const QByteArray &line);

    /// Whether the last control() succeeded.
    bool succeeded() const { return m_error.isEmpty(); }

    /// Why the last control() failed; empty when it didn't.
    QByteArray error() const { return m_error; }

    /// The value of a setting or variable in the device, in the device's character set.
    QByteArray setting(const QByteArray &name);

    /// A value of the command "state", such as mode, exchanges or port.
    QByteArray state(const QByteArray &name);

    /// The pairs of the last reply to "show meas", as "NAME=value".
    QList<QByteArray> measurements() { return control("measurements").value(0).split(';'); }

    /// The same as a map from name to value.
    QMap<QString, QString> measurementValues();

    /// The device's clock, in UTC.
    QDateTime clock();

    /// The titles and rows of the device's log, with their times in UTC.
    /// @{
    QStringList logTitles();
    QVector<LogValue> logRows();
    /// @}

    /// The lines of the CSV file that the tool should write for the device's log: titles, then the
    /// rows with their times in local time.
    QStringList logAsCsv();

    /// Adds a fault; false if there is no such fault.
    bool fault(const QByteArray &fault) { return succeeds("fault " + fault); }

    /// Closes the device's end of the line.
    void hangUp() { control("hangup"); }

    /// Opens a new line; port() may change.
    bool resume();

    /// Frees the port after its client was killed.
    bool release() { return succeeds("release"); }

    /// Ends the process by closing its standard input; false if it doesn't end.
    bool stop();

    /// Sends SIGTERM to the process; false if it doesn't end.
    bool terminate();

    /// Sends SIGKILL to the process.
    void kill();

private:
    bool succeeds(const QByteArray &line);
    QByteArray readLine();
    bool parsePort(const QByteArray &line);
    QVector<QStringList> logCells();

    QString m_program;
    QProcess m_process;
    QString m_port;
    QByteArray m_error;
};
