// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QScopedPointer>
#include <QtCore/QSocketNotifier>
#include <QtCore/QString>
#include <QtCore/QVector>

namespace Simulator {

/// A raw pseudo-terminal. Holds the client's side open itself, so that clients may come and go.
class PseudoTerminal : public QObject
{
    Q_OBJECT

public:
    explicit PseudoTerminal(QObject *parent = nullptr);
    ~PseudoTerminal() override;

    /// Opens a new one, closing the one before; false with the reason in @p error.
    bool open(QString &error);

    /// Closes: clients see the line hang up. No other terminal takes its number while this one
    /// lives and has not hung up eight times more, so that who is slow to let go of the old path,
    /// or tries it again, meets nobody.
    void close();

    /// Whether there is a terminal for clients.
    bool isOpen() const { return m_master >= 0; }

    /// The path for clients, such as /dev/pts/3; empty while closed.
    QString path() const { return m_path; }

    /// Writes without waiting and returns how many of the bytes were taken.
    int write(const QByteArray &bytes);

    /// Takes back a client's claim to have the terminal alone, as the system does after the last
    /// client: this side is one too, so that the claim of a killed client would stay.
    void release();

    /// Stops and resumes the reading of what clients write, which then waits in the terminal.
    void setReading(bool on);

signals:
    /// Bytes that a client has written.
    void received(const QByteArray &bytes);

private:
    void onReadable();
    void closeDeadClients(int held);

    int m_master = -1;
    int m_client = -1;
    QVector<int> m_deadClients; ///< the latest ones
    QString m_path;
    QScopedPointer<QSocketNotifier, QScopedPointerDeleteLater> m_notifier;
};

} // namespace Simulator
