// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QScopedPointer>
#include <QtCore/QSocketNotifier>
#include <QtCore/QString>
#include <QtCore/QVector>

namespace Simulator {

/// A raw pseudo-terminal. Keeps the client's end open too, so that the terminal remains when
/// clients close it.
class PseudoTerminal : public QObject
{
    Q_OBJECT

public:
    /// Closed until open().
    explicit PseudoTerminal(QObject *parent = nullptr);
    ~PseudoTerminal() override;

    /// Opens a new terminal and closes the previous one. Returns false, with the reason in
    /// @p error, if that fails.
    bool open(QString &error);

    /// Closes the terminal, which clients see as a hang-up. The number of the terminal stays
    /// reserved until this object is destroyed or eight more terminals have been closed, so that a
    /// client that still uses the old path doesn't open another terminal.
    void close();

    /// Whether there is a terminal for clients.
    bool isOpen() const { return m_master >= 0; }

    /// The path for clients, such as /dev/pts/3; empty while closed.
    QString path() const { return m_path; }

    /// The device's end, non-blocking; -1 while closed.
    int descriptor() const { return m_master; }

    /// Writes without waiting and returns the number of bytes that were accepted.
    int write(const QByteArray &bytes);

    /// The next bytes that a client has written, at most 4096; empty if there are none. For use
    /// while received() is switched off.
    QByteArray read();

    /// Ends the exclusive use (TIOCEXCL) by a client that was killed. The system ends it when the
    /// last descriptor of the client's end is closed, but this object keeps one open.
    void release();

    /// Switches received() on or off. While it is off, the bytes stay in the terminal.
    void setReading(bool on);

signals:
    /// Bytes that a client has written.
    void received(const QByteArray &bytes);

private:
    void onReadable();
    void dropClosedClients(int kept);

    int m_master = -1;
    int m_client = -1;
    QVector<int> m_closedClients; ///< client's ends of the last terminals closed
    QString m_path;
    QScopedPointer<QSocketNotifier, QScopedPointerDeleteLater> m_notifier;
};

} // namespace Simulator
