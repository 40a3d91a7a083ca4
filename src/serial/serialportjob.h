// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportinterface.h"
#include "serial/serialportjobinterface.h"

#include <QtCore/QPointer>
#include <QtCore/QSharedPointer>
#include <QtCore/QTimer>

/// The course that every exchange with the device takes: send, gather what arrives until it makes a
/// reply, report.
///
/// Does not own the port, and touches it no more once it has gone; without one nothing is sent. Of
/// what a shared pointer holds, a listener may drop the last one inside any signal: the job stays
/// alive until the outermost call into it returns. After finished(), failed(), error() or
/// timedOut() a job class touches none of its members.
class SerialPortJob : public SerialPortJobInterface,
                      public QEnableSharedFromThis<SerialPortJobInterface>
{
    Q_OBJECT

public:
    /// The time-out is 500 ms until setTimeout().
    SerialPortJob(SerialPortInterface *port, SerialPortJobType type, QObject *parent);
    ~SerialPortJob() override;

    /// Keeps the text received so far; the time-out counts from here.
    void start() override;
    void stop() override;

    /// The fifth call refuses: a job goes out at most five times, whatever the causes.
    bool restart() override;
    SerialPortJobType type() override;
    void setTimeout(int ms) override;
    int timeout() override;
    bool isRunning() override;

    /// True, unless a job class says otherwise.
    bool canRestart() override;

protected slots:
    /// Adds to the text so far and judges the whole of it.
    void dataReady(QString data) override;

    /// Stops the job and raises timedOut().
    void onTimeOut() override;

protected:
    /// Raises failed() with the job's type.
    void fail();

    /// Writes to the port, or nothing without one. Whether it arrives shows in the reply alone.
    void write(const QString &text);
    void write(const QByteArray &data);

private:
    QPointer<SerialPortInterface> m_port;
    SerialPortJobType m_type;
    QTimer m_timer;
    QString m_buffer; // since the last stop()
    bool m_running = false;
    int m_restartsLeft; // never goes up again: a job is used once
};
