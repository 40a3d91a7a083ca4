// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/simulatorprocess.h"

#include <QtCore/QElapsedTimer>

SimulatorProcess::SimulatorProcess(const QString &program)
    : m_program(program)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
}

SimulatorProcess::~SimulatorProcess()
{
    if (!stop()) {
        kill();
    }
}

bool SimulatorProcess::start(const QStringList &arguments)
{
    const QStringList own{QStringLiteral("--control"), QStringLiteral("--exit-with-stdin")};
    m_process.start(m_program, arguments + own);
    return m_process.waitForStarted(waitMs) && takePort(readLine());
}

QList<QByteArray> SimulatorProcess::control(const QByteArray &line)
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

QByteArray SimulatorProcess::setting(const QByteArray &name)
{
    const QByteArray line = control("setting " + name).value(0);
    return line.mid(name.size() + 1);
}

QByteArray SimulatorProcess::state(const QByteArray &name)
{
    const QList<QByteArray> lines = control("state");
    for (const QByteArray &line : lines) {
        if (line.startsWith(name + '=')) {
            return line.mid(name.size() + 1);
        }
    }
    return QByteArray();
}

QList<QByteArray> SimulatorProcess::measurements()
{
    return control("measurements").value(0).split(';');
}

QDateTime SimulatorProcess::clock()
{
    QDateTime time =
        QDateTime::fromString(QString::fromLatin1(control("clock").value(0)), Qt::ISODate);
    time.setTimeSpec(Qt::UTC);
    return time;
}

QStringList SimulatorProcess::logAsCsv()
{
    QStringList lines;
    const QList<QByteArray> rows = control("log");
    for (const QByteArray &row : rows) {
        // "17=2026-01-02T03:04:05,1.5,7#4f": the entry's number and checksum are left out.
        const int begin = row.indexOf('=') + 1;
        QStringList cells = QString::fromLatin1(row.mid(begin, row.lastIndexOf('#') - begin))
                                .split(QLatin1Char(','));
        if (!lines.isEmpty()) {
            QDateTime time = QDateTime::fromString(cells.first(), Qt::ISODate);
            time.setTimeSpec(Qt::UTC);
            cells.first() = time.toLocalTime().toString(Qt::ISODate);
            for (int index = 1; index < cells.size(); ++index) {
                cells[index] = QString::number(cells.at(index).toDouble(), 'g', 6);
            }
        }
        lines.append(cells.join(QLatin1Char(',')));
    }
    return lines;
}

bool SimulatorProcess::fault(const QByteArray &fault)
{
    control("fault " + fault);
    return succeeded();
}

void SimulatorProcess::hangUp()
{
    control("hangup");
}

bool SimulatorProcess::resume()
{
    return takePort(control("resume").value(0));
}

bool SimulatorProcess::release()
{
    control("release");
    return succeeded();
}

bool SimulatorProcess::stop()
{
    if (!isRunning()) {
        return true;
    }
    m_process.closeWriteChannel();
    return m_process.waitForFinished(waitMs);
}

bool SimulatorProcess::terminate()
{
    m_process.terminate();
    return m_process.waitForFinished(waitMs);
}

void SimulatorProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished(waitMs);
}

/// A line without its end; null when none comes.
QByteArray SimulatorProcess::readLine()
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

bool SimulatorProcess::takePort(const QByteArray &line)
{
    const QByteArray word = "port ";
    if (!line.startsWith(word)) {
        return false;
    }
    m_port = QString::fromLocal8Bit(line.mid(word.size()));
    return true;
}
