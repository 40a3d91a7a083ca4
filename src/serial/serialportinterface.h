// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>

/// A serial port: text and bytes out, text in. Nothing here blocks.
class SerialPortInterface : public QObject
{
    Q_OBJECT

public:
    /// A closed port.
    explicit SerialPortInterface(QObject *parent = nullptr)
        : QObject(parent)
    {
    }

    /// Sends text, in the device's character set.
    virtual void write(QString text) = 0;

    /// Sends bytes unchanged.
    virtual void write(QByteArray data) = 0;

    /// Opens the port. On failure raises error and returns false.
    virtual bool open() = 0;

    /// Closes the port.
    virtual void close() = 0;

    /// Hands as many of the buffered bytes to the system as it accepts.
    virtual void flush() = 0;

    /// The name of the port, without its folder.
    virtual QString portName() = 0;

    /// Whether the port is open.
    virtual bool isOpen() = 0;

signals:
    /// The port could not be opened.
    void error(QString description);

    /// Text has arrived, in the order of the line and in chunks of any size.
    void dataReady(QString text);
};
