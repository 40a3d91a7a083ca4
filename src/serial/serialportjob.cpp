// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjob.h"

#include <QtCore/QDebug>

constexpr int defaultTimeoutMs = 500;
// The fifth call of restart() returns false: a command is sent once by start() and up to four times
// by restart().
constexpr int maxRestarts = 5;
// Fixed, since the compilers' Q_FUNC_INFO differ and support staff search for these lines.
constexpr const char *restartSignature = "virtual bool SerialPortJob::restart()";

SerialPortJob::SerialPortJob(SerialPortInterface *port, SerialPortJobType type, QObject *parent)
    : SerialPortJobInterface(parent)
    , m_port(port)
    , m_type(type)
    , m_restartsLeft(maxRestarts)
{
    m_timer.setInterval(defaultTimeoutMs);
    connect(&m_timer, &QTimer::timeout, this, &SerialPortJob::onTimeOut);
}

SerialPortJob::~SerialPortJob() { SerialPortJob::stop(); }

void SerialPortJob::start()
{
    // A slot may drop the last reference to the job during this call. The same holds for each
    // keepAlive below.
    const auto keepAlive = sharedFromThis();

    if (m_port) {
        disconnect(m_port, &SerialPortInterface::dataReady, this, &SerialPortJob::dataReady);
        connect(m_port, &SerialPortInterface::dataReady, this, &SerialPortJob::dataReady);
    }
    m_timer.stop();
    m_timer.start();
    m_running = true;
    sendCommand();
}

void SerialPortJob::stop()
{
    m_running = false;
    m_buffer.clear();
    m_timer.stop();
    if (m_port) {
        disconnect(m_port, &SerialPortInterface::dataReady, this, &SerialPortJob::dataReady);
    }
}

bool SerialPortJob::restart()
{
    const auto keepAlive = sharedFromThis();

    --m_restartsLeft;
    if (m_restartsLeft <= 0) {
        qDebug() << restartSignature << "Job failed after" << maxRestarts << "restart attempts";
        return false;
    }
    qDebug() << restartSignature << "Restarted";
    start();
    return true;
}

SerialPortJobType SerialPortJob::type() { return m_type; }

void SerialPortJob::setTimeout(int ms) { m_timer.setInterval(ms); }

int SerialPortJob::timeout() { return m_timer.interval(); }

bool SerialPortJob::isRunning() { return m_running; }

bool SerialPortJob::canRestart() { return true; }

void SerialPortJob::dataReady(QString data)
{
    const auto keepAlive = sharedFromThis();

    if (!m_running) {
        return;
    }
    // Quirk: the timer is not restarted, so a device that keeps sending text times out.
    m_buffer.append(data);
    parseData(m_buffer);
}

void SerialPortJob::onTimeOut()
{
    const auto keepAlive = sharedFromThis();

    stop();
    emit timedOut();
}

void SerialPortJob::fail() { emit failed(type()); }

void SerialPortJob::write(const QString &text)
{
    if (m_port) {
        m_port->write(text);
    }
}

void SerialPortJob::write(const QByteArray &data)
{
    if (m_port) {
        m_port->write(data);
    }
}
