// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjob.h"

#include <QtCore/QDebug>

namespace {

constexpr int defaultTimeoutMs = 500;
constexpr int restartAttempts = 5;

} // namespace

SerialPortJob::SerialPortJob(SerialPortInterface *port, SerialPortJobType type, QObject *parent)
    : SerialPortJobInterface(parent)
    , m_port(port)
    , m_type(type)
    , m_restartsLeft(restartAttempts)
{
    m_timer.setInterval(defaultTimeoutMs);
    connect(&m_timer, &QTimer::timeout, this, &SerialPortJob::onTimeOut);
}

SerialPortJob::~SerialPortJob()
{
    SerialPortJob::stop();
}

void SerialPortJob::start()
{
    const auto keepAlive = sharedFromThis();
    if (m_port) {
        // A repeated start leaves one connection.
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
        qDebug() << "virtual bool SerialPortJob::restart()"
                 << "Job failed after" << restartAttempts << "restart attempts";
        return false;
    }
    qDebug() << "virtual bool SerialPortJob::restart()"
             << "Restarted";
    start();
    return true;
}

SerialPortJobType SerialPortJob::type()
{
    return m_type;
}

void SerialPortJob::setTimeout(int ms)
{
    m_timer.setInterval(ms);
}

int SerialPortJob::timeout()
{
    return m_timer.interval();
}

bool SerialPortJob::isRunning()
{
    return m_running;
}

bool SerialPortJob::canRestart()
{
    return true;
}

void SerialPortJob::dataReady(QString data)
{
    const auto keepAlive = sharedFromThis();
    if (m_running) {
        m_buffer.append(data);
        parseData(m_buffer);
    }
}

void SerialPortJob::onTimeOut()
{
    const auto keepAlive = sharedFromThis();
    stop();
    emit timedOut();
}

void SerialPortJob::fail()
{
    emit failed(type());
}

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
