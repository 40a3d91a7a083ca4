// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/delivery.h"
#include "simulator/pseudoterminal.h"

#include <QtCore/QByteArray>
#include <QtCore/QElapsedTimer>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QTimer>

namespace Simulator {

/// The serial line between a client and the device: a pseudo-terminal whose bytes take ten bit
/// times each (start bit, eight data bits, stop bit), in both directions.
///
/// No byte arrives early. The times of waiting bytes are calculated from that of the first one, so
/// the delays of timers don't accumulate. Bytes that no client reads within a second are lost.
class SerialLine : public QObject
{
    Q_OBJECT

public:
    /// @p rate in bits per second; 0 for no delay.
    explicit SerialLine(int rate, QObject *parent = nullptr);

    /// Opens a new line. Returns false, with the reason in @p error, if that fails.
    bool open(QString &error);

    /// See PseudoTerminal.
    /// @{
    QString path() const { return m_terminal.path(); }
    bool isOpen() const { return m_terminal.isOpen(); }
    /// @}

    /// See PseudoTerminal.
    void release() { m_terminal.release(); }

    /// Appends @p bytes to the output; @p gapMs is the pause after each byte with
    /// Delivery::SingleBytes.
    void send(const QByteArray &bytes, Delivery delivery, int gapMs);

    /// Hangs up immediately; bytes that have not been sent are lost.
    void hangUp();

    /// Hangs up when all bytes have been sent.
    void hangUpWhenSent();

signals:
    /// Bytes from the client have arrived at the device.
    void received(const QByteArray &bytes);

    /// The line was hung up.
    void hungUp();
    /// @p bytes bytes were lost because no client read them.
    void lost(int bytes);

private:
    struct Segment
    {
        QByteArray bytes;
        Delivery delivery;
        int gapMs;
    };

    void onReceived(const QByteArray &bytes);
    void deliverOutput();
    void deliverInput();
    bool deliverFront(qint64 now);
    void onBlocked(qint64 now);
    int bytesDue(qint64 since, qint64 now, int wanted) const;
    void schedule(QTimer &timer, qint64 dueNs, qint64 now) const;

    PseudoTerminal m_terminal;
    qint64 m_byteNs;
    QElapsedTimer m_clock;
    QTimer m_outTimer;
    QTimer m_inTimer;
    QTimer m_hangUpTimer;
    QList<Segment> m_out;
    QByteArray m_in;
    qint64 m_outFreeNs = 0; ///< end of the last byte sent
    qint64 m_inFreeNs = 0; ///< end of the last byte received
    qint64 m_processingSinceNs = -1; ///< arrival of the bytes being processed, -1 for none
    qint64 m_blockedSinceNs = -1;
    bool m_hangUpWhenSent = false;
};

} // namespace Simulator
