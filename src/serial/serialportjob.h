// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportinterface.h"
#include "serial/serialportjobinterface.h"

#include <QtCore/QPointer>
#include <QtCore/QSharedPointer>
#include <QtCore/QTimer>

/// Base class of all jobs: sends the command, collects the received text until all of it matches
/// the pattern of the reply, and reports the result by a signal.
///
/// Does not own the port; without one, or after its deletion, nothing is sent. If the job is held
/// by shared pointers, a slot may release the last one inside any signal: the job is not deleted
/// before the outermost call into it returns. Otherwise a slot may delete it, so a subclass must
/// not access its members after it has emitted finished(), failed(), error() or timedOut().
class SerialPortJob : public SerialPortJobInterface,
                      public QEnableSharedFromThis<SerialPortJobInterface>
{
    Q_OBJECT

public:
    /// The time-out is 500 ms until setTimeout() is called.
    SerialPortJob(SerialPortInterface *port, SerialPortJobType type, QObject *parent);
    ~SerialPortJob() override;

    /// Doesn't clear text that was received before; stop() does. The time-out starts with this
    /// call.
    void start() override;
    void stop() override;

    /// Returns false from the fifth call on, so a command is sent at most five times, whatever the
    /// reason for each restart.
    bool restart() override;
    SerialPortJobType type() override;
    void setTimeout(int ms) override;
    int timeout() override;
    bool isRunning() override;

    /// True, unless a job class overrides it.
    bool canRestart() override;

protected slots:
    /// Appends @p data to the received text and checks whether all of it matches the pattern.
    void dataReady(QString data) override;

    /// Stops the job and emits timedOut().
    void onTimeOut() override;

protected:
    /// Emits failed() with the job's type.
    void fail();

    /// Writes to the port, if there is one. Errors are not reported; the job times out.
    /// @{
    void write(const QString &text);
    void write(const QByteArray &data);
    /// @}

private:
    QPointer<SerialPortInterface> m_port;
    SerialPortJobType m_type;
    QTimer m_timer;
    QString m_buffer; // received since the last stop()
    bool m_running = false;
    int m_restartsLeft; // never reset, since a job is used once
};
