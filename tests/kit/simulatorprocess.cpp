// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/simulatorprocess.h"

#include <QtCore/QDeadlineTimer>

namespace {

QDateTime utc(const QString &iso)
{
    QDateTime time = QDateTime::fromString(iso, Qt::ISODate);
    time.setTimeSpec(Qt::UTC);
    return time;
}

} // namespace

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
    const QStringList controlOptions{QStringLiteral("--control"),
                                     QStringLiteral("--exit-with-stdin")};
    m_process.start(m_program, arguments + controlOptions);
    return m_process.waitForStarted(waitMs) && parsePort(readLine());
}

bool SimulatorProcess::succeeds(const QByteArray &line)
{
    control(line);
    return succeeded();
}

QList<QByteArray> SimulatorProcess::control(const QByteArray &line)
{
    const QByteArray errorPrefix = "error: ";
    QList<QByteArray> lines;
    m_error = "no reply";
    m_process.write(line + '\n');
    while (isRunning()) {
        const QByteArray reply = readLine();
        if (reply == "ok") {
            m_error.clear();
            return lines;
        }
        if (reply.startsWith(errorPrefix)) {
            m_error = reply.mid(errorPrefix.size());
        }
        if (reply.isNull() || reply.startsWith(errorPrefix)) {
            break;
        }
        lines += reply;
    }
    return QList<QByteArray>();
}

QByteArray SimulatorProcess::setting(const QByteArray &name)
{
    return control("setting " + name).value(0).mid(name.size() + 1);
}

QByteArray SimulatorProcess::state(const QByteArray &name)
{
    for (const QByteArray &line : control("state")) {
        if (line.startsWith(name + '=')) {
            return line.mid(name.size() + 1);
        }
    }
    return QByteArray();
}

QMap<QString, QString> SimulatorProcess::measurementValues()
{
    QMap<QString, QString> values;
    for (const QByteArray &pair : measurements()) {
        const QStringList nameAndValue = QString::fromLatin1(pair).split(QLatin1Char('='));
        values.insert(nameAndValue.first(), nameAndValue.last());
    }
    return values;
}

QDateTime SimulatorProcess::clock() { return utc(QString::fromLatin1(control("clock").value(0))); }

QStringList SimulatorProcess::logTitles() { return logCells().value(0); }

QVector<LogValue> SimulatorProcess::logRows()
{
    QVector<LogValue> rows;
    for (QStringList &cells : logCells().mid(1)) {
        LogValue row;
        row.time = utc(cells.takeFirst());
        for (const QString &cell : qAsConst(cells)) {
            row.values.append(cell.toDouble());
        }
        rows.append(row);
    }
    return rows;
}

QStringList SimulatorProcess::logAsCsv()
{
    QStringList lines(logTitles().join(QLatin1Char(',')));
    for (const LogValue &row : logRows()) {
        QStringList cells(row.time.toLocalTime().toString(Qt::ISODate));
        for (const double value : row.values) {
            cells.append(QString::number(value, 'g', 6));
        }
        lines.append(cells.join(QLatin1Char(',')));
    }
    return lines;
}

/// The cells of "17=2026-01-02T03:04:05,1.5,7#4f" without the entry's number and checksum.
QVector<QStringList> SimulatorProcess::logCells()
{
    QVector<QStringList> lines;
    for (const QByteArray &line : control("log")) {
        const int begin = line.indexOf('=') + 1;
        lines.append(QString::fromLatin1(line.mid(begin, line.lastIndexOf('#') - begin))
                         .split(QLatin1Char(',')));
    }
    return lines;
}

bool SimulatorProcess::resume() { return parsePort(control("resume").value(0)); }

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

/// The next line without its line end; null if none arrives.
QByteArray SimulatorProcess::readLine()
{
    const QDeadlineTimer deadline(waitMs);
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(int(deadline.remainingTime()))) {
            return QByteArray();
        }
    }
    QByteArray line = m_process.readLine();
    line.chop(1);
    return line;
}

bool SimulatorProcess::parsePort(const QByteArray &line)
{
    const QByteArray prefix = "port ";
    if (!line.startsWith(prefix)) {
        return false;
    }
    m_port = QString::fromLocal8Bit(line.mid(prefix.size()));
    return true;
}
