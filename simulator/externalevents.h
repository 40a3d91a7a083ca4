// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QScopedPointer>
#include <QtCore/QSocketNotifier>

namespace Simulator {

/// Events from outside the process: termination signals and lines on standard input.
class ExternalEvents : public QObject
{
    Q_OBJECT

public:
    /// Reports nothing before one of the functions below is called.
    explicit ExternalEvents(QObject *parent = nullptr);

    /// Turns SIGTERM and SIGINT into terminated().
    void watchSignals();

    /// Starts reading standard input.
    void watchInput();

signals:
    /// SIGTERM or SIGINT was received.
    void terminated();

    /// A line of standard input, without its line end.
    void lineTyped(const QByteArray &line);

    /// Standard input has ended.
    void inputClosed();

private:
    void onInput();

    QScopedPointer<QSocketNotifier, QScopedPointerDeleteLater> m_signals;
    QScopedPointer<QSocketNotifier, QScopedPointerDeleteLater> m_input;
    QByteArray m_typed;
};

} // namespace Simulator
