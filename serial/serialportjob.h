// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportinterface.h"
#include "serial/serialportjobinterface.h"

#include <QtCore/QEnableSharedFromThis>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

/// The base of every exchange: sends a command, collects the text that arrives, and tries after
/// each chunk to recognise the reply.
///
/// Does not own the port. A job that is held by a shared pointer stays alive while a call into it
/// is on the stack, so a listener may drop it inside any of its signals; it then goes when the
/// outermost call returns. Text goes on to be collected until the reply is recognised or the
/// time-out fires, which is measured from the sending and not from the last chunk.
class SerialPortJob : public SerialPortJobInterface,
                      public QEnableSharedFromThis<SerialPortJobInterface>
{
    Q_OBJECT

public:
    SerialPortJob(SerialPortInterface *port, SerialPortJobType type, QObject *parent);
    ~SerialPortJob() override;

    /// Keeps the text received so far: only stop() forgets it.
    void start() override;
    void stop() override;

    /// A job goes out five times at most, whatever the causes; the count is never reset.
    bool restart() override;

    SerialPortJobType type() override;

    /// 500 ms unless the job's class says otherwise.
    void setTimeout(int ms) override;
    int timeout() override;

    bool isRunning() override;
    bool canRestart() override;

protected slots:
    void dataReady(QString data) override;
    void onTimeOut() override;

protected:
    /// Raises failed with the job's type.
    void fail();

    /// Sends text or raw bytes, unless the port has gone.
    void write(const QString &text);
    void write(const QByteArray &data);

private:
    QPointer<SerialPortInterface> m_port;
    SerialPortJobType m_type;
    QTimer m_timer;
    QString m_buffer;
    bool m_running = false;
    int m_restartsLeft;
};
