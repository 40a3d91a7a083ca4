// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/testpaths.h"

#include <QtCore/QByteArray>
#include <QtCore/QElapsedTimer>
#include <QtCore/QList>
#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// The simulated transmitter as a process of its own, with its control desk at hand.
///
/// The calls wait for the process without running the caller's event loop. The process ends with
/// this object, and with the caller's process, whatever becomes of that.
class SimulatorProcess
{
public:
    /// Longest wait for the process to start, answer or end.
    static constexpr int waitMs = 20000;

    /// @p program is the path of kvt-simulator; the build's own unless told otherwise.
    explicit SimulatorProcess(const QString &program = testpaths::buildFile("kvt-simulator"))
        : m_program(program)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    }

    ~SimulatorProcess()
    {
        if (!stop()) {
            kill();
        }
    }

    Q_DISABLE_COPY(SimulatorProcess)

    /// Starts with the options @p arguments and waits until the port is there.
    bool start(const QStringList &arguments = QStringList())
    {
        m_process.start(
            m_program,
            arguments
                + QStringList{QStringLiteral("--control"), QStringLiteral("--exit-with-stdin")});
        return m_process.waitForStarted(waitMs) && takePort(readLine());
    }

    /// The path of the port, such as /dev/pts/3.
    QString port() const { return m_port; }

    /// Whether the process runs.
    bool isRunning() const { return m_process.state() == QProcess::Running; }

    /// The process's id; 0 when it does not run.
    qint64 processId() const { return m_process.processId(); }

    /// The exit code of a process that has ended by itself.
    int exitCode() const { return m_process.exitCode(); }

    /// Gives @p line to the control desk and returns the lines of the reply without the closing
    /// "ok". succeeded() tells whether it was one; otherwise error() holds the reason.
    QList<QByteArray> control(const QByteArray &line)
    {
        QList<QByteArray> lines;
        m_error = "no reply";
        m_process.write(line + '\n');
        while (isRunning()) {
            const QByteArray reply = readLine();
            if (reply == "ok") {
                m_error.clear();
                return lines;
            }
            if (reply.isNull() || reply.startsWith("error: ")) {
                m_error = reply.isNull() ? m_error : reply.mid(int(qstrlen("error: ")));
                return QList<QByteArray>();
            }
            lines += reply;
        }
        return QList<QByteArray>();
    }

    /// Whether the last control() did what was asked.
    bool succeeded() const { return m_error.isEmpty(); }

    /// Why the last control() did not; empty when it did.
    QByteArray error() const { return m_error; }

    /// The device's own value of a setting or variable, in the device's bytes.
    QByteArray setting(const QByteArray &name)
    {
        const QByteArray line = control("setting " + name).value(0);
        return line.mid(name.size() + 1);
    }

    /// A line of the desk's "state", such as mode, exchanges or port.
    QByteArray state(const QByteArray &name)
    {
        const QList<QByteArray> lines = control("state");
        for (const QByteArray &line : lines) {
            if (line.startsWith(name + '=')) {
                return line.mid(name.size() + 1);
            }
        }
        return QByteArray();
    }

    /// The pairs of the last "show meas" answer, as "NAME=value".
    QList<QByteArray> measurements() { return control("measurements").value(0).split(';'); }

    /// Adds a fault; false when there is no such fault.
    bool fault(const QByteArray &fault)
    {
        control("fault " + fault);
        return succeeded();
    }

    /// The line goes dead.
    void hangUp() { control("hangup"); }

    /// A new line; port() may be another one then.
    bool resume() { return takePort(control("resume").value(0)); }

    /// Frees the port of a client that was killed.
    bool release()
    {
        control("release");
        return succeeded();
    }

    /// Ends the process by closing its standard input; false when it doesn't end.
    bool stop()
    {
        if (!isRunning()) {
            return true;
        }
        m_process.closeWriteChannel();
        return m_process.waitForFinished(waitMs);
    }

    /// Asks the process to end as the system does.
    bool terminate()
    {
        m_process.terminate();
        return m_process.waitForFinished(waitMs);
    }

    /// Ends the process without a word, as a pulled plug.
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished(waitMs);
    }

private:
    /// A line without its end; null when none comes.
    QByteArray readLine()
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_process.canReadLine()) {
            const int left = waitMs - int(timer.elapsed());
            if (left <= 0 || !m_process.waitForReadyRead(left)) {
                return QByteArray();
            }
        }
        QByteArray line = m_process.readLine();
        line.chop(1);
        return line;
    }

    bool takePort(const QByteArray &line)
    {
        const QByteArray word = "port ";
        if (!line.startsWith(word)) {
            return false;
        }
        m_port = QString::fromLocal8Bit(line.mid(word.size()));
        return true;
    }

    QString m_program;
    QProcess m_process;
    QString m_port;
    QByteArray m_error;
};
