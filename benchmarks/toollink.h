// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "benchmarks/benchmarkoutput.h"
#include "serial/serialport.h"
#include "serial/serialporthandler.h"
#include "serial/serialportqueue.h"

#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <functional>

/// Runs the event loop until quit() is called.
class Waiter
{
public:
    void quit()
    {
        m_done = true;
        m_loop.quit();
    }

    /// Calls @p start, then runs the event loop. Ends the program after ten minutes without quit().
    void run(const std::function<void()> &start)
    {
        constexpr int timeoutMs = 600000;
        m_done = false;
        QTimer timeout;
        QObject::connect(&timeout, &QTimer::timeout, &m_loop, &QEventLoop::quit);
        timeout.start(timeoutMs);
        start();
        if (!m_done) {
            m_loop.exec();
        }
        if (!m_done) {
            fail("The operation did not finish.");
        }
    }

private:
    QEventLoop m_loop;
    bool m_done = false;
};

/// The tool's device handler, queue and transport on a port.
class ToolLink
{
public:
    explicit ToolLink(const QString &port)
    {
        handler.setSerialPort(QSharedPointer<SerialPortInterface>(new SerialPort(port, nullptr)));
    }

    void connectToDevice()
    {
        Waiter waiter;
        QObject context;
        QObject::connect(&handler, &SerialPortHandlerInterface::connected, &context,
                         [&waiter] { waiter.quit(); });
        waiter.run([this] { handler.connectToDevice(); });
    }

    SerialPortHandler handler{
        QSharedPointer<SerialPortQueueInterface>(new SerialPortQueue(nullptr)), nullptr};
};
